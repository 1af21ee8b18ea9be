// Hestrel client, GetFiles: local paths (see LocalPaths.h).
#include "client/LocalPaths.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sodium.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <vector>

#include "client/ClientErrors.h"
#include "core/Text.h"

namespace hestrel {

bool IsSafeEntryName(std::string_view Name) {
  return !Name.empty() && Name != "." && Name != ".." && Name.find('/') == std::string_view::npos &&
         Name.find('\0') == std::string_view::npos;
}

namespace {

std::vector<std::string_view> Components(std::string_view Path) {
  std::vector<std::string_view> Parts;
  size_t Start = 0;
  while (Start <= Path.size()) {
    size_t End = Path.find('/', Start);
    if (End == std::string_view::npos) End = Path.size();
    if (End > Start) Parts.push_back(Path.substr(Start, End - Start));
    Start = End + 1;
  }
  return Parts;
}

}  // namespace

bool IsSafeRelativePath(std::string_view Path) {
  if (Path.empty() || Path.front() == '/') return false;
  for (auto Part : Components(Path))
    if (!IsSafeEntryName(Part)) return false;
  return Path.back() != '/';
}

bool NormaliseRemotePath(std::string_view RemotePath, std::string& Normalised) {
  std::string Result = !RemotePath.empty() && RemotePath.front() == '/' ? "/" : "";
  for (auto Part : Components(RemotePath)) {
    if (Part == ".") continue;
    if (Part == ".." || Part.find('\0') != std::string_view::npos) return false;
    if (!Result.empty() && Result.back() != '/') Result += '/';
    Result += Part;
  }
  Normalised = Result;
  return true;
}

bool LocalPathUnderRoot(const std::string& Root, std::string_view RemotePath, std::string& Local) {
  std::string Normalised;
  if (Root.empty() || !NormaliseRemotePath(RemotePath, Normalised)) return false;
  std::string Result = Root;
  while (Result.size() > 1 && Result.back() == '/') Result.pop_back();
  if (!Normalised.empty() && Normalised != "/") {
    if (Normalised.front() != '/') Result += '/';
    Result += Normalised;
  }
  Local = Result;
  return true;
}

std::string ResolveLinkTarget(std::string_view LinkDirectory, std::string_view Target) {
  const bool Absolute = !Target.empty() && Target.front() == '/';
  std::vector<std::string_view> Parts;
  const bool Rooted = Absolute || (!LinkDirectory.empty() && LinkDirectory.front() == '/');
  if (!Absolute) Parts = Components(LinkDirectory);
  for (auto Part : Components(Target)) {
    if (Part == ".") continue;
    if (Part == "..") {
      if (Parts.empty()) return "";
      Parts.pop_back();
    } else {
      Parts.push_back(Part);
    }
  }
  std::string Result = Rooted ? "/" : "";
  for (size_t I = 0; I < Parts.size(); ++I) {
    if (I > 0) Result += '/';
    Result += Parts[I];
  }
  return Result.empty() ? "." : Result;
}

bool IsWithinTree(std::string_view Tree, std::string_view Path) {
  if (Tree == "/") return !Path.empty() && Path.front() == '/';
  if (Path.substr(0, Tree.size()) != Tree) return false;
  return Path.size() == Tree.size() || Path[Tree.size()] == '/';
}

std::string RelativePath(std::string_view From, std::string_view Path) {
  auto A = Components(From);
  auto B = Components(Path);
  size_t Common = 0;
  while (Common < A.size() && Common < B.size() && A[Common] == B[Common]) ++Common;
  std::string Result;
  for (size_t I = Common; I < A.size(); ++I) Result += Result.empty() ? ".." : "/..";
  for (size_t I = Common; I < B.size(); ++I) {
    if (!Result.empty()) Result += '/';
    Result += B[I];
  }
  return Result.empty() ? "." : Result;
}

namespace {

/// Opens Path (relative, safe names) below RootFd without leaving it; -1 with errno.
int OpenBeneath(int RootFd, const std::string& Path) {
  open_how How{};
  How.flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  How.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  const long Fd = syscall(SYS_openat2, RootFd, Path.c_str(), &How, sizeof How);
  if (Fd >= 0 || (errno != ENOSYS && errno != EPERM)) return static_cast<int>(Fd);
  // No openat2 (kernels before 5.6, or a filter that refuses it): one component at a time,
  // following no link at all.
  TUniqueFd Dir(fcntl(RootFd, F_DUPFD_CLOEXEC, 0));
  for (const auto Part : Components(Path)) {
    if (!Dir.Valid()) break;
    const int Next = openat(Dir.Get(), std::string(Part).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    const int Error = errno;
    Dir.Reset(Next);
    errno = Error;
  }
  return Dir.Release();
}

}  // namespace

TUniqueFd OpenDirectoryBeneath(int RootFd, std::string_view Relative, int& Errno) {
  TUniqueFd Dir(OpenBeneath(RootFd, Relative.empty() ? "." : std::string(Relative)));
  Errno = Dir.Valid() ? 0 : errno;
  if (Errno != ENOENT) return Dir;
  Dir.Reset(fcntl(RootFd, F_DUPFD_CLOEXEC, 0));
  std::string Path;
  for (const auto Part : Components(Relative)) {
    Path.append(Path.empty() ? "" : "/").append(Part);
    // mkdirat makes the last component only and never follows a link there (EEXIST).
    if (!Dir.Valid() || (mkdirat(Dir.Get(), std::string(Part).c_str(), 0755) != 0 && errno != EEXIST)) {
      Errno = errno;
      return {};
    }
    TUniqueFd Next(OpenBeneath(RootFd, Path));
    if (!Next.Valid()) {
      Errno = errno;
      return {};
    }
    Dir = std::move(Next);
  }
  Errno = 0;
  return Dir;
}

bool LocalPathHolds(const std::string& Root, const std::string& Dir) {
  std::error_code Ec;
  const std::string RealRoot = std::filesystem::weakly_canonical(Root, Ec).string();
  const std::string RealDir = Ec ? "" : std::filesystem::weakly_canonical(Dir, Ec).string();
  return !Ec && !RealRoot.empty() && IsWithinTree(RealRoot, RealDir);
}

bool LocalFileInfo(const std::string& Path, std::int64_t& Size, std::int64_t& ModifiedSeconds,
                   std::int32_t& ModifiedNanoseconds) {
  struct stat St;
  if (lstat(Path.c_str(), &St) != 0 || !S_ISREG(St.st_mode)) return false;
  Size = St.st_size;
  ModifiedSeconds = St.st_mtim.tv_sec;
  ModifiedNanoseconds = static_cast<std::int32_t>(St.st_mtim.tv_nsec);
  return true;
}

bool SameModificationTime(std::int64_t LocalSeconds, std::int32_t LocalNanoseconds, std::int64_t RemoteSeconds,
                          std::int32_t RemoteNanoseconds) {
  return LocalSeconds == RemoteSeconds &&
         (RemoteNanoseconds < 0 || LocalNanoseconds == 0 || LocalNanoseconds == RemoteNanoseconds);
}

TDateTime FromUnixSeconds(std::int64_t Seconds) { return TDateTime(std::chrono::seconds(Seconds)); }

TLocalTempFile::TLocalTempFile(const std::string& FinalPath) : FFinalPath(FinalPath) {
  const auto Slash = FinalPath.rfind('/');
  const std::string Dir = Slash == std::string::npos ? "." : FinalPath.substr(0, Slash);
  const std::string Name = Slash == std::string::npos ? FinalPath : FinalPath.substr(Slash + 1);
  FTempPath = Dir + "/" + TemporaryName(Name);
  FFd = open(FTempPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0644);
  if (FFd < 0) FErrno = errno;
}

TLocalTempFile::~TLocalTempFile() {
  if (FFd >= 0) close(FFd);
  if (!FCommitted && !FTempPath.empty()) unlink(FTempPath.c_str());
}

bool TLocalTempFile::Write(const void* Data, std::size_t Size) {
  const auto* Bytes = static_cast<const char*>(Data);
  while (Size > 0) {
    const ssize_t N = write(FFd, Bytes, Size);
    if (N < 0 && errno == EINTR) continue;
    if (N <= 0) {
      FErrno = N < 0 ? errno : ENOSPC;
      return false;
    }
    Bytes += N;
    Size -= static_cast<std::size_t>(N);
  }
  return true;
}

bool TLocalTempFile::Commit(std::int64_t ModifiedSeconds, std::int32_t ModifiedNanoseconds) {
  if (FFd < 0) return false;
  const timespec Times[2] = {
      {0, UTIME_OMIT}, {static_cast<time_t>(ModifiedSeconds), std::clamp<long>(ModifiedNanoseconds, 0, 999999999)}};
  if (futimens(FFd, Times) != 0 || close(FFd) != 0) {
    FErrno = errno;
    FFd = -1;
    return false;
  }
  FFd = -1;
  // A directory or link squatting on the final name is not silently replaced.
  struct stat St;
  if (lstat(FFinalPath.c_str(), &St) == 0 && !S_ISREG(St.st_mode)) {
    if (S_ISLNK(St.st_mode))
      unlink(FFinalPath.c_str());
    else {
      FErrno = EISDIR;
      return false;
    }
  }
  if (rename(FTempPath.c_str(), FFinalPath.c_str()) != 0) {
    FErrno = errno;
    return false;
  }
  FCommitted = true;
  return true;
}

namespace {
constexpr std::string_view TemporarySuffix = ".hestrel-part";
constexpr std::size_t TagDigits = 8;
}  // namespace

std::string TemporaryName(std::string_view Name) {
  char Tag[TagDigits + 1];
  snprintf(Tag, sizeof Tag, "%08x", randombytes_random());
  return std::string(".").append(Name.substr(0, 200)).append(".").append(Tag).append(TemporarySuffix);
}

bool IsTemporaryName(std::string_view Name) {
  // "." NAME "." 8 hex digits ".hestrel-part"
  if (Name.size() < 1 + 1 + 1 + TagDigits + TemporarySuffix.size() || Name.front() != '.' ||
      Name.substr(Name.size() - TemporarySuffix.size()) != TemporarySuffix)
    return false;
  const std::string_view Tag = Name.substr(Name.size() - TemporarySuffix.size() - TagDigits, TagDigits);
  for (const char C : Tag)
    if (!((C >= '0' && C <= '9') || (C >= 'a' && C <= 'f'))) return false;
  return Name[Name.size() - TemporarySuffix.size() - TagDigits - 1] == '.';
}

bool IsStaleTemporaryFile(std::string_view Name, std::int64_t ModifiedSeconds, std::int64_t NowSeconds) {
  return IsTemporaryName(Name) && ModifiedSeconds < NowSeconds - StaleTemporarySeconds;
}

int RemoveStaleTemporaryFiles(int DirFd) {
  TUniqueFd Copy(fcntl(DirFd, F_DUPFD_CLOEXEC, 0));
  DIR* Handle = Copy.Valid() ? fdopendir(Copy.Get()) : nullptr;
  if (!Handle) return 0;
  Copy.Release();  // the stream owns it now
  const std::int64_t Now = time(nullptr);
  int Removed = 0;
  while (const dirent* Entry = readdir(Handle)) {
    struct stat St;
    if (IsTemporaryName(Entry->d_name) && fstatat(dirfd(Handle), Entry->d_name, &St, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(St.st_mode) && IsStaleTemporaryFile(Entry->d_name, St.st_mtim.tv_sec, Now) &&
        unlinkat(dirfd(Handle), Entry->d_name, 0) == 0)
      ++Removed;
  }
  closedir(Handle);
  return Removed;
}

std::string LocalErrorText(const std::string& File, int Errno) {
  switch (Errno) {
    case EACCES:
    case EPERM:
    case EROFS: return Format(sErrLocalPermission, {File});
    case ENOSPC:
    case EDQUOT: return Format(sErrDiskFull, {File});
    case ENOENT: return Format(sErrLocalFileMissing, {File});
    default: return Format(sErrLocalIo, {File, std::string(strerror(Errno))});
  }
}

}  // namespace hestrel

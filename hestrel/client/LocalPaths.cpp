// Hestrel client, GetFiles: local paths (see LocalPaths.h).
#include "client/LocalPaths.h"

#include <dirent.h>
#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
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
  if (Tree == "/" ) return !Path.empty() && Path.front() == '/';
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

bool LocalDirectoryInsideRoot(const std::string& Dir, const std::string& Root) {
  char RealDir[PATH_MAX];
  char RealRoot[PATH_MAX];
  if (!realpath(Dir.c_str(), RealDir) || !realpath(Root.c_str(), RealRoot)) return false;
  return IsWithinTree(RealRoot, RealDir);
}

bool LocalFileInfo(const std::string& Path, std::int64_t& Size, std::int64_t& ModifiedSeconds) {
  struct stat St;
  if (lstat(Path.c_str(), &St) != 0 || !S_ISREG(St.st_mode)) return false;
  Size = St.st_size;
  ModifiedSeconds = St.st_mtim.tv_sec;
  return true;
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

bool TLocalTempFile::Commit(std::int64_t ModifiedSeconds) {
  if (FFd < 0) return false;
  const timespec Times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(ModifiedSeconds), 0}};
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

int RemoveStaleTemporaryFiles(const std::string& Dir, std::int64_t MaxAgeSeconds) {
  DIR* Handle = opendir(Dir.c_str());
  if (!Handle) return 0;
  const std::int64_t Oldest = static_cast<std::int64_t>(time(nullptr)) - MaxAgeSeconds;
  int Removed = 0;
  while (const dirent* Entry = readdir(Handle)) {
    if (!IsTemporaryName(Entry->d_name)) continue;
    struct stat St;
    if (fstatat(dirfd(Handle), Entry->d_name, &St, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(St.st_mode) &&
        St.st_mtim.tv_sec < Oldest && unlinkat(dirfd(Handle), Entry->d_name, 0) == 0)
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

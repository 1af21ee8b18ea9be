#include "host/linux/AtomicFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace LinuxHost {
namespace {

TAtomicWriteHook& Hook() {
  static TAtomicWriteHook Installed;
  return Installed;
}

std::string Failure(const std::string& FileName, const std::string& Step, int Error) {
  return "Cannot save '" + FileName + "': " + Step + ": " + std::strerror(Error);
}

/// The file a write really replaces: the target of a symbolic link, else FileName.
std::string ResolveTarget(const std::string& FileName) {
  std::error_code Ec;
  if (!std::filesystem::is_symlink(FileName, Ec)) return FileName;
  const std::filesystem::path Link(FileName);
  std::filesystem::path Target = std::filesystem::read_symlink(Link, Ec);
  if (Ec) return FileName;
  if (Target.is_relative()) Target = Link.parent_path() / Target;
  return Target.string();
}

bool WriteAll(int Fd, std::string_view Data) {
  while (!Data.empty()) {
    const ssize_t N = ::write(Fd, Data.data(), Data.size());
    if (N < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    Data.remove_prefix(static_cast<std::size_t>(N));
  }
  return true;
}

/// Syncs the directory so that the rename itself survives a crash.
bool SyncDirectory(const std::string& Dir) {
  const int Fd = ::open(Dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (Fd < 0) return false;
  const bool Ok = ::fsync(Fd) == 0 || errno == EINVAL;  // some file systems cannot sync directories
  ::close(Fd);
  return Ok;
}

}  // namespace

void SetAtomicWriteHookForTesting(TAtomicWriteHook NewHook) { Hook() = std::move(NewHook); }

TAtomicWriteResult AtomicWriteFile(const std::string& FileName, std::string_view Contents, mode_t CreateMode) {
  const std::string Target = ResolveTarget(FileName);
  const std::filesystem::path TargetPath(Target);
  const std::string Dir = TargetPath.has_parent_path() ? TargetPath.parent_path().string() : std::string(1, '.');
  mode_t Mode = CreateMode;
  struct stat Existing {};
  if (::stat(Target.c_str(), &Existing) == 0) Mode = Existing.st_mode & 07777;

  std::string TempName(1, '.');  // appended piecewise: GCC 12 -O3 warns falsely on "." + text
  TempName.append(TargetPath.filename().string()).append(".tmp-XXXXXX");
  std::string Temp = (std::filesystem::path(Dir) / TempName).string();
  const int Fd = ::mkostemp(Temp.data(), O_CLOEXEC);
  if (Fd < 0) return {Failure(FileName, "cannot create a temporary file in '" + Dir + "'", errno)};

  auto Abandon = [&](const std::string& Step, int Error) {
    ::close(Fd);
    ::unlink(Temp.c_str());
    return TAtomicWriteResult{Failure(FileName, Step, Error)};
  };
  if (::fchmod(Fd, Mode) != 0) return Abandon("cannot set the mode of the temporary file", errno);
  if (!WriteAll(Fd, Contents)) return Abandon("cannot write the temporary file", errno);
  if (::fsync(Fd) != 0) return Abandon("cannot flush the temporary file", errno);
  if (::close(Fd) != 0) {
    const int Error = errno;
    ::unlink(Temp.c_str());
    return {Failure(FileName, "cannot close the temporary file", Error)};
  }
  if (Hook()) {
    const std::string Refusal = Hook()(Temp, Target);
    if (!Refusal.empty()) {
      ::unlink(Temp.c_str());
      return {"Cannot save '" + FileName + "': " + Refusal};
    }
  }
  if (::rename(Temp.c_str(), Target.c_str()) != 0) {
    const int Error = errno;
    ::unlink(Temp.c_str());
    return {Failure(FileName, "cannot replace the file", Error)};
  }
  if (!SyncDirectory(Dir)) return {Failure(FileName, "saved, but cannot flush the directory '" + Dir + "'", errno)};
  return {};
}

}  // namespace LinuxHost

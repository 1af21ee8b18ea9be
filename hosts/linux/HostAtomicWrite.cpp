#include "hosts/linux/HostAtomicWrite.h"

#include <filesystem>

#include <sys/stat.h>

namespace LinuxHost {
namespace {

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

}  // namespace

TAtomicWriteResult AtomicWriteFile(const std::string& FileName, std::string_view Contents, mode_t CreateMode,
                                   mode_t KeepMask) {
  const std::string Target = ResolveTarget(FileName);
  mode_t Mode = CreateMode;
  struct stat Existing {};
  if (::stat(Target.c_str(), &Existing) == 0) Mode = Existing.st_mode & 07777 & KeepMask;
  return hestrel::AtomicWriteFile(Target, Contents, Mode);
}

}  // namespace LinuxHost

#include "hosts/linux/LocalRoot.h"

#include <algorithm>
#include <filesystem>

#include "core/Text.h"
#include "host/HostServices.h"

namespace LinuxHost {

namespace {

/// Path absolute, links of its existing part resolved, without a trailing separator.
std::filesystem::path Resolved(const std::string& Path) {
  std::error_code Ec;
  std::filesystem::path Result = std::filesystem::weakly_canonical(std::filesystem::absolute(Path), Ec);
  if (Ec) Result = std::filesystem::absolute(Path).lexically_normal();
  return Result.has_filename() ? Result : Result.parent_path();
}

}  // namespace

std::string LocalRootRefusal(const std::string& ProfileName, const std::string& Root) {
  const auto& Environment = HostServices().Environment;
  if (Root.empty() || !Environment) return {};
  const std::filesystem::path Local = Resolved(Environment->ExpandRootMacro(Root));
  const std::filesystem::path Data = Resolved(Environment->fnAppDataDir());
  const auto [LocalEnd, DataAt] = std::mismatch(Local.begin(), Local.end(), Data.begin(), Data.end());
  if (LocalEnd != Local.end()) return {};  // not the data directory, nor a folder above it
  return Format(
      "local root '%s' of profile '%s' is refused: it is the application-data directory '%s' "
      "or holds it, and a cache pull there could overwrite the profile files and the password key",
      {Root, ProfileName, Data.string()});
}

}  // namespace LinuxHost

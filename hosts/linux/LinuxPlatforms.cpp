#include "hosts/linux/LinuxPlatforms.h"

#include <memory>

namespace {

/// One platform; the answers do not depend on the project type on this host.
class TLinuxPlatform : public IOTAPlatform {
 public:
  explicit TLinuxPlatform(const TLinuxPlatformServices::TPlatformInfo& Info) : FInfo(Info) {}
  std::string GetName() const override { return FInfo.Name; }
  std::string GetDisplayName() const override { return FInfo.DisplayName; }
  bool ProfileRequiredToCompile(const std::string&) const override { return FInfo.ProfileRequiredToCompile; }
  bool ProfileRequiredToRun(const std::string&) const override { return FInfo.ProfileRequiredToRun; }

 private:
  const TLinuxPlatformServices::TPlatformInfo& FInfo;
};

}  // namespace

const std::vector<TLinuxPlatformServices::TPlatformInfo>& TLinuxPlatformServices::Platforms() {
  // Windows builds and runs on the workstation; Apple and Linux targets compile and run on
  // the remote machine (its SDK and tools); Android compiles locally and needs the remote
  // machine only to run (docs/DECISIONS.md).
  static const std::vector<TPlatformInfo> List = {
      {"Win32", "32-bit Windows", false, false},
      {"Win64", "64-bit Windows", false, false},
      {"OSX32", "macOS 32-bit", true, true},
      {"OSX64", "macOS 64-bit", true, true},
      {"OSXARM64", "macOS ARM 64-bit", true, true},
      {"iOSDevice", "iOS Device", true, true},
      {"iOSSimulator", "iOS Simulator", true, true},
      {"Android", "Android 32-bit", false, true},
      {"Android64", "Android 64-bit", false, true},
      {"Linux32", "Linux 32-bit", true, true},
      {"Linux64", "Linux 64-bit", true, true},
  };
  return List;
}

std::vector<std::string> TLinuxPlatformServices::GetAllPlatforms() const {
  std::vector<std::string> Names;
  Names.reserve(Platforms().size());
  for (const TPlatformInfo& Info : Platforms()) Names.emplace_back(Info.Name);
  return Names;
}

IOTAPlatformPtr TLinuxPlatformServices::GetPlatform(const std::string& PlatformName) const {
  for (const TPlatformInfo& Info : Platforms())
    if (PlatformName == Info.Name) return std::make_shared<TLinuxPlatform>(Info);
  return nullptr;
}

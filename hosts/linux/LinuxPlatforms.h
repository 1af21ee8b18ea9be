// The reference host's platform services (Parts 2.3 GetPlatformDisplayName, 1.2
// WriteEnvOptions, 4.1): a fixed list of platform identifiers with display names and the
// answers to "does this platform need a profile to compile / to run".
#pragma once

#include <string>
#include <vector>

#include "host/Platforms.h"

class TLinuxPlatformServices : public IOTAPlatformServices {
 public:
  struct TPlatformInfo {
    const char* Name;
    const char* DisplayName;
    bool ProfileRequiredToCompile;
    bool ProfileRequiredToRun;
  };
  /// The host's platforms in the host's order (docs/DECISIONS.md, Part 7.1 platforms).
  static const std::vector<TPlatformInfo>& Platforms();

  std::vector<std::string> GetAllPlatforms() const override;
  IOTAPlatformPtr GetPlatform(const std::string& PlatformName) const override;
};

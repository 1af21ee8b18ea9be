// The reference host's platform services: a fixed list of platform identifiers (the list
// WriteEnvOptions walks) with display names (for GetPlatformDisplayName) and the answers to
// "does this platform need a profile to compile / to run".
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
  /// The host's platforms in the host's order (docs/DECISIONS.md).
  static const std::vector<TPlatformInfo>& Platforms();

  std::vector<std::string> GetAllPlatforms() const override;
  IOTAPlatformPtr GetPlatform(const std::string& PlatformName) const override;
};

// Part 3.1 / 3.3 on the reference host: a platform SDK built from a profile, so that a
// profile's local file cache can be updated without an IDE (SetPlatformSDK, then
// GetProfileFiles). Part 3.1 leaves the SDK's properties to the implementer.
#pragma once

#include <string>

#include "host/PlatformSDK.h"
#include "host/ToolsApi.h"

/// Reads the profile live: its local root is the system root, its path items are the
/// items pulled; the local-root part is empty, so GetClient removes nothing from the root.
class TProfilePlatformSDK : public IOTAPlatformSDK {
 public:
  explicit TProfilePlatformSDK(IOTARemoteProfilePtr Profile);
  std::string GetSystemRoot() const override;
  std::string GetLocalRootPart() const override { return {}; }
  TOTARemoteProfilePathArray GetPathItems() const override;

 private:
  IOTARemoteProfilePtr FProfile;
};

// The reference host's platform SDK of a profile, so that a profile's local file cache can
// be updated without an IDE (SetPlatformSDK, then GetProfileFiles). The SDK's system root
// and path items come from the profile, as below.
#pragma once

#include <optional>
#include <string>

#include "host/PlatformSDK.h"
#include "host/ToolsApi.h"
#include "hosts/linux/ProfileSdkStore.h"

/// Reads the profile live: its local root is the system root; the local-root part is empty,
/// so GetClient removes nothing from the root. The path items pulled are, in this order of
/// choice: the explicit items given, the profile's entry in the host's SDK store, the
/// profile's own path items.
class TProfilePlatformSDK : public IOTAPlatformSDK {
 public:
  /// The profile's own path items.
  explicit TProfilePlatformSDK(IOTARemoteProfilePtr Profile);
  /// The profile's entry in Sdks (read when asked, under the profile's name then), else
  /// its own path items.
  TProfilePlatformSDK(IOTARemoteProfilePtr Profile, TProfileSdkStorePtr Sdks);
  /// Exactly Items (a pull of items named for one run; nothing is stored).
  TProfilePlatformSDK(IOTARemoteProfilePtr Profile, TOTARemoteProfilePathArray Items);

  std::string GetSystemRoot() const override;
  std::string GetLocalRootPart() const override { return {}; }
  TOTARemoteProfilePathArray GetPathItems() const override;

 private:
  IOTARemoteProfilePtr FProfile;
  TProfileSdkStorePtr FSdks;
  std::optional<TOTARemoteProfilePathArray> FItems;
};

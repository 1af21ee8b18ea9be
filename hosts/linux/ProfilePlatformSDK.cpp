// The reference host's platform SDK of a profile (ProfilePlatformSDK.h).
#include "hosts/linux/ProfilePlatformSDK.h"

#include <utility>

TProfilePlatformSDK::TProfilePlatformSDK(IOTARemoteProfilePtr Profile) : FProfile(std::move(Profile)) {}

TProfilePlatformSDK::TProfilePlatformSDK(IOTARemoteProfilePtr Profile, TProfileSdkStorePtr Sdks)
    : FProfile(std::move(Profile)), FSdks(std::move(Sdks)) {}

TProfilePlatformSDK::TProfilePlatformSDK(IOTARemoteProfilePtr Profile, TOTARemoteProfilePathArray Items)
    : FProfile(std::move(Profile)), FItems(std::move(Items)) {}

std::string TProfilePlatformSDK::GetSystemRoot() const { return FProfile ? FProfile->GetSystemRoot() : std::string(); }

TOTARemoteProfilePathArray TProfilePlatformSDK::GetPathItems() const {
  if (FItems) return *FItems;
  if (!FProfile) return {};
  return FSdks ? FSdks->PathItemsOf(FProfile) : FProfile->GetPaths();
}

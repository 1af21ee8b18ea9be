// The reference host's platform SDK built from a profile (ProfilePlatformSDK.h).
#include "host/linux/ProfilePlatformSDK.h"

#include <utility>

TProfilePlatformSDK::TProfilePlatformSDK(IOTARemoteProfilePtr Profile) : FProfile(std::move(Profile)) {}

std::string TProfilePlatformSDK::GetSystemRoot() const { return FProfile ? FProfile->GetSystemRoot() : std::string(); }

TOTARemoteProfilePathArray TProfilePlatformSDK::GetPathItems() const {
  return FProfile ? FProfile->GetPaths() : TOTARemoteProfilePathArray();
}

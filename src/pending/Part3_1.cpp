#include <stdexcept>
#include "core/RemoteProfileManager.h"
#define PENDING(part) throw std::logic_error("not yet implemented: " part)

TRAClientPtr TRemoteProfileManager::ClientFromProfile(const IOTARemoteProfilePtr&, bool) { PENDING("Part 3.1"); }
void TRemoteProfileManager::ReleaseProfileClient(const IOTARemoteProfilePtr&) { PENDING("Part 3.1"); }
void TRemoteProfileManager::BeginOperation(const IOTARemoteProfilePtr&) { PENDING("Part 3.1"); }
void TRemoteProfileManager::EndOperation(const IOTARemoteProfilePtr&) { PENDING("Part 3.1"); }
void TRemoteProfileManager::SetPlatformSDK(const IOTAPlatformSDKPtr&) { PENDING("Part 3.1"); }
void TRemoteProfileManager::SetCallbackParams(const IOTAConnectionCallbackPtr&, const TOTAProgressProc&, TOTAFileOverwriteControl, std::uint8_t, const std::string&) { PENDING("Part 3.1"); }
bool TRemoteProfileManager::UpdateProgress(TOTAProgressType, std::int32_t, std::int32_t, const std::string&, const std::string&, const std::string&, std::int32_t) { PENDING("Part 3.1"); }
bool TRemoteProfileManager::UpdateProgressForm(TOTAProgressType, std::int32_t, std::int32_t, const std::string&, const std::string&, const std::string&, std::int32_t) { PENDING("Part 3.1"); }
TOTAProgressProc TRemoteProfileManager::ProgressFormProc() { PENDING("Part 3.1"); }
bool TRemoteProfileManager::TestConnection(const IOTARemoteProfilePtr&, std::string&, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.1"); }
bool TRemoteProfileManager::Retry() { PENDING("Part 3.1"); }
bool TRemoteProfileManager::Abort() { PENDING("Part 3.1"); }
TRAClientPtr TRemoteProfile::GetClient(const IOTAPlatformSDKPtr&, bool) { PENDING("Part 3.1"); }
void TRemoteProfile::ReleaseClient() { PENDING("Part 3.1"); }
TRAClientPtr TRemoteProfile::CloneClient() { PENDING("Part 3.1"); }
TRAClientPtr TRemoteProfile::NewClient() const { PENDING("Part 3.1"); }

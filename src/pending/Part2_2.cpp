#include <stdexcept>
#include "core/RemoteProfileManager.h"
#define PENDING(part) throw std::logic_error("not yet implemented: " part)

std::string TRemoteProfileManager::GetProfileFileName(const std::string&) { PENDING("Part 2.2"); }
void TRemoteProfileManager::SaveProfileFile(const std::string&, const std::string&, const std::string&, const std::string&, std::int32_t, const TRACredential&, const std::string&, const TRAPathItems&, const TRAPathItems&, const TRAPathItems&, const TRAPathItems&) { PENDING("Part 2.2"); }
bool TRemoteProfileManager::LoadProfileFile(const std::string&, std::string&, std::string&, std::string&, std::int32_t&, TOTARemoteProfileCredential&, std::string&, TOTARemoteProfilePathArray&, bool) { PENDING("Part 2.2"); }
IOTARemoteProfilePtr TRemoteProfileManager::LoadProfile(const std::string&) { PENDING("Part 2.2"); }
void TRemoteProfileManager::MergeRemoteProfile(const IOTARemoteProfilePtr&) { PENDING("Part 2.2"); }

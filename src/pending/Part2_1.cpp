#include <stdexcept>
#include "core/RemoteProfileManager.h"
#define PENDING(part) throw std::logic_error("not yet implemented: " part)

void TRemoteProfileManager::LoadOptions(TCustomIniFile&) { PENDING("Part 2.1"); }
void TRemoteProfileManager::SaveOptions(TCustomIniFile&) { PENDING("Part 2.1"); }
void TRemoteProfileManager::SaveProfile(const IOTARemoteProfilePtr&, TCustomIniFile*, const std::string&) { PENDING("Part 2.1"); }
void TRemoteProfileManager::SaveProfile(const IOTARemoteProfilePtr&, const std::string&) { PENDING("Part 2.1"); }

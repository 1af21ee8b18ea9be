#include <stdexcept>
#include "core/RemoteProfileManager.h"
#define PENDING(part) throw std::logic_error("not yet implemented: " part)

bool TRemoteProfileManager::GetProfileFiles(const IOTARemoteProfilePtr&, TOTAFileOverwriteControl, const IOTAConnectionCallbackPtr&, const TOTAProgressProc&) { PENDING("Part 3.3"); }
bool TRemoteProfileManager::GetProfileFilesWithProgress(const IOTARemoteProfilePtr&) { PENDING("Part 3.3"); }
void TRemoteProfileManager::DeployMungerPatch(TRAClient&) { PENDING("Part 3.3"); }
bool TRemoteProfileManager::EnterDirectory(const std::string&) { PENDING("Part 3.3"); }

#include <stdexcept>
#include "core/RemoteProfileManager.h"
#define PENDING(part) throw std::logic_error("not yet implemented: " part)

std::string TRemoteProfileManager::ExpandPath(const IOTARemoteProfilePtr&, const std::string&, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.4"); }
std::string TRemoteProfileManager::ExpandAllPaths(const IOTARemoteProfilePtr&, const std::string&, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.4"); }
bool TRemoteProfileManager::RemoteDirectoryExists(const IOTARemoteProfilePtr&, const std::string&, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.4"); }
std::unique_ptr<TRARemoteFileList> TRemoteProfileManager::BrowseRemoteFileSystem(const IOTARemoteProfilePtr&, const std::string&, std::int32_t, bool, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.4"); }
bool TRemoteProfileManager::CreateSymLink(const IOTARemoteProfilePtr&, const std::string&, const std::string&, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.4"); }
std::string TRemoteProfileManager::GetIOSLauncher(const IOTARemoteProfilePtr&, const std::string&, bool, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.4"); }
std::vector<std::string> TRemoteProfileManager::GetEnvironmentVariables(const IOTARemoteProfilePtr&, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.4"); }

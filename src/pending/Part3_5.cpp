#include <stdexcept>
#include "core/RemoteProfileManager.h"
#define PENDING(part) throw std::logic_error("not yet implemented: " part)

bool TRemoteProfileManager::Run(const IOTARemoteProfilePtr&, const std::string&, const std::string&, const std::string&, const std::string&, const std::string&, const std::vector<std::string>*, const std::string&, std::string&, std::int32_t&, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.5"); }
bool TRemoteProfileManager::Run(const IOTARemoteProfilePtr&, const std::string&, const std::string&, const std::string&, const std::string&, const std::string&, const std::vector<std::string>*, const std::string&, std::string&, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.5"); }
bool TRemoteProfileManager::StartRemoteDebugger(const IOTARemoteProfilePtr&, const std::string&, TOTAProcessType, std::int32_t&, std::int32_t&, std::string&, const IOTAConnectionCallbackPtr&) { PENDING("Part 3.5"); }

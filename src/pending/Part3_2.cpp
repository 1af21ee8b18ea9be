#include <stdexcept>
#include "core/RemoteProfileManager.h"
#define PENDING(part) throw std::logic_error("not yet implemented: " part)

bool TRemoteProfileManager::PutFiles(const IOTARemoteProfilePtr&, const std::vector<TOTAPutFileItem>&, TOTAFileOverwriteControl, const IOTAConnectionCallbackPtr&, const TOTAProgressProc&) { PENDING("Part 3.2"); }
bool TRemoteProfileManager::PutFilesWithProgress(const IOTARemoteProfilePtr&, const std::vector<TOTAPutFileItem>&) { PENDING("Part 3.2"); }
bool TRemoteProfileManager::RemoveRemoteFiles(const IOTARemoteProfilePtr&, const std::vector<std::string>&, const IOTAConnectionCallbackPtr&, const TOTAProgressProc&) { PENDING("Part 3.2"); }
bool TRemoteProfileManager::RemoveRemoteFilesWithProgress(const IOTARemoteProfilePtr&, const std::vector<std::string>&) { PENDING("Part 3.2"); }
bool TRemoteProfileManager::Overwrite(const std::string&, TDateTime, std::int64_t, TDateTime, std::int64_t) { PENDING("Part 3.2"); }
std::uint8_t TRemoteProfileManager::BytesCopied(const std::string&, const std::string&, const std::string&, std::int64_t, std::int64_t, TStream*) { PENDING("Part 3.2"); }
void TRemoteProfileManager::PreCopy(const std::string&, const std::string&, const std::string&, std::int64_t) { PENDING("Part 3.2"); }
std::uint8_t TRemoteProfileManager::Accept(const std::string&, const std::string&, bool, std::int32_t&) { PENDING("Part 3.2"); }
bool TRemoteProfileManager::ContinueOnError(const std::string&, const std::string&) { PENDING("Part 3.2"); }
void TRemoteProfileManager::Deleted(const std::string&, const std::string&) { PENDING("Part 3.2"); }

// Remote queries: short questions to the remote machine, each one agent call inside the
// light frame: no progress notices, no messages, nothing raised.
#include "core/Text.h"
#include "remote/OperationFrame.h"

namespace {

/// The light frame of a query: shared client, callback stored (no progress procedure,
/// overwrite control 0, state 1, no byte-count format), connect when needed; the agent
/// call only when connected, otherwise the not-connected result. Reset and release always.
template <typename TResult, typename TCall>
TResult Query(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile,
              const IOTAConnectionCallbackPtr& Callback, TResult NotConnected, TCall Call) {
  TOperationFrame Frame(Manager, Profile, Callback, nullptr, focAlwaysReplace, "");
  if (!Frame.Connect()) return NotConnected;
  return Call(*Frame.Client());
}

}  // namespace

std::string TRemoteProfileManager::ExpandPath(const IOTARemoteProfilePtr& Profile, const std::string& Path,
                                              const IOTAConnectionCallbackPtr& Callback) {
  return Query(*this, Profile, Callback, Path, [&](TRAClient& Client) {
    std::string Expanded = Path;  // the result starts as a copy of the input
    Client.ExpandPath(Path, Expanded);
    return Expanded;
  });
}

std::string TRemoteProfileManager::ExpandAllPaths(const IOTARemoteProfilePtr& Profile, const std::string& Paths,
                                                  const IOTAConnectionCallbackPtr& Callback) {
  return Query(*this, Profile, Callback, Paths, [&](TRAClient& Client) {
    std::string Expanded = Paths;
    Client.ExpandAllPaths(Paths, Expanded);
    return Expanded;
  });
}

bool TRemoteProfileManager::RemoteDirectoryExists(const IOTARemoteProfilePtr& Profile, const std::string& Path,
                                                  const IOTAConnectionCallbackPtr& Callback) {
  return Query(*this, Profile, Callback, false, [&](TRAClient& Client) { return Client.DirExists(Path); });
}

std::unique_ptr<TRARemoteFileList> TRemoteProfileManager::BrowseRemoteFileSystem(
    const IOTARemoteProfilePtr& Profile, const std::string& Path, std::int32_t Depth, bool DirectoriesOnly,
    const IOTAConnectionCallbackPtr& Callback) {
  // The integer and the Boolean are the agent's; passed through unchanged.
  return Query(*this, Profile, Callback, std::unique_ptr<TRARemoteFileList>(),
               [&](TRAClient& Client) { return Client.ListFiles(Path, Depth, DirectoriesOnly); });
}

bool TRemoteProfileManager::CreateSymLink(const IOTARemoteProfilePtr& Profile, const std::string& Target,
                                          const std::string& LinkName, const IOTAConnectionCallbackPtr& Callback) {
  return Query(*this, Profile, Callback, false,
               [&](TRAClient& Client) { return Client.CreateSymLink(Target, LinkName); });
}

std::string TRemoteProfileManager::GetIOSLauncher(const IOTARemoteProfilePtr& Profile, const std::string& Name,
                                                  bool Simulator, const IOTAConnectionCallbackPtr& Callback) {
  return Query(*this, Profile, Callback, std::string(),
               [&](TRAClient& Client) { return Client.GetIOSLauncher(Name, Simulator); });
}

std::vector<std::string> TRemoteProfileManager::GetEnvironmentVariables(const IOTARemoteProfilePtr& Profile,
                                                                        const IOTAConnectionCallbackPtr& Callback) {
  std::vector<std::string> Result;
  TOperationFrame Frame(*this, Profile, Callback, nullptr, focAlwaysReplace, "");
  if (!Frame.Connect()) {
    // Deliberate: the error reaches the caller as the value of a variable named "_".
    Result.push_back("_=" + Frame.ConnectionErrorText());
    return Result;
  }
  // The caller of GetEnv owns the table; the unique pointer destroys it.
  if (const auto Table = Frame.Client()->GetEnv(); Table && !Table->empty()) {
    Result.reserve(Table->size());
    for (const auto& [Name, Value] : *Table) Result.push_back(Name + "=" + Value);
  }
  return Result;
}

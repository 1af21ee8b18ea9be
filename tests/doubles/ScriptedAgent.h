// Scripted doubles of the host's remote-agent client library (src/host/AgentClient.h):
// TScriptedAgent, a TRAClient that records every call with its arguments and plays back
// scripted answers, GetLastError texts and listener callbacks; and TScriptedAgentLibrary,
// the factory that hands such clients out. Install with THostFixture: Host.AgentLibrary.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "host/AgentClient.h"

/// "Name(arg,...)", the form of every entry of an agent's logs; Booleans as 1/0.
template <typename... TArgs>
std::string AgentCall(const std::string& Name, const TArgs&... Args) {
  std::ostringstream Out;
  [[maybe_unused]] const char* Separator = "";
  ((Out << Separator << Args, Separator = ","), ...);
  return Name + "(" + Out.str() + ")";
}

/// The listeners a scripted call may call back while it runs (nullptr where none was passed).
struct TAgentCallContext {
  IConnectionListener* Connection = nullptr;
  IFileListener* Files = nullptr;
  IFileIteration* Iteration = nullptr;
};

/// One scripted answer of one agent call.
struct TAgentAnswer {
  bool Result = true;
  std::string Error{};                   ///< GetLastError's text after this call
  std::optional<std::string> Text{};     ///< ExpandPath/ExpandAllPaths output, GetIOSLauncher's answer
  std::int32_t Number = 0, Number2 = 0;  ///< Run's process number; Debug's N1 and N2
  std::optional<std::map<std::string, std::string>> Env{};  ///< GetEnv's table (none: nullptr)
  std::optional<TRARemoteFileList> Listing{};               ///< ListFiles' listing (none: nullptr)
  std::function<void(TAgentCallContext&)> During{};         ///< callbacks made inside the call
};

class TScriptedAgent : public TRAClient {
 public:
  /// Queues Answer for the next call named Call ("Connect", "PutFile", "GetFiles", ...). A
  /// call without a queued answer succeeds without error or output.
  void Script(const std::string& Call, TAgentAnswer Answer) { FQueued[Call].push_back(std::move(Answer)); }

  std::vector<std::string> Log;  ///< every call but the questions IsConnected() and GetLastError(), in order
  std::vector<IFileListener*> FileListeners;  ///< the file listener of each transfer call
  bool Connected = false;
  std::string LastError;

  // The system only sets a client's settings; what it would read back is not kept.
  std::string GetName() const override { return {}; }
  std::string GetHostName() const override { return {}; }
  void SetHostName(const std::string& Value) override { Log.push_back(AgentCall("SetHostName", Value)); }
  std::int32_t GetPort() const override { return 0; }
  void SetPort(std::int32_t Value) override { Log.push_back(AgentCall("SetPort", Value)); }
  void SetPlatform(const std::string& Value) override { Log.push_back(AgentCall("SetPlatform", Value)); }
  void SetCredential(const TRACredential& Value) override {
    Log.push_back(AgentCall("SetCredential", Value.PasswordOrFile, Value.IsPassword, Value.IsEncrypted));
  }
  void SetSysRoot(const std::string& Value) override { Log.push_back(AgentCall("SetSysRoot", Value)); }
  bool Connect(IConnectionListener* Listener) override {
    return Connected = Play({Listener}, "Connect", Listener ? "listener" : "").Result;
  }
  void Disconnect() override { Log.push_back("Disconnect()"), Connected = false; }
  bool IsConnected() const override { return Connected; }
  std::string GetLastError() const override { return LastError; }
  bool PutFile(const std::string& RemoteDir, const std::string& LocalFile, std::int32_t Attributes,
               const std::string& RemoteName, IFileListener* Listener) override {
    return Transfer({nullptr, Listener}, "PutFile", RemoteDir, LocalFile, Attributes, RemoteName);
  }
  bool RemoveRemoteFile(const std::string& RemoteFile, IFileListener* Listener) override {
    return Transfer({nullptr, Listener}, "RemoveRemoteFile", RemoteFile);
  }
  bool GetFiles(const std::string& RemotePath, bool IncludeSubDirs, const std::string& Mask, IFileIteration* Iteration,
                IFileListener* Listener) override {
    return Transfer({nullptr, Listener, Iteration}, "GetFiles", RemotePath, IncludeSubDirs, Mask);
  }
  bool GetFrameworkFiles(const std::string& RemotePath, const std::string& FrameworkName, bool IncludeNonEssential,
                         IFileIteration* Iteration, IFileListener* Listener) override {
    return Transfer({nullptr, Listener, Iteration}, "GetFrameworkFiles", RemotePath, FrameworkName,
                    IncludeNonEssential);
  }
  bool ExpandPath(const std::string& Path, std::string& Out) override {
    return Expand(Play({}, "ExpandPath", Path), Out);
  }
  bool ExpandAllPaths(const std::string& Paths, std::string& Out) override {
    return Expand(Play({}, "ExpandAllPaths", Paths), Out);
  }
  bool DirExists(const std::string& Path) override { return Play({}, "DirExists", Path).Result; }
  std::unique_ptr<TRARemoteFileList> ListFiles(const std::string& Path, std::int32_t Depth,
                                               bool DirectoriesOnly) override {
    const TAgentAnswer Answer = Play({}, "ListFiles", Path, Depth, DirectoriesOnly);
    return Answer.Listing ? std::make_unique<TRARemoteFileList>(*Answer.Listing) : nullptr;
  }
  bool CreateSymLink(const std::string& Target, const std::string& LinkName) override {
    return Play({}, "CreateSymLink", Target, LinkName).Result;
  }
  std::string GetIOSLauncher(const std::string& Launcher, bool Simulator) override {
    return Play({}, "GetIOSLauncher", Launcher, Simulator).Text.value_or("");
  }
  std::unique_ptr<std::map<std::string, std::string>> GetEnv() override {
    const TAgentAnswer Answer = Play({}, "GetEnv");
    return Answer.Env ? std::make_unique<std::map<std::string, std::string>>(*Answer.Env) : nullptr;
  }
  bool Run(const std::string& Program, const std::string& Parameters, const std::string& WorkingDir,
           const std::string& Launcher, const std::vector<std::string>* Environment, const std::string& OutputFile,
           const std::string& InputFile, std::int32_t& ProcessNumber) override {
    std::string Env = Environment ? "[" : "none";  // "[A=1;B=2]"
    for (const std::string& Variable : Environment ? *Environment : std::vector<std::string>())
      Env += (Env.size() > 1 ? ";" : "") + Variable;
    const TAgentAnswer Answer = Play({}, "Run", Program, Parameters, WorkingDir, Launcher,
                                     Environment ? Env + "]" : Env, OutputFile, InputFile);
    ProcessNumber = Answer.Number;
    return Answer.Result;
  }
  bool Debug(const std::string& Program, bool Attach, std::int32_t& N1, std::int32_t& N2, std::int32_t& N3) override {
    const TAgentAnswer Answer = Play({}, "Debug", Program, Attach, N1, N2, N3);
    N1 = Answer.Number;
    N2 = Answer.Number2;
    return Answer.Result;
  }

 private:
  /// Logs the call, takes the answer queued for it, runs its During step, sets LastError.
  template <typename... TArgs>
  TAgentAnswer Play(TAgentCallContext Context, const std::string& Call, const TArgs&... Args) {
    Log.push_back(AgentCall(Call, Args...));
    std::deque<TAgentAnswer>& Queue = FQueued[Call];
    TAgentAnswer Answer;
    if (!Queue.empty()) Answer = std::move(Queue.front()), Queue.pop_front();
    if (Answer.During) Answer.During(Context);
    LastError = Answer.Error;
    return Answer;
  }
  template <typename... TArgs>
  bool Transfer(TAgentCallContext Context, const std::string& Call, const TArgs&... Args) {
    FileListeners.push_back(Context.Files);
    return Play(Context, Call, Args...).Result;
  }
  static bool Expand(const TAgentAnswer& Answer, std::string& Expanded) {
    if (Answer.Text) Expanded = *Answer.Text;
    return Answer.Result;
  }
  std::map<std::string, std::deque<TAgentAnswer>> FQueued;
};
using TScriptedAgentPtr = std::shared_ptr<TScriptedAgent>;

/// The agent library double: hands out scripted clients and records each CreateClient.
class TScriptedAgentLibrary : public TRAClientFactory {
 public:
  TRAClientPtr CreateClient(const std::string& Name, const std::string& VirtualFile) override {
    CreateClientCalls.push_back(AgentCall("CreateClient", Name, VirtualFile));
    TScriptedAgentPtr Client = Prepared.empty() ? std::make_shared<TScriptedAgent>() : Prepared.front();
    if (!Prepared.empty()) Prepared.pop_front();
    return Clients.emplace_back(Client);
  }
  std::unique_ptr<TRAClientProfile> CreateProfile() override { return nullptr; }
  std::string Encrypt(const std::string& Password) override { return "enc:" + Password; }

  std::vector<std::string> CreateClientCalls;  ///< "CreateClient(name,virtualfile)"
  std::vector<TScriptedAgentPtr> Clients;      ///< every client handed out, in order
  std::deque<TScriptedAgentPtr> Prepared;      ///< handed out first, in order
};
using TScriptedAgentLibraryPtr = std::shared_ptr<TScriptedAgentLibrary>;

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
#include <string>
#include <vector>

#include "host/AgentClient.h"

/// "Name(arg,...)", the form of every entry of an agent's logs.
inline std::string AgentCall(const std::string& Name, std::initializer_list<std::string> Args) {
  std::string Entry = Name + "(";
  for (const std::string& Arg : Args) Entry += (&Arg == Args.begin() ? "" : ",") + Arg;
  return Entry + ")";
}

/// The listeners a scripted call may call back while it runs (nullptr where none was passed).
struct TAgentCallContext {
  IConnectionListener* Connection;
  IFileListener* Files;
  IFileIteration* Iteration;
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
  explicit TScriptedAgent(std::string Name = "") : Name(std::move(Name)) {}

  /// Queues Answer for the next call named Call ("Connect", "PutFile", "GetFiles", ...). A
  /// call without a queued answer succeeds without error or output.
  void Script(const std::string& Call, TAgentAnswer Answer) { FQueued[Call].push_back(std::move(Answer)); }
  /// Log without the questions IsConnected() and GetLastError().
  std::vector<std::string> Actions() const {
    std::vector<std::string> Result = Log;
    std::erase_if(Result,
                  [](const std::string& Entry) { return Entry == "IsConnected()" || Entry == "GetLastError()"; });
    return Result;
  }

  mutable std::vector<std::string> Log;       ///< every call, in order; Booleans as 0/1, no listener arguments
  std::vector<IFileListener*> FileListeners;  ///< the file listener of each transfer call
  bool Connected = false;
  std::string Name, HostName, LastError;
  std::int32_t Port = 0;

  std::string GetName() const override { return Name; }
  std::string GetHostName() const override { return HostName; }
  void SetHostName(const std::string& Value) override { Log.push_back(AgentCall("SetHostName", {HostName = Value})); }
  std::int32_t GetPort() const override { return Port; }
  void SetPort(std::int32_t Value) override { Log.push_back(AgentCall("SetPort", {std::to_string(Port = Value)})); }
  void SetPlatform(const std::string& Value) override { Log.push_back(AgentCall("SetPlatform", {Value})); }
  void SetCredential(const TRACredential& Value) override {
    Log.push_back(AgentCall("SetCredential", {Value.PasswordOrFile, B(Value.IsPassword), B(Value.IsEncrypted)}));
  }
  void SetSysRoot(const std::string& Value) override { Log.push_back(AgentCall("SetSysRoot", {Value})); }
  bool Connect(IConnectionListener* Listener) override {
    return Connected = Play(Listener ? "Connect(listener)" : "Connect()", Listener).Result;
  }
  void Disconnect() override {
    Log.push_back("Disconnect()");
    Connected = false;
  }
  bool IsConnected() const override { return Log.push_back("IsConnected()"), Connected; }
  std::string GetLastError() const override { return Log.push_back("GetLastError()"), LastError; }
  bool PutFile(const std::string& RemoteDir, const std::string& LocalFile, std::int32_t Attributes,
               const std::string& RemoteName, IFileListener* Listener) override {
    return Transfer(AgentCall("PutFile", {RemoteDir, LocalFile, std::to_string(Attributes), RemoteName}), Listener);
  }
  bool RemoveRemoteFile(const std::string& RemoteFile, IFileListener* Listener) override {
    return Transfer(AgentCall("RemoveRemoteFile", {RemoteFile}), Listener);
  }
  bool GetFiles(const std::string& RemotePath, bool IncludeSubDirs, const std::string& Mask, IFileIteration* Iteration,
                IFileListener* Listener) override {
    return Transfer(AgentCall("GetFiles", {RemotePath, B(IncludeSubDirs), Mask}), Listener, Iteration);
  }
  bool GetFrameworkFiles(const std::string& RemotePath, const std::string& FrameworkName, bool IncludeNonEssential,
                         IFileIteration* Iteration, IFileListener* Listener) override {
    return Transfer(AgentCall("GetFrameworkFiles", {RemotePath, FrameworkName, B(IncludeNonEssential)}), Listener,
                    Iteration);
  }
  bool ExpandPath(const std::string& Path, std::string& Expanded) override {
    return Expand(AgentCall("ExpandPath", {Path}), Expanded);
  }
  bool ExpandAllPaths(const std::string& Paths, std::string& Expanded) override {
    return Expand(AgentCall("ExpandAllPaths", {Paths}), Expanded);
  }
  bool DirExists(const std::string& Path) override { return Play(AgentCall("DirExists", {Path})).Result; }
  std::unique_ptr<TRARemoteFileList> ListFiles(const std::string& Path, std::int32_t Depth,
                                               bool DirectoriesOnly) override {
    const TAgentAnswer Answer = Play(AgentCall("ListFiles", {Path, std::to_string(Depth), B(DirectoriesOnly)}));
    return Answer.Listing ? std::make_unique<TRARemoteFileList>(*Answer.Listing) : nullptr;
  }
  bool CreateSymLink(const std::string& Target, const std::string& LinkName) override {
    return Play(AgentCall("CreateSymLink", {Target, LinkName})).Result;
  }
  std::string GetIOSLauncher(const std::string& Launcher, bool Simulator) override {
    return Play(AgentCall("GetIOSLauncher", {Launcher, B(Simulator)})).Text.value_or("");
  }
  std::unique_ptr<std::map<std::string, std::string>> GetEnv() override {
    const TAgentAnswer Answer = Play("GetEnv()");
    return Answer.Env ? std::make_unique<std::map<std::string, std::string>>(*Answer.Env) : nullptr;
  }
  bool Run(const std::string& Program, const std::string& Parameters, const std::string& WorkingDir,
           const std::string& Launcher, const std::vector<std::string>* Environment, const std::string& OutputFile,
           const std::string& InputFile, std::int32_t& ProcessNumber) override {
    std::string Env;
    for (const std::string& Variable : Environment ? *Environment : std::vector<std::string>())
      Env += (Env.empty() ? "" : ";") + Variable;
    const TAgentAnswer Answer = Play(AgentCall("Run", {Program, Parameters, WorkingDir, Launcher,
                                                       Environment ? "[" + Env + "]" : "none", OutputFile, InputFile}));
    ProcessNumber = Answer.Number;
    return Answer.Result;
  }
  bool Debug(const std::string& Program, bool Attach, std::int32_t& N1, std::int32_t& N2, std::int32_t& N3) override {
    const TAgentAnswer Answer =
        Play(AgentCall("Debug", {Program, B(Attach), std::to_string(N1), std::to_string(N2), std::to_string(N3)}));
    N1 = Answer.Number;
    N2 = Answer.Number2;
    return Answer.Result;
  }

 private:
  static std::string B(bool Value) { return Value ? "1" : "0"; }
  /// Logs Entry, takes the answer queued for its call, runs its During step, sets LastError.
  TAgentAnswer Play(const std::string& Entry, IConnectionListener* Connection = nullptr, IFileListener* Files = nullptr,
                    IFileIteration* Iteration = nullptr) {
    Log.push_back(Entry);
    std::deque<TAgentAnswer>& Queue = FQueued[Entry.substr(0, Entry.find('('))];
    TAgentAnswer Answer;
    if (!Queue.empty()) Answer = std::move(Queue.front()), Queue.pop_front();
    TAgentCallContext Context{Connection, Files, Iteration};
    if (Answer.During) Answer.During(Context);
    LastError = Answer.Error;
    return Answer;
  }
  bool Transfer(const std::string& Entry, IFileListener* Listener, IFileIteration* Iteration = nullptr) {
    FileListeners.push_back(Listener);
    return Play(Entry, nullptr, Listener, Iteration).Result;
  }
  bool Expand(const std::string& Entry, std::string& Expanded) {
    const TAgentAnswer Answer = Play(Entry);
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
    CreateClientCalls.push_back(AgentCall("CreateClient", {Name, VirtualFile}));
    TScriptedAgentPtr Client = Prepared.empty() ? std::make_shared<TScriptedAgent>() : Prepared.front();
    if (!Prepared.empty()) Prepared.pop_front();
    Client->Name = Name;
    Clients.push_back(Client);
    return Client;
  }
  std::unique_ptr<TRAClientProfile> CreateProfile() override { return nullptr; }
  std::string Encrypt(const std::string& Password) override { return "enc:" + Password; }

  std::vector<std::string> CreateClientCalls;  ///< "CreateClient(name,virtualfile)"
  std::vector<TScriptedAgentPtr> Clients;      ///< every client handed out, in order
  std::deque<TScriptedAgentPtr> Prepared;      ///< handed out first, in order (named on hand-out)
};
using TScriptedAgentLibraryPtr = std::shared_ptr<TScriptedAgentLibrary>;

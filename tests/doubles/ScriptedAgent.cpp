#include "doubles/ScriptedAgent.h"

#include <algorithm>

namespace {

std::string B(bool Value) { return Value ? "1" : "0"; }

std::string Join(std::initializer_list<std::string> Parts) {
  std::string Result;
  bool First = true;
  for (const std::string& Part : Parts) {
    if (!First) Result += ',';
    Result += Part;
    First = false;
  }
  return Result;
}

std::string Call(const std::string& Name, std::initializer_list<std::string> Args) {
  return Name + "(" + Join(Args) + ")";
}

}  // namespace

// ---- TAgentCallContext ----------------------------------------------------------------

bool TAgentCallContext::Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                                  std::int64_t Size2) {
  const bool Answer = Files->Overwrite(FileName, Time1, Size1, Time2, Size2);
  Agent.ListenerLog.push_back("Overwrite(" + FileName + ")=" + (Answer ? "true" : "false"));
  return Answer;
}

std::uint8_t TAgentCallContext::BytesCopied(const std::string& S1, const std::string& S2, const std::string& S3,
                                            std::int64_t Done, std::int64_t Total) {
  const std::uint8_t Answer = Files->BytesCopied(S1, S2, S3, Done, Total, nullptr);
  Agent.ListenerLog.push_back(Call("BytesCopied", {S1, S2, S3, std::to_string(Done), std::to_string(Total)}) + "=" +
                              std::to_string(Answer));
  return Answer;
}

void TAgentCallContext::PreCopy(const std::string& S1, const std::string& S2, const std::string& S3,
                                std::int64_t Size) {
  Files->PreCopy(S1, S2, S3, Size);
  Agent.ListenerLog.push_back(Call("PreCopy", {S1, S2, S3, std::to_string(Size)}));
}

std::uint8_t TAgentCallContext::Accept(const std::string& S1, const std::string& S2, bool IsDirectory) {
  std::int32_t Flags = 0;
  const std::uint8_t Answer = Files->Accept(S1, S2, IsDirectory, Flags);
  Agent.ListenerLog.push_back(Call("Accept", {S1, S2, B(IsDirectory)}) + "=" + std::to_string(Answer));
  return Answer;
}

bool TAgentCallContext::ContinueOnError(const std::string& S1, const std::string& S2) {
  const bool Answer = Files->ContinueOnError(S1, S2);
  Agent.ListenerLog.push_back(Call("ContinueOnError", {S1, S2}) + "=" + (Answer ? "true" : "false"));
  return Answer;
}

void TAgentCallContext::Deleted(const std::string& S1, const std::string& S2) {
  Files->Deleted(S1, S2);
  Agent.ListenerLog.push_back(Call("Deleted", {S1, S2}));
}

bool TAgentCallContext::EnterDirectory(const std::string& Directory) {
  const bool Answer = Iteration->EnterDirectory(Directory);
  Agent.ListenerLog.push_back("EnterDirectory(" + Directory + ")=" + (Answer ? "true" : "false"));
  return Answer;
}

bool TAgentCallContext::Retry() {
  const bool Answer = Connection ? Connection->Retry() : false;
  Agent.ListenerLog.push_back(std::string("Retry()=") + (Connection ? (Answer ? "true" : "false") : "no listener"));
  return Answer;
}

bool TAgentCallContext::Abort() {
  const bool Answer = Connection ? Connection->Abort() : false;
  Agent.ListenerLog.push_back(std::string("Abort()=") + (Connection ? (Answer ? "true" : "false") : "no listener"));
  return Answer;
}

// ---- TScriptedAgent -------------------------------------------------------------------

TScriptedAgent::TScriptedAgent(std::string Name, std::string VirtualFile)
    : Name(std::move(Name)), VirtualFile(std::move(VirtualFile)) {}

void TScriptedAgent::Script(const std::string& CallName, TAgentAnswer Answer) {
  FQueued[CallName].push_back(std::move(Answer));
}

void TScriptedAgent::Always(const std::string& CallName, TAgentAnswer Answer) { FAlways[CallName] = std::move(Answer); }

std::vector<std::string> TScriptedAgent::Actions() const {
  std::vector<std::string> Result;
  std::copy_if(Log.begin(), Log.end(), std::back_inserter(Result),
               [](const std::string& Entry) { return Entry != "IsConnected()" && Entry != "GetLastError()"; });
  return Result;
}

TAgentAnswer TScriptedAgent::Play(const std::string& CallName, const std::string& Entry,
                                  IConnectionListener* Connection, IFileListener* Files, IFileIteration* Iteration) {
  Log.push_back(Entry);
  TAgentAnswer Answer;
  auto Queue = FQueued.find(CallName);
  if (Queue != FQueued.end() && !Queue->second.empty()) {
    Answer = std::move(Queue->second.front());
    Queue->second.pop_front();
  } else if (auto Fixed = FAlways.find(CallName); Fixed != FAlways.end()) {
    Answer = Fixed->second;
  }
  if (Answer.During) {
    TAgentCallContext Context{*this, Connection, Files, Iteration};
    Answer.During(Context);
  }
  LastError = Answer.Error;
  return Answer;
}

void TScriptedAgent::SetHostName(const std::string& Value) {
  Log.push_back(Call("SetHostName", {Value}));
  HostName = Value;
}

void TScriptedAgent::SetPort(std::int32_t Value) {
  Log.push_back(Call("SetPort", {std::to_string(Value)}));
  Port = Value;
}

void TScriptedAgent::SetPlatform(const std::string& Value) {
  Log.push_back(Call("SetPlatform", {Value}));
  Platform = Value;
}

void TScriptedAgent::SetCredential(const TRACredential& Value) {
  Log.push_back(Call("SetCredential", {Value.PasswordOrFile, B(Value.IsPassword), B(Value.IsEncrypted)}));
  Credential = Value;
}

void TScriptedAgent::SetSysRoot(const std::string& Value) {
  Log.push_back(Call("SetSysRoot", {Value}));
  SysRoot = Value;
}

bool TScriptedAgent::Connect(IConnectionListener* Listener) {
  ConnectListeners.push_back(Listener);
  const TAgentAnswer Answer = Play("Connect", Listener ? "Connect(listener)" : "Connect()", Listener, nullptr, nullptr);
  Connected = Answer.Result;
  return Answer.Result;
}

void TScriptedAgent::Disconnect() {
  Log.push_back("Disconnect()");
  Connected = false;
}

bool TScriptedAgent::IsConnected() const {
  Log.push_back("IsConnected()");
  return Connected;
}

std::string TScriptedAgent::GetLastError() const {
  Log.push_back("GetLastError()");
  return LastError;
}

bool TScriptedAgent::PutFile(const std::string& RemoteDir, const std::string& LocalFile, std::int32_t Attributes,
                             const std::string& RemoteName, IFileListener* Listener) {
  FileListeners.push_back(Listener);
  return Play("PutFile", Call("PutFile", {RemoteDir, LocalFile, std::to_string(Attributes), RemoteName}), nullptr,
              Listener, nullptr)
      .Result;
}

bool TScriptedAgent::RemoveRemoteFile(const std::string& RemoteFile, IFileListener* Listener) {
  FileListeners.push_back(Listener);
  return Play("RemoveRemoteFile", Call("RemoveRemoteFile", {RemoteFile}), nullptr, Listener, nullptr).Result;
}

bool TScriptedAgent::GetFiles(const std::string& RemotePath, bool IncludeSubDirs, const std::string& Mask,
                              IFileIteration* Iteration, IFileListener* Listener) {
  FileListeners.push_back(Listener);
  return Play("GetFiles", Call("GetFiles", {RemotePath, B(IncludeSubDirs), Mask}), nullptr, Listener, Iteration)
      .Result;
}

bool TScriptedAgent::GetFrameworkFiles(const std::string& RemotePath, const std::string& FrameworkName,
                                       bool IncludeNonEssential, IFileIteration* Iteration, IFileListener* Listener) {
  FileListeners.push_back(Listener);
  return Play("GetFrameworkFiles", Call("GetFrameworkFiles", {RemotePath, FrameworkName, B(IncludeNonEssential)}),
              nullptr, Listener, Iteration)
      .Result;
}

bool TScriptedAgent::ExpandPath(const std::string& Path, std::string& Expanded) {
  const TAgentAnswer Answer = Play("ExpandPath", Call("ExpandPath", {Path}), nullptr, nullptr, nullptr);
  if (Answer.Text) Expanded = *Answer.Text;
  return Answer.Result;
}

bool TScriptedAgent::ExpandAllPaths(const std::string& Paths, std::string& Expanded) {
  const TAgentAnswer Answer = Play("ExpandAllPaths", Call("ExpandAllPaths", {Paths}), nullptr, nullptr, nullptr);
  if (Answer.Text) Expanded = *Answer.Text;
  return Answer.Result;
}

bool TScriptedAgent::DirExists(const std::string& Path) {
  return Play("DirExists", Call("DirExists", {Path}), nullptr, nullptr, nullptr).Result;
}

std::unique_ptr<TRARemoteFileList> TScriptedAgent::ListFiles(const std::string& Path, std::int32_t Depth,
                                                             bool DirectoriesOnly) {
  const TAgentAnswer Answer = Play("ListFiles", Call("ListFiles", {Path, std::to_string(Depth), B(DirectoriesOnly)}),
                                   nullptr, nullptr, nullptr);
  return Answer.Listing ? std::make_unique<TRARemoteFileList>(*Answer.Listing) : nullptr;
}

bool TScriptedAgent::CreateSymLink(const std::string& Target, const std::string& LinkName) {
  return Play("CreateSymLink", Call("CreateSymLink", {Target, LinkName}), nullptr, nullptr, nullptr).Result;
}

std::string TScriptedAgent::GetIOSLauncher(const std::string& LauncherName, bool Simulator) {
  const TAgentAnswer Answer =
      Play("GetIOSLauncher", Call("GetIOSLauncher", {LauncherName, B(Simulator)}), nullptr, nullptr, nullptr);
  return Answer.Text.value_or("");
}

std::unique_ptr<std::map<std::string, std::string>> TScriptedAgent::GetEnv() {
  const TAgentAnswer Answer = Play("GetEnv", "GetEnv()", nullptr, nullptr, nullptr);
  return Answer.Env ? std::make_unique<std::map<std::string, std::string>>(*Answer.Env) : nullptr;
}

bool TScriptedAgent::Run(const std::string& Program, const std::string& Parameters, const std::string& WorkingDir,
                         const std::string& Launcher, const std::vector<std::string>* Environment,
                         const std::string& OutputFile, const std::string& InputFile, std::int32_t& ProcessNumber) {
  std::string Env = "none";
  if (Environment) {
    Env = "[";
    for (std::size_t I = 0; I < Environment->size(); ++I) Env += (I ? ";" : "") + (*Environment)[I];
    Env += "]";
  }
  const TAgentAnswer Answer =
      Play("Run", Call("Run", {Program, Parameters, WorkingDir, Launcher, Env, OutputFile, InputFile}), nullptr,
           nullptr, nullptr);
  ProcessNumber = Answer.Number;
  return Answer.Result;
}

bool TScriptedAgent::Debug(const std::string& Program, bool Attach, std::int32_t& N1, std::int32_t& N2,
                           std::int32_t& N3) {
  const TAgentAnswer Answer = Play(
      "Debug", Call("Debug", {Program, B(Attach), std::to_string(N1), std::to_string(N2), std::to_string(N3)}),
      nullptr, nullptr, nullptr);
  N1 = Answer.Number;
  N2 = Answer.Number2;
  N3 = 99;  // never passed back by the manager (Part 3.5)
  return Answer.Result;
}

// ---- TScriptedAgentLibrary ------------------------------------------------------------

TRAClientPtr TScriptedAgentLibrary::CreateClient(const std::string& Name, const std::string& VirtualFile) {
  CreateClientCalls.push_back(Call("CreateClient", {Name, VirtualFile}));
  TScriptedAgentPtr Client;
  if (!Prepared.empty()) {
    Client = Prepared.front();
    Prepared.pop_front();
    Client->Name = Name;
    Client->VirtualFile = VirtualFile;
  } else {
    Client = std::make_shared<TScriptedAgent>(Name, VirtualFile);
  }
  if (OnCreate) OnCreate(*Client);
  Clients.push_back(Client);
  return Client;
}

std::unique_ptr<TRAClientProfile> TScriptedAgentLibrary::CreateProfile() {
  return ProfileMaker ? ProfileMaker() : nullptr;
}

std::string TScriptedAgentLibrary::Encrypt(const std::string& Password) {
  static const char Hex[] = "0123456789abcdef";
  std::string Result = "enc:";
  for (unsigned char C : Password) {
    Result += Hex[C >> 4];
    Result += Hex[C & 15];
  }
  return Result;
}

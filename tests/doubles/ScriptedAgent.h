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

class TScriptedAgent;

/// What a scripted call may call back while it runs; every callback made through these
/// helpers is recorded in the agent's ListenerLog with the manager's answer, e.g.
/// "Overwrite(a.h)=true", "BytesCopied(/r,src,dst,100,10000000)=1".
struct TAgentCallContext {
  TScriptedAgent& Agent;
  IConnectionListener* Connection = nullptr;
  IFileListener* Files = nullptr;
  IFileIteration* Iteration = nullptr;

  bool Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                 std::int64_t Size2);
  std::uint8_t BytesCopied(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t Done,
                           std::int64_t Total);
  void PreCopy(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t Size);
  std::uint8_t Accept(const std::string& S1, const std::string& S2, bool IsDirectory);
  bool ContinueOnError(const std::string& S1, const std::string& S2);
  void Deleted(const std::string& S1, const std::string& S2);
  bool EnterDirectory(const std::string& Directory);
  bool Retry();
  bool Abort();
};

/// One scripted answer of one agent call.
struct TAgentAnswer {
  bool Result = true;
  std::string Error;                 ///< GetLastError's text after this call
  std::optional<std::string> Text;   ///< ExpandPath/ExpandAllPaths output, GetIOSLauncher's answer
  std::int32_t Number = 0;           ///< Run's process number; Debug's N1
  std::int32_t Number2 = 0;          ///< Debug's N2
  std::optional<std::map<std::string, std::string>> Env;  ///< GetEnv's table (none: nullptr)
  std::optional<TRARemoteFileList> Listing;               ///< ListFiles' listing (none: nullptr)
  std::function<void(TAgentCallContext&)> During;         ///< callbacks made inside the call
};

class TScriptedAgent : public TRAClient {
 public:
  explicit TScriptedAgent(std::string Name = "", std::string VirtualFile = "");

  /// Queues Answer for the next call named Call ("Connect", "PutFile", "GetFiles", ...).
  void Script(const std::string& Call, TAgentAnswer Answer);
  /// The answer of Call whenever its queue is empty (otherwise: true, no error, no output).
  void Always(const std::string& Call, TAgentAnswer Answer);

  /// Every call, in order, as "Name(arg,...)"; Booleans as 0/1, no listener arguments.
  mutable std::vector<std::string> Log;
  /// Log without the questions IsConnected() and GetLastError().
  std::vector<std::string> Actions() const;
  /// The listener callbacks made by scripted steps, with the answers they got.
  std::vector<std::string> ListenerLog;
  /// The file listener of each transfer call (PutFile, RemoveRemoteFile, GetFiles,
  /// GetFrameworkFiles), in order; nullptr where none was passed.
  std::vector<IFileListener*> FileListeners;
  /// The listener of each Connect call, in order.
  std::vector<IConnectionListener*> ConnectListeners;
  bool Connected = false;
  std::string LastError;
  std::string Name, VirtualFile, HostName, Platform, SysRoot;
  std::int32_t Port = 0;
  TRACredential Credential;

  std::string GetName() const override { return Name; }
  std::string GetHostName() const override { return HostName; }
  void SetHostName(const std::string& Value) override;
  std::int32_t GetPort() const override { return Port; }
  void SetPort(std::int32_t Value) override;
  void SetPlatform(const std::string& Value) override;
  void SetCredential(const TRACredential& Value) override;
  void SetSysRoot(const std::string& Value) override;
  bool Connect(IConnectionListener* Listener) override;
  void Disconnect() override;
  bool IsConnected() const override;
  std::string GetLastError() const override;
  bool PutFile(const std::string& RemoteDir, const std::string& LocalFile, std::int32_t Attributes,
               const std::string& RemoteName, IFileListener* Listener) override;
  bool RemoveRemoteFile(const std::string& RemoteFile, IFileListener* Listener) override;
  bool GetFiles(const std::string& RemotePath, bool IncludeSubDirs, const std::string& Mask,
                IFileIteration* Iteration, IFileListener* Listener) override;
  bool GetFrameworkFiles(const std::string& RemotePath, const std::string& FrameworkName, bool IncludeNonEssential,
                         IFileIteration* Iteration, IFileListener* Listener) override;
  bool ExpandPath(const std::string& Path, std::string& Expanded) override;
  bool ExpandAllPaths(const std::string& Paths, std::string& Expanded) override;
  bool DirExists(const std::string& Path) override;
  std::unique_ptr<TRARemoteFileList> ListFiles(const std::string& Path, std::int32_t Depth,
                                               bool DirectoriesOnly) override;
  bool CreateSymLink(const std::string& Target, const std::string& LinkName) override;
  std::string GetIOSLauncher(const std::string& Name, bool Simulator) override;
  std::unique_ptr<std::map<std::string, std::string>> GetEnv() override;
  bool Run(const std::string& Program, const std::string& Parameters, const std::string& WorkingDir,
           const std::string& Launcher, const std::vector<std::string>* Environment, const std::string& OutputFile,
           const std::string& InputFile, std::int32_t& ProcessNumber) override;
  bool Debug(const std::string& Program, bool Attach, std::int32_t& N1, std::int32_t& N2,
             std::int32_t& N3) override;

 private:
  /// Logs Entry, takes the call's answer, runs its During step, sets LastError.
  TAgentAnswer Play(const std::string& Call, const std::string& Entry, IConnectionListener* Connection,
                    IFileListener* Files, IFileIteration* Iteration);
  std::map<std::string, std::deque<TAgentAnswer>> FQueued;
  std::map<std::string, TAgentAnswer> FAlways;
};
using TScriptedAgentPtr = std::shared_ptr<TScriptedAgent>;

/// The agent library double: hands out scripted clients and records each CreateClient.
class TScriptedAgentLibrary : public TRAClientFactory {
 public:
  TRAClientPtr CreateClient(const std::string& Name, const std::string& VirtualFile) override;
  /// ProfileMaker's object, or nullptr when none is set (a profile-file double may set it).
  std::unique_ptr<TRAClientProfile> CreateProfile() override;
  /// Deterministic: "enc:" followed by the password's bytes in hex.
  std::string Encrypt(const std::string& Password) override;

  std::vector<std::string> CreateClientCalls;  ///< "CreateClient(name,virtualfile)"
  std::vector<TScriptedAgentPtr> Clients;      ///< every client handed out, in order
  std::deque<TScriptedAgentPtr> Prepared;      ///< handed out first, in order (named on hand-out)
  std::function<void(TScriptedAgent&)> OnCreate;  ///< scripts every client handed out
  std::function<std::unique_ptr<TRAClientProfile>()> ProfileMaker;
};
using TScriptedAgentLibraryPtr = std::shared_ptr<TScriptedAgentLibrary>;

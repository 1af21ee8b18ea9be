// Hestrel client: the agent client over SSH (libssh): one connection,
// SFTP for files and listings, exec of POSIX sh commands for queries and launches.
// Failures answer false with a GetLastError text (ClientErrors.h); nothing throws.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "client/ClientOptions.h"
#include "client/Session.h"
#include "host/AgentClient.h"

namespace hestrel {

struct TDownloadContext;
class TLinkWatch;

class THestrelClient : public TRAClient {
 public:
  /// AppDataDir holds the password key file and the known-hosts file.
  THestrelClient(std::string Name, std::string AppDataDir, THestrelClientOptions Options = {});
  ~THestrelClient() override;

  std::string GetName() const override { return FName; }
  std::string GetHostName() const override { return FHostName; }
  void SetHostName(const std::string& Value) override { FHostName = Value; }
  std::int32_t GetPort() const override { return FPort; }
  void SetPort(std::int32_t Value) override { FPort = Value; }
  void SetPlatform(const std::string& Value) override { FPlatform = Value; }
  void SetCredential(const TRACredential& Value) override { FCredential = Value; }
  void SetSysRoot(const std::string& Value) override { FSysRoot = Value; }
  const std::string& GetSysRoot() const { return FSysRoot; }

  /// How the last GetFiles / GetFrameworkFiles copied its files (for tests and benchmarks).
  struct TPullStatistics {
    int FilesByTar = 0;
    int FilesBySftp = 0;
    bool ListedByFind = false;
  };
  TPullStatistics GetLastPullStatistics() const { return FLastPull; }

  /// Connects; a network failure (refused, timed out) asks Listener->Retry(): true tries
  /// again unless Listener->Abort() answers true. A session that is no longer alive (its
  /// socket closed or failed, or cut after a timeout) is dropped and a new one opened.
  bool Connect(IConnectionListener* Listener) override;
  void Disconnect() override;
  bool IsConnected() const override;
  std::string GetLastError() const override { return FLastError; }

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
  bool Debug(const std::string& Program, bool Attach, std::int32_t& N1, std::int32_t& N2, std::int32_t& N3) override;

 private:
  bool Fail(const std::string& Error);
  /// Runs one network operation under the link watch: when the watch cut a silent link, the
  /// answer is the failure value ({}), GetLastError the timed-out text, the session dropped.
  template <typename TBody>
  auto Watched(TBody&& Body);
  /// A system root is set and is neither the application-data directory nor a parent of it.
  bool LocalRootUsable();
  bool RequireSession();
  bool RequireSftp();
  TDownloadContext MakeContext(IFileIteration* Iteration, IFileListener* Listener) const;
  bool Fetch(const std::string& RemotePath, bool IncludeSubDirs, const std::string& Mask, IFileIteration* Iteration,
             IFileListener* Listener);
  bool FetchFramework(const std::string& RemotePath, const std::string& FrameworkName, bool IncludeNonEssential,
                      IFileIteration* Iteration, IFileListener* Listener);

  std::string FName;
  std::string FAppDataDir;
  THestrelClientOptions FOptions;
  std::string FHostName;
  std::int32_t FPort = 64211;
  std::string FPlatform;
  TRACredential FCredential;
  std::string FSysRoot;
  TSshSessionPtr FSession;
  std::unique_ptr<TLinkWatch> FWatch;  ///< the session's silence watch (destroyed before it)
  std::string FConnectedHost;          ///< host and port of the session, for the timed-out text
  std::int32_t FConnectedPort = 0;
  TSftpSessionPtr FSftp;  ///< opened on first use, kept for the connection
  std::set<std::string> FSweptDirectories;  ///< remote directories rid of stale temporary files (PutFile)
  std::string FLastError;
  TPullStatistics FLastPull;
};

}  // namespace hestrel

// The host's remote-agent client library: the client of the Hestrel agent server, its
// listeners, the profile-file object and Encrypt. The reference implementation is
// hestrel/client (SSH via libssh); tests supply scripted doubles.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// Credential as the agent takes it: the same three values as TOTARemoteProfileCredential.
struct TRACredential {
  std::string PasswordOrFile;
  bool IsPassword = true;
  bool IsEncrypted = false;
  bool operator==(const TRACredential&) const = default;
};

/// One path item of a profile file; its type is the kind of the list that holds it.
struct TRAPathItem {
  std::string Path;
  std::string Mask;
  bool IncludeSubDir = false;
  bool operator==(const TRAPathItem&) const = default;
};
using TRAPathItems = std::vector<TRAPathItem>;

/// Kinds of the profile file's four include-path lists.
enum class TIncludePathKind : std::uint8_t { Other = 0, Include = 1, Library = 2, Framework = 3 };

/// Time stamps passed to IFileListener::Overwrite.
using TDateTime = std::chrono::system_clock::time_point;

/// Opaque stream handle passed through BytesCopied; the system never reads it.
class TStream;

/// Asked when a connection attempt fails.
class IConnectionListener {
 public:
  virtual ~IConnectionListener() = default;
  virtual bool Retry() = 0;  ///< true: try once more
  virtual bool Abort() = 0;  ///< true: stop trying
};

/// Called back by the agent during every transfer. The three strings of
/// BytesCopied and PreCopy are: S1 the remote path, S2 the source file, S3 the destination.
class IFileListener {
 public:
  virtual ~IFileListener() = default;
  /// A destination file exists: Time1/Size1 describe the file that would be replaced,
  /// Time2/Size2 the incoming one (Size2 -1: unknown). Answers whether to replace it.
  virtual bool Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                         std::int64_t Size2) = 0;
  /// Answers the operation state byte: 2 stops the transfer.
  virtual std::uint8_t BytesCopied(const std::string& S1, const std::string& S2, const std::string& S3,
                                   std::int64_t Done, std::int64_t Total, TStream* Stream) = 0;
  virtual void PreCopy(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t Size) = 0;
  /// Before each file (S1 remote name, S2 local name; IsDirectory): 1 accept, 3 stop.
  virtual std::uint8_t Accept(const std::string& S1, const std::string& S2, bool IsDirectory,
                              std::int32_t& Flags) = 0;
  /// A file failed (S1 the file, S2 the error text): true to go on with the next one.
  virtual bool ContinueOnError(const std::string& S1, const std::string& S2) = 0;
  /// A remote file was deleted (S1 the file, S2 the host).
  virtual void Deleted(const std::string& S1, const std::string& S2) = 0;
};

/// Asked before the agent descends into a remote directory during GetFiles (an interface
/// of the agent library; the manager implements it).
class IFileIteration {
 public:
  virtual ~IFileIteration() = default;
  /// false: skip the directory and stop the iteration.
  virtual bool EnterDirectory(const std::string& RemoteDirectory) = 0;
};

/// One entry of a remote listing (ListFiles).
struct TRARemoteFile {
  std::string Name;  ///< path relative to the listed directory, "/" separated
  bool IsDirectory = false;
  bool IsSymLink = false;
  std::int64_t Size = 0;
  TDateTime Modified{};
  bool operator==(const TRARemoteFile&) const = default;
};
using TRARemoteFileList = std::vector<TRARemoteFile>;

/// The agent client. Failures are false answers with a
/// GetLastError text; nothing throws.
class TRAClient {
 public:
  virtual ~TRAClient() = default;
  virtual std::string GetName() const = 0;
  virtual std::string GetHostName() const = 0;
  virtual void SetHostName(const std::string& Value) = 0;
  virtual std::int32_t GetPort() const = 0;
  virtual void SetPort(std::int32_t Value) = 0;
  virtual void SetPlatform(const std::string& Value) = 0;
  virtual void SetCredential(const TRACredential& Value) = 0;
  /// The local root under which fetched files land (remote path appended below it).
  virtual void SetSysRoot(const std::string& Value) = 0;

  virtual bool Connect(IConnectionListener* Listener) = 0;
  virtual void Disconnect() = 0;
  virtual bool IsConnected() const = 0;
  virtual std::string GetLastError() const = 0;

  /// Sends LocalFile to the remote directory RemoteDir, as RemoteName when not empty.
  virtual bool PutFile(const std::string& RemoteDir, const std::string& LocalFile, std::int32_t Attributes,
                       const std::string& RemoteName, IFileListener* Listener) = 0;
  virtual bool RemoveRemoteFile(const std::string& RemoteFile, IFileListener* Listener) = 0;
  /// Copies the files of RemotePath that match Mask (a file-name pattern) into the system
  /// root, under RemotePath; subdirectories too when IncludeSubDirs.
  virtual bool GetFiles(const std::string& RemotePath, bool IncludeSubDirs, const std::string& Mask,
                        IFileIteration* Iteration, IFileListener* Listener) = 0;
  /// Copies the framework RemotePath/FrameworkName.framework (headers and binary; every
  /// file when IncludeNonEssential) into the system root.
  virtual bool GetFrameworkFiles(const std::string& RemotePath, const std::string& FrameworkName,
                                 bool IncludeNonEssential, IFileIteration* Iteration, IFileListener* Listener) = 0;

  virtual bool ExpandPath(const std::string& Path, std::string& Expanded) = 0;
  virtual bool ExpandAllPaths(const std::string& Paths, std::string& Expanded) = 0;
  virtual bool DirExists(const std::string& Path) = 0;
  /// Listing of Path: Depth levels of subdirectories (0: only Path), only directories when
  /// DirectoriesOnly. nullptr on failure.
  virtual std::unique_ptr<TRARemoteFileList> ListFiles(const std::string& Path, std::int32_t Depth,
                                                       bool DirectoriesOnly) = 0;
  virtual bool CreateSymLink(const std::string& Target, const std::string& LinkName) = 0;
  virtual std::string GetIOSLauncher(const std::string& Name, bool Simulator) = 0;
  /// The remote environment; the caller owns the table. nullptr on failure.
  virtual std::unique_ptr<std::map<std::string, std::string>> GetEnv() = 0;
  /// Starts Program with Parameters in WorkingDir (the manager's Run passes A, B, C, E, Env, D, F).
  virtual bool Run(const std::string& Program, const std::string& Parameters, const std::string& WorkingDir,
                   const std::string& Launcher, const std::vector<std::string>* Environment,
                   const std::string& OutputFile, const std::string& InputFile, std::int32_t& ProcessNumber) = 0;
  virtual bool Debug(const std::string& Program, bool Attach, std::int32_t& N1, std::int32_t& N2,
                     std::int32_t& N3) = 0;
};
using TRAClientPtr = std::shared_ptr<TRAClient>;

/// The agent library's profile object: owns the profile-file format.
class TRAClientProfile {
 public:
  virtual ~TRAClientProfile() = default;
  virtual bool ReadProfileSettings(const std::string& FileName) = 0;
  virtual bool SaveProfileSettings(const std::string& FileName) = 0;
  /// Why the last read or save failed.
  virtual std::string GetLastError() const = 0;
  virtual void SetProfileName(const std::string& Value) = 0;
  virtual void SetPlatform(const std::string& Value) = 0;
  virtual void SetHost(const std::string& Value) = 0;
  virtual void SetPort(std::int32_t Value) = 0;
  virtual void SetCredential(const TRACredential& Value) = 0;
  virtual void SetSysRoot(const std::string& Value) = 0;
  virtual void SetIncludePath(const TRAPathItems& Items, TIncludePathKind Kind) = 0;
  virtual std::string GetProfileName() const = 0;
  virtual std::string GetPlatform() const = 0;
  virtual std::string GetHost() const = 0;
  virtual std::int32_t GetPort() const = 0;
  virtual std::string GetSysRoot(bool Expand) const = 0;
  virtual TRACredential GetCredential() const = 0;
  virtual TRAPathItems GetIncludePath(TIncludePathKind Kind) const = 0;
};

/// The agent library's factory; GetInstance answers the host's registered library.
class TRAClientFactory {
 public:
  virtual ~TRAClientFactory() = default;
  static TRAClientFactory* GetInstance();
  /// A new client named after a profile; VirtualFile may be empty.
  virtual TRAClientPtr CreateClient(const std::string& Name, const std::string& VirtualFile) = 0;
  virtual std::unique_ptr<TRAClientProfile> CreateProfile() = 0;
  /// The stored (enciphered) form of a password: one string in, one out. "" when the
  /// library cannot encipher (never the clear text); an empty password may stay empty.
  virtual std::string Encrypt(const std::string& Password) = 0;
};
using TRAClientFactoryPtr = std::shared_ptr<TRAClientFactory>;

/// The agent library's Encrypt: the only way a password reaches a store. ""
/// when it cannot encipher, also when no agent library is installed (docs/DECISIONS.md).
std::string Encrypt(const std::string& Password);

// Test helpers for the Hestrel client: a real OpenSSH sshd on a loopback port with key
// authentication, temporary directories, and recording listeners.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "client/ClientOptions.h"
#include "host/AgentClient.h"

namespace hestrel_test {

/// A temporary directory removed (recursively) on destruction.
class TTempDir {
 public:
  TTempDir();
  ~TTempDir();
  TTempDir(const TTempDir&) = delete;
  TTempDir& operator=(const TTempDir&) = delete;
  const std::filesystem::path& Path() const { return FPath; }
  std::string operator/(const std::string& Name) const { return (FPath / Name).string(); }

 private:
  std::filesystem::path FPath;
};

/// /usr/sbin/sshd -D on 127.0.0.1 with a temporary host key; the client key lives in
/// ClientSshDir() (id_ed25519), authorised for every user (tests run as root).
class TTestSshd {
 public:
  TTestSshd();
  ~TTestSshd();
  bool Start();
  void Stop();
  int Port() const { return FPort; }
  std::string ClientSshDir() const { return (FDir.Path() / "client").string(); }
  std::string HostKeyFile() const { return (FDir.Path() / "host_key").string(); }
  /// Client options that find the test's client key.
  hestrel::THestrelClientOptions Options() const;
  std::string Log() const;

 private:
  TTempDir FDir;
  int FPort = 0;
  pid_t FPid = -1;
};

/// A free TCP port on 127.0.0.1 (bound and released).
int FreeLoopbackPort();
/// Runs a shell command; answers its exit status.
int Shell(const std::string& Command);
/// Writes Text to Path (creating parent directories) and sets its modification time.
void MakeFile(const std::string& Path, const std::string& Text, std::int64_t Modified = 1600000000);
std::string Slurp(const std::string& Path);
/// Names (relative, sorted) of every entry below Dir (files, links, directories).
std::vector<std::string> TreeOf(const std::string& Dir);
/// The process ids whose parent is Parent (read from /proc).
std::vector<pid_t> ChildrenOf(pid_t Parent);

/// IFileListener that records every call and answers from settable functions.
class TRecordingListener : public IFileListener {
 public:
  struct TOverwriteCall {
    std::string File;
    std::int64_t Size1, Size2;
    TDateTime Time1, Time2;
  };
  std::vector<TOverwriteCall> Overwrites;
  std::vector<std::string> Accepted, PreCopied, Errors, ErrorTexts, DeletedFiles, DeletedHosts;
  int BytesCopiedCalls = 0;
  std::int64_t LastDone = 0, LastTotal = 0;
  std::string LastS1, LastS2, LastS3;

  bool OverwriteAnswer = true;
  std::uint8_t AcceptAnswer = 1;
  bool ContinueAnswer = true;
  /// Answer of BytesCopied; 2 stops the transfer.
  std::function<std::uint8_t(std::int64_t Done, std::int64_t Total)> OnBytes;

  bool Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                 std::int64_t Size2) override;
  std::uint8_t BytesCopied(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t Done,
                           std::int64_t Total, TStream*) override;
  void PreCopy(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t) override;
  std::uint8_t Accept(const std::string& S1, const std::string& S2, bool, std::int32_t&) override;
  bool ContinueOnError(const std::string& S1, const std::string& S2) override;
  void Deleted(const std::string& S1, const std::string& S2) override;
};

class TRecordingIteration : public IFileIteration {
 public:
  std::vector<std::string> Entered;
  bool Answer = true;
  bool EnterDirectory(const std::string& Dir) override {
    Entered.push_back(Dir);
    return Answer;
  }
};

class TScriptedConnectionListener : public IConnectionListener {
 public:
  int RetryCalls = 0, AbortCalls = 0;
  int RetriesGranted = 0;  ///< Retry answers true this many times
  bool AbortAnswer = false;
  bool Retry() override { return ++RetryCalls <= RetriesGranted; }
  bool Abort() override {
    ++AbortCalls;
    return AbortAnswer;
  }
};

}  // namespace hestrel_test

// Test support for the Hestrel client and server: temporary folders and files, the built
// `hestrel` server and a real OpenSSH sshd as child processes on loopback, and a recording
// listener for the client.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "client/HestrelClient.h"
#include "doubles/FileText.h"

namespace hestrel_test {

namespace fs = std::filesystem;

/// kill(2) for one process only: a pid of 1 or below (init, the caller's process group, every
/// process) is refused with -1, so a pid that was never found cannot stop the whole machine.
int KillProcess(pid_t Pid, int Signal);

/// A temporary directory removed (recursively) on destruction.
struct TTempDir {
  TTempDir();
  ~TTempDir();
  TTempDir(const TTempDir&) = delete;
  std::string operator/(const std::string& Name) const { return (Path / Name).string(); }
  fs::path Path;
};

/// Writes Text to Path (creating parent directories) with Mode and modification time Modified.
void MakeFile(const std::string& Path, const std::string& Text, std::int64_t Modified = 1600000000,
              unsigned Mode = 0644);
/// Names (relative, sorted) of every entry below Dir (files, links, directories).
std::vector<std::string> TreeOf(const std::string& Dir);
/// Checks Condition every 20 ms until it holds or TimeoutMs passed; answers its last value.
bool WaitFor(const std::function<bool()>& Condition, int TimeoutMs = 5000);

/// The built `hestrel` server (its path compiled in, tests/CMakeLists.txt) in a temporary
/// directory with a password file (0600), on an ephemeral loopback port read from its
/// "hestrel listening on ADDRESS:PORT" line. Its stderr goes to Log().
struct TTestServer {
  TTestServer();
  ~TTestServer();  ///< stops the server (SIGKILL if it does not stop)
  /// --port 0, the password file, the host key, --root Dir and --auth-delay-ms 200 (and
  /// --allow-root when the tests run as root), then Extra.
  bool Start(const std::vector<std::string>& Extra = {});
  /// Exactly Args (after Launcher); true once the listening line arrived.
  bool StartWithArgs(const std::vector<std::string>& Args);
  /// SIGTERM, then waits up to 10 s; answers the exit code (-1 on timeout or a signal).
  int Stop();
  std::string Log() const { return ReadFileText((Dir.Path / "server.log").string()); }
  /// Waits (at most 3 s) until the log holds Text.
  bool LogShows(const std::string& Text) const;
  /// The process serving the latest connection, as the log names it.
  pid_t LatestConnection() const;
  /// A client of this server with its password.
  std::shared_ptr<hestrel::THestrelClient> Client(const std::string& AppData,
                                                  const hestrel::THestrelClientOptions& Options = {}) const;

  const std::string Password = "correct horse";
  TTempDir Dir;
  const fs::path PasswordFile = Dir.Path / "password", HostKeyFile = Dir.Path / "keys/host_key_ed25519";
  std::vector<std::pair<std::string, std::string>> Env;  ///< added for the processes started afterwards
  /// A program that execs the server (its path and arguments follow), e.g. a shell that
  /// closes descriptors first.
  std::vector<std::string> Launcher;
  pid_t Pid = -1;
  int Port = 0;
  std::string ListeningLine;
};

/// /usr/sbin/sshd -D on 127.0.0.1 with a temporary host key; the client key lives in
/// Options().SshDirectory, authorised for every user (tests run as root).
struct TTestSshd {
  ~TTestSshd();
  bool Start();
  hestrel::THestrelClientOptions Options() const;
  TTempDir Dir;
  pid_t Pid = -1;
  int Port = 0;
};

/// One sshd and one hestrel server (default options) for the whole test program, started on
/// first use.
TTestSshd& SharedSshd();
TTestServer& SharedServer();

/// A client of Host on Port with Credential, keeping its key and known-hosts files in AppData.
std::shared_ptr<hestrel::THestrelClient> MakeClient(const std::string& AppData, int Port,
                                                    const TRACredential& Credential,
                                                    const hestrel::THestrelClientOptions& Options = {},
                                                    const std::string& Host = "127.0.0.1");

/// IFileListener that records every call as text and answers from settable values.
struct TRecordingListener : IFileListener {
  std::vector<std::string> Overwrites;                             ///< "FILE SIZE1@TIME1 SIZE2@TIME2", times in seconds
  std::vector<std::string> Accepted, Errors, ErrorTexts, Removed;  ///< Removed: "FILE@HOST"
  std::string LastBytes;  ///< the last byte progress: "S1|S2|S3|DONE/TOTAL"
  bool OverwriteAnswer = true;
  std::function<std::uint8_t()> OnBytes;  ///< answers BytesCopied (2 stops the transfer)

  bool Overwrite(const std::string& File, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                 std::int64_t Size2) override {
    auto Text = [](std::int64_t Size, TDateTime Time) {
      return std::to_string(Size) + "@" +
             std::to_string(std::chrono::duration_cast<std::chrono::seconds>(Time.time_since_epoch()).count());
    };
    Overwrites.push_back(File + " " + Text(Size1, Time1) + " " + Text(Size2, Time2));
    return OverwriteAnswer;
  }
  std::uint8_t BytesCopied(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t Done,
                           std::int64_t Total, TStream*) override {
    LastBytes = S1 + "|" + S2 + "|" + S3 + "|" + std::to_string(Done) + "/" + std::to_string(Total);
    return OnBytes ? OnBytes() : 1;
  }
  void PreCopy(const std::string&, const std::string&, const std::string&, std::int64_t) override {}
  std::uint8_t Accept(const std::string& S1, const std::string&, bool, std::int32_t&) override {
    Accepted.push_back(S1);
    return 1;
  }
  bool ContinueOnError(const std::string& S1, const std::string& S2) override {
    Errors.push_back(S1);
    ErrorTexts.push_back(S2);
    return true;
  }
  void Deleted(const std::string& S1, const std::string& S2) override { Removed.push_back(S1 + "@" + S2); }
};

}  // namespace hestrel_test

// Test helper: runs the built `hestrel` server (its path compiled in, tests/CMakeLists.txt) in a
// temporary directory with a password file (0600) and a host key there, on an ephemeral
// loopback port read from its "hestrel listening on ADDRESS:PORT" line; stops it with SIGTERM.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace hestrel_test {

class TTestServer {
 public:
  /// Creates the temporary directory (root of the server's commands) and the password file.
  explicit TTestServer(std::string Password = "correct horse");
  ~TTestServer();  ///< stops the server (SIGKILL if it does not stop) and removes the directory
  TTestServer(const TTestServer&) = delete;
  TTestServer& operator=(const TTestServer&) = delete;

  /// Starts hestrel with --port 0, the password file, the host key, --root Dir() and
  /// --auth-delay-ms 200, followed by Extra. True once the listening line arrived.
  bool Start(const std::vector<std::string>& Extra = {});
  /// Starts hestrel with exactly Args (no defaults); true once the listening line arrived.
  bool StartWithArgs(const std::vector<std::string>& Args);
  /// Sets an environment variable for the server processes started afterwards.
  void SetEnv(const std::string& Name, const std::string& Value) { FEnv.emplace_back(Name, Value); }
  /// Runs hestrel with exactly Args (no defaults) to its end, its stdout into Output;
  /// answers its exit code.
  int RunToEnd(const std::vector<std::string>& Args, std::string& Output);
  /// SIGTERM, then waits up to 10 s; answers the exit code (-1 on timeout or a signal).
  int Stop();

  int Port() const { return FPort; }
  pid_t Pid() const { return FPid; }
  const std::string& Password() const { return FPassword; }
  const std::string& ListeningLine() const { return FListeningLine; }
  std::filesystem::path Dir() const { return FDir; }
  std::filesystem::path PasswordFile() const { return FDir / "password"; }
  std::filesystem::path HostKeyFile() const { return FDir / "keys" / "host_key_ed25519"; }
  /// Everything the server wrote to stderr so far.
  std::string Log() const;

  static std::string BinaryPath();

 private:
  pid_t Spawn(const std::vector<std::string>& Args, int& StdoutFd);
  int WaitExit(int TimeoutMs);

  std::string FPassword;
  std::filesystem::path FDir;
  pid_t FPid = -1;
  int FPort = 0;
  std::string FListeningLine;
  std::vector<std::pair<std::string, std::string>> FEnv;
};

/// Writes Text to Path with the given mode.
void WriteFile(const std::filesystem::path& Path, const std::string& Text, unsigned Mode);
std::string ReadFile(const std::filesystem::path& Path);

}  // namespace hestrel_test

// Test helper: a minimal libssh client for driving the hestrel server in tests.
#pragma once

#include <libssh/libssh.h>

#include <string>
#include <utility>
#include <vector>

namespace hestrel_test {

struct TExecResult {
  bool Ok = false;          ///< the channel opened and the exec request was accepted
  std::string Out;          ///< channel data
  std::string Err;          ///< extended data
  int ExitStatus = -1;      ///< "exit-status", -1 when none came
  std::string ExitSignal;   ///< "exit-signal" name, empty when none came
};

class TServerTestClient {
 public:
  TServerTestClient();
  ~TServerTestClient();
  TServerTestClient(const TServerTestClient&) = delete;
  TServerTestClient& operator=(const TServerTestClient&) = delete;

  /// TCP connect and key exchange with 127.0.0.1:Port (host key not checked).
  bool Connect(int Port);
  /// ssh_userauth_password's answer (SSH_AUTH_SUCCESS, SSH_AUTH_DENIED, SSH_AUTH_ERROR).
  int Login(const std::string& User, const std::string& Password);
  /// The methods the server offers after a "none" attempt (SSH_AUTH_METHOD_* bits).
  int OfferedMethods();
  /// "SHA256:..." of the server's host key.
  std::string ServerFingerprint();
  /// Runs Command with Input on stdin (then EOF) and Env as "env" requests; reads to the end.
  TExecResult Exec(const std::string& Command, const std::string& Input = "",
                   const std::vector<std::pair<std::string, std::string>>& Env = {});
  /// Opens a session channel and sends exec without reading; the caller owns the channel.
  ssh_channel StartExec(const std::string& Command);
  /// Reads one line of channel data (without the newline) within TimeoutMs.
  static std::string ReadLine(ssh_channel Channel, int TimeoutMs);
  /// Reads channel data and extended data until EOF, then the exit status (not the exit
  /// signal: Exec registers for that before its request).
  static void ReadToEnd(ssh_channel Channel, TExecResult& Result);

  ssh_session Session() const { return FSession; }

 private:
  ssh_session FSession = nullptr;
};

}  // namespace hestrel_test

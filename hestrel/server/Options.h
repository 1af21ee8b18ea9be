// Hestrel server: command-line options.
#pragma once

#include <string>

namespace hestrel::server {

/// Default agent port, the same as a new profile's port number.
inline constexpr int DefaultPort = 64211;

struct TServerOptions {
  std::string ListenAddress = "127.0.0.1";  ///< loopback unless asked otherwise
  int Port = DefaultPort;                   ///< 0 picks an ephemeral port
  std::string PasswordFile;                 ///< required; first line is the password
  std::string HostKeyFile;                  ///< empty: DefaultHostKeyPath()
  std::string RootDir;                      ///< working directory of commands; empty: home
  std::string SftpServer = "/usr/lib/openssh/sftp-server";
  int MaxConnections = 256;     ///< connections served at once; more are closed at once
  int MaxStartups = 16;         ///< of those, connections not logged in yet
  int MaxChannels = 10;         ///< channels open at once on one connection
  bool AllowRoot = false;       ///< whether it may run as root
  int AuthDelayMs = 1500;       ///< wait after an address's first failed passwords (hidden option)
  int LoginGraceSeconds = 60;   ///< time allowed for key exchange and login (hidden option)
  int BannerGraceSeconds = 10;  ///< time allowed for the client's banner and the key exchange (hidden option)
};

enum class TParseOutcome { Run, ExitSuccess, ExitFailure };

/// Parses argv into Options. --help and --version print to stdout and answer ExitSuccess;
/// a bad command line prints the reason to stderr and answers ExitFailure.
TParseOutcome ParseOptions(int argc, char** argv, TServerOptions& Options);

}  // namespace hestrel::server

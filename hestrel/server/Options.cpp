// Hestrel server: command-line options parsed with CLI11.
#include "server/Options.h"

#include <CLI/CLI.hpp>

#ifndef HESTREL_VERSION
#define HESTREL_VERSION "0.0.0"
#endif

namespace hestrel::server {

TParseOutcome ParseOptions(int argc, char** argv, TServerOptions& Options) {
  CLI::App App{
      "hestrel - the Hestrel remote agent: an SSH server that authenticates with its own password,\n"
      "serves SFTP and runs commands as the user that started it (an ordinary user; root only with --allow-root)."};
  App.set_version_flag("--version", std::string("hestrel ") + HESTREL_VERSION);
  App.add_option("--port", Options.Port, "TCP port to listen on (0: any free port)")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  App.add_option("--password-file", Options.PasswordFile,
                 "file whose first line is the password (a regular file of yours that group and others cannot "
                 "access)")
      ->required();
  App.add_option("--listen", Options.ListenAddress, "address to listen on")->capture_default_str();
  App.add_option("--host-key", Options.HostKeyFile,
                 "ed25519 host key file, created when missing "
                 "(default: $XDG_DATA_HOME/hestrel/host_key_ed25519)");
  App.add_option("--root", Options.RootDir, "working directory of commands and SFTP (default: home)");
  App.add_option("--sftp-server", Options.SftpServer, "SFTP server program")->capture_default_str();
  App.add_option("--max-connections", Options.MaxConnections,
                 "connections served at once (each one process); further ones are closed at once")
      ->check(CLI::Range(1, 10000))
      ->capture_default_str();
  App.add_option("--max-startups", Options.MaxStartups,
                 "connections not logged in yet, at once; a further one makes room by closing the oldest of "
                 "the address that holds the most (so that idle connections cannot shut out the users)")
      ->check(CLI::Range(1, 10000))
      ->capture_default_str();
  App.add_option("--max-channels", Options.MaxChannels, "channels open at once on one connection")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  App.add_flag("--allow-root", Options.AllowRoot,
               "run even as root (commands then run as root for anyone who has the password)");
  // Test hooks, left out of --help (the last of a repeated one holds).
  App.add_option("--auth-delay-ms", Options.AuthDelayMs)
      ->check(CLI::Range(0, 60000))
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
      ->group("");
  App.add_option("--login-grace-seconds", Options.LoginGraceSeconds)->check(CLI::Range(1, 3600))->group("");
  App.add_option("--banner-grace-seconds", Options.BannerGraceSeconds)->check(CLI::Range(1, 3600))->group("");
  try {
    App.parse(argc, argv);
  } catch (const CLI::ParseError& Error) {
    return App.exit(Error) == 0 ? TParseOutcome::ExitSuccess : TParseOutcome::ExitFailure;
  }
  return TParseOutcome::Run;
}

}  // namespace hestrel::server

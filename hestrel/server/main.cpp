// hestrel: the Hestrel remote agent server (see docs/hestrel-server.md).
#include <filesystem>
#include <libssh/libssh.h>
#include <sodium.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "server/Authenticator.h"
#include "server/HostKey.h"
#include "server/Listener.h"
#include "server/Log.h"
#include "server/Options.h"
#include "server/Signals.h"

namespace hs = hestrel::server;

namespace {

/// Commands and SFTP run in the --root directory, by default the user's home.
bool EnterRoot(const std::string& Root, std::string& Error) {
  std::string Dir = Root;
  if (Dir.empty()) {
    const char* Home = std::getenv("HOME");
    Dir = Home != nullptr && *Home != '\0' ? Home : "/";
  }
  if (::chdir(Dir.c_str()) != 0) {
    Error = "cannot enter root directory " + Dir + ": " + std::strerror(errno);
    return false;
  }
  return true;
}

int Fail(const std::string& Message) {
  std::fprintf(stderr, "hestrel: %s\n", Message.c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  hs::TServerOptions Options;
  switch (hs::ParseOptions(argc, argv, Options)) {
    case hs::TParseOutcome::ExitSuccess: return 0;
    case hs::TParseOutcome::ExitFailure: return 2;
    case hs::TParseOutcome::Run: break;
  }
  if (sodium_init() < 0) return Fail("cannot initialise libsodium");
  std::string Password, Error;
  if (!hs::ReadPasswordFile(Options.PasswordFile, Password, Error)) return Fail(Error);
  hs::TAuthenticator Authenticator(Password);
  sodium_memzero(Password.data(), Password.size());

  if (ssh_init() != SSH_OK) return Fail("cannot initialise libssh");
  // Absolute, because the listener loads the key after EnterRoot has changed directory.
  std::string HostKeyPath =
      std::filesystem::absolute(Options.HostKeyFile.empty() ? hs::DefaultHostKeyPath() : Options.HostKeyFile)
          .lexically_normal()
          .string();
  std::string Fingerprint;
  if (!hs::PrepareHostKey(HostKeyPath, Fingerprint, Error)) return Fail(Error);
  if (!EnterRoot(Options.RootDir, Error)) return Fail(Error);
  if (::access(Options.SftpServer.c_str(), X_OK) != 0)
    hs::Log("warning: SFTP server " + Options.SftpServer + " is not executable; the sftp subsystem will fail");
  hs::Log("host key " + HostKeyPath + " (" + Fingerprint + ")");

  hs::IgnoreSigPipe();
  int Code = hs::RunListener(Options, Authenticator, HostKeyPath);
  ssh_finalize();
  return Code;
}

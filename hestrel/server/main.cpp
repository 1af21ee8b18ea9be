// hestrel: the Hestrel remote agent server (see docs/hestrel-server.md).
#include <fcntl.h>
#include <libssh/libssh.h>
#include <sodium.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "server/Authenticator.h"
#include "server/HostKey.h"
#include "server/Listener.h"
#include "server/Log.h"
#include "server/Options.h"
#include "server/Signals.h"

namespace hs = hestrel::server;

namespace {

/// Opens /dev/null on whichever of descriptors 0, 1 and 2 is closed, before anything else is
/// opened: otherwise the listening socket, a client's socket or a command's pipe would take
/// that number, and the log (stderr) would land in it.
bool OpenStandardDescriptors() {
  for (int Fd = STDIN_FILENO; Fd <= STDERR_FILENO; ++Fd) {
    if (::fcntl(Fd, F_GETFD) != -1 || errno != EBADF) continue;
    const int Opened = ::open("/dev/null", O_RDWR);  // takes the lowest free number: Fd
    if (Opened != Fd) return false;
  }
  return true;
}

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
  if (!OpenStandardDescriptors()) return 1;
  hs::TServerOptions Options;
  switch (hs::ParseOptions(argc, argv, Options)) {
    case hs::TParseOutcome::ExitSuccess: return 0;
    case hs::TParseOutcome::ExitFailure: return 2;
    case hs::TParseOutcome::Run: break;
  }
  if (::geteuid() == 0 && !Options.AllowRoot)
    return Fail(
        "refusing to run as root: anyone with the password would run commands as root; start it as an "
        "ordinary user, or give --allow-root");
  if (sodium_init() < 0) return Fail("cannot initialise libsodium");
  std::string Password, Error;
  if (!hs::ReadPasswordFile(Options.PasswordFile, Password, Error)) return Fail(Error);
  hs::TAuthenticator Authenticator(Password);
  sodium_memzero(Password.data(), Password.size());

  if (ssh_init() != SSH_OK) return Fail("cannot initialise libssh");
  // Absolute, so that the log names the file wherever the server was started.
  std::string HostKeyPath =
      std::filesystem::absolute(Options.HostKeyFile.empty() ? hs::DefaultHostKeyPath() : Options.HostKeyFile)
          .lexically_normal()
          .string();
  std::string Fingerprint;
  hs::TSshKey HostKey;
  if (!hs::LoadHostKey(HostKeyPath, HostKey, Fingerprint, Error)) return Fail(Error);
  if (!EnterRoot(Options.RootDir, Error)) return Fail(Error);
  if (::access(Options.SftpServer.c_str(), X_OK) != 0)
    hs::Log("warning: SFTP server " + Options.SftpServer + " is not executable; the sftp subsystem will fail");
  hs::Log("host key " + HostKeyPath + " (" + Fingerprint + ")");

  hs::IgnoreSigPipe();
  int Code = hs::RunListener(Options, Authenticator, std::move(HostKey));
  ssh_finalize();
  return Code;
}

// Hestrel client, connecting: authentication (see Authentication.h).
#include "client/Authentication.h"

#include <fcntl.h>
#include <pwd.h>
#include <sodium.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "client/ClientErrors.h"
#include "client/PasswordCipher.h"
#include "core/Text.h"

namespace hestrel {

void SplitUserHost(const std::string& HostName, std::string& User, std::string& Host) {
  const auto At = HostName.rfind('@');
  if (At == std::string::npos) {
    User = LocalLoginName();
    Host = HostName;
  } else {
    User = HostName.substr(0, At);
    Host = HostName.substr(At + 1);
    if (User.empty()) User = LocalLoginName();
  }
}

std::string LocalLoginName() {
  if (const passwd* Entry = getpwuid(geteuid()); Entry && Entry->pw_name) return Entry->pw_name;
  if (const char* Name = getenv("USER")) return Name;
  return "";
}

namespace {

/// A password file is read up to this size; its first line must end within it.
constexpr std::size_t MaxPasswordFileBytes = 64 * 1024;

/// The first line of File (one trailing CR dropped) into Clear; "" or the error text. The
/// bytes go straight from read(2) into Clear's one buffer, sized once and never grown (no
/// stream buffer, no reallocation), so no copy outlives Clear's wipe whatever the length.
std::string ReadPasswordLine(const std::string& File, TSecretText& Clear) {
  const int Fd = open(File.c_str(), O_RDONLY | O_CLOEXEC);
  if (Fd < 0) return Format(sErrPasswordFile, {File});
  std::string& Buffer = Clear.Mutable();
  Buffer.assign(MaxPasswordFileBytes, '\0');
  std::size_t Size = 0;
  bool Failed = false;
  while (Size < Buffer.size()) {
    const ssize_t N = read(Fd, Buffer.data() + Size, Buffer.size() - Size);
    if (N < 0 && errno == EINTR) continue;
    if (N <= 0) {
      Failed = N < 0;
      break;
    }
    Size += static_cast<std::size_t>(N);
    if (std::memchr(Buffer.data() + Size - static_cast<std::size_t>(N), '\n', static_cast<std::size_t>(N))) break;
  }
  close(Fd);
  const auto End = Buffer.begin() + static_cast<std::ptrdiff_t>(Size);
  const auto Eol = std::find(Buffer.begin(), End, '\n');
  if (Failed || (Eol == End && Size == Buffer.size())) {  // unreadable, or no line end in reach
    Clear.Wipe();
    return Format(sErrPasswordFile, {File});
  }
  Buffer.resize(static_cast<std::size_t>(Eol - Buffer.begin()));  // shrinking keeps the buffer
  if (!Buffer.empty() && Buffer.back() == '\r') Buffer.pop_back();
  return "";
}

/// The clear password of the credential, into Clear; "" or the error text.
std::string ObtainPassword(const TRACredential& Credential, const std::string& KeyDirectory, TSecretText& Clear) {
  if (Credential.IsPassword) {
    if (Credential.PasswordOrFile.empty()) return "";
    if (!Credential.IsEncrypted) {
      Clear = TSecretText(Credential.PasswordOrFile);
      return "";
    }
    TPasswordCipher Cipher(KeyDirectory);
    return Cipher.Decrypt(Credential.PasswordOrFile, Clear) ? "" : Cipher.GetLastError();
  }
  if (Credential.PasswordOrFile.empty()) return "";
  return ReadPasswordLine(Credential.PasswordOrFile, Clear);
}

int KeyboardInteractive(ssh_session Session, const std::string& Password) {
  int Rc = ssh_userauth_kbdint(Session, nullptr, nullptr);
  for (int Round = 0; Rc == SSH_AUTH_INFO && Round < 8; ++Round) {
    const int Prompts = ssh_userauth_kbdint_getnprompts(Session);
    for (int I = 0; I < Prompts; ++I) {
      char Echo = 0;
      ssh_userauth_kbdint_getprompt(Session, static_cast<unsigned>(I), &Echo);
      // Only hidden prompts are password questions; a visible one gets an empty answer.
      if (ssh_userauth_kbdint_setanswer(Session, static_cast<unsigned>(I), Echo ? "" : Password.c_str()) < 0)
        return SSH_AUTH_ERROR;
    }
    Rc = ssh_userauth_kbdint(Session, nullptr, nullptr);
  }
  return Rc;
}

int PasswordLogin(ssh_session Session, const std::string& Password) {
  int Rc = ssh_userauth_none(Session, nullptr);
  if (Rc == SSH_AUTH_SUCCESS || Rc == SSH_AUTH_ERROR) return Rc;
  const int Methods = ssh_userauth_list(Session, nullptr);
  Rc = SSH_AUTH_DENIED;
  if (Methods & SSH_AUTH_METHOD_PASSWORD) Rc = ssh_userauth_password(Session, nullptr, Password.c_str());
  if (Rc != SSH_AUTH_SUCCESS && Rc != SSH_AUTH_ERROR && (Methods & SSH_AUTH_METHOD_INTERACTIVE))
    Rc = KeyboardInteractive(Session, Password);
  return Rc;
}

}  // namespace

std::string Authenticate(ssh_session Session, const TRACredential& Credential, const std::string& KeyDirectory,
                         const std::string& User, const std::string& Host, int Port) {
  TSecretText Password;
  if (std::string Error = ObtainPassword(Credential, KeyDirectory, Password); !Error.empty()) return Error;
  const int Rc = Password.Get().empty() ? ssh_userauth_publickey_auto(Session, nullptr, nullptr)
                                        : PasswordLogin(Session, Password.Get());
  Password.Wipe();
  if (Rc == SSH_AUTH_SUCCESS) return "";
  return Format(sErrAuthFailed, {User, Host, static_cast<std::int64_t>(Port)});
}

}  // namespace hestrel

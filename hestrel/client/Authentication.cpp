// Hestrel client (Part 3.1, connecting): authentication (see Authentication.h).
#include "client/Authentication.h"

#include <pwd.h>
#include <sodium.h>
#include <unistd.h>

#include <fstream>

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
  std::ifstream In(Credential.PasswordOrFile, std::ios::binary);
  if (!In) return Format(sErrPasswordFile, {Credential.PasswordOrFile});
  Clear.Mutable().reserve(256);  // one buffer, so no unwiped copy is left behind by growth
  std::getline(In, Clear.Mutable());
  if (!Clear.Get().empty() && Clear.Get().back() == '\r') Clear.Mutable().pop_back();
  return "";
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

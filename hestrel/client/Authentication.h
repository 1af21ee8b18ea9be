// Hestrel client, connecting: user authentication with a profile's credential.
#pragma once

#include <libssh/libssh.h>

#include <string>

#include "host/AgentClient.h"

namespace hestrel {

/// Splits "user@host" (the last '@'); without one, User is the local login name.
void SplitUserHost(const std::string& HostName, std::string& User, std::string& Host);

/// The local login name (effective user), "" when unknown.
std::string LocalLoginName();

/// Authenticates the connected session. The password is deciphered (encrypted
/// credential) or read (password file, first line) here, used, and wiped. An empty
/// password uses the user's SSH agent and keys. Answers "" or the error text.
std::string Authenticate(ssh_session Session, const TRACredential& Credential, const std::string& KeyDirectory,
                         const std::string& User, const std::string& Host, int Port);

}  // namespace hestrel

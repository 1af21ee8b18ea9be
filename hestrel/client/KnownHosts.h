// Hestrel client, connecting: host keys in the product's own known-hosts file.
#pragma once

#include <libssh/libssh.h>

#include <string>

namespace hestrel {

/// The known-hosts file of the product: AppDataDir + "/known_hosts" (OpenSSH format).
std::string KnownHostsPath(const std::string& AppDataDir);

/// Points the session at the product's known-hosts file only (never the user's or the
/// system's). Call before ssh_connect. Answers "" or the error text: libssh would otherwise
/// fall back to ~/.ssh/known_hosts without a word.
std::string UseProductKnownHosts(ssh_session Session, const std::string& KnownHostsFile);

/// Before ssh_connect (which already reads the file to choose key types): every key line of
/// the file must parse as libssh reads it, since libssh takes a file with one damaged line
/// for empty, every host for unknown, and would accept and record any key. Answers "" or the
/// error text naming the file and the first damaged line.
std::string CheckKnownHostsFile(const std::string& KnownHostsFile, const std::string& Host, int Port);

/// After ssh_connect: the files libssh really uses must be the product's (else the error
/// text); a first-seen host's key is recorded; a known host must show the recorded key.
/// Answers "" when the key is accepted, else the error text.
std::string VerifyHostKey(ssh_session Session, const std::string& Host, int Port,
                          const std::string& KnownHostsFile);

}  // namespace hestrel

// Hestrel server: the listening process. Binds the address, announces the port on stdout,
// accepts connections and forks one process per connection (TSessionServer), judges their
// logins (LoginGate.h), makes room when too many connections have not logged in yet, reaps
// them, and on SIGTERM or SIGINT stops accepting, stops its connection processes and returns.
#pragma once

#include "server/Handles.h"

namespace hestrel::server {

struct TServerOptions;
class TAuthenticator;

/// Ciphers offered (both directions), fastest first where the CPU has AES instructions
/// (perf-baselines: aes-gcm beats chacha20 by about half again); chacha20 stays allowed.
inline constexpr const char* ServerCiphers =
    "aes128-gcm@openssh.com,aes256-gcm@openssh.com,chacha20-poly1305@openssh.com,aes128-ctr,aes192-ctr,aes256-ctr";

/// Runs until stopped, serving HostKey; answers the process exit code (0 after a clean
/// stop). In the process forked for a connection it returns as well, once that connection is
/// over, with the code that process exits with.
int RunListener(const TServerOptions& Options, const TAuthenticator& Authenticator, TSshKey HostKey);

}  // namespace hestrel::server

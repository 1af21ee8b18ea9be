// Hestrel server: one-line log records on stderr. Each record is written with a single
// write(2) so that lines of the listener and of its per-connection processes never mix.
#pragma once

#include <string>

namespace hestrel::server {

/// Writes "<UTC time> hestrel[<pid>]: <Message>\n" to stderr. Never logs secrets: callers
/// pass user names, addresses and commands only.
void Log(const std::string& Message);

}  // namespace hestrel::server

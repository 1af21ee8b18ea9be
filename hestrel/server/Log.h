// Hestrel server: one-line log records on stderr. Each record is written with a single
// write(2) so that lines of the listener and of its per-connection processes never mix.
#pragma once

#include <string>

namespace hestrel::server {

/// Writes "<UTC time> hestrel[<pid>]: <Message>\n" to stderr, control bytes of Message as
/// \xHH. Never logs secrets: callers pass user names, addresses and command summaries only
/// (CommandSummary).
void Log(const std::string& Message);

/// What the log shows of a command: its first line, at most 160 bytes, and its size. A launch
/// puts its environment values on later lines (hestrel/client Launch.cpp), so they stay out.
std::string CommandSummary(const std::string& Command);

}  // namespace hestrel::server

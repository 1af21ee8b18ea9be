// Hestrel server: one-line log records on stderr. Each record is written with a single
// write(2) so that lines of the listener and of its per-connection processes never mix.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

namespace hestrel::server {

/// Writes "<UTC time> hestrel[<pid>]: <Message>\n" to stderr. Whatever a viewer could take
/// for something else is escaped: control characters (C0, DEL and C1), bytes that are not
/// valid UTF-8, and the bidirectional marks and line/paragraph separators of Unicode are
/// written as \xHH per byte, and a backslash as \\, so that a client can neither forge a line
/// nor reorder what a terminal shows. Never logs secrets: callers pass user names, addresses
/// and command summaries only.
void Log(const std::string& Message);

/// Characters of a client's text that the log shows at most.
inline constexpr std::size_t ClientTextLimit = 100;

/// Text that holds what a client sent (libssh's error texts quote the client's banner or its
/// reason for disconnecting), cut after ClientTextLimit characters (a byte that is not valid
/// UTF-8 counts as one) and then marked with its size: "abc ... (120000 bytes)".
std::string Shortened(std::string_view Text);

/// A text the client chose (user name, subsystem, variable name) as a log line shows it: in
/// single quotes, Shortened: 'abc ... (120000 bytes)'.
std::string ClientText(std::string_view Text);

/// What the log shows of a command: its first line as ClientText does, marked with the size
/// when anything was left out. A launch puts its environment values on later lines
/// (hestrel/client Launch.cpp), so they stay out.
std::string CommandSummary(std::string_view Command);

/// Logs each kind of event once: a client repeating a refused request cannot fill the log.
class TOnceLog {
 public:
  /// Logs Line when Kind was not noted before.
  void Note(const std::string& Kind, const std::string& Line);

 private:
  std::set<std::string> FNoted;
};

}  // namespace hestrel::server

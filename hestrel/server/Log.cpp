// Hestrel server: log records on stderr (see Log.h).
#include "server/Log.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace hestrel::server {

void Log(const std::string& Message) {
  char Stamp[32] = {};
  std::time_t Now = std::time(nullptr);
  std::tm Utc{};
  gmtime_r(&Now, &Utc);
  std::strftime(Stamp, sizeof Stamp, "%Y-%m-%dT%H:%M:%SZ", &Utc);
  std::string Line = std::string(Stamp) + " hestrel[" + std::to_string(::getpid()) + "]: ";
  // Control bytes (a user name or command carrying a line break, say) are written as \xHH,
  // so that a client can never forge a log line.
  for (unsigned char C : Message) {
    if (C < 0x20 || C == 0x7f) {
      static const char Hex[] = "0123456789abcdef";
      Line += {'\\', 'x', Hex[C >> 4], Hex[C & 15]};
    } else {
      Line += static_cast<char>(C);
    }
  }
  Line += '\n';
  const char* P = Line.data();
  std::size_t Left = Line.size();
  while (Left > 0) {
    ssize_t N = ::write(STDERR_FILENO, P, Left);
    if (N < 0 && errno == EINTR) continue;
    if (N <= 0) return;
    P += N;
    Left -= static_cast<std::size_t>(N);
  }
}

std::string CommandSummary(const std::string& Command) {
  constexpr std::size_t Limit = 160;
  const std::size_t LineEnd = Command.find('\n');
  std::string First = Command.substr(0, std::min(LineEnd, Limit));
  if (First.size() < Command.size()) First += " ... (" + std::to_string(Command.size()) + " bytes)";
  return First;
}

}  // namespace hestrel::server

// Hestrel server: log records on stderr (see Log.h).
#include "server/Log.h"

#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace hestrel::server {

void Log(const std::string& Message) {
  char Stamp[32] = {};
  std::time_t Now = std::time(nullptr);
  std::tm Utc{};
  gmtime_r(&Now, &Utc);
  std::strftime(Stamp, sizeof Stamp, "%Y-%m-%dT%H:%M:%SZ", &Utc);
  std::string Line = std::string(Stamp) + " hestrel[" + std::to_string(::getpid()) + "]: " + Message + "\n";
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

}  // namespace hestrel::server

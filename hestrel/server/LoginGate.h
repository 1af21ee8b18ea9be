// Hestrel server: the listener's say over logins. Every connection process reports each
// password attempt to the listener over a socket pair of its own and waits for the verdict,
// so the listener knows exactly which connections have logged in (a message on a socket is
// never lost, as a signal can be) and keeps the failed logins of every source address across
// all connection processes: a growing wait after each failure, then a period in which the
// address is refused, while other addresses are not slowed at all.
#pragma once

#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace hestrel::server {

enum class TVerdict : char {
  LoggedIn = 'L',  ///< the right password, from an address not refused
  Denied = 'D',    ///< a wrong password: answer after Milliseconds
  Refused = 'R',   ///< the address is refused for Milliseconds more: end the connection
};

struct TVerdictMessage {
  TVerdict Verdict = TVerdict::Refused;
  std::uint32_t Milliseconds = 0;
};

/// In a connection process: reports an attempt (Right: the password was right) on the socket
/// Fd and waits for the listener's verdict; Refused when the listener does not answer.
TVerdictMessage AskListener(int Fd, bool Right);

enum class TReport { None, Wrong, Right, Ended };
/// In the listener: reads one report from Fd; Ended at the end of the socket (the process is
/// ending), None when nothing is there yet.
TReport ReadReport(int Fd);
/// In the listener: answers a report.
void SendVerdict(int Fd, const TVerdictMessage& Verdict);

/// Failed logins per source address, held by the listener.
class TLoginPenalties {
 public:
  using TClock = std::chrono::steady_clock;

  /// Failures of one address that start a refusal period.
  static constexpr int FailuresBeforeRefusal = 10;
  /// The first refusal period; each further one doubles, up to MaxRefusal.
  static constexpr std::chrono::seconds FirstRefusal{60}, MaxRefusal{3600};
  /// An address without failures or refusal for this long is forgotten.
  static constexpr std::chrono::seconds Memory{3600};
  /// Addresses remembered at most (the quietest goes first).
  static constexpr std::size_t MaxAddresses = 10000;

  /// BaseDelayMs: the wait after each of an address's first three failures; it doubles
  /// after every three more.
  explicit TLoginPenalties(int BaseDelayMs) : FBaseDelayMs(BaseDelayMs) {}

  /// How long Source stays refused (zero: it is heard).
  TClock::duration RefusedFor(const std::string& Source, TClock::time_point Now) const;
  /// Judges an attempt of Source. A failure that starts a refusal period sets Started, so
  /// that the caller logs the period once.
  TVerdictMessage Judge(const std::string& Source, bool Right, TClock::time_point Now, bool& Started);

 private:
  struct TRecord {
    int Failures = 0;  ///< since the last refusal period
    int Refusals = 0;
    TClock::time_point RefusedUntil{}, LastEvent{};
  };
  void MakeRoom(TClock::time_point Now);

  int FBaseDelayMs;
  std::map<std::string, TRecord> FRecords;
};

/// The source address of a connection as penalties count it: an IPv4 address, or the /64
/// network of an IPv6 address (one host usually holds a whole /64).
std::string SourceOf(const sockaddr_storage& Address);

}  // namespace hestrel::server

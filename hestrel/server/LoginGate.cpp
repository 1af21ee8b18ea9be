// Hestrel server: login reports, verdicts and per-address penalties (see LoginGate.h).
#include "server/LoginGate.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace hestrel::server {

namespace {

/// How long a connection process waits for the listener's verdict.
constexpr int VerdictWaitMs = 10000;

template <typename T>
std::uint32_t Milliseconds(T Duration) {
  return static_cast<std::uint32_t>(std::chrono::ceil<std::chrono::milliseconds>(Duration).count());
}

}  // namespace

TVerdictMessage AskListener(int Fd, bool Right) {
  const char Report = Right ? 'A' : 'F';
  TVerdictMessage Verdict;  // Refused unless the listener answers
  if (::send(Fd, &Report, 1, MSG_NOSIGNAL) != 1) return Verdict;
  pollfd P{Fd, POLLIN, 0};
  char Buffer[1 + sizeof Verdict.Milliseconds];
  int Ready;
  while ((Ready = ::poll(&P, 1, VerdictWaitMs)) < 0 && errno == EINTR) {
  }
  if (Ready != 1 || ::recv(Fd, Buffer, sizeof Buffer, 0) != static_cast<ssize_t>(sizeof Buffer)) return Verdict;
  Verdict.Verdict = static_cast<TVerdict>(Buffer[0]);
  std::memcpy(&Verdict.Milliseconds, Buffer + 1, sizeof Verdict.Milliseconds);
  return Verdict;
}

TReport ReadReport(int Fd) {
  char Report = 0;
  ssize_t N;
  while ((N = ::recv(Fd, &Report, 1, MSG_DONTWAIT)) < 0 && errno == EINTR) {
  }
  if (N < 0 && errno == EAGAIN) return TReport::None;
  if (N != 1) return TReport::Ended;
  return Report == 'A' ? TReport::Right : TReport::Wrong;
}

void SendVerdict(int Fd, const TVerdictMessage& Verdict) {
  char Buffer[1 + sizeof Verdict.Milliseconds];
  Buffer[0] = static_cast<char>(Verdict.Verdict);
  std::memcpy(Buffer + 1, &Verdict.Milliseconds, sizeof Verdict.Milliseconds);
  // One message per report, so the socket always has room for it.
  (void)!::send(Fd, Buffer, sizeof Buffer, MSG_NOSIGNAL | MSG_DONTWAIT);
}

TLoginPenalties::TClock::duration TLoginPenalties::RefusedFor(const std::string& Source, TClock::time_point Now) const {
  const auto Found = FRecords.find(Source);
  if (Found == FRecords.end() || Found->second.RefusedUntil <= Now) return TClock::duration::zero();
  return Found->second.RefusedUntil - Now;
}

TVerdictMessage TLoginPenalties::Judge(const std::string& Source, bool Right, TClock::time_point Now, bool& Started) {
  Started = false;
  if (const auto Left = RefusedFor(Source, Now); Left > TClock::duration::zero())
    return {TVerdict::Refused, Milliseconds(Left)};
  if (Right) {
    if (auto Found = FRecords.find(Source); Found != FRecords.end() && Found->second.Refusals == 0)
      FRecords.erase(Found);  // a user who mistyped; an address refused before stays on record
    return {TVerdict::LoggedIn, 0};
  }
  if (!FRecords.contains(Source)) MakeRoom(Now);
  TRecord& Record = FRecords[Source];
  Record.LastEvent = Now;
  if (++Record.Failures < FailuresBeforeRefusal) {
    return {TVerdict::Denied, static_cast<std::uint32_t>(FBaseDelayMs) << ((Record.Failures - 1) / 3)};
  }
  const auto Period = std::min<std::chrono::seconds>(FirstRefusal * (1 << std::min(Record.Refusals, 6)), MaxRefusal);
  Record.Failures = 0;
  ++Record.Refusals;
  Record.RefusedUntil = Record.LastEvent = Now + Period;
  Started = true;
  return {TVerdict::Refused, Milliseconds(Period)};
}

void TLoginPenalties::MakeRoom(TClock::time_point Now) {
  std::erase_if(FRecords, [&](const auto& Entry) { return Now - Entry.second.LastEvent > Memory; });
  if (FRecords.size() < MaxAddresses) return;
  FRecords.erase(std::min_element(FRecords.begin(), FRecords.end(), [](const auto& A, const auto& B) {
    return A.second.LastEvent < B.second.LastEvent;
  }));
}

std::string SourceOf(const sockaddr_storage& Address) {
  char Text[INET6_ADDRSTRLEN] = {};
  if (Address.ss_family == AF_INET6) {
    in6_addr Network = reinterpret_cast<const sockaddr_in6&>(Address).sin6_addr;
    if (IN6_IS_ADDR_V4MAPPED(&Network)) return ::inet_ntop(AF_INET, &Network.s6_addr[12], Text, sizeof Text);
    std::fill(Network.s6_addr + 8, Network.s6_addr + 16, 0);
    return std::string(::inet_ntop(AF_INET6, &Network, Text, sizeof Text)) + "/64";
  }
  if (Address.ss_family == AF_INET)
    return ::inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(Address).sin_addr, Text, sizeof Text);
  return "unknown address";
}

}  // namespace hestrel::server

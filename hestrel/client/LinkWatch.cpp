// Hestrel client: the silence watch of a connection (see LinkWatch.h).
#include "client/LinkWatch.h"

#include <linux/tcp.h>  // struct tcp_info with the byte counters (glibc's copy lacks them)
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <cstddef>
#include <map>

namespace hestrel {

namespace {

constexpr auto CheckInterval = std::chrono::milliseconds(100);

std::int64_t NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

/// Bytes received and bytes the peer acknowledged on the socket; false when the kernel
/// does not tell (not TCP, or too old for the counters).
bool ReadCounters(int Fd, std::uint64_t& Received, std::uint64_t& Acked) {
  tcp_info Info{};
  socklen_t Size = sizeof Info;
  if (getsockopt(Fd, IPPROTO_TCP, TCP_INFO, &Info, &Size) != 0 ||
      Size < offsetof(tcp_info, tcpi_bytes_received) + sizeof Info.tcpi_bytes_received)
    return false;
  Received = Info.tcpi_bytes_received;
  Acked = Info.tcpi_bytes_acked;
  return true;
}

std::mutex RegistryMutex;
std::map<ssh_session, TLinkWatch*>& Registry() {
  static std::map<ssh_session, TLinkWatch*> Watches;
  return Watches;
}

}  // namespace

TLinkWatch::TLinkWatch(ssh_session Session, int TimeoutSeconds)
    : FSession(Session), FFd(ssh_get_fd(Session)), FTimeoutSeconds(TimeoutSeconds > 0 ? TimeoutSeconds : 1) {
  {
    std::lock_guard<std::mutex> Lock(RegistryMutex);
    Registry()[FSession] = this;
  }
  FThread = std::thread([this] { Run(); });
}

TLinkWatch::~TLinkWatch() {
  {
    std::lock_guard<std::mutex> Lock(FMutex);
    FStop = true;
  }
  FWake.notify_all();
  FThread.join();
  std::lock_guard<std::mutex> Lock(RegistryMutex);
  Registry().erase(FSession);
}

void TLinkWatch::Run() {
  std::uint64_t Received = 0, Acked = 0;
  std::int64_t QuietSince = NowMs();
  std::unique_lock<std::mutex> Lock(FMutex);
  while (!FStop) {
    if (FActive.load() == 0) {
      // Idle: nothing to watch until an operation starts (TActive wakes the thread).
      FWake.wait(Lock, [this] { return FStop || FActive.load() > 0; });
      ReadCounters(FFd, Received, Acked);
      QuietSince = NowMs();
      continue;
    }
    FWake.wait_for(Lock, CheckInterval);
    if (FStop || FCut) break;
    const std::int64_t Now = NowMs();
    std::uint64_t NewReceived = 0, NewAcked = 0;
    const bool Known = ReadCounters(FFd, NewReceived, NewAcked);
    // Progress: bytes moved, a listener call ended, or nothing is being waited for.
    if (!Known || NewReceived != Received || NewAcked != Acked || FActive.load() == 0 || FPaused.load() > 0) {
      Received = NewReceived;
      Acked = NewAcked;
      QuietSince = Now;
      continue;
    }
    if (const std::int64_t Touched = FTouched.load(); Touched > QuietSince) QuietSince = Touched;
    if (Now - QuietSince >= static_cast<std::int64_t>(FTimeoutSeconds) * 1000) Cut();
  }
}

void TLinkWatch::Touch() { FTouched.store(NowMs()); }

void TLinkWatch::Cut() {
  if (FCut.exchange(true)) return;
  // shutdown, not close: the descriptor stays libssh's, so it cannot be reused under it;
  // libssh's poll sees the socket end and every wait returns an error.
  if (FFd >= 0) shutdown(FFd, SHUT_RDWR);
}

int TLinkWatch::TimeoutFor(ssh_session Session) {
  std::lock_guard<std::mutex> Lock(RegistryMutex);
  const auto It = Registry().find(Session);
  return It == Registry().end() ? DefaultTimeoutSeconds : It->second->FTimeoutSeconds;
}

void TLinkWatch::CutLink(ssh_session Session) {
  {
    std::lock_guard<std::mutex> Lock(RegistryMutex);
    if (const auto It = Registry().find(Session); It != Registry().end()) return It->second->Cut();
  }
  if (const int Fd = ssh_get_fd(Session); Fd >= 0) shutdown(Fd, SHUT_RDWR);
}

// FActive changes under FMutex, which the watch thread holds from each check to its Cut, so an
// operation that ends is never cut afterwards for silence it no longer waits through.
TLinkWatch::TActive::TActive(TLinkWatch* Watch) : FWatch(Watch) {
  if (!FWatch) return;
  FWatch->Touch();
  {
    std::lock_guard<std::mutex> Lock(FWatch->FMutex);
    ++FWatch->FActive;
  }
  FWatch->FWake.notify_all();
}

TLinkWatch::TActive::~TActive() {
  if (!FWatch) return;
  std::lock_guard<std::mutex> Lock(FWatch->FMutex);
  --FWatch->FActive;
}

TLinkWatch::TPaused::TPaused(TLinkWatch* Watch) : FWatch(Watch) {
  if (FWatch) ++FWatch->FPaused;
}

TLinkWatch::TPaused::~TPaused() {
  if (!FWatch) return;
  FWatch->Touch();
  --FWatch->FPaused;
}

bool TPausingFileListener::Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1,
                                     TDateTime Time2, std::int64_t Size2) {
  TLinkWatch::TPaused Pause(FWatch);
  return FInner->Overwrite(FileName, Time1, Size1, Time2, Size2);
}

std::uint8_t TPausingFileListener::BytesCopied(const std::string& S1, const std::string& S2, const std::string& S3,
                                               std::int64_t Done, std::int64_t Total, TStream* Stream) {
  TLinkWatch::TPaused Pause(FWatch);
  return FInner->BytesCopied(S1, S2, S3, Done, Total, Stream);
}

void TPausingFileListener::PreCopy(const std::string& S1, const std::string& S2, const std::string& S3,
                                   std::int64_t Size) {
  TLinkWatch::TPaused Pause(FWatch);
  FInner->PreCopy(S1, S2, S3, Size);
}

std::uint8_t TPausingFileListener::Accept(const std::string& S1, const std::string& S2, bool IsDirectory,
                                          std::int32_t& Flags) {
  TLinkWatch::TPaused Pause(FWatch);
  return FInner->Accept(S1, S2, IsDirectory, Flags);
}

bool TPausingFileListener::ContinueOnError(const std::string& S1, const std::string& S2) {
  TLinkWatch::TPaused Pause(FWatch);
  return FInner->ContinueOnError(S1, S2);
}

void TPausingFileListener::Deleted(const std::string& S1, const std::string& S2) {
  TLinkWatch::TPaused Pause(FWatch);
  FInner->Deleted(S1, S2);
}

bool TPausingIteration::EnterDirectory(const std::string& RemoteDirectory) {
  TLinkWatch::TPaused Pause(FWatch);
  return FInner->EnterDirectory(RemoteDirectory);
}

}  // namespace hestrel

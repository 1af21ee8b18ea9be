// Hestrel client: a bound on every wait for a server that stops answering.
// libssh 0.10 waits without end in several places (SFTP replies, the channel window, flushes),
// so a watch thread cuts the connection's socket (shutdown(2); the descriptor stays libssh's)
// once no byte has moved in either direction for the operation timeout while an operation
// runs. Every blocking libssh call then ends with an error, and the client reports
// "timed out" and drops the session. Time spent in listener callbacks does not count.
#pragma once

#include <libssh/libssh.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "host/AgentClient.h"

namespace hestrel {

class TLinkWatch {
 public:
  /// Watches the socket of Session (connected); cuts it after TimeoutSeconds of silence.
  TLinkWatch(ssh_session Session, int TimeoutSeconds);
  /// Stops the watch thread. Destroy before the session is disconnected or freed.
  ~TLinkWatch();
  TLinkWatch(const TLinkWatch&) = delete;
  TLinkWatch& operator=(const TLinkWatch&) = delete;

  /// Silence counts only while at least one of these lives (an operation runs).
  class TActive {
   public:
    explicit TActive(TLinkWatch* Watch);
    ~TActive();
    TActive(const TActive&) = delete;
    TActive& operator=(const TActive&) = delete;

   private:
    TLinkWatch* FWatch;
  };
  /// Silence does not count while one of these lives (a listener, maybe a person, answers).
  class TPaused {
   public:
    explicit TPaused(TLinkWatch* Watch);
    ~TPaused();
    TPaused(const TPaused&) = delete;
    TPaused& operator=(const TPaused&) = delete;

   private:
    TLinkWatch* FWatch;
  };

  /// Cuts the link now (a wait that saw no progress for the timeout).
  void Cut();
  /// True once the link was cut for silence: the session is dead.
  bool WasCut() const { return FCut.load(); }
  int GetTimeoutSeconds() const { return FTimeoutSeconds; }

  /// The operation timeout of Session's watch; DefaultTimeoutSeconds when it has none.
  static int TimeoutFor(ssh_session Session);
  /// Cuts Session's link (through its watch when it has one, so the client learns of it).
  static void CutLink(ssh_session Session);
  static constexpr int DefaultTimeoutSeconds = 120;

 private:
  void Run();
  void Touch();
  ssh_session FSession;
  int FFd;
  int FTimeoutSeconds;
  std::atomic<int> FActive{0};
  std::atomic<int> FPaused{0};
  std::atomic<std::int64_t> FTouched{0};  ///< steady-clock ms of the last pause's end
  std::atomic<bool> FCut{false};
  std::mutex FMutex;
  std::condition_variable FWake;
  bool FStop = false;
  std::thread FThread;
};

/// Forwards to a listener with the watch paused for the length of each call.
class TPausingFileListener : public IFileListener {
 public:
  TPausingFileListener(IFileListener* Inner, TLinkWatch* Watch) : FInner(Inner), FWatch(Watch) {}
  /// This listener, or nullptr when there is none to forward to.
  IFileListener* Get() { return FInner ? this : nullptr; }
  bool Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                 std::int64_t Size2) override;
  std::uint8_t BytesCopied(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t Done,
                           std::int64_t Total, TStream* Stream) override;
  void PreCopy(const std::string& S1, const std::string& S2, const std::string& S3, std::int64_t Size) override;
  std::uint8_t Accept(const std::string& S1, const std::string& S2, bool IsDirectory, std::int32_t& Flags) override;
  bool ContinueOnError(const std::string& S1, const std::string& S2) override;
  void Deleted(const std::string& S1, const std::string& S2) override;

 private:
  IFileListener* FInner;
  TLinkWatch* FWatch;
};

class TPausingIteration : public IFileIteration {
 public:
  TPausingIteration(IFileIteration* Inner, TLinkWatch* Watch) : FInner(Inner), FWatch(Watch) {}
  IFileIteration* Get() { return FInner ? this : nullptr; }
  bool EnterDirectory(const std::string& RemoteDirectory) override;

 private:
  IFileIteration* FInner;
  TLinkWatch* FWatch;
};

}  // namespace hestrel

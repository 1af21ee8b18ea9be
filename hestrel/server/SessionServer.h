// Hestrel server: one client connection, served in its own process (classic sshd model):
// key exchange, password login (three attempts, each judged by the listener), then its
// session channels until the client leaves or the listener asks the process to stop.
#pragma once

#include <libssh/callbacks.h>
#include <libssh/libssh.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "server/ChannelRelay.h"
#include "server/Handles.h"
#include "server/Log.h"
#include "server/Signals.h"

namespace hestrel::server {

struct TServerOptions;
class TAuthenticator;

class TSessionServer {
 public:
  /// Gate is this process's end of its login socket to the listener (LoginGate.h).
  TSessionServer(TSshSession Session, const TServerOptions& Options, const TAuthenticator& Authenticator,
                 std::string Peer, TUniqueFd Gate);
  ~TSessionServer();
  TSessionServer(const TSessionServer&) = delete;
  TSessionServer& operator=(const TSessionServer&) = delete;

  /// Serves the connection to its end; answers the process exit code.
  int Run();

 private:
  bool Prepare();
  /// Serves until the connection ends; answers why when it failed ("" otherwise).
  std::string Loop();
  bool LoginExpired() const;
  void ReapChildren();
  void ServiceChannels();
  void StopCommands(int Signal);

  static int OnPassword(ssh_session, const char* User, const char* Password, void* Self);
  static ssh_channel OnChannelOpen(ssh_session, void* Self);
  static int OnOtherRequest(ssh_session, ssh_message Message, void* Self);
  static int OnSignalReady(socket_t, int, void* Self);

  TSshSession FSession;
  const TServerOptions& FOptions;
  const TAuthenticator& FAuthenticator;
  std::string FPeer;
  TUniqueFd FGate;
  TSignalFd FSignals;
  TSshEvent FEvent;
  ssh_server_callbacks_struct FCallbacks{};
  std::vector<std::unique_ptr<TChannelRelay>> FRelays;
  TOnceLog FRefusals;  ///< refused requests, each kind logged once per connection
  std::chrono::steady_clock::time_point FLoginDeadline;
  bool FAuthenticated = false;
  bool FAddressRefused = false;  ///< the listener refuses the client's address for now
  bool FReadingPaused = false;   ///< the session's socket is left unread (ChannelRelay::InputOverrun)
  int FFailures = 0;
  int FStopSignal = 0;  ///< SIGTERM/SIGINT/SIGHUP received from the listener or a user
  bool FChildEvent = false;
};

/// Failed password attempts after which a connection is dropped.
inline constexpr int MaxLoginFailures = 3;

}  // namespace hestrel::server

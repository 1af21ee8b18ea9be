// Hestrel server: one client connection, served in its own process (classic sshd model):
// key exchange, password login (three attempts), then its session channels until the
// client leaves or the listener asks the process to stop.
#pragma once

#include <libssh/callbacks.h>
#include <libssh/libssh.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "server/ChannelRelay.h"
#include "server/Handles.h"
#include "server/Signals.h"

namespace hestrel::server {

struct TServerOptions;
class TAuthenticator;

class TSessionServer {
 public:
  /// Listener, when not 0, gets SIGUSR1 once the client has logged in (so it stops counting
  /// this connection among those still logging in).
  TSessionServer(TSshSession Session, const TServerOptions& Options, const TAuthenticator& Authenticator,
                 std::string Peer, pid_t Listener = 0);
  ~TSessionServer();
  TSessionServer(const TSessionServer&) = delete;
  TSessionServer& operator=(const TSessionServer&) = delete;

  /// Serves the connection to its end; answers the process exit code.
  int Run();

 private:
  bool Prepare();
  void Loop();
  bool LoginExpired() const;
  void ReapChildren();
  void ServiceChannels();
  void StopCommands(int Signal);

  static int OnPassword(ssh_session, const char* User, const char* Password, void* Self);
  static ssh_channel OnChannelOpen(ssh_session, void* Self);
  static int OnSignalReady(socket_t, int, void* Self);

  TSshSession FSession;
  const TServerOptions& FOptions;
  const TAuthenticator& FAuthenticator;
  std::string FPeer;
  pid_t FListener = 0;
  TSignalFd FSignals;
  TSshEvent FEvent;
  ssh_server_callbacks_struct FCallbacks{};
  std::vector<std::unique_ptr<TChannelRelay>> FRelays;
  std::chrono::steady_clock::time_point FLoginDeadline;
  std::string FUser;
  bool FAuthenticated = false;
  int FFailures = 0;
  int FStopSignal = 0;  ///< SIGTERM/SIGINT/SIGHUP received from the listener or a user
  bool FChildEvent = false;
};

/// Failed password attempts after which a connection is dropped.
inline constexpr int MaxLoginFailures = 3;

}  // namespace hestrel::server

// Hestrel server: one client connection (see SessionServer.h).
#include "server/SessionServer.h"

#include <libssh/server.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <thread>

#include "server/Authenticator.h"
#include "server/Log.h"
#include "server/Options.h"

namespace hestrel::server {

namespace {

TSessionServer* Server(void* Self) { return static_cast<TSessionServer*>(Self); }

/// Poll periods: the loop wakes for signals, socket traffic and pipes anyway, so these only
/// bound how late the login deadline (before login) or a lost socket (safety net) is noticed.
constexpr int LoginPollMs = 250;
constexpr int SessionPollMs = 5000;

}  // namespace

TSessionServer::TSessionServer(TSshSession Session, const TServerOptions& Options,
                               const TAuthenticator& Authenticator, std::string Peer, pid_t Listener)
    : FSession(std::move(Session)),
      FOptions(Options),
      FAuthenticator(Authenticator),
      FPeer(std::move(Peer)),
      FListener(Listener) {}

TSessionServer::~TSessionServer() {
  FRelays.clear();  // removes their watches from the event first
  if (FEvent) {
    if (FSignals.Valid()) ssh_event_remove_fd(FEvent.get(), FSignals.Fd());
    ssh_event_remove_session(FEvent.get(), FSession.get());
  }
  FEvent.reset();
}

bool TSessionServer::Prepare() {
  FLoginDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(FOptions.LoginGraceSeconds);
  long Timeout = FOptions.LoginGraceSeconds;
  ssh_options_set(FSession.get(), SSH_OPTIONS_TIMEOUT, &Timeout);
  int One = 1;  // perf-baselines: Nagle's algorithm costs small SFTP round trips dearly
  ::setsockopt(ssh_get_fd(FSession.get()), IPPROTO_TCP, TCP_NODELAY, &One, sizeof One);

  FCallbacks.userdata = this;
  FCallbacks.auth_password_function = &TSessionServer::OnPassword;
  FCallbacks.channel_open_request_session_function = &TSessionServer::OnChannelOpen;
  ssh_callbacks_init(&FCallbacks);
  ssh_set_server_callbacks(FSession.get(), &FCallbacks);
  ssh_set_auth_methods(FSession.get(), SSH_AUTH_METHOD_PASSWORD);

  // Nothing to clean up yet: a stop request may simply end the process meanwhile.
  BlockStopSignals(false);
  int Rc = ssh_handle_key_exchange(FSession.get());
  BlockStopSignals(true);
  if (Rc != SSH_OK) {
    Log("key exchange with " + FPeer + " failed: " + ssh_get_error(FSession.get()));
    return false;
  }
  FEvent.reset(ssh_event_new());
  if (!FEvent || ssh_event_add_session(FEvent.get(), FSession.get()) != SSH_OK ||
      ssh_event_add_fd(FEvent.get(), FSignals.Fd(), POLLIN, &TSessionServer::OnSignalReady, this) != SSH_OK) {
    Log("cannot set up the event loop for " + FPeer);
    return false;
  }
  return true;
}

int TSessionServer::Run() {
  if (!FSignals.Valid() || !Prepare()) {
    ssh_disconnect(FSession.get());
    return 1;
  }
  Loop();
  StopCommands(FStopSignal != 0 ? SIGTERM : SIGHUP);
  FRelays.clear();
  ssh_disconnect(FSession.get());
  Log("connection from " + FPeer + " closed" + (FStopSignal != 0 ? " (server stopping)" : ""));
  return 0;
}

void TSessionServer::Loop() {
  for (;;) {
    int Rc = ssh_event_dopoll(FEvent.get(), FAuthenticated ? SessionPollMs : LoginPollMs);
    if (FChildEvent) ReapChildren();
    if (FStopSignal != 0) return;
    if (!FAuthenticated) {
      if (FFailures >= MaxLoginFailures) {
        Log("disconnecting " + FPeer + " after " + std::to_string(FFailures) + " failed logins");
        return;
      }
      if (LoginExpired()) {
        Log("disconnecting " + FPeer + ": no login within " + std::to_string(FOptions.LoginGraceSeconds) + " s");
        return;
      }
    }
    ServiceChannels();
    int Status = ssh_get_status(FSession.get());
    if (Rc == SSH_ERROR || (Status & (SSH_CLOSED | SSH_CLOSED_ERROR)) != 0 || !ssh_is_connected(FSession.get())) {
      return;
    }
  }
}

bool TSessionServer::LoginExpired() const { return std::chrono::steady_clock::now() > FLoginDeadline; }

void TSessionServer::ServiceChannels() {
  // Index loop: a callback run inside Service() may open a new channel (appended).
  for (std::size_t I = 0; I < FRelays.size(); ++I) FRelays[I]->Service();
  std::erase_if(FRelays, [](const std::unique_ptr<TChannelRelay>& R) { return R->Finished(); });
}

void TSessionServer::ReapChildren() {
  FChildEvent = false;
  int Status = 0;
  pid_t Pid;
  while ((Pid = ::waitpid(-1, &Status, WNOHANG)) > 0) {
    for (auto& Relay : FRelays)
      if (Relay->ChildExited(Pid, Status)) break;
  }
}

void TSessionServer::StopCommands(int Signal) {
  bool Any = false;
  for (auto& Relay : FRelays) {
    if (Relay->Running()) {
      Relay->SignalCommand(Signal);
      Any = true;
    }
  }
  if (!Any) return;
  // Give the commands a moment to leave, then make sure they do.
  auto Deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  auto AnyRunning = [this] {
    for (auto& Relay : FRelays)
      if (Relay->Running()) return true;
    return false;
  };
  while (AnyRunning() && std::chrono::steady_clock::now() < Deadline) {
    ReapChildren();
    if (AnyRunning()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  for (auto& Relay : FRelays) Relay->SignalCommand(SIGKILL);
  ReapChildren();
}

// ---- libssh callbacks ----------------------------------------------------------------------

int TSessionServer::OnPassword(ssh_session, const char* User, const char* Password, void* Self) {
  TSessionServer* S = Server(Self);
  std::string Name = User != nullptr ? User : "";
  if (S->FFailures >= MaxLoginFailures) return SSH_AUTH_DENIED;
  if (Password != nullptr && S->FAuthenticator.Check(Password)) {
    S->FAuthenticated = true;
    S->FUser = Name;
    Log("login of user '" + Name + "' from " + S->FPeer + " accepted");
    // Only to the listener that forked us (were it gone, our parent would be another process).
    if (S->FListener != 0 && ::getppid() == S->FListener) ::kill(S->FListener, SIGUSR1);
    return SSH_AUTH_SUCCESS;
  }
  ++S->FFailures;
  Log("login of user '" + Name + "' from " + S->FPeer + " failed (attempt " + std::to_string(S->FFailures) + " of " +
      std::to_string(MaxLoginFailures) + ")");
  // Slows down guessing; this process serves one connection only, so nobody else waits.
  std::this_thread::sleep_for(std::chrono::milliseconds(S->FOptions.AuthDelayMs));
  return SSH_AUTH_DENIED;
}

ssh_channel TSessionServer::OnChannelOpen(ssh_session Session, void* Self) {
  TSessionServer* S = Server(Self);
  if (!S->FAuthenticated) return nullptr;
  auto Relay = std::make_unique<TChannelRelay>(Session, S->FEvent.get(), S->FOptions, S->FPeer);
  ssh_channel Channel = Relay->Open();
  if (Channel != nullptr) S->FRelays.push_back(std::move(Relay));
  return Channel;
}

int TSessionServer::OnSignalReady(socket_t, int, void* Self) {
  TSessionServer* S = Server(Self);
  while (int Signal = S->FSignals.Next()) {
    if (Signal == SIGCHLD)
      S->FChildEvent = true;
    else
      S->FStopSignal = Signal;
  }
  return 0;
}

}  // namespace hestrel::server

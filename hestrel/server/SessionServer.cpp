// Hestrel server: one client connection (see SessionServer.h).
#include "server/SessionServer.h"

#include <fcntl.h>
#include <libssh/server.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pwd.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <thread>

#include "server/Authenticator.h"
#include "server/LoginGate.h"
#include "server/Options.h"

namespace hestrel::server {

namespace {

TSessionServer* Server(void* Self) { return static_cast<TSessionServer*>(Self); }

/// Poll periods: the loop wakes for signals, socket traffic and pipes anyway, so these only
/// bound how late the login deadline (before login) or a lost socket (safety net) is noticed.
constexpr int LoginPollMs = 250;
constexpr int SessionPollMs = 5000;

/// The account commands run as: the server's own.
std::string AccountName() {
  const passwd* Entry = ::getpwuid(::geteuid());
  return Entry != nullptr ? Entry->pw_name : "uid " + std::to_string(::geteuid());
}

/// Why libssh gave up on the session. errno is cleared before each libssh call whose failure
/// is logged, so that a system error text in libssh's message is this failure's own. libssh
/// words a closed connection, and one it closed itself over a banner it could not take, as
/// a socket error without one: the client's banner tells which.
std::string SessionError(ssh_session Session) {
  const std::string Text = ssh_get_error(Session);
  if (!Text.empty() && !Text.ends_with(": Success") && Text != "Socket error: disconnected") return Shortened(Text);
  const char* Banner = ssh_get_clientbanner(Session);
  if (Banner == nullptr) return "the client closed the connection before sending its banner";
  const std::string_view Version = Banner;
  if (!Version.starts_with("SSH-2.0-") && !Version.starts_with("SSH-1.99-"))
    return "the client's banner " + ClientText(Version) + " is not SSH 2.0";
  return "the client closed the connection";
}

/// What a refused request of another kind than the session channel's asks for, or nullptr.
const char* ForwardingKind(ssh_message Message) {
  const int Subtype = ssh_message_subtype(Message);
  switch (ssh_message_type(Message)) {
    case SSH_REQUEST_GLOBAL: return Subtype == SSH_GLOBAL_REQUEST_TCPIP_FORWARD ? "port forwarding" : nullptr;
    case SSH_REQUEST_CHANNEL_OPEN:
      if (Subtype == SSH_CHANNEL_DIRECT_TCPIP || Subtype == SSH_CHANNEL_FORWARDED_TCPIP) return "port forwarding";
      if (Subtype == SSH_CHANNEL_X11) return "X11 forwarding";
      if (Subtype == SSH_CHANNEL_AUTH_AGENT) return "agent forwarding";
      return nullptr;
    case SSH_REQUEST_CHANNEL: return Subtype == SSH_CHANNEL_REQUEST_X11 ? "X11 forwarding" : nullptr;
    default: return nullptr;
  }
}

}  // namespace

TSessionServer::TSessionServer(TSshSession Session, const TServerOptions& Options, const TAuthenticator& Authenticator,
                               std::string Peer, TUniqueFd Gate)
    : FSession(std::move(Session)),
      FOptions(Options),
      FAuthenticator(Authenticator),
      FPeer(std::move(Peer)),
      FGate(std::move(Gate)) {}

TSessionServer::~TSessionServer() {
  FRelays.clear();  // removes their watches from the event first
  if (FEvent) {
    if (FSignals.Valid()) ssh_event_remove_fd(FEvent.get(), FSignals.Fd());
    if (!FReadingPaused) ssh_event_remove_session(FEvent.get(), FSession.get());
  }
  FEvent.reset();
}

bool TSessionServer::Prepare() {
  FLoginDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(FOptions.LoginGraceSeconds);
  const int Socket = ssh_get_fd(FSession.get());
  ::fcntl(Socket, F_SETFD, FD_CLOEXEC);  // besides the closing before a command starts
  int One = 1;                           // perf-baselines: Nagle's algorithm costs small SFTP round trips dearly
  ::setsockopt(Socket, IPPROTO_TCP, TCP_NODELAY, &One, sizeof One);

  FCallbacks.userdata = this;
  FCallbacks.auth_password_function = &TSessionServer::OnPassword;
  FCallbacks.channel_open_request_session_function = &TSessionServer::OnChannelOpen;
  ssh_callbacks_init(&FCallbacks);
  ssh_set_server_callbacks(FSession.get(), &FCallbacks);
  ssh_set_message_callback(FSession.get(), &TSessionServer::OnOtherRequest, this);
  ssh_set_auth_methods(FSession.get(), SSH_AUTH_METHOD_PASSWORD);

  // A client that has not even sent its banner gets the shorter grace: idle sockets must not
  // hold a place among the connections not logged in for long.
  const int KexGrace = std::min(FOptions.BannerGraceSeconds, FOptions.LoginGraceSeconds);
  long Timeout = KexGrace;
  ssh_options_set(FSession.get(), SSH_OPTIONS_TIMEOUT, &Timeout);
  // Nothing to clean up yet: a stop request may simply end the process meanwhile.
  BlockStopSignals(false);
  errno = 0;
  const auto Begin = std::chrono::steady_clock::now();
  int Rc = ssh_handle_key_exchange(FSession.get());
  BlockStopSignals(true);
  if (Rc != SSH_OK) {
    if (std::chrono::steady_clock::now() - Begin >= std::chrono::seconds(KexGrace))
      Log("disconnecting " + FPeer + ": no key exchange within " + std::to_string(KexGrace) + " s");
    else
      Log("key exchange with " + FPeer + " failed: " + SessionError(FSession.get()));
    return false;
  }
  Timeout = FOptions.LoginGraceSeconds;
  ssh_options_set(FSession.get(), SSH_OPTIONS_TIMEOUT, &Timeout);
  FEvent.reset(ssh_event_new());
  if (!FEvent || ssh_event_add_session(FEvent.get(), FSession.get()) != SSH_OK ||
      ssh_event_add_fd(FEvent.get(), FSignals.Fd(), POLLIN, &TSessionServer::OnSignalReady, this) != SSH_OK) {
    Log("cannot set up the event loop for " + FPeer + ": out of memory");
    return false;
  }
  return true;
}

int TSessionServer::Run() {
  if (!FSignals.Valid() || !Prepare()) {
    ssh_disconnect(FSession.get());
    return 1;
  }
  std::string Failure = Loop();
  if (FStopSignal != 0) Failure = "server stopping";
  StopCommands(FStopSignal != 0 ? SIGTERM : SIGHUP);
  FRelays.clear();
  ssh_disconnect(FSession.get());
  Log("connection from " + FPeer + " closed" + (Failure.empty() ? "" : " (" + Failure + ")"));
  return 0;
}

std::string TSessionServer::Loop() {
  for (;;) {
    errno = 0;
    int Rc = ssh_event_dopoll(FEvent.get(), FAuthenticated ? SessionPollMs : LoginPollMs);
    if (FChildEvent) ReapChildren();
    if (FStopSignal != 0) return "";
    if (!FAuthenticated) {
      if (FAddressRefused) return "";  // logged with the attempt
      if (FFailures >= MaxLoginFailures) {
        Log("disconnecting " + FPeer + " after " + std::to_string(FFailures) + " failed logins");
        return "";
      }
      if (LoginExpired()) {
        Log("disconnecting " + FPeer + ": no login within " + std::to_string(FOptions.LoginGraceSeconds) + " s");
        return "";
      }
    }
    ServiceChannels();
    int Status = ssh_get_status(FSession.get());
    if (Rc == SSH_ERROR || (Status & SSH_CLOSED_ERROR) != 0) return SessionError(FSession.get());
    if ((Status & SSH_CLOSED) != 0 || !ssh_is_connected(FSession.get())) return "";
  }
}

bool TSessionServer::LoginExpired() const { return std::chrono::steady_clock::now() > FLoginDeadline; }

void TSessionServer::ServiceChannels() {
  // Index loop: a callback run inside Service() may open a new channel (appended).
  for (std::size_t I = 0; I < FRelays.size(); ++I) FRelays[I]->Service();
  std::erase_if(FRelays, [](const std::unique_ptr<TChannelRelay>& R) { return R->Finished(); });
  // A client that sends beyond its window is not read until its command has taken the input,
  // so that libssh never buffers more than a window's worth for it.
  const bool Overrun = std::any_of(FRelays.begin(), FRelays.end(), [](const auto& R) { return R->InputOverrun(); });
  if (Overrun && !FReadingPaused) {
    FRefusals.Note("overrun", "client " + FPeer + " sends beyond its channel window: not read until its command " +
                                  "takes the input");
    FReadingPaused = ssh_event_remove_session(FEvent.get(), FSession.get()) == SSH_OK;
  } else if (!Overrun && FReadingPaused) {
    FReadingPaused = ssh_event_add_session(FEvent.get(), FSession.get()) != SSH_OK;
  }
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
  const std::string Who = "user " + ClientText(User != nullptr ? User : "") + " from " + S->FPeer;
  if (S->FFailures >= MaxLoginFailures || S->FAddressRefused || S->FAuthenticated) return SSH_AUTH_DENIED;
  const bool Right = Password != nullptr && S->FAuthenticator.Check(Password);
  const TVerdictMessage Verdict = AskListener(S->FGate.Get(), Right);
  switch (Verdict.Verdict) {
    case TVerdict::LoggedIn:
      S->FAuthenticated = true;
      S->FGate.Reset();
      Log("login of " + Who + " accepted (commands run as " + AccountName() + ")");
      return SSH_AUTH_SUCCESS;
    case TVerdict::Denied:
      ++S->FFailures;
      Log("login of " + Who + " failed (attempt " + std::to_string(S->FFailures) + " of " +
          std::to_string(MaxLoginFailures) + ")");
      // The listener's wait grows with the failures of the client's address; this process
      // serves one connection only, so nobody else waits.
      std::this_thread::sleep_for(std::chrono::milliseconds(Verdict.Milliseconds));
      return SSH_AUTH_DENIED;
    case TVerdict::Refused: break;
  }
  S->FAddressRefused = true;
  Log("login of " + Who + " refused: " +
      (Verdict.Milliseconds > 0 ? "logins from its address are refused for " +
                                      std::to_string((Verdict.Milliseconds + 999) / 1000) + " s more"
                                : std::string("the listener gave no verdict")));
  return SSH_AUTH_DENIED;
}

ssh_channel TSessionServer::OnChannelOpen(ssh_session Session, void* Self) {
  TSessionServer* S = Server(Self);
  if (!S->FAuthenticated) return nullptr;
  if (S->FRelays.size() >= static_cast<std::size_t>(S->FOptions.MaxChannels)) {
    S->FRefusals.Note("channels", "refused a channel from " + S->FPeer + ": " + std::to_string(S->FRelays.size()) +
                                      " channels open, the most one connection may hold");
    return nullptr;
  }
  auto Relay = std::make_unique<TChannelRelay>(Session, S->FEvent.get(), S->FOptions, S->FPeer, S->FRefusals);
  ssh_channel Channel = Relay->Open();
  if (Channel != nullptr) S->FRelays.push_back(std::move(Relay));
  return Channel;
}

int TSessionServer::OnOtherRequest(ssh_session, ssh_message Message, void* Self) {
  TSessionServer* S = Server(Self);
  if (const char* Kind = ForwardingKind(Message))
    S->FRefusals.Note(Kind, "refused " + std::string(Kind) + " for " + S->FPeer + ": hestrel forwards nothing");
  return 1;  // libssh answers with its refusal
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

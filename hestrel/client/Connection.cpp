// Hestrel client, Connect: see Connection.h.
#include "client/Connection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <chrono>
#include <future>
#include <system_error>

#include "client/Authentication.h"
#include "client/ClientErrors.h"
#include "client/KnownHosts.h"
#include "core/Text.h"

namespace hestrel {

namespace {

// aes-gcm first: the machines have AES-NI and it is half again faster than chacha20
// (perf-baselines.md); the rest keeps any server reachable.
constexpr const char PreferredCiphers[] =
    "aes128-gcm@openssh.com,aes256-gcm@openssh.com,chacha20-poly1305@openssh.com,aes128-ctr,aes256-ctr";

/// One option; "" or the error text (libssh keeps its default when a value is refused).
std::string SetOption(ssh_session Session, ssh_options_e Option, const void* Value, const char* Name) {
  if (ssh_options_set(Session, Option, Value) == SSH_OK) return "";
  const std::string Cause = SessionError(Session);
  return Format(sErrSshOption, {Name, Cause.empty() ? std::string("libssh refused the value") : Cause});
}

/// Every option of the session; "" or the first failure's text (the connect then fails).
std::string SetOptions(ssh_session Session, const TConnectRequest& Request, const std::string& User,
                       const std::string& Host) {
  const int False = 0;
  const int True = 1;
  const long Timeout = Request.Options.ConnectTimeoutSeconds;
  const unsigned Port = static_cast<unsigned>(Request.Port);
  // libssh refuses names that could be read as options or commands (and keeps the old value).
  if (ssh_options_set(Session, SSH_OPTIONS_HOST, Host.c_str()) != SSH_OK) return Format(sErrInvalidHostName, {Host});
  if (ssh_options_set(Session, SSH_OPTIONS_USER, User.c_str()) != SSH_OK) return Format(sErrInvalidUserName, {User});
  std::string Error = SetOption(Session, SSH_OPTIONS_PROCESS_CONFIG, &False, "ProcessConfig");  // no ~/.ssh/config
  if (Error.empty()) Error = SetOption(Session, SSH_OPTIONS_PORT, &Port, "Port");
  if (Error.empty()) Error = SetOption(Session, SSH_OPTIONS_TIMEOUT, &Timeout, "Timeout");
  if (Error.empty()) Error = SetOption(Session, SSH_OPTIONS_NODELAY, &True, "NoDelay");  // round trips dominate
  if (Error.empty()) Error = SetOption(Session, SSH_OPTIONS_CIPHERS_C_S, PreferredCiphers, "Ciphers");
  if (Error.empty()) Error = SetOption(Session, SSH_OPTIONS_CIPHERS_S_C, PreferredCiphers, "Ciphers");
  if (Error.empty() && !Request.Options.SshDirectory.empty())
    Error = SetOption(Session, SSH_OPTIONS_SSH_DIR, Request.Options.SshDirectory.c_str(), "SshDir");
  if (Error.empty()) Error = UseProductKnownHosts(Session, KnownHostsPath(Request.AppDataDir));
  return Error;
}

/// TCP keepalive: an idle connection to a host that vanished is found dead (and the next
/// Connect opens a new one) instead of looking connected for ever. Best effort.
void KeepAlive(ssh_session Session) {
  const int Fd = ssh_get_fd(Session);
  const int On = 1, IdleSeconds = 30, IntervalSeconds = 10, Probes = 3;
  if (Fd < 0 || setsockopt(Fd, SOL_SOCKET, SO_KEEPALIVE, &On, sizeof On) != 0) return;
  setsockopt(Fd, IPPROTO_TCP, TCP_KEEPIDLE, &IdleSeconds, sizeof IdleSeconds);
  setsockopt(Fd, IPPROTO_TCP, TCP_KEEPINTVL, &IntervalSeconds, sizeof IntervalSeconds);
  setsockopt(Fd, IPPROTO_TCP, TCP_KEEPCNT, &Probes, sizeof Probes);
}

bool Contains(const std::string& Text, const char* Part) { return Text.find(Part) != std::string::npos; }

/// libssh reports connect failures as text only; sort them into the client's texts.
TConnectResult ConnectFailure(const std::string& Raw, const std::string& Host, int Port) {
  TConnectResult Result;
  const std::int64_t P = Port;
  if (Contains(Raw, "resolve") || Contains(Raw, "Name or service not known") || Contains(Raw, "not known")) {
    Result.Error = Format(sErrHostNotFound, {Host, P});
  } else if (Contains(Raw, "refused")) {
    Result.Error = Format(sErrConnectionRefused, {Host, P});
    Result.Retryable = true;
  } else if (Contains(Raw, "imeout") || Contains(Raw, "timed out")) {
    Result.Error = Format(sErrTimedOut, {Host, P});
    Result.Retryable = true;
  } else {
    Result.Error = Format(sErrConnectFailed, {Host, P, Raw});
    Result.Retryable = true;
  }
  return Result;
}

constexpr std::chrono::milliseconds WaitingInterval{25};

TConnectResult SetUpConnection(const TConnectRequest& Request) {
  std::string User, Host;
  SplitUserHost(Request.HostName, User, Host);
  TConnectResult Result;
  if (Host.empty()) {
    Result.Error = sErrNoHostName;
    return Result;
  }
  TSshSessionPtr Session(ssh_new());
  if (!Session) {
    Result.Error = "libssh cannot create a session";
    return Result;
  }
  if (Result.Error = SetOptions(Session.get(), Request, User, Host); !Result.Error.empty()) return Result;
  if (Result.Error = CheckKnownHostsFile(KnownHostsPath(Request.AppDataDir), Host, Request.Port); !Result.Error.empty())
    return Result;
  if (ssh_connect(Session.get()) != SSH_OK) return ConnectFailure(SessionError(Session.get()), Host, Request.Port);
  KeepAlive(Session.get());
  Result.Error = VerifyHostKey(Session.get(), Host, Request.Port, KnownHostsPath(Request.AppDataDir));
  if (Result.Error.empty())
    Result.Error = Authenticate(Session.get(), Request.Credential, Request.AppDataDir, User, Host, Request.Port);
  if (!Result.Error.empty()) return Result;
  const long Timeout = Request.Options.OperationTimeoutSeconds;
  if (Result.Error = SetOption(Session.get(), SSH_OPTIONS_TIMEOUT, &Timeout, "Timeout"); !Result.Error.empty())
    return Result;
  Result.Session = std::move(Session);
  return Result;
}

}  // namespace

TConnectResult OpenConnection(const TConnectRequest& Request) {
  if (!Request.Options.WhileWaiting) return SetUpConnection(Request);
  TConnectRequest WorkersOwn = Request;       // the session it makes is the worker's until get()
  WorkersOwn.Options.WhileWaiting = nullptr;  // the hook belongs to the calling thread
  std::future<TConnectResult> Attempt;
  try {
    Attempt = std::async(std::launch::async, SetUpConnection, std::move(WorkersOwn));
  } catch (const std::system_error&) {
    return SetUpConnection(Request);  // no thread to be had: connect as without a hook
  }
  // Should the hook throw, the future's destructor still waits for the worker to end.
  while (Attempt.wait_for(WaitingInterval) != std::future_status::ready) Request.Options.WhileWaiting();
  return Attempt.get();
}

}  // namespace hestrel

// Hestrel server: accept loop and per-connection processes (see Listener.h).
#include "server/Listener.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <thread>
#include <vector>

#include "server/Authenticator.h"
#include "server/Log.h"
#include "server/LoginGate.h"
#include "server/Options.h"
#include "server/SessionServer.h"
#include "server/Signals.h"

namespace hestrel::server {

namespace {

using TClock = std::chrono::steady_clock;

/// "ADDRESS:PORT" of a socket address; IPv6 addresses in brackets.
std::string AddressText(const sockaddr_storage& Address) {
  char Host[INET6_ADDRSTRLEN] = {};
  if (Address.ss_family == AF_INET6) {
    const auto& V6 = reinterpret_cast<const sockaddr_in6&>(Address);
    ::inet_ntop(AF_INET6, &V6.sin6_addr, Host, sizeof Host);
    return "[" + std::string(Host) + "]:" + std::to_string(ntohs(V6.sin6_port));
  }
  const auto& V4 = reinterpret_cast<const sockaddr_in&>(Address);
  ::inet_ntop(AF_INET, &V4.sin_addr, Host, sizeof Host);
  return std::string(Host) + ":" + std::to_string(ntohs(V4.sin_port));
}

std::optional<sockaddr_storage> SocketAddress(int Fd, bool Peer) {
  sockaddr_storage Address{};
  socklen_t Length = sizeof Address;
  int Rc = Peer ? ::getpeername(Fd, reinterpret_cast<sockaddr*>(&Address), &Length)
                : ::getsockname(Fd, reinterpret_cast<sockaddr*>(&Address), &Length);
  return Rc == 0 ? std::optional(Address) : std::nullopt;
}

std::string Seconds(TClock::duration Duration) {
  return std::to_string(std::chrono::ceil<std::chrono::seconds>(Duration).count()) + " s";
}

std::string LibsshReason(void* Object, const char* Otherwise) {
  const char* Text = ssh_get_error(Object);
  return Text != nullptr && *Text != '\0' ? Text : Otherwise;
}

TSshBind MakeBind(const TServerOptions& Options, TSshKey HostKey) {
  TSshBind Bind(ssh_bind_new());
  if (!Bind) return Bind;
  int Verbosity = SSH_LOG_NOLOG;
  bool NoConfig = false;  // independent of /etc/libssh/libssh_server.config
  int Port = Options.Port;
  bool Ok = ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_PROCESS_CONFIG, &NoConfig) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_LOG_VERBOSITY, &Verbosity) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_BINDADDR, Options.ListenAddress.c_str()) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_BINDPORT, &Port) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_CIPHERS_C_S, ServerCiphers) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_CIPHERS_S_C, ServerCiphers) == SSH_OK;
  // The bind takes the key over: it serves the very key that was checked and logged.
  Ok = Ok && ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_IMPORT_KEY, HostKey.release()) == SSH_OK;
  if (!Ok) {
    Log("cannot configure the listener: " + LibsshReason(Bind.get(), "libssh refused an option"));
    Bind.reset();
  }
  return Bind;
}

/// The log of a flood: the first event is logged, then at most one line per 10 s with the
/// number of events since the last line, so that a flood does not flood the log too.
class TFloodLog {
 public:
  void Note(const std::string& Line) {
    ++FSinceLog;
    const auto Now = TClock::now();
    if (FLast != TClock::time_point{} && Now - FLast < std::chrono::seconds(10)) return;
    Log(Line + (FSinceLog > 1 ? " (" + std::to_string(FSinceLog) + " since the last such line)" : ""));
    FSinceLog = 0;
    FLast = Now;
  }

 private:
  int FSinceLog = 0;
  TClock::time_point FLast{};
};

class TListener {
 public:
  TListener(const TServerOptions& Options, const TAuthenticator& Authenticator)
      : FOptions(Options), FAuthenticator(Authenticator), FPenalties(Options.AuthDelayMs) {}
  int Run(TSshKey HostKey);

 private:
  struct TConnection {
    std::string Peer;    ///< address and port, for the log
    std::string Source;  ///< the address as login penalties count it
    TClock::time_point Started;
    TUniqueFd Gate;  ///< the listener's end of the login socket, until the login or the end
    bool LoggedIn = false;
    bool Dropped = false;  ///< killed to make room, not reaped yet
  };

  std::optional<int> Accept();
  int ServeInChild(TSshSession Session, const std::string& Peer, TUniqueFd Gate);
  void ReadReports(TConnection& Connection);
  std::size_t LoggingIn() const;
  void MakeRoom(const std::string& Peer);
  void ReadSignals();
  void Reap();
  void StopConnections();

  const TServerOptions& FOptions;
  const TAuthenticator& FAuthenticator;
  TSignalFd FSignals;
  TSshBind FBind;
  std::map<pid_t, TConnection> FConnections;
  TLoginPenalties FPenalties;
  TFloodLog FRefusals, FDrops;
  bool FStopping = false;
};

int TListener::Run(TSshKey HostKey) {
  FBind = MakeBind(FOptions, std::move(HostKey));
  if (!FSignals.Valid() || !FBind) return 1;
  if (ssh_bind_listen(FBind.get()) != SSH_OK) {
    Log("cannot listen on " + FOptions.ListenAddress + ":" + std::to_string(FOptions.Port) + ": " +
        LibsshReason(FBind.get(), "libssh gave no reason"));
    return 1;
  }
  // Non-blocking, so that a connection reset between poll and accept cannot stall the loop.
  int ListenFd = ssh_bind_get_fd(FBind.get());
  ::fcntl(ListenFd, F_SETFL, ::fcntl(ListenFd, F_GETFL) | O_NONBLOCK);
  const auto Local = SocketAddress(ListenFd, false);
  std::string Where = Local ? AddressText(*Local) : "unknown address";
  std::printf("hestrel listening on %s\n", Where.c_str());
  std::fflush(stdout);
  Log("listening on " + Where);
  std::vector<pollfd> Fds;
  std::vector<TConnection*> Gates;  // the connection of each Fds entry past the first two
  while (!FStopping) {
    Fds = {{ssh_bind_get_fd(FBind.get()), POLLIN, 0}, {FSignals.Fd(), POLLIN, 0}};
    Gates.clear();
    for (auto& [Pid, Connection] : FConnections) {
      if (!Connection.Gate.Valid()) continue;
      Fds.push_back({Connection.Gate.Get(), POLLIN, 0});
      Gates.push_back(&Connection);
    }
    if (::poll(Fds.data(), Fds.size(), -1) < 0) continue;
    for (std::size_t I = 0; I < Gates.size(); ++I)
      if (Fds[I + 2].revents != 0) ReadReports(*Gates[I]);
    if (Fds[1].revents != 0) ReadSignals();
    if (!FStopping && Fds[0].revents != 0) {
      // In the process forked for a connection, Accept returns once that connection is over:
      // the process leaves through main like the listener does, with the connection's code.
      if (std::optional<int> ConnectionCode = Accept()) return *ConnectionCode;
    }
  }
  FBind.reset();  // stop accepting at once
  StopConnections();
  Log("stopped");
  return 0;
}

std::optional<int> TListener::Accept() {
  TSshSession Session(ssh_new());
  if (!Session) return std::nullopt;
  if (ssh_bind_accept(FBind.get(), Session.get()) != SSH_OK) {
    Log("accept failed: " + LibsshReason(FBind.get(), "libssh gave no reason"));
    return std::nullopt;
  }
  const auto Address = SocketAddress(ssh_get_fd(Session.get()), true);
  const std::string Peer = Address ? AddressText(*Address) : "unknown address";
  const std::string Source = Address ? SourceOf(*Address) : Peer;
  Reap();  // count only connections still served
  // Bounds the processes a flood of connections can make.
  if (FConnections.size() >= static_cast<std::size_t>(FOptions.MaxConnections)) {
    FRefusals.Note("refused connection from " + Peer + ": " + std::to_string(FConnections.size()) +
                   " connections open");
    return std::nullopt;  // Session's destructor closes the connection
  }
  if (const auto Left = FPenalties.RefusedFor(Source, TClock::now()); Left > TClock::duration::zero()) {
    FRefusals.Note("refused connection from " + Peer + ": logins from " + Source + " are refused for " + Seconds(Left) +
                   " more");
    return std::nullopt;
  }
  if (LoggingIn() >= static_cast<std::size_t>(FOptions.MaxStartups)) MakeRoom(Peer);
  int Pair[2];
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, Pair) != 0) {
    Log("cannot serve the connection from " + Peer + ": socketpair: " + std::strerror(errno));
    return std::nullopt;
  }
  TUniqueFd ListenerEnd(Pair[0]), ChildEnd(Pair[1]);
  pid_t Pid = ::fork();
  if (Pid < 0) {
    Log("cannot fork for the connection from " + Peer + ": " + std::strerror(errno));
    return std::nullopt;
  }
  if (Pid == 0) {
    ListenerEnd.Reset();
    return ServeInChild(std::move(Session), Peer, std::move(ChildEnd));
  }
  FConnections[Pid] = {Peer, Source, TClock::now(), std::move(ListenerEnd)};
  Log("connection from " + Peer + " (served by pid " + std::to_string(Pid) + ")");
  return std::nullopt;  // Session's destructor closes the parent's copy of the socket
}

int TListener::ServeInChild(TSshSession Session, const std::string& Peer, TUniqueFd Gate) {
  FBind.reset();         // the listening socket belongs to the parent
  FSignals.Close();      // TSessionServer opens its own; the signal mask stays blocked
  FConnections.clear();  // and so do the other connections' login sockets
  TSessionServer Server(std::move(Session), FOptions, FAuthenticator, Peer, std::move(Gate));
  return Server.Run();
}

void TListener::ReadReports(TConnection& Connection) {
  while (Connection.Gate.Valid()) {
    const TReport Report = ReadReport(Connection.Gate.Get());
    if (Report == TReport::None) return;
    if (Report == TReport::Ended) {
      Connection.Gate.Reset();  // the process is ending; it counts until reaped
      return;
    }
    bool Started = false;
    const TVerdictMessage Verdict =
        FPenalties.Judge(Connection.Source, Report == TReport::Right, TClock::now(), Started);
    if (Started)
      Log("refusing logins from " + Connection.Source + " for " + std::to_string(Verdict.Milliseconds / 1000) +
          " s after " + std::to_string(TLoginPenalties::FailuresBeforeRefusal) + " failed logins");
    SendVerdict(Connection.Gate.Get(), Verdict);
    if (Verdict.Verdict == TVerdict::LoggedIn) {
      Connection.LoggedIn = true;
      Connection.Gate.Reset();
    }
  }
}

std::size_t TListener::LoggingIn() const {
  return std::count_if(FConnections.begin(), FConnections.end(),
                       [](const auto& Entry) { return !Entry.second.LoggedIn && !Entry.second.Dropped; });
}

void TListener::MakeRoom(const std::string& Peer) {
  // Reports already sent count first: a process that has logged in is never dropped.
  for (auto& [Pid, Connection] : FConnections) ReadReports(Connection);
  if (LoggingIn() < static_cast<std::size_t>(FOptions.MaxStartups)) return;
  // The oldest connection of the address that holds the most: a flood from one address makes
  // room at its own cost, and a user from elsewhere always gets in.
  std::map<std::string, int> Held;
  for (const auto& [Pid, Connection] : FConnections)
    if (!Connection.LoggedIn && !Connection.Dropped) ++Held[Connection.Source];
  const std::string Most = std::max_element(Held.begin(), Held.end(), [](const auto& A, const auto& B) {
                             return A.second < B.second;
                           })->first;
  auto Victim = FConnections.end();
  for (auto It = FConnections.begin(); It != FConnections.end(); ++It) {
    const TConnection& C = It->second;
    if (!C.LoggedIn && !C.Dropped && C.Source == Most &&
        (Victim == FConnections.end() || C.Started < Victim->second.Started))
      Victim = It;
  }
  TConnection& Dropped = Victim->second;
  ::kill(Victim->first, SIGKILL);  // it has not logged in, so it runs no command
  Dropped.Dropped = true;
  Dropped.Gate.Reset();
  FDrops.Note("closed the connection from " + Dropped.Peer + " (pid " + std::to_string(Victim->first) +
              ") to make room for " + Peer + ": " + std::to_string(FOptions.MaxStartups) +
              " connections not logged in yet, the most of them from " + Most);
}

void TListener::ReadSignals() {
  while (int Signal = FSignals.Next()) {
    if (Signal == SIGCHLD) {
      Reap();
    } else if (Signal == SIGTERM || Signal == SIGINT) {
      Log(std::string("received SIG") + ::sigabbrev_np(Signal) + ": stopping");
      FStopping = true;
    }
  }
}

void TListener::Reap() {
  int Status = 0;
  pid_t Pid;
  while ((Pid = ::waitpid(-1, &Status, WNOHANG)) > 0) FConnections.erase(Pid);
}

void TListener::StopConnections() {
  for (const auto& [Pid, Connection] : FConnections) ::kill(Pid, SIGTERM);
  // A connection process needs up to about 2 s to stop its commands (TSessionServer).
  auto Deadline = TClock::now() + std::chrono::seconds(5);
  while (!FConnections.empty() && TClock::now() < Deadline) {
    Reap();
    if (!FConnections.empty()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  for (const auto& [Pid, Connection] : FConnections) ::kill(Pid, SIGKILL);
  while (!FConnections.empty()) {
    pid_t Pid = ::waitpid(-1, nullptr, 0);
    if (Pid < 0) break;
    FConnections.erase(Pid);
  }
}

}  // namespace

int RunListener(const TServerOptions& Options, const TAuthenticator& Authenticator, TSshKey HostKey) {
  TListener Listener(Options, Authenticator);
  return Listener.Run(std::move(HostKey));
}

}  // namespace hestrel::server

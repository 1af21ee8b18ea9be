// Hestrel server: accept loop and per-connection processes (see Listener.h).
#include "server/Listener.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <optional>
#include <set>
#include <thread>

#include "server/Authenticator.h"
#include "server/Handles.h"
#include "server/Log.h"
#include "server/Options.h"
#include "server/SessionServer.h"
#include "server/Signals.h"

namespace hestrel::server {

namespace {

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

std::string SocketName(int Fd, bool Peer) {
  sockaddr_storage Address{};
  socklen_t Length = sizeof Address;
  int Rc = Peer ? ::getpeername(Fd, reinterpret_cast<sockaddr*>(&Address), &Length)
                : ::getsockname(Fd, reinterpret_cast<sockaddr*>(&Address), &Length);
  return Rc == 0 ? AddressText(Address) : "unknown address";
}

TSshBind MakeBind(const TServerOptions& Options, const std::string& HostKeyPath) {
  TSshBind Bind(ssh_bind_new());
  if (!Bind) return Bind;
  int Verbosity = SSH_LOG_NOLOG;
  bool NoConfig = false;  // independent of /etc/libssh/libssh_server.config
  int Port = Options.Port;
  bool Ok = ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_PROCESS_CONFIG, &NoConfig) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_LOG_VERBOSITY, &Verbosity) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_BINDADDR, Options.ListenAddress.c_str()) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_BINDPORT, &Port) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_HOSTKEY, HostKeyPath.c_str()) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_CIPHERS_C_S, ServerCiphers) == SSH_OK &&
            ssh_bind_options_set(Bind.get(), SSH_BIND_OPTIONS_CIPHERS_S_C, ServerCiphers) == SSH_OK;
  if (!Ok) {
    Log(std::string("cannot configure the listener: ") + ssh_get_error(Bind.get()));
    Bind.reset();
  }
  return Bind;
}

class TListener {
 public:
  TListener(const TServerOptions& Options, const TAuthenticator& Authenticator)
      : FOptions(Options), FAuthenticator(Authenticator) {}
  int Run(const std::string& HostKeyPath);

 private:
  std::optional<int> Accept();
  int ServeInChild(TSshSession Session, const std::string& Peer, pid_t Listener);
  void ReadSignals();
  void Reap();
  void StopConnections();

  const TServerOptions& FOptions;
  const TAuthenticator& FAuthenticator;
  TSignalFd FSignals;
  TSshBind FBind;
  void Refuse(const std::string& Peer, const std::string& Why);

  std::set<pid_t> FConnections;
  std::set<pid_t> FLoggingIn;  ///< of FConnections, those whose client has not logged in yet
  int FRefusedSinceLog = 0;    ///< refusals not logged yet (one line per RefusalLogSeconds)
  std::chrono::steady_clock::time_point FLastRefusalLog{};
  bool FStopping = false;
};

int TListener::Run(const std::string& HostKeyPath) {
  FBind = MakeBind(FOptions, HostKeyPath);
  if (!FSignals.Valid() || !FBind) return 1;
  if (ssh_bind_listen(FBind.get()) != SSH_OK) {
    Log("cannot listen on " + FOptions.ListenAddress + ":" + std::to_string(FOptions.Port) + ": " +
        ssh_get_error(FBind.get()));
    return 1;
  }
  // Non-blocking, so that a connection reset between poll and accept cannot stall the loop.
  int ListenFd = ssh_bind_get_fd(FBind.get());
  ::fcntl(ListenFd, F_SETFL, ::fcntl(ListenFd, F_GETFL) | O_NONBLOCK);
  std::string Where = SocketName(ListenFd, false);
  std::printf("hestrel listening on %s\n", Where.c_str());
  std::fflush(stdout);
  Log("listening on " + Where);
  while (!FStopping) {
    pollfd Fds[2] = {{ssh_bind_get_fd(FBind.get()), POLLIN, 0}, {FSignals.Fd(), POLLIN, 0}};
    if (::poll(Fds, 2, -1) < 0) continue;
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
    Log(std::string("accept failed: ") + ssh_get_error(FBind.get()));
    return std::nullopt;
  }
  std::string Peer = SocketName(ssh_get_fd(Session.get()), true);
  Reap();  // count only connections still served
  // Bounds the processes a flood of connections can make; idle connections that never log
  // in have their own, smaller bound, so they cannot shut the users out (sshd's MaxStartups).
  if (FConnections.size() >= static_cast<std::size_t>(FOptions.MaxConnections)) {
    Refuse(Peer, std::to_string(FConnections.size()) + " connections open");
    return std::nullopt;
  }
  if (FLoggingIn.size() >= static_cast<std::size_t>(FOptions.MaxStartups)) {
    Refuse(Peer, std::to_string(FLoggingIn.size()) + " connections not logged in yet");
    return std::nullopt;
  }
  const pid_t Listener = ::getpid();
  pid_t Pid = ::fork();
  if (Pid < 0) {
    Log("cannot fork for the connection from " + Peer);
    return std::nullopt;
  }
  if (Pid == 0) return ServeInChild(std::move(Session), Peer, Listener);
  FConnections.insert(Pid);
  FLoggingIn.insert(Pid);
  Log("connection from " + Peer + " (served by pid " + std::to_string(Pid) + ")");
  return std::nullopt;  // Session's destructor closes the parent's copy of the socket
}

int TListener::ServeInChild(TSshSession Session, const std::string& Peer, pid_t Listener) {
  FBind.reset();     // the listening socket belongs to the parent
  FSignals.Close();  // TSessionServer opens its own; the signal mask stays blocked
  TSessionServer Server(std::move(Session), FOptions, FAuthenticator, Peer, Listener);
  return Server.Run();
}

void TListener::ReadSignals() {
  pid_t Sender = 0;
  while (int Signal = FSignals.Next(&Sender)) {
    if (Signal == SIGUSR1) {
      FLoggingIn.erase(Sender);  // its client logged in (TSessionServer)
    } else if (Signal == SIGCHLD) {
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
  while ((Pid = ::waitpid(-1, &Status, WNOHANG)) > 0) {
    FConnections.erase(Pid);
    FLoggingIn.erase(Pid);
  }
}

void TListener::Refuse(const std::string& Peer, const std::string& Why) {
  // The connection closes as Session goes. A flood must not flood the log too: the first
  // refusal is logged, then at most one line per RefusalLogSeconds with the count.
  constexpr auto RefusalLogSeconds = std::chrono::seconds(10);
  ++FRefusedSinceLog;
  const auto Now = std::chrono::steady_clock::now();
  if (FLastRefusalLog != std::chrono::steady_clock::time_point{} && Now - FLastRefusalLog < RefusalLogSeconds) return;
  Log("refused connection from " + Peer + ": " + Why +
      (FRefusedSinceLog > 1 ? " (" + std::to_string(FRefusedSinceLog) + " refused since the last such line)" : ""));
  FRefusedSinceLog = 0;
  FLastRefusalLog = Now;
}

void TListener::StopConnections() {
  for (pid_t Pid : FConnections) ::kill(Pid, SIGTERM);
  // A connection process needs up to about 2 s to stop its commands (TSessionServer).
  auto Deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!FConnections.empty() && std::chrono::steady_clock::now() < Deadline) {
    Reap();
    if (!FConnections.empty()) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  for (pid_t Pid : FConnections) ::kill(Pid, SIGKILL);
  while (!FConnections.empty()) {
    pid_t Pid = ::waitpid(-1, nullptr, 0);
    if (Pid < 0) break;
    FConnections.erase(Pid);
  }
}

}  // namespace

int RunListener(const TServerOptions& Options, const TAuthenticator& Authenticator, const std::string& HostKeyPath) {
  TListener Listener(Options, Authenticator);
  return Listener.Run(HostKeyPath);
}

}  // namespace hestrel::server

// Load driver of the server reliability run (bench/reliability/server.sh): hostile loads on a
// local `hestrel` while a real user logs in from another loopback address.
//
//   hestrel_server_load flood PORT PASSWORD_FILE SECONDS CONNECTIONS
//       CONNECTIONS clients from 127.0.0.2 guess passwords without pause, reconnecting whenever
//       they are disconnected; a user logs in from 127.0.0.3 once a second.
//   hestrel_server_load idle PORT PASSWORD_FILE SECONDS CONNECTIONS
//       CONNECTIONS TCP connections from 127.0.0.2 that never send a byte, reopened whenever the
//       server closes one; a user logs in from 127.0.0.3 once a second.
//   hestrel_server_load burst PORT PASSWORD_FILE COUNT
//       COUNT clients from 127.0.0.4 log in at the same moment; then COUNT new connections are
//       opened and held, and every logged-in session must still run a command.
//
// Prints one line of "name=value" figures.
#include <arpa/inet.h>
#include <libssh/libssh.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using TClock = std::chrono::steady_clock;

struct TSessionFree {
  void operator()(ssh_session S) const {
    ssh_disconnect(S);
    ssh_free(S);
  }
};
using TSession = std::unique_ptr<ssh_session_struct, TSessionFree>;

constexpr const char* Attacker = "127.0.0.2";
constexpr const char* User = "127.0.0.3";
constexpr const char* Burst = "127.0.0.4";

/// A session from From after the key exchange, or nullptr when the server refused it.
TSession Connect(int Port, const char* From) {
  TSession Session(ssh_new());
  int NoConfig = 0;
  long Timeout = 30;
  ssh_options_set(Session.get(), SSH_OPTIONS_HOST, "127.0.0.1");
  ssh_options_set(Session.get(), SSH_OPTIONS_BINDADDR, From);
  ssh_options_set(Session.get(), SSH_OPTIONS_PORT, &Port);
  ssh_options_set(Session.get(), SSH_OPTIONS_PROCESS_CONFIG, &NoConfig);
  ssh_options_set(Session.get(), SSH_OPTIONS_TIMEOUT, &Timeout);
  ssh_options_set(Session.get(), SSH_OPTIONS_KNOWNHOSTS, "/dev/null");
  return ssh_connect(Session.get()) == SSH_OK ? std::move(Session) : nullptr;
}

bool LogIn(const TSession& Session, const std::string& Password) {
  return Session && ssh_userauth_password(Session.get(), "user", Password.c_str()) == SSH_AUTH_SUCCESS;
}

bool RunsACommand(const TSession& Session) {
  ssh_channel Channel = ssh_channel_new(Session.get());
  const bool Ok = Channel != nullptr && ssh_channel_open_session(Channel) == SSH_OK &&
                  ssh_channel_request_exec(Channel, "exit 7") == SSH_OK && ssh_channel_get_exit_status(Channel) == 7;
  if (Channel != nullptr) ssh_channel_free(Channel);
  return Ok;
}

/// A real user logging in once a second until Deadline: attempts, refusals, slowest login.
struct TUserFigures {
  int Attempts = 0, Refused = 0;
  double SlowestSeconds = 0;
};

TUserFigures RealUser(int Port, const std::string& Password, TClock::time_point Deadline) {
  TUserFigures Figures;
  while (TClock::now() < Deadline) {
    const auto Begin = TClock::now();
    ++Figures.Attempts;
    if (!LogIn(Connect(Port, User), Password)) ++Figures.Refused;
    const double Seconds = std::chrono::duration<double>(TClock::now() - Begin).count();
    Figures.SlowestSeconds = std::max(Figures.SlowestSeconds, Seconds);
    std::this_thread::sleep_until(Begin + std::chrono::seconds(1));
  }
  return Figures;
}

/// A TCP connection from From that sends nothing, or -1.
int IdleSocket(int Port, const char* From) {
  const int Fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in Address{AF_INET, 0, {::inet_addr(From)}, {}};
  ::bind(Fd, reinterpret_cast<const sockaddr*>(&Address), sizeof Address);
  Address = {AF_INET, htons(static_cast<uint16_t>(Port)), {htonl(INADDR_LOOPBACK)}, {}};
  if (::connect(Fd, reinterpret_cast<const sockaddr*>(&Address), sizeof Address) == 0) return Fd;
  ::close(Fd);
  return -1;
}

int Hostile(bool Flood, int Port, const std::string& Password, int Seconds, int Connections) {
  const auto Deadline = TClock::now() + std::chrono::seconds(Seconds);
  std::atomic<long> Answered{0}, Opened{0};
  std::vector<std::thread> Threads;
  for (int I = 0; I < Connections; ++I)
    Threads.emplace_back([&] {
      while (TClock::now() < Deadline) {
        ++Opened;
        if (Flood) {
          TSession Session = Connect(Port, Attacker);
          while (Session && TClock::now() < Deadline &&
                 ssh_userauth_password(Session.get(), "root", "not the password") == SSH_AUTH_DENIED)
            ++Answered;
          if (!Session) std::this_thread::sleep_for(std::chrono::milliseconds(200));  // refused: try again soon
        } else {
          const int Fd = IdleSocket(Port, Attacker);
          pollfd P{Fd, POLLIN, 0};
          char Byte;
          // Held until the server closes it (its banner is read and ignored).
          while (Fd >= 0 && TClock::now() < Deadline && ::poll(&P, 1, 200) >= 0)
            if (P.revents != 0 && ::recv(Fd, &Byte, 1, 0) <= 0) break;
          if (Fd >= 0)
            ::close(Fd);
          else
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
      }
    });
  std::this_thread::sleep_for(std::chrono::seconds(2));  // the load is in place first
  const TUserFigures Figures = RealUser(Port, Password, Deadline);
  for (auto& Thread : Threads) Thread.join();
  std::printf("user_attempts=%d user_refused=%d user_slowest_s=%.2f hostile_connections=%ld answered_guesses=%ld\n",
              Figures.Attempts, Figures.Refused, Figures.SlowestSeconds, Opened.load(), Answered.load());
  return 0;
}

int BurstThenFullSet(int Port, const std::string& Password, int Count) {
  std::vector<TSession> Sessions(Count);
  std::atomic<int> Failed{0};
  std::latch Connected(Count);
  std::vector<std::thread> Threads;
  for (int I = 0; I < Count; ++I)
    Threads.emplace_back([&, I] {
      Sessions[I] = Connect(Port, Burst);
      Connected.arrive_and_wait();
      if (!LogIn(Sessions[I], Password)) ++Failed;
    });
  for (auto& Thread : Threads) Thread.join();
  std::vector<TSession> Fresh;
  int Refused = 0, Lost = 0;
  for (int I = 0; I < Count; ++I)
    if (!Fresh.emplace_back(Connect(Port, Burst))) ++Refused;
  for (const TSession& Session : Sessions)
    if (Session && !RunsACommand(Session)) ++Lost;
  std::printf("burst_logins=%d burst_failed=%d new_connections=%d new_refused=%d logged_in_lost=%d\n", Count,
              Failed.load(), Count, Refused, Lost);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string Mode = argc > 1 ? argv[1] : "";
  const bool Loaded = (Mode == "flood" || Mode == "idle") && argc == 6;
  if (!Loaded && !(Mode == "burst" && argc == 5)) {
    std::cerr << "usage: hestrel_server_load flood|idle PORT PASSWORD_FILE SECONDS CONNECTIONS\n"
                 "       hestrel_server_load burst PORT PASSWORD_FILE COUNT\n";
    return 2;
  }
  std::string Password;
  std::getline(std::ifstream(argv[3]), Password);
  ssh_init();
  const int Port = std::stoi(argv[2]);
  const int Code = Loaded ? Hostile(Mode == "flood", Port, Password, std::stoi(argv[4]), std::stoi(argv[5]))
                          : BurstThenFullSet(Port, Password, std::stoi(argv[4]));
  ssh_finalize();
  return Code;
}

// Test support for the Hestrel client and server (see Support.h).
#include "Support.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <thread>

namespace hestrel_test {

namespace {

/// Forks and execs Argv with Env added and stderr appended to LogPath; answers the process
/// id and the read end of a pipe from its stdout.
std::pair<pid_t, int> Spawn(std::vector<std::string> Argv, const std::vector<std::pair<std::string, std::string>>& Env,
                            const std::string& LogPath) {
  int Out[2];
  if (::pipe2(Out, O_CLOEXEC) != 0) return {-1, -1};
  std::vector<char*> Pointers;
  for (std::string& A : Argv) Pointers.push_back(A.data());
  Pointers.push_back(nullptr);
  const pid_t Pid = ::fork();
  if (Pid == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);  // a test program that crashes leaves no server behind
    for (const auto& [Name, Value] : Env) ::setenv(Name.c_str(), Value.c_str(), 1);
    ::dup2(::open(LogPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
    ::dup2(Out[1], STDOUT_FILENO);
    ::execv(Pointers[0], Pointers.data());
    ::_exit(127);
  }
  ::close(Out[1]);
  return {Pid, Out[0]};
}

int FreeLoopbackPort() {
  const int Fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in Address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t Length = sizeof Address;
  ::bind(Fd, reinterpret_cast<sockaddr*>(&Address), Length);
  ::getsockname(Fd, reinterpret_cast<sockaddr*>(&Address), &Length);
  ::close(Fd);
  return ntohs(Address.sin_port);
}

}  // namespace

TTempDir::TTempDir() {
  std::string Template = (fs::temp_directory_path() / "hestrel-test-XXXXXX").string();
  Path = ::mkdtemp(Template.data());
}

TTempDir::~TTempDir() {
  std::error_code Ignored;
  fs::remove_all(Path, Ignored);
}

void MakeFile(const std::string& Path, const std::string& Text, std::int64_t Modified, unsigned Mode) {
  fs::create_directories(fs::path(Path).parent_path());
  std::ofstream(Path, std::ios::binary | std::ios::trunc) << Text;
  ::chmod(Path.c_str(), Mode);
  const timespec Times[2] = {{static_cast<time_t>(Modified), 0}, {static_cast<time_t>(Modified), 0}};
  ::utimensat(AT_FDCWD, Path.c_str(), Times, 0);
}

std::vector<std::string> TreeOf(const std::string& Dir) {
  std::vector<std::string> Names;
  std::error_code Ec;
  for (auto It = fs::recursive_directory_iterator(Dir, Ec); !Ec && It != decltype(It){}; It.increment(Ec))
    Names.push_back(It->path().string().substr(Dir.size() + (Dir.back() == '/' ? 0 : 1)));  // links unresolved
  std::sort(Names.begin(), Names.end());
  return Names;
}

bool WaitFor(const std::function<bool()>& Condition, int TimeoutMs) {
  const auto Deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(TimeoutMs);
  while (!Condition()) {
    if (std::chrono::steady_clock::now() >= Deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

TTestServer::TTestServer() { MakeFile(PasswordFile.string(), Password + "\n", 0, 0600); }

TTestServer::~TTestServer() {
  // Stop() clears Pid once it has reaped the server, also one that a signal ended.
  if (Pid > 0 && Stop() == -1 && KillProcess(Pid, SIGKILL) == 0) ::waitpid(Pid, nullptr, 0);
}

bool TTestServer::Start(const std::vector<std::string>& Extra) {
  std::vector<std::string> Args = {"--port",          "0",
                                   "--password-file", PasswordFile.string(),
                                   "--host-key",      HostKeyFile.string(),
                                   "--root",          Dir.Path.string(),
                                   "--auth-delay-ms", "200"};
  if (::geteuid() == 0) Args.push_back("--allow-root");
  Args.insert(Args.end(), Extra.begin(), Extra.end());
  return StartWithArgs(Args);
}

bool TTestServer::StartWithArgs(const std::vector<std::string>& Args) {
  std::vector<std::string> Argv = Args;
  Argv.insert(Argv.begin(), ZEPH_HESTREL_BINARY);  // tests/CMakeLists.txt
  Argv.insert(Argv.begin(), Launcher.begin(), Launcher.end());
  int StdoutFd = -1;
  std::tie(Pid, StdoutFd) = Spawn(Argv, Env, (Dir.Path / "server.log").string());
  pollfd P{StdoutFd, POLLIN, 0};
  char C = 0;
  for (ListeningLine.clear(); ::poll(&P, 1, 10000) > 0 && ::read(StdoutFd, &C, 1) == 1 && C != '\n';)
    ListeningLine += C;
  ::close(StdoutFd);
  if (ListeningLine.rfind("hestrel listening on ", 0) != 0) return false;
  Port = std::atoi(ListeningLine.c_str() + ListeningLine.rfind(':') + 1);
  return Port > 0;
}

int TTestServer::Stop() {
  int Status = 0;
  if (Pid <= 0 || ::kill(Pid, SIGTERM) != 0 || !WaitFor([&] { return ::waitpid(Pid, &Status, WNOHANG) == Pid; }, 10000))
    return -1;
  Pid = -1;
  return WIFEXITED(Status) ? WEXITSTATUS(Status) : -1;
}

bool TTestServer::LogShows(const std::string& Text) const {
  return WaitFor([&] { return Log().find(Text) != std::string::npos; }, 3000);
}

int KillProcess(pid_t Pid, int Signal) { return Pid > 1 ? ::kill(Pid, Signal) : -1; }

pid_t TTestServer::LatestConnection() const {
  LogShows("(served by pid ");
  const std::string Text = Log();
  const auto At = Text.rfind("(served by pid ");
  return At == std::string::npos ? -1 : std::atoi(Text.c_str() + At + 15);
}

std::shared_ptr<hestrel::THestrelClient> TTestServer::Client(const std::string& AppData,
                                                             const hestrel::THestrelClientOptions& Options) const {
  return MakeClient(AppData, Port, {Password, true, false}, Options);
}

TTestSshd::~TTestSshd() {
  if (Pid > 0 && ::kill(Pid, SIGTERM) == 0) ::waitpid(Pid, nullptr, 0);
}

bool TTestSshd::Start() {
  const std::string At = Dir.Path.string();
  ::mkdir("/run/sshd", 0755);  // sshd's privilege-separation directory
  fs::create_directories(At + "/client");
  if (std::system(("ssh-keygen -q -t ed25519 -N '' -f " + At +
                   "/host_key >/dev/null && ssh-keygen -q -t ed25519 "
                   "-N '' -f " +
                   At + "/client/id_ed25519 >/dev/null")
                      .c_str()) != 0)
    return false;
  fs::copy_file(At + "/client/id_ed25519.pub", At + "/authorized_keys");
  Port = FreeLoopbackPort();
  std::ofstream(At + "/sshd_config")
      << "Port " << Port << "\nListenAddress 127.0.0.1\nHostKey " << At << "/host_key\nPidFile " << At
      << "/sshd.pid\nAuthorizedKeysFile " << At
      << "/authorized_keys\nPermitRootLogin yes\nStrictModes no\nUsePAM no\nLogLevel ERROR\n"
         "PasswordAuthentication no\nKbdInteractiveAuthentication no\nMaxStartups 100\n"
         "MaxSessions 100\nSubsystem sftp /usr/lib/openssh/sftp-server\n";
  int StdoutFd = -1;
  std::tie(Pid, StdoutFd) = Spawn({"/usr/sbin/sshd", "-D", "-e", "-f", At + "/sshd_config"}, {}, At + "/sshd.log");
  ::close(StdoutFd);
  return WaitFor([this] {  // until it accepts connections
    const int Fd = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in Address{AF_INET, htons(static_cast<uint16_t>(Port)), {htonl(INADDR_LOOPBACK)}, {}};
    const bool Up = ::connect(Fd, reinterpret_cast<const sockaddr*>(&Address), sizeof Address) == 0;
    ::close(Fd);
    return Up;
  });
}

hestrel::THestrelClientOptions TTestSshd::Options() const {
  hestrel::THestrelClientOptions Options;
  Options.SshDirectory = Dir / "client";
  Options.ConnectTimeoutSeconds = 5;
  return Options;
}

TTestSshd& SharedSshd() {
  static TTestSshd Sshd;
  static const bool Started = Sshd.Start();
  EXPECT_TRUE(Started) << ReadFileText(Sshd.Dir / "sshd.log");
  return Sshd;
}

TTestServer& SharedServer() {
  static TTestServer Server;
  static const bool Started = Server.Start();
  EXPECT_TRUE(Started) << Server.Log();
  return Server;
}

std::shared_ptr<hestrel::THestrelClient> MakeClient(const std::string& AppData, int Port,
                                                    const TRACredential& Credential,
                                                    const hestrel::THestrelClientOptions& Options,
                                                    const std::string& Host) {
  auto Client = std::make_shared<hestrel::THestrelClient>("test", AppData, Options);
  Client->SetHostName(Host);
  Client->SetPort(Port);
  Client->SetCredential(Credential);
  return Client;
}

}  // namespace hestrel_test

// Test helper: the hestrel server as a child process (see TestServer.h).
#include "TestServer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace hestrel_test {

void WriteFile(const std::filesystem::path& Path, const std::string& Text, unsigned Mode) {
  std::ofstream(Path, std::ios::binary | std::ios::trunc) << Text;
  ::chmod(Path.c_str(), Mode);
}

std::string ReadFile(const std::filesystem::path& Path) {
  std::ifstream In(Path, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

std::string TTestServer::BinaryPath() { return ZEPH_HESTREL_BINARY; }  // tests/CMakeLists.txt

TTestServer::TTestServer(std::string Password) : FPassword(std::move(Password)) {
  std::string Template = (std::filesystem::temp_directory_path() / "hestrel-test-XXXXXX").string();
  FDir = ::mkdtemp(Template.data());
  WriteFile(PasswordFile(), FPassword + "\n", 0600);
}

TTestServer::~TTestServer() {
  if (FPid > 0 && Stop() == -1) {
    ::kill(FPid, SIGKILL);
    ::waitpid(FPid, nullptr, 0);
  }
  std::error_code Ignored;
  std::filesystem::remove_all(FDir, Ignored);
}

pid_t TTestServer::Spawn(const std::vector<std::string>& Args, int& StdoutFd) {
  int Out[2];
  if (::pipe2(Out, O_CLOEXEC) != 0) return -1;
  std::string LogPath = (FDir / "server.log").string();
  std::vector<std::string> Argv = Args;
  Argv.insert(Argv.begin(), BinaryPath());
  std::vector<char*> Pointers;
  for (std::string& A : Argv) Pointers.push_back(A.data());
  Pointers.push_back(nullptr);
  pid_t Pid = ::fork();
  if (Pid == 0) {
    for (const auto& [Name, Value] : FEnv) ::setenv(Name.c_str(), Value.c_str(), 1);
    int Log = ::open(LogPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(Out[1], STDOUT_FILENO);
    ::dup2(Log, STDERR_FILENO);
    ::execv(Pointers[0], Pointers.data());
    ::_exit(127);
  }
  ::close(Out[1]);
  StdoutFd = Out[0];
  return Pid;
}

bool TTestServer::Start(const std::vector<std::string>& Extra) {
  std::vector<std::string> Args = {"--port", "0", "--password-file", PasswordFile().string(), "--host-key",
                                   HostKeyFile().string(), "--root", FDir.string(), "--auth-delay-ms", "200"};
  Args.insert(Args.end(), Extra.begin(), Extra.end());
  return StartWithArgs(Args);
}

bool TTestServer::StartWithArgs(const std::vector<std::string>& Args) {
  int StdoutFd = -1;
  FPid = Spawn(Args, StdoutFd);
  if (FPid <= 0) return false;
  // Read the listening line, at most 10 s.
  std::string Line;
  auto Deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (Line.find('\n') == std::string::npos && std::chrono::steady_clock::now() < Deadline) {
    pollfd P{StdoutFd, POLLIN, 0};
    if (::poll(&P, 1, 100) <= 0) continue;
    char Buffer[256];
    ssize_t N = ::read(StdoutFd, Buffer, sizeof Buffer);
    if (N <= 0) break;
    Line.append(Buffer, static_cast<std::size_t>(N));
  }
  ::close(StdoutFd);
  FListeningLine = Line.substr(0, Line.find('\n'));
  std::size_t Colon = FListeningLine.rfind(':');
  if (FListeningLine.rfind("hestrel listening on ", 0) != 0 || Colon == std::string::npos) return false;
  FPort = std::atoi(FListeningLine.c_str() + Colon + 1);
  return FPort > 0;
}

int TTestServer::RunToEnd(const std::vector<std::string>& Args, std::string& Output) {
  int StdoutFd = -1;
  FPid = Spawn(Args, StdoutFd);
  Output.clear();
  char Buffer[4096];
  for (ssize_t N; (N = ::read(StdoutFd, Buffer, sizeof Buffer)) > 0;) Output.append(Buffer, static_cast<std::size_t>(N));
  ::close(StdoutFd);
  return WaitExit(10000);
}

int TTestServer::WaitExit(int TimeoutMs) {
  auto Deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(TimeoutMs);
  int Status = 0;
  while (std::chrono::steady_clock::now() < Deadline) {
    pid_t Done = ::waitpid(FPid, &Status, WNOHANG);
    if (Done == FPid) {
      FPid = -1;
      return WIFEXITED(Status) ? WEXITSTATUS(Status) : -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return -1;
}

int TTestServer::Stop() {
  if (FPid <= 0) return -1;
  ::kill(FPid, SIGTERM);
  return WaitExit(10000);
}

std::string TTestServer::Log() const { return ReadFile(FDir / "server.log"); }

}  // namespace hestrel_test

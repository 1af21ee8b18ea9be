// End-to-end tests of zephprof: processes, ports and files (see ProcessRunner.h).
#include "ProcessRunner.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

std::vector<char*> Argv(const std::string& Program, const std::vector<std::string>& Args,
                        std::vector<std::string>& Storage) {
  Storage.clear();
  Storage.push_back(Program);
  Storage.insert(Storage.end(), Args.begin(), Args.end());
  std::vector<char*> Result;
  for (std::string& S : Storage) Result.push_back(S.data());
  Result.push_back(nullptr);
  return Result;
}

int StatusOf(int WaitStatus) {
  if (WIFEXITED(WaitStatus)) return WEXITSTATUS(WaitStatus);
  if (WIFSIGNALED(WaitStatus)) return 128 + WTERMSIG(WaitStatus);
  return -1;
}

}  // namespace

TProcessResult RunProcess(const std::string& Program, const std::vector<std::string>& Args, const std::string& Stdin,
                          const std::map<std::string, std::string>& Environment) {
  int InPipe[2], OutPipe[2], ErrPipe[2];
  if (pipe(InPipe) != 0 || pipe(OutPipe) != 0 || pipe(ErrPipe) != 0) return {};
  std::vector<std::string> Storage;
  std::vector<char*> Arguments = Argv(Program, Args, Storage);
  const pid_t Pid = fork();
  if (Pid == 0) {
    dup2(InPipe[0], 0);
    dup2(OutPipe[1], 1);
    dup2(ErrPipe[1], 2);
    for (int Fd : {InPipe[0], InPipe[1], OutPipe[0], OutPipe[1], ErrPipe[0], ErrPipe[1]}) close(Fd);
    for (const auto& [Name, Value] : Environment) {
      if (Value.empty()) unsetenv(Name.c_str());
      else setenv(Name.c_str(), Value.c_str(), 1);
    }
    execv(Program.c_str(), Arguments.data());
    _exit(127);
  }
  close(InPipe[0]);
  close(OutPipe[1]);
  close(ErrPipe[1]);
  // Standard input is small: written at once (SIGPIPE ignored in case the program leaves early).
  signal(SIGPIPE, SIG_IGN);
  if (!Stdin.empty()) (void)!write(InPipe[1], Stdin.data(), Stdin.size());
  close(InPipe[1]);
  TProcessResult Result;
  pollfd Fds[2] = {{OutPipe[0], POLLIN, 0}, {ErrPipe[0], POLLIN, 0}};
  int Open = 2;
  char Buffer[4096];
  while (Open > 0) {
    if (poll(Fds, 2, 60000) <= 0) break;
    for (int I = 0; I < 2; ++I) {
      if (Fds[I].fd < 0 || !(Fds[I].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      const ssize_t N = read(Fds[I].fd, Buffer, sizeof Buffer);
      if (N <= 0) {
        close(Fds[I].fd);
        Fds[I].fd = -1;
        --Open;
      } else {
        (I == 0 ? Result.Out : Result.Err).append(Buffer, static_cast<std::size_t>(N));
      }
    }
  }
  for (pollfd& Fd : Fds)
    if (Fd.fd >= 0) close(Fd.fd);
  int WaitStatus = 0;
  waitpid(Pid, &WaitStatus, 0);
  Result.Status = StatusOf(WaitStatus);
  return Result;
}

TBackgroundProcess::~TBackgroundProcess() { Stop(); }

bool TBackgroundProcess::Start(const std::string& Program, const std::vector<std::string>& Args) {
  int OutPipe[2];
  if (pipe(OutPipe) != 0) return false;
  std::vector<std::string> Storage;
  std::vector<char*> Arguments = Argv(Program, Args, Storage);
  FPid = fork();
  if (FPid == 0) {
    dup2(OutPipe[1], 1);
    dup2(OutPipe[1], 2);
    close(OutPipe[0]);
    close(OutPipe[1]);
    execv(Program.c_str(), Arguments.data());
    _exit(127);
  }
  close(OutPipe[1]);
  FOut = OutPipe[0];
  return FPid > 0;
}

std::string TBackgroundProcess::WaitForLine(const std::string& Text, int TimeoutMs) {
  const auto Deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(TimeoutMs);
  for (;;) {
    std::size_t LineEnd;
    while ((LineEnd = FBuffer.find('\n')) != std::string::npos) {
      std::string Line = FBuffer.substr(0, LineEnd);
      FBuffer.erase(0, LineEnd + 1);
      if (Line.find(Text) != std::string::npos) return Line;
    }
    const auto Left = std::chrono::duration_cast<std::chrono::milliseconds>(Deadline - std::chrono::steady_clock::now());
    if (Left.count() <= 0 || FOut < 0) return {};
    pollfd Fd{FOut, POLLIN, 0};
    if (poll(&Fd, 1, static_cast<int>(Left.count())) <= 0) return {};
    char Buffer[1024];
    const ssize_t N = read(FOut, Buffer, sizeof Buffer);
    if (N <= 0) return {};
    FBuffer.append(Buffer, static_cast<std::size_t>(N));
  }
}

void TBackgroundProcess::Stop() {
  if (FPid > 0) {
    kill(FPid, SIGTERM);
    int WaitStatus = 0;
    waitpid(FPid, &WaitStatus, 0);
    FPid = -1;
  }
  if (FOut >= 0) {
    close(FOut);
    FOut = -1;
  }
}

TPtyProcess::~TPtyProcess() {
  if (FPid > 0) {
    kill(FPid, SIGTERM);
    waitpid(FPid, nullptr, 0);
  }
  if (FMaster >= 0) close(FMaster);
}

bool TPtyProcess::Start(const std::string& Program, const std::vector<std::string>& Args,
                        const std::map<std::string, std::string>& Environment) {
  std::vector<std::string> Storage;
  std::vector<char*> Arguments = Argv(Program, Args, Storage);
  FPid = forkpty(&FMaster, nullptr, nullptr, nullptr);
  if (FPid == 0) {
    for (const auto& [Name, Value] : Environment) {
      if (Value.empty()) unsetenv(Name.c_str());
      else setenv(Name.c_str(), Value.c_str(), 1);
    }
    execv(Program.c_str(), Arguments.data());
    _exit(127);
  }
  return FPid > 0;
}

bool TPtyProcess::ReadSome(int TimeoutMs) {
  pollfd Fd{FMaster, POLLIN, 0};
  if (poll(&Fd, 1, TimeoutMs) <= 0) return false;
  char Buffer[1024];
  const ssize_t N = read(FMaster, Buffer, sizeof Buffer);  // EIO once the program has ended
  if (N <= 0) return false;
  FOutput.append(Buffer, static_cast<std::size_t>(N));
  return true;
}

bool TPtyProcess::WaitFor(const std::string& Text, int TimeoutMs) {
  const auto Deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(TimeoutMs);
  for (;;) {
    const std::size_t At = FOutput.find(Text, FSearchFrom);
    if (At != std::string::npos) {
      FSearchFrom = At + Text.size();
      return true;
    }
    const auto Left = std::chrono::duration_cast<std::chrono::milliseconds>(Deadline - std::chrono::steady_clock::now());
    if (Left.count() <= 0 || !ReadSome(static_cast<int>(Left.count()))) return false;
  }
}

void TPtyProcess::Type(const std::string& Text) { (void)!write(FMaster, Text.data(), Text.size()); }

int TPtyProcess::Wait() {
  while (ReadSome(10000)) {
  }
  int WaitStatus = 0;
  waitpid(FPid, &WaitStatus, 0);
  FPid = -1;
  return StatusOf(WaitStatus);
}

// Both paths are compiled in (tests/CMakeLists.txt), so a run by hand finds them too.
std::string ZephprofPath() { return ZEPH_ZEPHPROF_BINARY; }

std::string HestrelPath() { return access(ZEPH_HESTREL_BINARY, X_OK) == 0 ? ZEPH_HESTREL_BINARY : std::string(); }

int FreeLoopbackPort() {
  const int Socket = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in Address{};
  Address.sin_family = AF_INET;
  Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  Address.sin_port = 0;
  socklen_t Length = sizeof Address;
  int Port = -1;
  if (bind(Socket, reinterpret_cast<sockaddr*>(&Address), sizeof Address) == 0 &&
      getsockname(Socket, reinterpret_cast<sockaddr*>(&Address), &Length) == 0)
    Port = ntohs(Address.sin_port);
  close(Socket);
  return Port;
}

std::string ReadWholeFile(const std::filesystem::path& File) {
  std::ifstream In(File, std::ios::binary);
  std::ostringstream Content;
  Content << In.rdbuf();
  return Content.str();
}

std::vector<std::filesystem::path> FilesBelow(const std::filesystem::path& Dir) {
  std::vector<std::filesystem::path> Files;
  std::error_code Ignored;
  if (!std::filesystem::exists(Dir, Ignored)) return Files;
  for (const auto& Entry : std::filesystem::recursive_directory_iterator(Dir, Ignored))
    if (Entry.is_regular_file()) Files.push_back(Entry.path());
  return Files;
}

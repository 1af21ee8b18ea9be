// Hestrel server: starting commands on pipes (see ChildProcess.h).
#include "server/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <map>

extern char** environ;

namespace hestrel::server {

namespace {

/// Big pipes let one read carry a whole SFTP burst (perf-baselines: relay in large blocks).
constexpr int PipeCapacity = 1 << 20;

bool MakePipe(TUniqueFd& Read, TUniqueFd& Write) {
  int Fds[2];
  if (::pipe2(Fds, O_CLOEXEC) != 0) return false;
  Read.Reset(Fds[0]);
  Write.Reset(Fds[1]);
  ::fcntl(Fds[0], F_SETPIPE_SZ, PipeCapacity);  // best effort: the system may cap it
  return true;
}

void SetNonBlocking(int Fd) { ::fcntl(Fd, F_SETFL, ::fcntl(Fd, F_GETFL) | O_NONBLOCK); }

bool PassedOn(std::string_view Name) {
  for (std::string_view Kept : {"PATH", "HOME", "USER", "LOGNAME", "SHELL", "TZ"})
    if (Name == Kept) return true;
  return ClientMayPass(Name);
}

std::vector<char*> Pointers(std::vector<std::string>& Strings) {
  std::vector<char*> Result;
  for (std::string& S : Strings) Result.push_back(S.data());
  Result.push_back(nullptr);
  return Result;
}

/// Closes every descriptor from Lowest up: close_range, else one by one up to the limit.
void CloseFrom(int Lowest) {
  if (::syscall(SYS_close_range, static_cast<unsigned>(Lowest), ~0U, 0U) == 0) return;
  rlimit Limit{};
  const long Highest = ::getrlimit(RLIMIT_NOFILE, &Limit) == 0 && Limit.rlim_max != RLIM_INFINITY
                           ? static_cast<long>(Limit.rlim_max)
                           : ::sysconf(_SC_OPEN_MAX);
  for (long Fd = Lowest; Fd < Highest; ++Fd) ::close(static_cast<int>(Fd));
}

/// In the forked child: a new session, default signals, the pipes on 0, 1, 2, nothing else
/// open, then exec. Ignored signals would survive exec, so each is set back to its default
/// here (posix_spawn is not used: it leaves the C library's two internal signals ignored).
[[noreturn]] void ExecInChild(int In, int Out, int Err, char** Argv, char** Envp) {
  struct sigaction Default {};
  Default.sa_handler = SIG_DFL;
  for (int Signal = 1; Signal < NSIG; ++Signal) ::sigaction(Signal, &Default, nullptr);
  sigset_t None;
  sigemptyset(&None);
  ::sigprocmask(SIG_SETMASK, &None, nullptr);
  ::setsid();
  ::dup2(In, STDIN_FILENO);
  ::dup2(Out, STDOUT_FILENO);
  ::dup2(Err, STDERR_FILENO);
  CloseFrom(STDERR_FILENO + 1);
  ::execve(Argv[0], Argv, Envp);
  const char* Reason = ::strerror(errno);
  (void)!::write(STDERR_FILENO, "hestrel: cannot run ", 20);
  (void)!::write(STDERR_FILENO, Argv[0], ::strlen(Argv[0]));
  (void)!::write(STDERR_FILENO, ": ", 2);
  (void)!::write(STDERR_FILENO, Reason, ::strlen(Reason));
  (void)!::write(STDERR_FILENO, "\n", 1);
  ::_exit(127);
}

/// A command's environment: of the server's own, only PATH, HOME, USER, LOGNAME, SHELL, LANG,
/// LC_* and TZ (so an operator's agent socket or tokens never reach a client), then Client
/// (later entries win).
std::vector<std::string> CommandEnvironment(const TEnvironment& Client) {
  std::map<std::string, std::string> Merged;
  for (char** Entry = environ; *Entry != nullptr; ++Entry) {
    const std::string_view Text = *Entry;
    const std::size_t Equals = Text.find('=');
    if (Equals != std::string_view::npos && PassedOn(Text.substr(0, Equals)))
      Merged[std::string(Text.substr(0, Equals))] = Text.substr(Equals + 1);
  }
  for (const auto& [Name, Value] : Client) Merged[Name] = Value;
  std::vector<std::string> Result;
  for (const auto& [Name, Value] : Merged) Result.push_back(Name + "=" + Value);
  return Result;
}

}  // namespace

bool ClientMayPass(std::string_view Name) { return Name == "LANG" || Name.starts_with("LC_"); }

bool SpawnChild(const std::vector<std::string>& Argv, const TEnvironment& Client, TChildProcess& Child,
                std::string& Error) {
  TUniqueFd InRead, InWrite, OutRead, OutWrite, ErrRead, ErrWrite;
  if (!MakePipe(InRead, InWrite) || !MakePipe(OutRead, OutWrite) || !MakePipe(ErrRead, ErrWrite)) {
    Error = std::string("cannot create pipes: ") + ::strerror(errno);
    return false;
  }
  std::vector<std::string> ArgStrings = Argv;
  std::vector<std::string> EnvStrings = CommandEnvironment(Client);
  std::vector<char*> ArgPointers = Pointers(ArgStrings);
  std::vector<char*> EnvPointers = Pointers(EnvStrings);
  pid_t Pid = ::fork();
  if (Pid < 0) {
    Error = std::string("cannot fork: ") + ::strerror(errno);
    return false;
  }
  if (Pid == 0) ExecInChild(InRead.Get(), OutWrite.Get(), ErrWrite.Get(), ArgPointers.data(), EnvPointers.data());
  SetNonBlocking(InWrite.Get());
  SetNonBlocking(OutRead.Get());
  SetNonBlocking(ErrRead.Get());
  Child.Pid = Pid;
  Child.Stdin = std::move(InWrite);
  Child.Stdout = std::move(OutRead);
  Child.Stderr = std::move(ErrRead);
  return true;
}

void SignalChildGroup(pid_t Pid, int Signal) {
  if (Pid <= 0) return;
  ::kill(-Pid, Signal);
  ::kill(Pid, Signal);
}

std::string SshSignalName(int Signal) {
  const char* Name = ::sigabbrev_np(Signal);
  return Name != nullptr ? Name : "UNKNOWN";
}

}  // namespace hestrel::server

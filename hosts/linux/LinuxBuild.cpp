#include "hosts/linux/LinuxBuild.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

extern char** environ;

namespace {

/// Where Program is found on PATH; empty when it is not.
std::string FindOnPath(const std::string& Program) {
  const char* Path = std::getenv("PATH");
  std::string Dirs = Path ? Path : "/usr/bin:/bin";
  for (std::size_t Start = 0; Start <= Dirs.size();) {
    const std::size_t End = std::min(Dirs.find(':', Start), Dirs.size());
    const std::string Found = (End > Start ? Dirs.substr(Start, End - Start) : ".") + "/" + Program;
    if (::access(Found.c_str(), X_OK) == 0) return Found;
    Start = End + 1;
  }
  return {};
}

/// dotnet runs msbuild only with an SDK installed beside it; a runtime alone has none.
bool HasDotnetSdk(const std::string& Dotnet) {
  std::error_code Ec;
  const std::filesystem::path Sdks = std::filesystem::canonical(Dotnet, Ec).parent_path() / "sdk";
  return !Ec && std::filesystem::is_directory(Sdks, Ec) && !std::filesystem::is_empty(Sdks, Ec);
}

}  // namespace

std::vector<std::string> TLinuxBuildEngine::FindEngine() {
  if (!FindOnPath("msbuild").empty()) return {"msbuild"};
  if (const std::string Dotnet = FindOnPath("dotnet"); !Dotnet.empty() && HasDotnetSdk(Dotnet))
    return {"dotnet", "msbuild"};
  if (!FindOnPath("xbuild").empty()) return {"xbuild"};
  return {};
}

void TLinuxBuildEngine::SetVariable(const std::string& Name, const std::string& Value) {
  for (auto& Variable : FVariables)
    if (Variable.first == Name) {
      Variable.second = Value;
      return;
    }
  FVariables.emplace_back(Name, Value);
}

int TLinuxBuildEngine::Run(const std::string& ProjectFile, const std::string& Target, const std::string& Properties,
                           std::string* Output, std::string& Error) const {
  std::vector<std::string> Args = FindEngine();
  if (Args.empty()) {
    Error = "No build engine found: install msbuild, dotnet or xbuild (Debian: mono-xbuild)";
    return -1;
  }
  Args.insert(Args.end(), {"/nologo", "/t:" + Target});
  if (!Properties.empty()) Args.push_back("/p:" + Properties);
  Args.push_back(ProjectFile);
  std::vector<char*> Argv;
  for (std::string& Arg : Args) Argv.push_back(Arg.data());
  Argv.push_back(nullptr);

  std::vector<std::string> Variables;
  for (char** Entry = environ; *Entry; ++Entry) {
    const std::string Text = *Entry;
    const std::string Name = Text.substr(0, Text.find('='));
    bool Replaced = false;
    for (const auto& Variable : FVariables) Replaced = Replaced || Variable.first == Name;
    if (!Replaced) Variables.push_back(Text);
  }
  for (const auto& [Name, Value] : FVariables) Variables.push_back(Name + "=" + Value);
  std::vector<char*> Envp;
  for (std::string& Variable : Variables) Envp.push_back(Variable.data());
  Envp.push_back(nullptr);

  int Pipe[2] = {-1, -1};
  posix_spawn_file_actions_t Actions;
  posix_spawn_file_actions_init(&Actions);
  if (Output) {
    if (::pipe2(Pipe, O_CLOEXEC) != 0) {
      Error = std::string("Cannot start the build engine: ") + std::strerror(errno);
      posix_spawn_file_actions_destroy(&Actions);
      return -1;
    }
    posix_spawn_file_actions_adddup2(&Actions, Pipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&Actions, Pipe[1], STDERR_FILENO);
  }
  pid_t Pid = -1;
  const int Spawned = posix_spawnp(&Pid, Argv[0], &Actions, nullptr, Argv.data(), Envp.data());
  posix_spawn_file_actions_destroy(&Actions);
  if (Output) {
    ::close(Pipe[1]);
    char Buffer[4096];
    for (ssize_t N; Spawned == 0 && ((N = ::read(Pipe[0], Buffer, sizeof Buffer)) > 0 || (N < 0 && errno == EINTR));)
      if (N > 0) Output->append(Buffer, static_cast<std::size_t>(N));
    ::close(Pipe[0]);
  }
  if (Spawned != 0) {
    Error = "Cannot start the build engine '" + Args.front() + "': " + std::strerror(Spawned);
    return -1;
  }
  int Status = 0;
  while (::waitpid(Pid, &Status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(Status) ? WEXITSTATUS(Status) : 128 + WTERMSIG(Status);
}

TLinuxBuildLock::TLinuxBuildLock(std::string FileName, TNoticeFunc Notice)
    : FFileName(std::move(FileName)), FNotice(std::move(Notice)) {}

TLinuxBuildLock::~TLinuxBuildLock() {
  if (FFd >= 0) ::close(FFd);
}

void TLinuxBuildLock::Lock() {
  if (FDepth > 0) {
    ++FDepth;
    return;
  }
  // Close-on-exec: a build engine started under the lock must not keep it alive after us.
  const int Fd = ::open(FFileName.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (Fd < 0) throw std::runtime_error("Cannot open the build lock '" + FFileName + "': " + std::strerror(errno));
  if (::flock(Fd, LOCK_EX | LOCK_NB) != 0) {
    // The holder writes its pid just after taking the lock: a waiter that comes in between
    // gives it a moment before naming no process.
    int HolderPid = 0;
    for (int Try = 0; Try < 20; ++Try, ::usleep(5000)) {
      char Holder[32] = {};
      if ((HolderPid = ::pread(Fd, Holder, sizeof Holder - 1, 0) > 0 ? std::atoi(Holder) : 0) > 0) break;
    }
    if (FNotice)
      FNotice("Waiting for another deploy to finish: the build lock '" + FFileName + "' is held by " +
              (HolderPid > 0 ? "process " + std::to_string(HolderPid) : std::string("another process")));
    while (::flock(Fd, LOCK_EX) != 0 && errno == EINTR) {
    }
  }
  const std::string Pid = std::to_string(::getpid()) + "\n";
  if (::ftruncate(Fd, 0) == 0) (void)!::pwrite(Fd, Pid.data(), Pid.size(), 0);
  FFd = Fd;
  FDepth = 1;
}

void TLinuxBuildLock::UnLock() {
  if (FDepth == 0 || --FDepth > 0) return;
  (void)!::ftruncate(FFd, 0);
  ::flock(FFd, LOCK_UN);
  ::close(FFd);
  FFd = -1;
}

TLinuxBuildServices::TLinuxBuildServices(const std::string& LockFileName, TNoticeFunc Notice)
    : FLock(LockFileName, Notice), FNotice(std::move(Notice)) {}

bool TLinuxBuildServices::InvokeMSBuild(IOTACustomProject& Project, const std::string& Target,
                                        const std::string& Properties, TBuildControl&) {
  std::string Error;
  const int Status = FEngine.Run(Project.GetProjectFileName(), Target, Properties, nullptr, Error);
  if (Status < 0 && FNotice) FNotice(Error);
  return Status == 0;
}

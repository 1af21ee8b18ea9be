#include "ProcessRunner.h"

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

std::string Quoted(const std::string& Text) {
  std::string Result = "'";
  for (char C : Text) Result += C == '\'' ? std::string("'\\''") : std::string(1, C);
  return Result + "'";
}

/// The shell command that runs Program with Args in Environment.
std::string Command(const std::string& Program, const std::vector<std::string>& Args, const TEnvironment& Environment) {
  std::string Line = "exec env";
  for (const auto& [Name, Value] : Environment)
    Line += Value.empty() ? " -u " + Name : " " + Quoted(Name + "=" + Value);
  Line += " " + Quoted(Program);
  for (const std::string& Arg : Args) Line += " " + Quoted(Arg);
  return Line;
}

int StatusOf(int WaitStatus) { return WIFEXITED(WaitStatus) ? WEXITSTATUS(WaitStatus) : 128 + WTERMSIG(WaitStatus); }

}  // namespace

std::string ReadWholeFile(const fs::path& File) {
  std::ifstream In(File, std::ios::binary);
  std::ostringstream Content;
  Content << In.rdbuf();
  return Content.str();
}

bool Matches(const std::string& Text, const std::string& Pattern) {
  const std::string Any = "…";
  const std::size_t At = Pattern.find(Any);
  if (At == std::string::npos) return Text == Pattern;
  if (Text.compare(0, At, Pattern, 0, At) != 0) return false;
  for (std::size_t From = At; From <= Text.size(); ++From)
    if (Matches(Text.substr(From), Pattern.substr(At + Any.size()))) return true;
  return false;
}

void TZephprofTest::SetUp() {
  Dir = fs::temp_directory_path() / ("zephprof-test-" + std::to_string(getpid()) + "-" +
                                     ::testing::UnitTest::GetInstance()->current_test_info()->name());
  fs::remove_all(Dir);
  fs::create_directories(Dir / "home");
  Settings = Dir / "settings.ini";
  Data = Dir / "data";
}

void TZephprofTest::TearDown() {
  if (FServerPid > 0) kill(FServerPid, SIGTERM);
  fs::remove_all(Dir);
}

TEnvironment TZephprofTest::Environment() const {
  return {{"HOME", (Dir / "home").string()},
          {"XDG_CONFIG_HOME", (Dir / "home/config").string()},
          {"XDG_DATA_HOME", (Dir / "home/data").string()}};
}

std::vector<std::string> TZephprofTest::WithStore(std::vector<std::string> Args) const {
  Args.insert(Args.begin(), {"--settings", Settings.string(), "--data-dir", Data.string()});
  return Args;
}

TProcessResult TZephprofTest::Z(const std::vector<std::string>& Args, const std::string& Stdin) const {
  std::ofstream(Dir / "stdin", std::ios::binary) << Stdin;
  const int Status = std::system((Command(ZEPH_ZEPHPROF_BINARY, WithStore(Args), Environment()) + " <" +
                                  Quoted((Dir / "stdin").string()) + " >" + Quoted((Dir / "stdout").string()) + " 2>" +
                                  Quoted((Dir / "stderr").string()))
                                     .c_str());
  return {StatusOf(Status), ReadWholeFile(Dir / "stdout"), ReadWholeFile(Dir / "stderr")};
}

void TZephprofTest::Run(const std::vector<TStep>& Steps) const {
  for (const TStep& Step : Steps) {
    const TProcessResult R = Z(Step.Args, Step.Stdin);
    std::string Line = "zephprof";
    for (const std::string& Arg : Step.Args) Line += " " + Arg;
    EXPECT_EQ(R.Status, Step.Status) << Line << "\n" << R.Err;
    EXPECT_PRED2(Matches, R.Out, Step.Out) << Line;
    EXPECT_PRED2(Matches, R.Err, Step.Err) << Line;
  }
}

TProcessResult TZephprofTest::OnTerminal(const std::vector<std::string>& Args,
                                         const std::vector<std::pair<std::string, std::string>>& Dialogue) const {
  const std::string Line = Command(ZEPH_ZEPHPROF_BINARY, WithStore(Args), Environment());
  int Terminal = -1;
  const pid_t Pid = forkpty(&Terminal, nullptr, nullptr, nullptr);
  if (Pid == 0) {
    execl("/bin/sh", "sh", "-c", Line.c_str(), nullptr);
    _exit(127);
  }
  TProcessResult Result;
  std::size_t From = 0;                              // just after the last prompt seen
  auto ReadUntil = [&](const std::string& Prompt) {  // to the end when Prompt is ""
    for (;;) {
      if (const std::size_t At = Result.Out.find(Prompt, From); !Prompt.empty() && At != std::string::npos) {
        From = At + Prompt.size();
        return true;
      }
      pollfd Fd{Terminal, POLLIN, 0};
      char Buffer[1024];
      const ssize_t N = poll(&Fd, 1, 10000) > 0 ? read(Terminal, Buffer, sizeof Buffer) : 0;  // EIO at the end
      if (N <= 0) return false;
      Result.Out.append(Buffer, static_cast<std::size_t>(N));
    }
  };
  bool Prompted = true;
  for (const auto& [Prompt, Answer] : Dialogue)
    if ((Prompted = Prompted && ReadUntil(Prompt))) (void)!write(Terminal, Answer.data(), Answer.size());
  ReadUntil("");
  close(Terminal);
  int WaitStatus = 0;
  waitpid(Pid, &WaitStatus, 0);
  Result.Status = Prompted ? StatusOf(WaitStatus) : -1;
  return Result;
}

int TZephprofTest::StartHestrel(const fs::path& Root, const std::string& Password) {
  fs::create_directories(Root);
  std::ofstream(Dir / "password") << Password << '\n';
  fs::permissions(Dir / "password", fs::perms::owner_read | fs::perms::owner_write);
  const std::string Line =
      Command(ZEPH_HESTREL_BINARY,
              {"--port", "0", "--listen", "127.0.0.1", "--password-file", (Dir / "password").string(), "--host-key",
               (Dir / "host_key").string(), "--root", Root.string()},
              {});
  if (std::system((Line + " >" + Quoted((Dir / "server.log").string()) + " 2>&1 </dev/null & echo $! >" +
                   Quoted((Dir / "server.pid").string()))
                      .c_str()) != 0)
    return 0;
  FServerPid = std::stoi("0" + ReadWholeFile(Dir / "server.pid"));
  for (int I = 0; I < 200; ++I) {  // its first line names the port: "hestrel listening on 127.0.0.1:PORT"
    const std::string Log = ReadWholeFile(Dir / "server.log");
    const std::size_t End = Log.find('\n', Log.find("hestrel listening on "));
    if (Log.find("hestrel listening on ") != std::string::npos && End != std::string::npos)
      return std::stoi(Log.substr(Log.rfind(':', End) + 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return 0;
}

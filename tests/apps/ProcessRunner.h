// End-to-end tests of zephprof: the built program run against a settings file, data directory
// and home folder of its own, as a process, on a pseudo-terminal, and against hestrel.
#pragma once

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "doubles/FileText.h"
#include "doubles/HostDoubles.h"

namespace fs = std::filesystem;

/// Whether Text is Pattern, each "…" of which stands for any text ("…" alone: anything).
inline bool Matches(const std::string& Text, const std::string& Pattern) {
  const std::string Any = "…";
  const std::size_t At = Pattern.find(Any);
  if (At == std::string::npos) return Text == Pattern;
  if (Text.compare(0, At, Pattern, 0, At) != 0) return false;
  for (std::size_t From = At; From <= Text.size(); ++From)
    if (Matches(Text.substr(From), Pattern.substr(At + Any.size()))) return true;
  return false;
}

/// One run of zephprof and what it answers (or must answer).
struct TStep {
  std::vector<std::string> Args;
  int Status = 0;  ///< exit status; 128 + signal when killed
  std::string Out = "…", Err = "…", Stdin = "";
};

class TZephprofTest : public ::testing::Test {
 protected:
  void TearDown() override {
    if (FServerPid > 0) kill(FServerPid, SIGTERM);
    fs::remove_all(Dir);
  }
  TStep Z(const std::vector<std::string>& Args, const std::string& Stdin = "") const {
    std::ofstream(Dir / "stdin", std::ios::binary) << Stdin;
    const std::string Line = Command(ZEPH_ZEPHPROF_BINARY, Args) + " <" + Quoted(Dir / "stdin") + " >" +
                             Quoted(Dir / "stdout") + " 2>" + Quoted(Dir / "stderr");
    const int Status = StatusOf(std::system(Line.c_str()));  // before the files are read
    return TStep(Args, Status, ReadFileText(Dir / "stdout"), ReadFileText(Dir / "stderr"));
  }
  /// Runs the steps in order, each checked against what it must answer.
  void Run(const std::vector<TStep>& Steps) const {
    for (const TStep& Step : Steps) {
      const TStep R = Z(Step.Args, Step.Stdin);
      std::string Line = "zephprof";
      for (const std::string& Arg : Step.Args) Line += " " + Arg;
      EXPECT_EQ(R.Status, Step.Status) << Line << "\n" << R.Err;
      EXPECT_PRED2(Matches, R.Out, Step.Out) << Line;
      EXPECT_PRED2(Matches, R.Err, Step.Err) << Line;
    }
  }
  /// Runs zephprof on a pseudo-terminal, typing each answer once its prompt has been shown;
  /// Out holds everything shown, Status is -1 when a prompt did not come.
  TStep OnTerminal(const std::vector<std::string>& Args,
                   const std::vector<std::pair<std::string, std::string>>& Dialogue) const {
    const std::string Line = Command(ZEPH_ZEPHPROF_BINARY, Args);
    int Terminal = -1;
    const pid_t Pid = forkpty(&Terminal, nullptr, nullptr, nullptr);
    if (Pid == 0) {
      execl("/bin/sh", "sh", "-c", Line.c_str(), nullptr);
      _exit(127);
    }
    TStep Shown(Args, -1, "");
    std::size_t From = 0;                              // just after the last prompt seen
    auto ReadUntil = [&](const std::string& Prompt) {  // to the end when Prompt is ""
      for (char Buffer[1024];;) {
        if (const std::size_t At = Shown.Out.find(Prompt, From); !Prompt.empty() && At != std::string::npos) {
          From = At + Prompt.size();
          return true;
        }
        pollfd Fd{Terminal, POLLIN, 0};
        const ssize_t N = poll(&Fd, 1, 10000) > 0 ? read(Terminal, Buffer, sizeof Buffer) : 0;  // EIO at the end
        if (N <= 0) return false;
        Shown.Out.append(Buffer, static_cast<std::size_t>(N));
      }
    };
    bool Prompted = true;
    for (const auto& [Prompt, Answer] : Dialogue)
      if ((Prompted = Prompted && ReadUntil(Prompt))) (void)!write(Terminal, Answer.data(), Answer.size());
    ReadUntil("");
    close(Terminal);
    int WaitStatus = 0;
    waitpid(Pid, &WaitStatus, 0);
    if (Prompted) Shown.Status = StatusOf(WaitStatus);
    return Shown;
  }
  /// Starts the built hestrel server on a free loopback port with this password; answers the
  /// port ("0" when it did not start). Stopped at the end of the test.
  std::string StartHestrel(const fs::path& Root, const std::string& Password) {
    fs::create_directories(Root);
    std::ofstream(Dir / "password") << Password << '\n';
    fs::permissions(Dir / "password", fs::perms::owner_read | fs::perms::owner_write);
    std::vector<std::string> Args = {"--port",         "0",          "--listen",       "127.0.0.1", "--password-file",
                                     Dir / "password", "--host-key", Dir / "host_key", "--root",    Root};
    if (geteuid() == 0) Args.push_back("--allow-root");  // hestrel refuses to run as root without it
    std::string Line = Command(ZEPH_HESTREL_BINARY, Args) + " >" + Quoted(Dir / "log") + " 2>&1 </dev/null & echo $! >" +
                       Quoted(Dir / "pid");
    // The server's user lives in Root, as a real one's commands and files start in its home.
    const std::string Binary = " " + Quoted(ZEPH_HESTREL_BINARY);
    Line.insert(Line.find(Binary), " HOME=" + Quoted(Root));
    if (std::system(Line.c_str()) != 0) return "0";
    FServerPid = std::stoi("0" + ReadFileText(Dir / "pid"));
    for (int I = 0; I < 200; ++I, std::this_thread::sleep_for(std::chrono::milliseconds(50))) {
      const std::string Log = ReadFileText(Dir / "log");
      const std::size_t At = Log.find("hestrel listening on "), End = Log.find('\n', At);  // "...127.0.0.1:PORT"
      if (At != std::string::npos && End != std::string::npos)
        return Log.substr(Log.rfind(':', End) + 1, End - Log.rfind(':', End) - 1);
    }
    return "0";
  }

  const fs::path Dir = MakeTempDir("zephprof"), Settings = Dir / "settings.ini", Data = Dir / "data";

 protected:
  static std::string Quoted(const std::string& Text) {
    std::string Result = "'";
    for (char C : Text) Result += C == '\'' ? std::string("'\\''") : std::string(1, C);
    return Result + "'";
  }
  static int StatusOf(int Wait) { return WIFEXITED(Wait) ? WEXITSTATUS(Wait) : 128 + WTERMSIG(Wait); }
  /// The shell command that runs Program with Args, HOME and the XDG folders in the test's folder.
  std::string Command(const std::string& Program, std::vector<std::string> Args) const {
    std::string Line = "exec env HOME=" + Quoted(Dir / "home") + " XDG_CONFIG_HOME=" + Quoted(Dir / "home/config") +
                       " XDG_DATA_HOME=" + Quoted(Dir / "home/data") + " " + Quoted(Program);
    if (Program == ZEPH_ZEPHPROF_BINARY) Args.insert(Args.begin(), {"--settings", Settings, "--data-dir", Data});
    for (const std::string& Arg : Args) Line += " " + Quoted(Arg);
    return Line;
  }
  int FServerPid = -1;
};

// Hestrel client against a real OpenSSH sshd: remote queries (Part 3.4) and launches (Part 3.5).
#include <pwd.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "ClientSshdFixture.h"
#include "client/ClientErrors.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;

namespace {
std::string Home() { return getpwuid(geteuid())->pw_dir; }

bool WaitForFile(const std::string& Path, const std::string& Text) {
  for (int I = 0; I < 100; ++I) {
    if (Slurp(Path) == Text) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}
}  // namespace

class HestrelClientQueries : public TSshdClientTest {};

TEST_F(HestrelClientQueries, ExpandPathExpandsTildeAndVariablesOnly) {
  std::string Expanded;
  ASSERT_TRUE(Client->ExpandPath("~/sdk", Expanded)) << Client->GetLastError();
  EXPECT_EQ(Expanded, Home() + "/sdk");
  ASSERT_TRUE(Client->ExpandPath("$HOME/a b/${HOME}", Expanded));
  EXPECT_EQ(Expanded, Home() + "/a b/" + Home());
  ASSERT_TRUE(Client->ExpandPath("/x/$(touch " + (Remote / "pwned") + ")/*", Expanded));
  EXPECT_EQ(Expanded, "/x/$(touch " + (Remote / "pwned") + ")/*");
  EXPECT_FALSE(std::filesystem::exists(Remote / "pwned"));
}

TEST_F(HestrelClientQueries, ExpandAllPathsKeepsTheSeparators) {
  std::string Expanded;
  ASSERT_TRUE(Client->ExpandAllPaths("~/a:$HOME/b;c::", Expanded)) << Client->GetLastError();
  EXPECT_EQ(Expanded, Home() + "/a:" + Home() + "/b;c::");
  ASSERT_TRUE(Client->ExpandAllPaths("", Expanded));
  EXPECT_EQ(Expanded, "");
}

TEST_F(HestrelClientQueries, DirExistsTellsDirectoriesFromFilesAndNothing) {
  MakeFile(Remote / "file", "x");
  EXPECT_TRUE(Client->DirExists(Remote.Path().string()));
  EXPECT_FALSE(Client->DirExists(Remote / "file"));
  EXPECT_FALSE(Client->DirExists(Remote / "none"));
  EXPECT_TRUE(Client->DirExists("~"));
}

TEST_F(HestrelClientQueries, ListFilesHonoursDepthAndDirectoriesOnly) {
  MakeFile(Remote / "a.h", "aa", 1500000000);
  MakeFile(Remote / "sub/b.h", "b");
  MakeFile(Remote / "sub/deep/c.h", "c");
  std::filesystem::create_directory_symlink("sub", Remote.Path() / "link");
  auto Names = [](const TRARemoteFileList& List) {
    std::vector<std::string> Result;
    for (const auto& F : List) Result.push_back(F.Name + (F.IsDirectory ? "/" : "") + (F.IsSymLink ? "@" : ""));
    std::sort(Result.begin(), Result.end());
    return Result;
  };
  auto Top = Client->ListFiles(Remote.Path().string(), 0, false);
  ASSERT_NE(Top, nullptr) << Client->GetLastError();
  EXPECT_EQ(Names(*Top), (std::vector<std::string>{"a.h", "link/@", "sub/"}));
  const auto A = std::find_if(Top->begin(), Top->end(), [](const TRARemoteFile& F) { return F.Name == "a.h"; });
  EXPECT_EQ(A->Size, 2);
  EXPECT_EQ(A->Modified, TDateTime(std::chrono::seconds(1500000000)));
  auto Deep = Client->ListFiles(Remote.Path().string(), 1, false);
  EXPECT_EQ(Names(*Deep), (std::vector<std::string>{"a.h", "link/@", "sub/", "sub/b.h", "sub/deep/"}));
  auto Dirs = Client->ListFiles(Remote.Path().string(), 5, true);
  EXPECT_EQ(Names(*Dirs), (std::vector<std::string>{"link/@", "sub/", "sub/deep/"}));
  EXPECT_EQ(Client->ListFiles(Remote / "none", 0, false), nullptr);
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteFileMissing, {Remote / "none"}));
}

TEST_F(HestrelClientQueries, CreateSymLinkMakesTheLink) {
  ASSERT_TRUE(Client->CreateSymLink("target file", Remote / "my link")) << Client->GetLastError();
  EXPECT_EQ(std::filesystem::read_symlink(Remote.Path() / "my link").string(), "target file");
  EXPECT_FALSE(Client->CreateSymLink("x", Remote / "my link"));  // exists already
  EXPECT_NE(Client->GetLastError().find("exit status 1"), std::string::npos) << Client->GetLastError();
}

TEST_F(HestrelClientQueries, LauncherIsFoundOnThePathOrEmpty) {
  const std::string Sh = Client->GetIOSLauncher("sh", false);
  EXPECT_TRUE(Sh == "/usr/bin/sh" || Sh == "/bin/sh") << Sh;
  EXPECT_EQ(Client->GetIOSLauncher("no-such-launcher-xyz", true), "");
  EXPECT_EQ(Client->GetIOSLauncher("cd", false), "");  // a builtin is no program
  EXPECT_EQ(Client->GetIOSLauncher("", false), "");
}

TEST_F(HestrelClientQueries, GetEnvAnswersTheRemoteEnvironment) {
  auto Env = Client->GetEnv();
  ASSERT_NE(Env, nullptr) << Client->GetLastError();
  EXPECT_EQ((*Env)["HOME"], Home());
  EXPECT_FALSE((*Env)["PATH"].empty());
}

TEST_F(HestrelClientQueries, RunStartsTheProgramDetachedAndAnswersItsPid) {
  std::int32_t Pid = 0;
  const std::vector<std::string> Env = {"GREETING=hello there"};
  ASSERT_TRUE(Client->Run("/bin/sh", "-c 'echo \"$GREETING\" $0; pwd' arg0", Remote.Path().string(), "", &Env,
                          Remote / "out.txt", "", Pid))
      << Client->GetLastError();
  EXPECT_GT(Pid, 0);
  EXPECT_TRUE(WaitForFile(Remote / "out.txt", "hello there arg0\n" + Remote.Path().string() + "\n"))
      << Slurp(Remote / "out.txt");
}

TEST_F(HestrelClientQueries, RunReadsTheInputFile) {
  MakeFile(Remote / "in.txt", "from input\n");
  std::int32_t Pid = 0;
  ASSERT_TRUE(Client->Run("cat", "", Remote.Path().string(), "", nullptr, "out.txt", "in.txt", Pid))
      << Client->GetLastError();
  EXPECT_TRUE(WaitForFile(Remote / "out.txt", "from input\n"));
}

TEST_F(HestrelClientQueries, RunOfAMissingProgramFailsWithASpecificText) {
  std::int32_t Pid = 0;
  EXPECT_FALSE(Client->Run("no-such-program-xyz", "", "", "", nullptr, "", "", Pid));
  EXPECT_EQ(Client->GetLastError(), Format(sErrProgramNotFound, {"no-such-program-xyz"}));
  EXPECT_FALSE(Client->Run(Remote / "missing", "", "", "", nullptr, "", "", Pid));
  EXPECT_EQ(Client->GetLastError(), Format(sErrProgramNotFound, {Remote / "missing"}));
  EXPECT_EQ(Pid, 0);
}

TEST_F(HestrelClientQueries, RunOfANonExecutableFileFailsWithASpecificText) {
  MakeFile(Remote / "plain.txt", "not a program");
  std::int32_t Pid = 0;
  EXPECT_FALSE(Client->Run(Remote / "plain.txt", "", "", "", nullptr, "", "", Pid));
  EXPECT_EQ(Client->GetLastError(), Format(sErrProgramNotExecutable, {Remote / "plain.txt"}));
}

TEST_F(HestrelClientQueries, RunInAMissingWorkingDirectoryFailsWithASpecificText) {
  std::int32_t Pid = 0;
  EXPECT_FALSE(Client->Run("/bin/true", "", Remote / "nodir", "", nullptr, "", "", Pid));
  EXPECT_EQ(Client->GetLastError(), Format(sErrWorkingDirMissing, {Remote / "nodir"}));
}

TEST_F(HestrelClientQueries, RunWithAMissingInputFileFails) {
  std::int32_t Pid = 0;
  EXPECT_FALSE(Client->Run("/bin/cat", "", Remote.Path().string(), "", nullptr, "", "none.txt", Pid));
  EXPECT_EQ(Client->GetLastError(), Format(sErrInputFile, {"none.txt"}));
}

// Debug without gdbserver on the remote PATH: ClientHestrelServerTest.cpp, DebugWithoutGdbServerOnThePathSaysSo.

TEST_F(HestrelClientQueries, DebugStartsGdbServerOnAnyPortAndAnswersPortAndPid) {
  ASSERT_EQ(Shell("command -v gdbserver >/dev/null 2>&1"), 0) << "gdbserver is needed (scripts/deps.sh installs it)";
  std::int32_t N1 = 0, N2 = 0, N3 = 0;
  ASSERT_TRUE(Client->Debug("/bin/sleep", false, N1, N2, N3)) << Client->GetLastError();
  EXPECT_GT(N2, 0);
  EXPECT_GT(N3, 0);
  ::kill(N3, SIGKILL);
}

TEST_F(HestrelClientQueries, DebugAttachesToARunningProcess) {
  ASSERT_EQ(Shell("command -v gdbserver >/dev/null 2>&1"), 0) << "gdbserver is needed (scripts/deps.sh installs it)";
  std::int32_t Pid = 0;
  ASSERT_TRUE(Client->Run("/bin/sleep", "30", "", "", nullptr, "", "", Pid)) << Client->GetLastError();
  std::int32_t N1 = Pid, N2 = 0, N3 = 0;
  ASSERT_TRUE(Client->Debug("", true, N1, N2, N3)) << Client->GetLastError();
  EXPECT_GT(N2, 0);
  EXPECT_GT(N3, 0);
  ::kill(N3, SIGKILL);
  ::kill(Pid, SIGKILL);
}

TEST_F(HestrelClientQueries, DebugOfAMissingProgramReportsGdbServersText) {
  ASSERT_EQ(Shell("command -v gdbserver >/dev/null 2>&1"), 0) << "gdbserver is needed (scripts/deps.sh installs it)";
  std::int32_t N1 = 0, N2 = 0, N3 = 0;
  EXPECT_FALSE(Client->Debug(Remote / "missing", false, N1, N2, N3));
  EXPECT_EQ(Client->GetLastError().rfind("gdbserver did not start on the remote machine: ", 0), 0u)
      << Client->GetLastError();
}

// End-to-end tests of zephprof's remote commands against a real `hestrel` server on
// loopback: test, update-cache, put, rm, env, expand, exists, ls, symlink, run.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "ProcessRunner.h"

namespace {

namespace fs = std::filesystem;

bool Contains(const std::string& Text, const std::string& Part) { return Text.find(Part) != std::string::npos; }

class ZephprofRemote : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (HestrelPath().empty() || access(ZephprofPath().c_str(), X_OK) != 0) {
      Missing = "hestrel or zephprof is not built (" + ZephprofPath() + ")";
      return;
    }
    ServerDir = fs::temp_directory_path() / ("zephprof-remote-" + std::to_string(getpid()));
    fs::remove_all(ServerDir);
    fs::create_directories(ServerDir / "root");
    ServerPassword = "loopback-pw-" + std::to_string(getpid());
    {
      std::ofstream(ServerDir / "password") << ServerPassword << '\n';
    }
    chmod((ServerDir / "password").c_str(), 0600);
    Server = new TBackgroundProcess;
    Server->Start(HestrelPath(), {"--port", "0", "--listen", "127.0.0.1", "--password-file",
                                  (ServerDir / "password").string(), "--host-key", (ServerDir / "host_key").string(),
                                  "--root", (ServerDir / "root").string()});
    const std::string Line = Server->WaitForLine("hestrel listening on", 10000);
    const auto Colon = Line.rfind(':');
    if (Colon != std::string::npos) Port = std::stoi(Line.substr(Colon + 1));
    if (Port <= 0) Missing = "the hestrel server did not start (no 'hestrel listening on' line)";
  }
  static void TearDownTestSuite() {
    delete Server;
    Server = nullptr;
    fs::remove_all(ServerDir);
  }

  void SetUp() override {
    // A missing binary or a server that does not start is a failure, never a silent pass.
    ASSERT_GT(Port, 0) << Missing;
    Dir = ServerDir / ::testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::create_directories(Dir / "home");
    Remote = ServerDir / "root" / ::testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::create_directories(Remote);
    const TProcessResult Added =
        Z({"add", "Loop", "--platform", "Linux64", "--host", "127.0.0.1", "--port", std::to_string(Port),
           "--local-root", (Dir / "cache").string(), "--password-stdin"},
          ServerPassword + "\n");
    ASSERT_EQ(Added.Status, 0) << Added.Err;
  }

  TProcessResult Z(std::vector<std::string> Args, const std::string& Stdin = "") {
    Args.insert(Args.begin(), {"--settings", (Dir / "settings.ini").string(), "--data-dir", (Dir / "data").string()});
    return RunProcess(ZephprofPath(), Args, Stdin,
                      {{"HOME", (Dir / "home").string()},
                       {"XDG_CONFIG_HOME", (Dir / "home/config").string()},
                       {"XDG_DATA_HOME", (Dir / "home/data").string()},
                       {"ZEPH", ""}});
  }

  static inline fs::path ServerDir;
  static inline std::string ServerPassword;
  static inline TBackgroundProcess* Server = nullptr;
  static inline int Port = 0;
  static inline std::string Missing;  ///< why the suite has no server
  fs::path Dir, Remote;
};

TEST_F(ZephprofRemote, TestConnectionSucceeds) {
  const TProcessResult R = Z({"test", "Loop"});
  EXPECT_EQ(R.Status, 0) << R.Err;
  EXPECT_EQ(R.Out, "Connection to '127.0.0.1' on port " + std::to_string(Port) + " succeeded\n");
}

TEST_F(ZephprofRemote, WrongPasswordFails) {
  ASSERT_EQ(Z({"set", "Loop", "--password-stdin"}, "wrong\n").Status, 0);
  const TProcessResult R = Z({"test", "Loop"});
  EXPECT_EQ(R.Status, 1);
  EXPECT_TRUE(Contains(R.Err, "zephprof: ")) << R.Err;
  EXPECT_EQ(R.Out, "");
}

TEST_F(ZephprofRemote, PutThenRmShowStepsAndMoveFiles) {
  const fs::path Local = Dir / "hello.txt";
  std::ofstream(Local) << "hello\n";
  const TProcessResult Put = Z({"put", "Loop", Local.string(), "--to", Remote.string()});
  EXPECT_EQ(Put.Status, 0) << Put.Err;
  EXPECT_TRUE(Contains(Put.Err, "Updating Remote Files (1 item)\n"));
  EXPECT_TRUE(Contains(Put.Err, "[1/1] Copying '" + Local.string() + "' to remote machine\n"));
  EXPECT_TRUE(Contains(Put.Err, "Operation completed\n"));
  EXPECT_EQ(ReadWholeFile(Remote / "hello.txt"), "hello\n");

  const TProcessResult Rm = Z({"rm", "Loop", (Remote / "hello.txt").string()});
  EXPECT_EQ(Rm.Status, 0) << Rm.Err;
  EXPECT_TRUE(Contains(Rm.Err, "Removed file '" + (Remote / "hello.txt").string() + "'"));
  EXPECT_FALSE(fs::exists(Remote / "hello.txt"));

  const TProcessResult Again = Z({"rm", "Loop", (Remote / "hello.txt").string()});
  EXPECT_EQ(Again.Status, 1);
  EXPECT_TRUE(Contains(Again.Err, "1 error:\n"));
  EXPECT_EQ(Z({"put", "Loop", (Dir / "missing").string(), "--to", Remote.string()}).Status, 1);
}

TEST_F(ZephprofRemote, QueriesAnswerFromTheRemoteMachine) {
  fs::create_directories(Remote / "d" / "sub");
  std::ofstream(Remote / "d" / "f.txt") << "12345";
  const TProcessResult Env = Z({"env", "Loop"});
  EXPECT_EQ(Env.Status, 0) << Env.Err;
  EXPECT_TRUE(Contains(Env.Out, "PATH=")) << Env.Out;
  EXPECT_TRUE(Contains(Z({"--json", "env", "Loop"}).Out, "\"PATH\":"));

  const TProcessResult Expand = Z({"expand", "Loop", Remote.string() + "/./d"});
  EXPECT_EQ(Expand.Status, 0) << Expand.Err;
  EXPECT_FALSE(Expand.Out.empty());

  const TProcessResult Yes = Z({"exists", "Loop", (Remote / "d").string()});
  EXPECT_EQ(Yes.Status, 0) << Yes.Err;
  EXPECT_EQ(Yes.Out, "yes\n");
  const TProcessResult No = Z({"exists", "Loop", (Remote / "nope").string()});
  EXPECT_EQ(No.Status, 1);
  EXPECT_EQ(No.Out, "no\n");

  const TProcessResult Ls = Z({"ls", "Loop", (Remote / "d").string()});
  EXPECT_EQ(Ls.Status, 0) << Ls.Err;
  EXPECT_TRUE(Contains(Ls.Out, "f.txt  5\n")) << Ls.Out;
  EXPECT_TRUE(Contains(Ls.Out, "sub/\n")) << Ls.Out;

  const TProcessResult Link = Z({"symlink", "Loop", (Remote / "d").string(), (Remote / "link").string()});
  EXPECT_EQ(Link.Status, 0) << Link.Err;
  EXPECT_TRUE(fs::is_symlink(Remote / "link"));
}

TEST_F(ZephprofRemote, RunStartsAProgramInItsDirectoryWithItsEnvironment) {
  const TProcessResult Run = Z({"run", "Loop", "/bin/sh", "--cwd", Remote.string(), "--env", "GREETING=hi there",
                                "--", "-c", "echo \"$GREETING\" > out.txt"});
  EXPECT_EQ(Run.Status, 0) << Run.Err;
  EXPECT_TRUE(Contains(Run.Out, "Started /bin/sh on 'Loop' (process "));
  for (int I = 0; I < 50 && ReadWholeFile(Remote / "out.txt").empty(); ++I)
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(ReadWholeFile(Remote / "out.txt"), "hi there\n");
  const TProcessResult Missing = Z({"run", "Loop", "/no/such/program"});
  EXPECT_EQ(Missing.Status, 1);
  EXPECT_TRUE(Contains(Missing.Err, "/no/such/program")) << Missing.Err;
}

TEST_F(ZephprofRemote, UpdateCachePullsTheItemsGivenAndAsksBeforeReplacing) {
  fs::create_directories(Remote / "sdk" / "sys");
  std::ofstream(Remote / "sdk" / "a.h") << "a\n";
  std::ofstream(Remote / "sdk" / "sys" / "b.h") << "b\n";
  std::ofstream(Remote / "sdk" / "c.txt") << "c\n";
  // Items named for each run (--item), instead of the stored ones.
  const std::string Item = (Remote / "sdk").string() + ",*.h,include,subdirs";
  const TProcessResult First = Z({"update-cache", "Loop", "--item", Item});
  EXPECT_EQ(First.Status, 0) << First.Err;
  EXPECT_TRUE(Contains(First.Err, "Updating Local File Cache (1 item)\n"));
  EXPECT_TRUE(Contains(First.Err, "Updated files from remote path '" + (Remote / "sdk").string() + "'"));
  const fs::path Cached = Dir / "cache" / Remote.relative_path() / "sdk";
  EXPECT_EQ(ReadWholeFile(Cached / "a.h"), "a\n");
  EXPECT_EQ(ReadWholeFile(Cached / "sys" / "b.h"), "b\n");
  EXPECT_FALSE(fs::exists(Cached / "c.txt"));

  std::ofstream(Cached / "a.h") << "changed\n";
  const TProcessResult Kept = Z({"update-cache", "Loop", "--item", Item});
  // The long question: sizes known (8 bytes here, 2 coming), both time stamps shown.
  EXPECT_TRUE(Contains(Kept.Err, "Confirm: File '" + (Cached / "a.h").string() +
                                     "' already exists.\nReplace 8 byte(s) file modified on "))
      << Kept.Err;
  EXPECT_TRUE(Contains(Kept.Err, "\nwith 2 byte(s) file modified on ")) << Kept.Err;
  EXPECT_TRUE(Contains(Kept.Err, "No terminal to ask; answered No"));
  EXPECT_EQ(ReadWholeFile(Cached / "a.h"), "changed\n");
  const TProcessResult Replaced = Z({"--yes", "update-cache", "Loop", "--item", Item});
  EXPECT_EQ(Replaced.Status, 0) << Replaced.Err;
  EXPECT_EQ(ReadWholeFile(Cached / "a.h"), "a\n");
  EXPECT_EQ(Z({"update-cache", "Loop", "--item", "/x,*"}).Status, 2);
}

TEST_F(ZephprofRemote, PathItemsAddedInOneRunArePulledInLaterRuns) {
  fs::create_directories(Remote / "sdk" / "include" / "sys");
  fs::create_directories(Remote / "sdk" / "lib");
  std::ofstream(Remote / "sdk" / "include" / "a.h") << "a\n";
  std::ofstream(Remote / "sdk" / "include" / "sys" / "b.h") << "b\n";
  std::ofstream(Remote / "sdk" / "include" / "notes.txt") << "n\n";
  std::ofstream(Remote / "sdk" / "lib" / "libz.so") << "z\n";
  const std::string Include = (Remote / "sdk" / "include").string();
  const std::string Lib = (Remote / "sdk" / "lib").string();
  ASSERT_EQ(Z({"paths", "Loop", "add", Include, "*.h", "include", "--subdirs"}).Status, 0);
  ASSERT_EQ(Z({"paths", "Loop", "add", Lib, "libz.so", "library"}).Status, 0);
  EXPECT_EQ(Z({"paths", "Loop", "list"}).Out,
            "  0  include  " + Include + "  *.h  subdirs\n  1  library  " + Lib + "  libz.so\n");

  const TProcessResult Pull = Z({"update-cache", "Loop"});
  EXPECT_EQ(Pull.Status, 0) << Pull.Err;
  EXPECT_TRUE(Contains(Pull.Err, "Updating Local File Cache (2 items)\n")) << Pull.Err;
  const fs::path Cache = Dir / "cache";
  EXPECT_EQ(ReadWholeFile(Cache / Include.substr(1) / "a.h"), "a\n");
  EXPECT_EQ(ReadWholeFile(Cache / Include.substr(1) / "sys" / "b.h"), "b\n");
  EXPECT_EQ(ReadWholeFile(Cache / Lib.substr(1) / "libz.so"), "z\n");
  EXPECT_FALSE(fs::exists(Cache / Include.substr(1) / "notes.txt"));
  EXPECT_EQ(Pull.Out, "Local file cache of 'Loop': " + Cache.string() + "\n");

  // The items follow a rename (the local root moves with the name only when it holds it).
  ASSERT_EQ(Z({"rename", "Loop", "Looped"}).Status, 0);
  fs::remove_all(Cache);
  const TProcessResult Renamed = Z({"update-cache", "Looped"});
  EXPECT_EQ(Renamed.Status, 0) << Renamed.Err;
  EXPECT_TRUE(Contains(Renamed.Err, "Updating Local File Cache (2 items)\n")) << Renamed.Err;
  EXPECT_EQ(ReadWholeFile(Cache / Lib.substr(1) / "libz.so"), "z\n");

  // And a removal: a new profile of that name starts without them.
  ASSERT_EQ(Z({"--yes", "remove", "Looped"}).Status, 0);
  const TProcessResult Again =
      Z({"add", "Looped", "--platform", "Linux64", "--host", "127.0.0.1", "--port", std::to_string(Port),
         "--local-root", (Dir / "cache2").string(), "--password-stdin"},
        ServerPassword + "\n");
  ASSERT_EQ(Again.Status, 0) << Again.Err;
  EXPECT_EQ(Z({"paths", "Looped"}).Out, "");
  EXPECT_EQ(Z({"update-cache", "Looped"}).Err,
            "Updating Local File Cache\nConnecting to remote machine\nOperation completed\n");
}

TEST_F(ZephprofRemote, PutGoesOnAfterAMissingFileAndListsIt) {
  const fs::path Missing = Dir / "missing.txt";
  const fs::path Present = Dir / "present.txt";
  std::ofstream(Present) << "here\n";
  const TProcessResult Put = Z({"put", "Loop", Missing.string(), Present.string(), "--to", Remote.string()});
  EXPECT_EQ(Put.Status, 1);
  EXPECT_EQ(ReadWholeFile(Remote / "present.txt"), "here\n");
  EXPECT_FALSE(fs::exists(Remote / "missing.txt"));
  EXPECT_TRUE(Contains(Put.Err, "Updating Remote Files (2 items)\n")) << Put.Err;
  EXPECT_TRUE(Contains(Put.Err, "[2/2] Copying '" + Present.string() + "' to remote machine\n")) << Put.Err;
  EXPECT_TRUE(Contains(Put.Err, "1 error:\n")) << Put.Err;
  EXPECT_TRUE(Contains(Put.Err, Missing.string())) << Put.Err;
}

TEST_F(ZephprofRemote, UpdateCacheWithoutPathItemsTransfersNothing) {
  const TProcessResult R = Z({"update-cache", "Loop"});
  EXPECT_EQ(R.Status, 0) << R.Err;
  EXPECT_EQ(R.Err, "Updating Local File Cache\nConnecting to remote machine\nOperation completed\n");
  EXPECT_FALSE(fs::exists(Dir / "cache"));
}

}  // namespace

// End-to-end tests of zephprof's remote commands against a real hestrel server on loopback:
// test, update-cache, put, rm, env, expand, exists, ls, symlink, run.
#include <unistd.h>

#include <fstream>
#include <thread>

#include "ProcessRunner.h"

namespace {

class ZephprofRemote : public TZephprofTest {
 protected:
  void SetUp() override {
    Port = StartHestrel(Remote, ServerPassword);
    // A server that does not start is a failure, never a silent pass.
    ASSERT_NE(Port, "0") << ReadFileText(Dir / "server.log");
    Run({AddLoop("Loop")});
  }
  /// Adds a profile of the server, with the server's password.
  TStep AddLoop(const std::string& Name) const {
    return TStep({"add", Name, "--platform", "Linux64", "--host", "127.0.0.1", "--port", Port, "--local-root",
                  Dir / "cache", "--password-stdin"},
                 0, "…", "", ServerPassword + "\n");
  }
  /// A file below the server's root, with its content.
  std::string Put(const std::string& Name, const std::string& Content) const {
    fs::create_directories((Remote / Name).parent_path());
    std::ofstream(Remote / Name) << Content;
    return (Remote / Name).string();
  }
  const std::string ServerPassword = "loopback-pw-" + std::to_string(getpid());
  const fs::path Remote = Dir / "root";
  std::string Port;
};

TEST_F(ZephprofRemote, PutAndRmShowTheirStepsAndListWhatFailed) {
  const std::string Local = (Dir / "hello.txt").string(), Missing = (Dir / "missing.txt").string();
  std::ofstream(Local) << "hello\n";
  const std::string Copied = (Remote / "hello.txt").string();
  Run({TStep(
           {"put", "Loop", Local, "--to", Remote.string()}, 0, "",
           "Updating Remote Files (1 item)\n…[1/1] Copying '" + Local + "' to remote machine\n…Operation completed\n"),
       TStep({"rm", "Loop", Copied}, 0, "", "…Removed file '" + Copied + "'…"),
       TStep({"put", "Loop", Missing, Local, "--to", Remote.string()}, 1, "",
             "Updating Remote Files (2 items)\n…[2/2] Copying '" + Local + "' to remote machine\n…1 error:\n…" +
                 Missing + "…")});
  EXPECT_EQ(ReadFileText(Copied), "hello\n");
  EXPECT_FALSE(fs::exists(Remote / "missing.txt"));
}

TEST_F(ZephprofRemote, QueriesAndRunsAnswerFromTheRemoteMachineAndAFailedConnectionIsReported) {
  const std::string D = fs::path(Put("d/f.txt", "12345")).parent_path().string();
  fs::create_directories(Remote / "d/sub");
  Run({TStep({"test", "Loop"}, 0, "Connection to '127.0.0.1' on port " + Port + " succeeded\n", ""),
       TStep({"env", "Loop"}, 0, "…PATH=…"), TStep({"--json", "env", "Loop"}, 0, "{…\"PATH\":…"),
       TStep({"expand", "Loop", D + "/./sub"}, 0, "/…\n"), TStep({"exists", "Loop", D}, 0, "yes\n"),
       TStep({"exists", "Loop", D + "/nope"}, 1, "no\n"), TStep({"ls", "Loop", D}, 0, "…f.txt  5\n…sub/\n…"),
       TStep({"symlink", "Loop", D, (Remote / "link").string()}),
       // Everything after the program is its own, also "-c" and a name of one of run's options.
       TStep({"run", "Loop", "--cwd", Remote.string(), "--env", "GREETING=hi there", "/bin/sh", "-c",
              "echo \"$GREETING\" \"$0\" > out.txt", "--cwd"},
             0, "Started /bin/sh on 'Loop' (process …"),
       TStep({"run", "Loop", "/no/such/program"}, 1, "", "…/no/such/program…"),
       TStep({"set", "Loop", "--password-stdin"}, 0, "…", "…", "wrong\n"),
       TStep({"test", "Loop"}, 1, "", "zephprof: …"), TStep({"set", "Loop", "--port", "1"}),
       TStep({"test", "Loop"}, 1, "", "zephprof: Connection to '127.0.0.1' on port 1…"),
       TStep({"env", "Loop"}, 1, "", "zephprof: …"), TStep({"expand", "Loop", "~"}, 1)});
  EXPECT_TRUE(fs::is_symlink(Remote / "link"));
  for (int I = 0; I < 50 && ReadFileText(Remote / "out.txt").empty(); ++I)
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(ReadFileText(Remote / "out.txt"), "hi there --cwd\n");
}

TEST_F(ZephprofRemote, UpdateCachePullsTheGivenOrStoredItemsAndAsksBeforeReplacing) {
  Put("sdk/a.h", "a\n"), Put("sdk/sys/b.h", "b\n"), Put("sdk/c.txt", "c\n"), Put("lib/libz.so", "z\n");
  const std::string Sdk = (Remote / "sdk").string(), Lib = (Remote / "lib").string();
  const fs::path Cache = Dir / "cache", Cached = Cache / Sdk.substr(1);
  Run({TStep({"update-cache", "Loop", "--item", Sdk + ",*.h,include,subdirs"}, 0, "…",
             "Updating Local File Cache (1 item)\n…Updated files from remote path '" + Sdk + "'…"),
       TStep({"update-cache", "Loop", "--item", "/x,*"}, 2)});
  EXPECT_EQ(ReadFileText(Cached / "sys/b.h"), "b\n");
  EXPECT_FALSE(fs::exists(Cached / "c.txt"));
  std::ofstream(Cached / "a.h") << "changed\n";
  // Without items given, the profile's stored path items are pulled.
  Run({TStep({"paths", "Loop", "add", Sdk, "*.h", "include", "--subdirs"}),
       TStep({"paths", "Loop", "add", Lib, "libz.so", "library"}),
       TStep({"update-cache", "Loop"}, 0, "Local file cache of 'Loop': " + Cache.string() + "\n",
             "Updating Local File Cache (2 items)\n…Confirm: File '" + (Cached / "a.h").string() +
                 "' already exists.\nReplace 8 byte(s) file modified on …\nwith 2 byte(s) file modified on …"
                 "No terminal to ask; answered No…")});
  EXPECT_EQ(ReadFileText(Cached / "a.h"), "changed\n");
  EXPECT_EQ(ReadFileText(Cache / Lib.substr(1) / "libz.so"), "z\n");
  Run({TStep({"rename", "Loop", "Looped"}),  // the items follow the profile
       TStep({"--yes", "update-cache", "Looped"}, 0, "…", "Updating Local File Cache (2 items)\n…"),
       TStep({"--yes", "remove", "Looped"}), AddLoop("Looped"),  // a new profile of the name starts without them
       TStep({"update-cache", "Looped"}, 0, "…",
             "Updating Local File Cache\nConnecting to remote machine\nOperation completed\n")});
  EXPECT_EQ(ReadFileText(Cached / "a.h"), "a\n");
}

}  // namespace

// Hestrel client against the `hestrel` server: PutFile over an existing remote file replaces
// it in one step (the file is never missing), a failing replacement leaves the old file, and
// the remote commands run in the C locale whatever the server's locale is.
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdlib>

#include "ClientTestSupport.h"
#include "TestServer.h"
#include "client/ClientErrors.h"
#include "client/HestrelClient.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;

namespace {

/// Names that left (deleted or moved away) and names that arrived in a directory.
struct TDirectoryEvents {
  std::vector<std::string> Gone, Arrived;
};

class TDirectoryWatch {
 public:
  explicit TDirectoryWatch(const std::string& Dir) : FFd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    inotify_add_watch(FFd, Dir.c_str(), IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO);
  }
  ~TDirectoryWatch() { close(FFd); }
  TDirectoryEvents Read() const {
    TDirectoryEvents Events;
    alignas(inotify_event) char Buffer[65536];
    for (ssize_t N; (N = read(FFd, Buffer, sizeof Buffer)) > 0;)
      for (char* P = Buffer; P < Buffer + N;) {
        const auto* E = reinterpret_cast<const inotify_event*>(P);
        const std::string Name = E->len ? E->name : "";
        (E->mask & IN_MOVED_TO ? Events.Arrived : Events.Gone).push_back(Name);
        P += sizeof(inotify_event) + E->len;
      }
    return Events;
  }

 private:
  int FFd;
};

}  // namespace

class HestrelClientReplace : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(Bin.Path());
  }
  /// Starts the server with Bin first on its commands' PATH (Only: Bin alone).
  void Start(bool Only = false) {
    const char* Path = std::getenv("PATH");
    Server.SetEnv("PATH", Bin.Path().string() + (Only || !Path ? "" : std::string(":") + Path));
    ASSERT_TRUE(Server.Start()) << Server.Log();
    THestrelClientOptions Options;
    Options.ConnectTimeoutSeconds = 5;
    Client = std::make_shared<THestrelClient>("p", AppData.Path().string(), Options);
    Client->SetHostName("127.0.0.1");
    Client->SetPort(Server.Port());
    Client->SetCredential({Server.Password(), true, false});
    ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  }
  /// A program on the server's PATH made of a sh script.
  void FakeProgram(const std::string& Name, const std::string& Script) {
    WriteFile(Bin.Path() / Name, "#!/bin/sh\n" + Script, 0755);
  }
  std::string Dir() const { return Server.Dir().string(); }

  TTestServer Server;
  TTempDir AppData, Local, Bin;
  std::shared_ptr<THestrelClient> Client;
};

TEST_F(HestrelClientReplace, AnExistingFileIsReplacedWithoutEverBeingMissing) {
  Start();
  MakeFile(Dir() + "/small.txt", "old small");
  MakeFile(Dir() + "/big.bin", "old big");
  MakeFile(Local / "small.txt", "new small", 1500000000);
  MakeFile(Local / "big.bin", std::string(2 << 20, 'b'), 1500000001);  // goes through `cat`
  TDirectoryWatch Watch(Dir());
  ASSERT_TRUE(Client->PutFile(Dir(), Local / "small.txt", 0, "", nullptr)) << Client->GetLastError();
  ASSERT_TRUE(Client->PutFile(Dir(), Local / "big.bin", 0, "", nullptr)) << Client->GetLastError();
  const TDirectoryEvents Events = Watch.Read();
  for (const char* Name : {"small.txt", "big.bin"}) {
    EXPECT_EQ(std::count(Events.Gone.begin(), Events.Gone.end(), Name), 0) << Name << " was removed first";
    EXPECT_EQ(std::count(Events.Arrived.begin(), Events.Arrived.end(), Name), 1) << Name;
  }
  EXPECT_EQ(Slurp(Dir() + "/small.txt"), "new small");
  EXPECT_EQ(Slurp(Dir() + "/big.bin"), std::string(2 << 20, 'b'));
}

TEST_F(HestrelClientReplace, AFailingReplacementLeavesTheOldFile) {
  FakeProgram("mv", "echo \"mv: cannot move '$3' to '$4': Permission denied\" >&2\nexit 1\n");
  Start();
  MakeFile(Dir() + "/app.bin", "old");
  MakeFile(Local / "app.bin", "new");
  EXPECT_FALSE(Client->PutFile(Dir(), Local / "app.bin", 0, "", nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemotePermission, {Dir() + "/app.bin"}));
  EXPECT_EQ(Slurp(Dir() + "/app.bin"), "old");
  std::vector<std::string> Left = TreeOf(Dir());
  EXPECT_EQ(std::count_if(Left.begin(), Left.end(),
                          [](const std::string& N) { return N.find("hestrel-part") != std::string::npos; }),
            0);
}

TEST_F(HestrelClientReplace, WithoutACommandToReplaceTheOldWayStillReplaces) {
  Start(true);  // nothing on PATH: no mv
  MakeFile(Dir() + "/app.bin", "old");
  MakeFile(Local / "app.bin", "new");
  ASSERT_TRUE(Client->PutFile(Dir(), Local / "app.bin", 0, "", nullptr)) << Client->GetLastError();
  EXPECT_EQ(Slurp(Dir() + "/app.bin"), "new");
}

TEST_F(HestrelClientReplace, RemoteErrorsAreRecognisedWhateverTheServersLocale) {
  // A `cat` that speaks German unless it runs in the C locale, and whose disk is full.
  FakeProgram("cat",
              "/bin/cat >/dev/null\n"
              "if [ \"$LC_ALL\" = C ]; then echo 'cat: write error: No space left on device' >&2\n"
              "else echo 'cat: Schreibfehler: Auf dem Geraet ist kein Speicherplatz mehr verfuegbar' >&2; fi\n"
              "exit 1\n");
  Server.SetEnv("LANG", "de_DE.UTF-8");
  Server.SetEnv("LC_ALL", "de_DE.UTF-8");
  Start();
  MakeFile(Local / "big.bin", std::string(2 << 20, 'b'));  // big: pushed through `cat`
  EXPECT_FALSE(Client->PutFile(Dir(), Local / "big.bin", 0, "", nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteDiskFull, {Dir() + "/big.bin"}));
  EXPECT_FALSE(std::filesystem::exists(Dir() + "/big.bin"));
}

namespace {

/// Answers Yes to the overwrite question and, meanwhile, turns the file into a directory.
class TSwapToDirectoryListener : public TRecordingListener {
 public:
  bool Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                 std::int64_t Size2) override {
    std::filesystem::remove(Target);
    std::filesystem::create_directory(Target);
    return TRecordingListener::Overwrite(FileName, Time1, Size1, Time2, Size2);
  }
  std::string Target;
};

}  // namespace

TEST_F(HestrelClientReplace, ATargetThatBecameADirectoryIsNotFilledWithTheFile) {
  Start();
  MakeFile(Dir() + "/app.bin", "old");
  MakeFile(Local / "app.bin", "new");
  TSwapToDirectoryListener Listener;
  Listener.Target = Dir() + "/app.bin";
  EXPECT_FALSE(Client->PutFile(Dir(), Local / "app.bin", 0, "", &Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteIo, {Dir() + "/app.bin", "Is a directory"}));
  EXPECT_TRUE(std::filesystem::is_directory(Dir() + "/app.bin"));
  EXPECT_TRUE(std::filesystem::is_empty(Dir() + "/app.bin"));
}

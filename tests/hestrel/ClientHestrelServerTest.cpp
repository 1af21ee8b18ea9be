// Hestrel client against a `hestrel` server that misbehaves: fake `tar` and `find` answering
// archives and listings that name paths outside the local root, a connection process stopped
// with SIGSTOP in the middle of a transfer, fake `mv` and `cat` that fail, and no programs at
// all. Also, end to end, a profile manager updating its local file cache through the client.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "Support.h"
#include "client/ClientErrors.h"
#include "client/ClientFactory.h"
#include "client/Connection.h"
#include "client/RemoteShell.h"
#include "core/RemoteProfileManager.h"
#include "core/Text.h"
#include "doubles/HostDoubles.h"
#include "doubles/RemoteDoubles.h"

using namespace hestrel;
using namespace hestrel_test;

namespace {

class THestrelServerClientTest : public ::testing::Test {
 protected:
  /// A sh script named Name on the server's PATH, ahead of the system's programs.
  void FakeProgram(const std::string& Name, const std::string& Script) {
    MakeFile(Bin / Name, "#!/bin/sh\n" + Script + "\n", 0, 0755);
  }
  /// Starts the server (Bin first on its commands' PATH; Only: Bin alone) and connects a client.
  void Start(const THestrelClientOptions& Options = {}, bool Only = false) {
    Server.Env.emplace_back("PATH", Bin.Path.string() + (Only ? "" : std::string(":") + std::getenv("PATH")));
    EXPECT_TRUE(Server.Start()) << Server.Log();
    Client = Server.Client(AppData.Path.string(), Options);
    Client->SetSysRoot(SysRoot.Path.string());
    EXPECT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  }
  std::string Dir() const { return Server.Dir.Path.string(); }

  TTestServer Server;
  TTempDir AppData, SysRoot, Local, Bin;
  std::shared_ptr<THestrelClient> Client;
  TRecordingListener Listener;
};

/// One ustar entry: header and content padded to 512 bytes. Type '0' file, '2' symbolic link.
std::string TarEntry(const std::string& Name, char Type, const std::string& Content = "",
                     const std::string& LinkName = "") {
  std::string Header(512, '\0');
  auto Octal = [&](std::size_t At, std::size_t Digits, unsigned long long Value) {
    char Text[32];
    std::snprintf(Text, sizeof Text, "%0*llo", static_cast<int>(Digits), Value);
    Header.replace(At, Digits, Text);
  };
  Header.replace(0, std::min<std::size_t>(Name.size(), 100), Name.substr(0, 100));
  Octal(100, 7, Type == '2' ? 0777 : 0644);
  Octal(108, 7, 0);
  Octal(116, 7, 0);
  Octal(124, 11, Content.size());
  Octal(136, 11, 1500000000);
  Header.replace(148, 8, "        ");
  Header[156] = Type;
  Header.replace(157, LinkName.size(), LinkName);
  Header.replace(257, 8,
                 std::string("ustar\0"
                             "00",
                             8));
  unsigned Sum = 0;
  for (unsigned char C : Header) Sum += C;
  Octal(148, 6, Sum);
  Header[154] = '\0';
  return Header + Content + std::string((512 - Content.size() % 512) % 512, '\0');
}

/// A GNU find -printf '%y %s %T@\0%P\0%l\0' record.
std::string FindRecord(char Type, const std::string& Path, const std::string& Link = "") {
  return std::string(1, Type) + " 1 1500000000.0000000000" + '\0' + Path + '\0' + Link + '\0';
}

/// The fake tools ignore their arguments and answer what the test prepared.
class HestrelClientHostileServer : public THestrelServerClientTest {
 protected:
  void Start(const std::string& Tar, const std::string& Listing) {
    fs::create_directories(Remote);
    FakeProgram("tar", "exec cat '" + Dir() + "/stream.tar'");
    FakeProgram("find", "exec cat '" + Dir() + "/listing'");
    MakeFile(Dir() + "/stream.tar", Tar + std::string(1024, '\0'));
    MakeFile(Dir() + "/listing", Listing);
    THestrelClientOptions Options;
    Options.TarMinimumFiles = 1;
    THestrelServerClientTest::Start(Options);
  }
  void TearDown() override {
    std::error_code Ignored;
    fs::remove_all(Outside, Ignored);
    fs::remove("/" + Absolute, Ignored);
  }
  /// True when nothing the server named was written outside the local root.
  bool NothingOutside() const {
    return !fs::exists(Outside) && !fs::exists("/" + Absolute) && !fs::exists(SysRoot.Path.parent_path() / "escape.h");
  }
  std::string Refused(const std::string& Name) const { return Format(sErrUnsafeName, {Remote + Name}); }
  std::string RefusedLink(const std::string& Name, const std::string& Target) const {
    return Format(sErrUnsafeLink, {Remote + Name, Target});
  }

  const std::string Remote = Dir() + "/sdk", Mirror = SysRoot.Path.string() + Remote;
  const std::string Absolute = "hestrel-hostile-abs-" + std::to_string(::getpid()) + ".h";
  const std::string Up = "../hestrel-hostile-" + std::to_string(::getpid());  // from the local root
  const fs::path Outside = SysRoot.Path / Up;
};

}  // namespace

TEST_F(HestrelClientHostileServer, AnArchiveNamingPathsOutsideTheRootIsRefusedEntryByEntry) {
  const std::string Climb = "/sub/../../../" + Up + "/up.h";
  Start(TarEntry("./ok.h", '0', "fine") + TarEntry("../escape.h", '0', "x") + TarEntry("/" + Absolute, '0', "x") +
            TarEntry("." + Climb, '0', "x") + TarEntry("./out", '2', "", "/etc") +
            TarEntry("./up", '2', "", "../../.."),
        FindRecord('f', "ok.h"));
  EXPECT_FALSE(Client->GetFiles(Remote, true, "", nullptr, &Listener));
  EXPECT_TRUE(NothingOutside());
  EXPECT_EQ(TreeOf(Mirror), std::vector<std::string>{"ok.h"});
  EXPECT_EQ(ReadFileText(Mirror + "/ok.h"), "fine");
  EXPECT_EQ(Listener.ErrorTexts,
            (std::vector<std::string>{Refused("/../escape.h"), Refused("//" + Absolute), Refused(Climb),
                                      RefusedLink("/out", "/etc"), RefusedLink("/up", "../../..")}));
  EXPECT_EQ(Client->GetLastError(), Format(sErrSomeFilesFailed, {std::int64_t(5), Remote}));
  EXPECT_EQ(Client->GetLastPullStatistics().FilesByTar, 1);
}

TEST_F(HestrelClientHostileServer, AListingNamingPathsOutsideTheRootIsRefused) {
  MakeFile(Mirror + "/old.h", "old");  // not empty: the pull lists (fake find), then fetches by name
  Start(TarEntry("./../escape.h", '0', "x"), FindRecord('f', "../escape.h") + FindRecord('f', "/" + Absolute) +
                                                 FindRecord('f', "a/../../escape.h") + FindRecord('l', "out", "/etc") +
                                                 FindRecord('d', Up));
  EXPECT_FALSE(Client->GetFiles(Remote, true, "", nullptr, &Listener));
  EXPECT_TRUE(NothingOutside());
  EXPECT_EQ(TreeOf(Mirror), std::vector<std::string>{"old.h"});  // nothing else touched
  EXPECT_EQ(ReadFileText(Mirror + "/old.h"), "old");
  EXPECT_EQ(Listener.ErrorTexts,
            (std::vector<std::string>{Refused("/../escape.h"), Refused("//" + Absolute), Refused("/a/../../escape.h"),
                                      RefusedLink("/out", "/etc"), Refused("/" + Up)}));
  EXPECT_TRUE(Client->GetLastPullStatistics().ListedByFind);
}

TEST_F(HestrelClientHostileServer, ALinkReplacedMidStreamCannotCarryALaterFileOutOfTheRoot) {
  // Each link looks inside the tree where the server says it stands, but locally "s" is ".",
  // so "s/z" lands at the tree root pointing to its parent, and each further ".." climbs one
  // level more, until "z/w/v/u" is the folder above the local root. A later entry then turns
  // "a" (a directory already written into) into that chain and names a file below it.
  const std::string Evil = "hestrel-evil-" + std::to_string(::getpid());
  Start(TarEntry("./d/x", '0', "x") + TarEntry("./a", '2', "", "d") + TarEntry("./a/f", '0', "f") +
            TarEntry("./s", '2', "", ".") + TarEntry("./s/z", '2', "", "..") + TarEntry("./z/w", '2', "", "..") +
            TarEntry("./z/w/v", '2', "", "..") + TarEntry("./z/w/v/u", '2', "", "..") +
            TarEntry("./a", '2', "", "z/w/v/u") + TarEntry("./a/" + Evil, '0', "escaped"),
        "");
  ASSERT_EQ(fs::path(Remote).parent_path().parent_path(), "/tmp");  // the climb counts on it
  Client->GetFiles(Remote, true, "", nullptr, &Listener);
  const fs::path Above = SysRoot.Path.parent_path() / Evil;
  const bool Escaped = fs::exists(Above);
  fs::remove(Above);
  EXPECT_FALSE(Escaped) << Above;
  EXPECT_NE(std::find(Listener.ErrorTexts.begin(), Listener.ErrorTexts.end(), Refused("/a/" + Evil)),
            Listener.ErrorTexts.end())
      << ::testing::PrintToString(Listener.ErrorTexts);
}

namespace {

/// Parameter: true = the exec paths (tar stream pull, `cat` push), false = SFTP only.
class HestrelClientStall : public THestrelServerClientTest, public ::testing::WithParamInterface<bool> {};

}  // namespace

TEST_P(HestrelClientStall, TransfersFromAServerThatStopsAnsweringTimeOutAndTheNextConnectStartsAFreshSession) {
  THestrelClientOptions Options;
  Options.OperationTimeoutSeconds = 2;
  Options.UseTarStream = Options.UseFindListing = GetParam();
  Options.StreamPushMinimumBytes = GetParam() ? 1 << 20 : 0;
  Start(Options);
  MakeFile(Dir() + "/sdk/big.bin", std::string(24 << 20, 'd'));
  MakeFile(Dir() + "/sdk/small.h", "small");
  MakeFile(Local / "big.bin", std::string(24 << 20, 'd'));
  // Each transfer runs while the server's process for the connection is stopped at the first
  // byte progress: it must end within a few seconds of the timeout, leave no partial file,
  // and the next Connect must start a fresh session.
  auto TimesOut = [&](const std::function<bool()>& Transfer) {
    const pid_t Connection = Server.LatestConnection();
    Listener.OnBytes = [&] { return KillProcess(Connection, SIGSTOP), std::uint8_t{1}; };
    const auto Begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(Transfer());
    EXPECT_LT(std::chrono::steady_clock::now() - Begin, std::chrono::seconds(8));
    KillProcess(Connection, SIGKILL);
    EXPECT_EQ(Client->GetLastError(), Format(sErrTimedOut, {"127.0.0.1", std::int64_t(Server.Port)}));
    EXPECT_FALSE(Client->IsConnected());
    Listener.OnBytes = nullptr;
    ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  };
  TimesOut([&] { return Client->GetFiles(Dir() + "/sdk", true, "", nullptr, &Listener); });
  const std::vector<std::string> Tree = TreeOf(SysRoot.Path.string() + Dir() + "/sdk");
  EXPECT_TRUE(Tree.empty() || Tree == std::vector<std::string>{"small.h"}) << ::testing::PrintToString(Tree);
  EXPECT_LE(Listener.Errors.size(), 1u);  // the listener is not asked once per remaining file
  TimesOut([&] { return Client->PutFile(Dir(), Local / "big.bin", 0, "", &Listener); });
  EXPECT_FALSE(fs::exists(Dir() + "/big.bin"));
  ASSERT_TRUE(Client->PutFile(Dir(), Local / "big.bin", 0, "", nullptr)) << Client->GetLastError();
  EXPECT_EQ(fs::file_size(Dir() + "/big.bin"), 24u << 20);
  // A command whose channel is never answered says why it cannot start.
  TConnectResult Raw = OpenConnection({"u@127.0.0.1", Server.Port, {Server.Password, true, false}, AppData.Path, {}});
  const long Timeout = 1;
  ASSERT_EQ(ssh_options_set(Raw.Session.get(), SSH_OPTIONS_TIMEOUT, &Timeout), SSH_OK);
  ASSERT_EQ(KillProcess(Server.LatestConnection(), SIGSTOP), 0);
  TExecChannel Channel(Raw.Session.get(), "true");
  KillProcess(Server.LatestConnection(), SIGKILL);
  EXPECT_EQ(Channel.GetError(),
            "The remote command cannot be started: the server did not answer the request to open a channel");
}

INSTANTIATE_TEST_SUITE_P(ExecAndSftp, HestrelClientStall, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& Info) { return Info.param ? "Exec" : "Sftp"; });

using HestrelClientReplace = THestrelServerClientTest;

TEST_F(HestrelClientReplace, FailedReplacementsLeaveTheOldFileAndAreRecognisedWhateverTheServersLocale) {
  FakeProgram("mv", "echo \"mv: cannot move '$3' to '$4': Permission denied\" >&2\nexit 1");
  // A `cat` that speaks German unless it runs in the C locale, and whose disk is full.
  FakeProgram("cat",
              "/bin/cat >/dev/null\n"
              "if [ \"$LC_ALL\" = C ]; then echo 'cat: write error: No space left on device' >&2\n"
              "else echo 'cat: Schreibfehler: Auf dem Geraet ist kein Speicherplatz mehr verfuegbar' >&2; fi\n"
              "exit 1");
  Server.Env.emplace_back("LANG", "de_DE.UTF-8");
  Server.Env.emplace_back("LC_ALL", "de_DE.UTF-8");
  Start();
  MakeFile(Dir() + "/app.bin", "old");
  MakeFile(Local / "app.bin", "new");
  MakeFile(Local / "big.bin", std::string(2 << 20, 'b'));  // big: pushed through `cat`
  EXPECT_FALSE(Client->PutFile(Dir(), Local / "app.bin", 0, "", nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemotePermission, {Dir() + "/app.bin"}));
  EXPECT_FALSE(Client->PutFile(Dir(), Local / "big.bin", 0, "", nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteDiskFull, {Dir() + "/big.bin"}));
  EXPECT_EQ(ReadFileText(Dir() + "/app.bin"), "old");
  EXPECT_EQ(TreeOf(Dir()), (std::vector<std::string>{"app.bin", "keys", "keys/host_key_ed25519", "password",
                                                     "server.log"}));  // no part file left
}

TEST_F(HestrelClientReplace, WithoutACommandToReplaceTheOldWayStillReplacesAndDebugSaysGdbServerIsMissing) {
  Start({}, true);  // nothing on PATH: no mv, no gdbserver (`command` is built into the shell)
  MakeFile(Dir() + "/app.bin", "old");
  MakeFile(Local / "app.bin", "new");
  ASSERT_TRUE(Client->PutFile(Dir(), Local / "app.bin", 0, "", nullptr)) << Client->GetLastError();
  EXPECT_EQ(ReadFileText(Dir() + "/app.bin"), "new");
  std::int32_t N1 = 1, N2 = 0, N3 = 0;
  EXPECT_FALSE(Client->Debug("/bin/true", true, N1, N2, N3));
  EXPECT_EQ(Client->GetLastError(), sErrGdbServerMissing);
  EXPECT_EQ(N3, 0);
}

using HestrelClientPush = THestrelServerClientTest;

TEST_F(HestrelClientPush, RelativeDestinationsLandInTheAgentsDirectoryOrTheHomeAndNeverAbove) {
  Start();
  MakeFile(Local / "a.h", "a");
  for (const auto& [To, Landed] : {std::pair{"..\\..\\", ".hestrel/a.h"},
                                   {"sub/./x/..", ".hestrel/agent/work/sub/a.h"},
                                   {"~/deploy", "deploy/a.h"}}) {
    ASSERT_TRUE(Client->PutFile(To, Local / "a.h", 0, "", nullptr)) << Client->GetLastError();
    EXPECT_EQ(ReadFileText(Dir() + "/" + Landed), "a") << To;
  }
  EXPECT_FALSE(Client->PutFile("~/..", Local / "a.h", 0, "", nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteDestinationOutside, {"~/.."}));
}

using RemoteOperationsE2E = THostFixture;

TEST_F(RemoteOperationsE2E, GetProfileFilesPullsMasksSubdirectoriesAndFrameworksAndAFailingPathDoesNotEndIt) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start()) << Server.Log();
  hestrel::THestrelClientOptions Options;
  Options.TarMinimumFiles = 2;
  Host.AgentLibrary = std::make_shared<hestrel::THestrelClientFactory>(Environment->AppDataDir, Options);
  Reinstall();
  const std::string Cache = (TempDir / "cache").string(), Sdk = Server.Dir / "sdk";
  auto Manager = TRemoteProfileManager::Create(nullptr);
  auto Profile =
      Manager->AddProfile("E2E", "Linux64", "127.0.0.1", Server.Port, {Server.Password, true, false}, Cache, {}, true);
  TProgressRecorder Progress;
  const std::string Finished = NoticeText(ptFinished, -1, -1, "", "", "", -1);
  for (const char* Name : {"usr/include/a.h", "usr/include/notes.txt", "usr/include/sys/d.h", "usr/lib/libx.dylib",
                           "usr/lib/liby.a", "usr/lib/deep/libz.dylib", "Frameworks/Foo.framework/Headers/Foo.h",
                           "Frameworks/Foo.framework/Foo", "Frameworks/Foo.framework/Resources/Info.plist"})
    MakeFile(Sdk + "/" + Name, Name);
  for (const char* Name : {"out.h", "up.h"}) fs::create_symlink("/etc/passwd", Sdk + "/usr/include/" + Name);
  Environment->Variables["ZEPH"] = TempDir.string();  // the host installation's patch goes along
  MakeFile((TempDir / "Hestrel/munger.patch").string(), "patch");
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = Cache;
  SDK->Items = {{Sdk + "/usr/include", "*.h", true, ptIncludePath},
                {Sdk + "/missing", "*", true, ptOtherPath},
                {Sdk + "/usr/lib", "*.dylib", false, ptLibraryPath},
                {Sdk + "/Frameworks", "Foo", false, ptFramework}};
  Manager->SetPlatformSDK(SDK);
  EXPECT_FALSE(Manager->GetProfileFiles(Profile, focAsk, nullptr, Progress.Proc()));  // one path failed
  EXPECT_EQ(TreeOf(Cache + Sdk),
            (std::vector<std::string>{"Frameworks", "Frameworks/Foo.framework", "Frameworks/Foo.framework/Foo",
                                      "Frameworks/Foo.framework/Headers", "Frameworks/Foo.framework/Headers/Foo.h",
                                      "usr", "usr/include", "usr/include/a.h", "usr/include/sys", "usr/include/sys/d.h",
                                      "usr/lib", "usr/lib/libx.dylib"}));
  EXPECT_EQ(ReadFileText(Cache + Sdk + "/usr/include/sys/d.h"), "usr/include/sys/d.h");
  std::vector<std::string> Steps;  // the notices that are not byte or per-file progress
  for (const auto& N : Progress.Notices)
    if (N.rfind("1|-1|", 0) != 0) Steps.push_back(N);
  ASSERT_EQ(Steps.size(), 13u) << ::testing::PrintToString(Steps);
  EXPECT_EQ(Steps[0], NoticeText(ptStart, -1, 4, "Updating Local File Cache", "", "", -1));
  auto Error = [](const std::string& Text) { return NoticeText(ptError, -1, -1, Text, "", "", -1); };
  std::sort(Steps.begin() + 3, Steps.begin() + 5);  // every refused link has its own notice
  for (const char* Name : {"out.h", "up.h"})
    EXPECT_EQ(Steps[Name[0] == 'o' ? 3 : 4],
              Error(Format(sErrUnsafeLink, {Sdk + "/usr/include/" + Name, "/etc/passwd"})));
  EXPECT_EQ(Steps[5], Error(Format(sErrSomeFilesFailed, {std::int64_t(2), Sdk + "/usr/include"})));
  EXPECT_EQ(Steps[6], NoticeText(ptProgress, 2, 4, "Updating files from remote machine", "", "", -1));
  EXPECT_EQ(Steps[7], Error(Format(sErrRemoteFileMissing, {Sdk + "/missing"})));
  EXPECT_EQ(Steps[11],
            NoticeText(ptProgress, 4, 4, "Updated files from remote path '" + Sdk + "/Frameworks'", "", "", -1));
  EXPECT_EQ(Steps[12], Finished);
  EXPECT_EQ(ReadFileText(Server.Dir / ".hestrel/munger.patch"), "patch");  // inside the login directory
  EXPECT_TRUE(Messages->Shown.empty());  // nothing existed yet: nothing to ask

  // A cancel at the first per-file notice stops the update: later paths stay untouched.
  SDK->Items = {{Sdk + "/usr/lib", "*", true, ptLibraryPath}, {Sdk + "/Frameworks", "*", true, ptOtherPath}};
  TProgressRecorder Cancel;
  Cancel.Answer = [](const std::string& Notice, std::size_t) { return Notice.rfind("1|-1|", 0) != 0; };
  EXPECT_FALSE(Manager->GetProfileFiles(Profile, focAsk, nullptr, Cancel.Proc()));
  EXPECT_FALSE(fs::exists(Cache + Sdk + "/Frameworks/Foo.framework/Resources"));
  EXPECT_NE(Cancel.Notices.back(), Finished);
  EXPECT_EQ(Manager->GetCallbackParams().OperationState, 1);  // reset by the frame
}

// Hestrel client against a real OpenSSH sshd (key logins) and the hestrel server (password
// logins): connecting and its failures, pulls over the exec fast paths and over SFTP alone,
// pushes and removals, remote queries, detached runs and gdbserver.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "Support.h"
#include "client/ClientErrors.h"
#include "client/ClientFactory.h"
#include "client/KnownHosts.h"
#include "client/LocalPaths.h"
#include "client/PasswordCipher.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;

namespace {

std::int64_t MTime(const std::string& Path) {
  struct stat St;
  return ::lstat(Path.c_str(), &St) == 0 ? St.st_mtim.tv_sec : -1;
}

/// Grants Retries retries, then answers Abort with AbortAnswer; counts the calls and those made
/// on a thread other than the one that made it.
struct TScriptedConnectionListener : IConnectionListener {
  explicit TScriptedConnectionListener(int Retries = 1, bool Abort = false) : Retries(Retries), AbortAnswer(Abort) {}
  bool Retry() override { return Called(), ++RetryCalls <= Retries; }
  bool Abort() override { return Called(), ++AbortCalls, AbortAnswer; }
  void Called() { Elsewhere += std::this_thread::get_id() != Maker; }
  int Retries, RetryCalls = 0, AbortCalls = 0, Elsewhere = 0;
  bool AbortAnswer;
  std::thread::id Maker = std::this_thread::get_id();
};

/// A client of the shared sshd, its local root in SysRoot; with the exec fast paths (find
/// listing, tar streams from 2 files on) unless the parameter says false.
class HestrelClient : public ::testing::Test {
 protected:
  virtual bool FastPaths() const { return true; }
  void SetUp() override {
    Options = Sshd.Options();
    Options.UseTarStream = Options.UseFindListing = FastPaths();
    Options.TarMinimumFiles = 2;
    Client = MakeClient(App.Path, Sshd.Port, {}, Options);
    Client->SetSysRoot(SysRoot.Path);
    ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  }
  /// Pulls Path as Pull does with a client that compares unchanged-looking files by content.
  bool PullComparingContent(const std::string& Path, bool SubDirs = true, const std::string& Mask = "") {
    THestrelClientOptions Comparing = Options;
    Comparing.CompareContent = true;
    auto Other = MakeClient(App.Path, Sshd.Port, {}, Comparing);
    Other->SetSysRoot(SysRoot.Path);
    return Other->Connect(nullptr) && Other->GetFiles(R(Path), SubDirs, Mask, nullptr, &Listener);
  }
  std::string R(const std::string& Name) const { return Remote / Name; }
  std::string L(const std::string& Name) const { return SysRoot.Path.string() + R(Name); }
  bool Pull(const std::string& Path, bool SubDirs = true, const std::string& Mask = "") {
    return Client->GetFiles(R(Path), SubDirs, Mask, nullptr, &Listener);
  }
  /// Runs Program detached; answers "" on success, else the error text.
  std::string Run(const std::string& Program, const std::string& Parameters, const std::string& WorkingDir,
                  const std::string& Output, const std::string& Input, const std::vector<std::string>* Env = nullptr) {
    Pid = 0;
    return Client->Run(Program, Parameters, WorkingDir, "", Env, Output, Input, Pid) ? "" : Client->GetLastError();
  }

  TTestSshd& Sshd = SharedSshd();
  TTestServer& Hestrel = SharedServer();
  TTempDir App, Remote, SysRoot, Local;
  THestrelClientOptions Options;
  std::shared_ptr<THestrelClient> Client;
  TRecordingListener Listener;
  std::int32_t Pid = 0;
};
class HestrelClientPull : public HestrelClient, public ::testing::WithParamInterface<bool> {
  bool FastPaths() const override { return GetParam(); }
};

}  // namespace

TEST_F(HestrelClient, EachKindOfCredentialLogsInAndTheHostKeyIsRecorded) {
  THestrelClientFactory Factory(App.Path);
  for (const TRACredential& Credential : {TRACredential{Hestrel.Password, true, false},
                                          {Factory.Encrypt(Hestrel.Password), true, true},
                                          {Hestrel.PasswordFile, false, false}}) {
    TRAClientPtr Other = Factory.CreateClient("profile-a", "");
    Other->SetHostName("anyone@127.0.0.1");
    Other->SetPort(Hestrel.Port);
    Other->SetCredential(Credential);
    EXPECT_TRUE(Other->Connect(nullptr)) << Credential.PasswordOrFile << ": " << Other->GetLastError();
    EXPECT_EQ(Other->GetName(), "profile-a");
  }
  Client->Disconnect();
  EXPECT_FALSE(Client->IsConnected());
  ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();  // the recorded key matches
  const std::string Known = ReadFileText(KnownHostsPath(App.Path));
  for (const int Port : {Hestrel.Port, Sshd.Port})
    EXPECT_NE(Known.find("[127.0.0.1]:" + std::to_string(Port) + " "), std::string::npos) << Known;
  // libssh expands %d, %u, ... in the known-hosts path: a directory with a percent sign holds.
  ASSERT_TRUE(Hestrel.Client(App / "app%d")->Connect(nullptr));
  EXPECT_EQ(TreeOf(App / "app%d"), std::vector<std::string>{"known_hosts"});
}

TEST_F(HestrelClient, ConnectFailuresSayWhatFailedAndOnlyNetworkFailuresAskToRetry) {
  TTempDir NoKeys;
  const std::string KeyFile = TPasswordCipher(App.Path).KeyFilePath();
  std::string Tampered = TPasswordCipher(App.Path).Encrypt("pw");
  Tampered[8] = Tampered[8] == 'x' ? 'y' : 'x';
  MakeFile(App / "huge", std::string(70000, 'p'));  // no line end within reach
  // A socket that listens but never answers: the TCP handshake completes, no SSH banner comes.
  const int Silent = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in Address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t Length = sizeof Address;
  ASSERT_EQ(::bind(Silent, reinterpret_cast<sockaddr*>(&Address), Length) + ::listen(Silent, 8), 0);
  ::getsockname(Silent, reinterpret_cast<sockaddr*>(&Address), &Length);
  const int Closed = 1, Quiet = ntohs(Address.sin_port), SshdPort = Sshd.Port, HestrelPort = Hestrel.Port;
  THestrelClientOptions Keys = Sshd.Options(), Unauthorised = Keys, Quick, Waiting;
  Unauthorised.SshDirectory = NoKeys.Path;
  Quick.ConnectTimeoutSeconds = 1;
  int Waits = 0;
  Waiting = Quick;
  Waiting.WhileWaiting = [&Waits] { ++Waits; };
  auto AuthFailed = [](const char* User, int Port) {
    return Format(sErrAuthFailed, {User, "127.0.0.1", std::int64_t(Port)});
  };
  const struct {
    std::string Host;
    int Port;
    TRACredential Credential;
    THestrelClientOptions Options;
    std::string Error;
    int Retries, Aborts;  // the listener's calls; it grants one retry
    bool Abort;           // the listener's answer to Abort
  } Cases[] = {
      {"nobody@127.0.0.1", SshdPort, {}, Keys, AuthFailed("nobody", SshdPort), 0, 0, false},
      {"root@127.0.0.1", SshdPort, {}, Unauthorised, AuthFailed("root", SshdPort), 0, 0, false},
      {"root@127.0.0.1", SshdPort, {"wrong", true, false}, Keys, AuthFailed("root", SshdPort), 0, 0, false},
      {"me@127.0.0.1", HestrelPort, {"wrong", true, false}, {}, AuthFailed("me", HestrelPort), 0, 0, false},
      // libssh refuses this name and would log in as the local user instead.
      {"a;b@127.0.0.1", HestrelPort, {"x", true, false}, {}, Format(sErrInvalidUserName, {"a;b"}), 0, 0, false},
      {"bad host!", HestrelPort, {}, {}, Format(sErrInvalidHostName, {"bad host!"}), 0, 0, false},
      {"127.0.0.1", SshdPort, {Tampered, true, true}, Keys, Format(sErrPasswordTampered, {KeyFile}), 0, 0, false},
      {"127.0.0.1",
       SshdPort,
       {App / "none", false, false},
       Keys,
       Format(sErrPasswordFile, {App / "none"}),
       0,
       0,
       false},
      {"127.0.0.1",
       SshdPort,
       {App / "huge", false, false},
       Keys,
       Format(sErrPasswordFile, {App / "huge"}),
       0,
       0,
       false},
      {"nonexistent.invalid",
       2222,
       {},
       {},
       Format(sErrHostNotFound, {"nonexistent.invalid", std::int64_t(2222)}),
       0,
       0,
       false},
      {"127.0.0.1", Closed, {}, {}, Format(sErrConnectionRefused, {"127.0.0.1", std::int64_t(Closed)}), 2, 1, false},
      {"127.0.0.1", Closed, {}, {}, Format(sErrConnectionRefused, {"127.0.0.1", std::int64_t(Closed)}), 1, 1, true},
      {"127.0.0.1", Quiet, {}, Quick, Format(sErrTimedOut, {"127.0.0.1", std::int64_t(Quiet)}), 2, 1, false},
      {"127.0.0.1", Quiet, {}, Waiting, Format(sErrTimedOut, {"127.0.0.1", std::int64_t(Quiet)}), 2, 1, false},
  };
  for (const auto& Case : Cases) {
    TScriptedConnectionListener Listener(1, Case.Abort);
    auto Failing = MakeClient(App.Path, Case.Port, Case.Credential, Case.Options, Case.Host);
    EXPECT_FALSE(Failing->Connect(&Listener));
    EXPECT_EQ(Failing->GetLastError(), Case.Error);
    EXPECT_EQ(std::to_string(Listener.RetryCalls) + " " + std::to_string(Listener.AbortCalls),
              std::to_string(Case.Retries) + " " + std::to_string(Case.Aborts))
        << Case.Error;
    EXPECT_EQ(Listener.Elsewhere, 0) << Case.Error;  // never from the thread that connects
  }
  EXPECT_GT(Waits, 20);  // every 25 ms of the two one-second attempts
  ::close(Silent);
}

TEST_F(HestrelClient, AChangedKeyOrADamagedKnownHostsFileRefusesTheConnectionAndNoKeyIsAdded) {
  TTempDir Keys;
  ASSERT_EQ(std::system(("ssh-keygen -q -t ed25519 -N '' -f " + Keys / "other >/dev/null").c_str()), 0);
  const std::string File = KnownHostsPath(App.Path), Pinned = ReadFileText(File), Host = Pinned.substr(0, Pinned.find(' '));
  const std::string Other = Host + " " + ReadFileText(Keys / "other.pub").substr(0, 80),
                    Cut = Host + " ssh-ed25519 AAAAC3Nza\n";
  const std::int64_t Port = Sshd.Port;
  auto Damaged = [&](int Line) { return Format(sErrKnownHostsDamaged, {File, std::int64_t(Line), "127.0.0.1", Port}); };
  const std::tuple<std::string, std::string, std::string> Cases[] = {
      // known_hosts, the connection's error ("": it connects), known_hosts afterwards
      {Other, Format(sErrHostKeyChanged, {"127.0.0.1", Port, File}), Other},
      {Other + "\n" + Cut, Damaged(2), Other + "\n" + Cut},
      {Pinned + Cut, Damaged(2), Pinned + Cut},  // the right key is there, but libssh would not read it
      {"# hand-made\n\ngarbage\n", Damaged(3), "# hand-made\n\ngarbage\n"},
      {"[elsewhere]:1" + Other.substr(Host.size()), "", "[elsewhere]:1" + Other.substr(Host.size()) + "\n" + Pinned},
  };
  for (const auto& [Known, Error, After] : Cases) {
    MakeFile(File, Known);
    TScriptedConnectionListener Listener;
    Client->Disconnect();
    EXPECT_EQ(Client->Connect(&Listener), Error.empty());
    EXPECT_EQ(Client->GetLastError(), Error);
    EXPECT_EQ(ReadFileText(File), After);
    EXPECT_EQ(Listener.RetryCalls, 0);  // retrying cannot help
  }
  Client->Disconnect();
  std::string Expanded;  // and nothing runs without a connection
  EXPECT_FALSE(Client->ExpandPath("~", Expanded));
  EXPECT_EQ(Client->GetLastError(), sErrNotConnected);
}

TEST_P(HestrelClientPull, PullsMatchingFilesKeepingTimesAndAsksBeforeReplacingAChangedOne) {
  auto Name = [](int I) { return "inc/d" + std::to_string(I % 3) + "/f" + std::to_string(I) + ".h"; };
  for (int I = 0; I < 30; ++I) MakeFile(R(Name(I)), std::string(static_cast<size_t>(I * 97), 'h'), I);
  MakeFile(R("inc/a.h"), std::string(100000, 'a'), 1500000001);
  MakeFile(R("inc/b.c"), "bravo");
  ASSERT_TRUE(Pull("inc", false, "*.h")) << Client->GetLastError();
  EXPECT_EQ(TreeOf(L("inc")), std::vector<std::string>{"a.h"});
  EXPECT_EQ(Listener.Accepted, std::vector<std::string>{R("inc/a.h")});
  EXPECT_EQ(Listener.LastBytes, R("inc/a.h") + "|" + R("inc/a.h") + "|" + L("inc/a.h") + "|100000/100000");
  ASSERT_TRUE(Pull("inc", true, "*.h")) << Client->GetLastError();
  EXPECT_EQ(TreeOf(L("inc")).size(), 34u);  // 31 files, 3 directories: no temporary left
  for (int I = 0; I < 30; ++I) EXPECT_EQ(ReadFileText(L(Name(I))).size() + MTime(L(Name(I))), I * 97u + I) << Name(I);
  EXPECT_EQ(Client->GetLastPullStatistics().FilesByTar, GetParam() ? 30 : 0);
  // Unchanged files are skipped without a question; a changed one follows the answer.
  MakeFile(L("inc/a.h"), "local", 1400000000);
  for (const bool Answer : {false, true}) {
    Listener = {};
    Listener.OverwriteAnswer = Answer;
    ASSERT_TRUE(Pull("inc")) << Client->GetLastError();
    EXPECT_EQ(Listener.Overwrites, std::vector<std::string>{L("inc/a.h") + " 5@1400000000 100000@1500000001"});
    EXPECT_EQ(ReadFileText(L("inc/a.h")).size() + MTime(L("inc/a.h")), Answer ? 100000u + 1500000001 : 5u + 1400000000);
  }
  // A change within the same second and size: seen by its time where the listing gives
  // fractions of a second (find), else by content when asked to compare it.
  for (const auto& [Text, Nanoseconds] : {std::pair{"one", 250000000L}, {"two", 750000000L}}) {
    MakeFile(R("inc/x.h"), Text);
    const timespec Times[2] = {{1600000000, Nanoseconds}, {1600000000, Nanoseconds}};
    ::utimensat(AT_FDCWD, R("inc/x.h").c_str(), Times, 0);
    Listener = {};
    ASSERT_TRUE(Pull("inc", false, "x.h")) << Client->GetLastError();
  }
  EXPECT_EQ(ReadFileText(L("inc/x.h")) + std::to_string(Listener.Overwrites.size()), GetParam() ? "two1" : "one0");
  ASSERT_TRUE(PullComparingContent("inc", false, "x.h"));
  EXPECT_EQ(ReadFileText(L("inc/x.h")) + std::to_string(Listener.Overwrites.size()), "two1");
}

TEST_P(HestrelClientPull, PullsThatCannotStartSayWhy) {
  MakeFile(R("inc/a.h"), "a");
  const std::tuple<std::string, std::string, std::string> Cases[] = {
      {R("nothing"), SysRoot.Path, Format(sErrRemoteFileMissing, {R("nothing")})},
      {R("inc/../../etc"), SysRoot.Path, Format(sErrUnsafeName, {R("inc/../../etc")})},
      {R("inc"), "", sErrNoSysRoot},
      {R("inc"), "/sys/no-root", Format(sErrLocalPermission, {"/sys/no-root"})},  // even for root
      {R("inc"), App.Path, Format(sErrRootHoldsAppData, {App.Path, App.Path})},
      {R("inc"), App.Path.parent_path(), Format(sErrRootHoldsAppData, {App.Path.parent_path(), App.Path})},
  };
  for (const auto& [Path, Root, Error] : Cases) {
    Client->SetSysRoot(Root);
    EXPECT_FALSE(Client->GetFiles(Path, true, "", nullptr, &Listener));
    EXPECT_EQ(Client->GetLastError(), Error);
  }
  EXPECT_EQ(TreeOf(App.Path), std::vector<std::string>{"known_hosts"});
  Client->SetSysRoot(SysRoot.Path);
  EXPECT_FALSE(Client->GetFrameworkFiles(R("Frameworks"), "None", false, nullptr, &Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteFileMissing, {R("Frameworks/None.framework")}));
  // A link in the local root leads nowhere outside it: neither a directory nor a file is made there.
  MakeFile(R("inc/sub/deep/b.h"), "b");
  fs::create_directories(L("inc"));
  fs::create_directory_symlink(Local.Path, L("inc/sub"));
  Listener = {};
  EXPECT_FALSE(Pull("inc"));
  EXPECT_EQ(ReadFileText(L("inc/a.h")) + ::testing::PrintToString(TreeOf(Local.Path)), "a{}");
  EXPECT_EQ(Listener.ErrorTexts, std::vector<std::string>{Format(sErrUnsafeName, {R("inc/sub/deep/b.h")})});
  EXPECT_EQ(Client->GetLastError(), Format(sErrSomeFilesFailed, {std::int64_t(1), R("inc")}));
}

TEST_P(HestrelClientPull, LongAndOddNamesArriveIntactAndAFileCanBePulledByItsPath) {
  const std::vector<std::string> Names = {
      std::string(120, 'd') + "/" + std::string(150, 'e') + "/" + std::string(200, 'f') + ".h", "-starts-with-dash.h",
      "it's \"quoted\" $(x) `y`.h", "sp ace/\\back.h", "new\nline.h"};
  for (const auto& Name : Names) MakeFile(R("odd/" + Name), "content of " + Name);
  ASSERT_TRUE(Pull("odd")) << Client->GetLastError();
  for (const auto& Name : Names) EXPECT_EQ(ReadFileText(L("odd/" + Name)), "content of " + Name) << Name;
  EXPECT_EQ(Client->GetLastPullStatistics().FilesByTar, GetParam() ? 5 : 0);
  Listener = {};
  ASSERT_TRUE(PullComparingContent("odd"));  // every name's hash is found again: nothing to ask
  EXPECT_TRUE(Listener.Accepted.empty()) << ::testing::PrintToString(Listener.Accepted);
  MakeFile(R("lib/libz.a"), "archive", 1500000000);
  ASSERT_TRUE(Pull("lib/libz.a", false, "*.h")) << Client->GetLastError();
  EXPECT_EQ(ReadFileText(L("lib/libz.a")) + std::to_string(MTime(L("lib/libz.a"))), "archive1500000000");
}

TEST_P(HestrelClientPull, PushesKeepTheTimeFollowTheOverwriteAnswerAndLeaveNothingWhenCancelled) {
  std::string Data(5 << 20, '\0');
  for (size_t I = 0; I < Data.size(); ++I) Data[I] = static_cast<char>(I * 31 % 251);
  MakeFile(Local / "big.bin", Data, 1500000000);  // big: streamed through `cat`
  MakeFile(Local / "small.bin", Data.substr(0, 200000), 1500000123);
  fs::create_directories(R("a/b"));
  ASSERT_TRUE(Client->PutFile(R("a\\b"), Local / "big.bin", 0, "renamed.bin", &Listener)) << Client->GetLastError();
  EXPECT_TRUE(ReadFileText(R("a/b/renamed.bin")) == Data);
  EXPECT_EQ(MTime(R("a/b/renamed.bin")), 1500000000);
  for (const bool Answer : {false, true}) {
    MakeFile(R("small.bin"), "old remote", 1400000000);
    Listener = {};
    Listener.OverwriteAnswer = Answer;
    ASSERT_TRUE(Client->PutFile(Remote.Path, Local / "small.bin", 0, "", &Listener)) << Client->GetLastError();
    EXPECT_EQ(Listener.Overwrites, std::vector<std::string>{R("small.bin") + " 10@1400000000 200000@1500000123"});
    EXPECT_EQ(MTime(R("small.bin")), Answer ? 1500000123 : 1400000000);
  }
  EXPECT_EQ(Listener.LastBytes, R("small.bin") + "|" + (Local / "small.bin") + "|" + R("small.bin") + "|200000/200000");
  Listener.OnBytes = [] { return std::uint8_t{2}; };
  fs::create_directories(R("c"));
  for (const char* Name : {"big.bin", "small.bin"}) {
    EXPECT_FALSE(Client->PutFile(R("c"), Local / Name, 0, "", &Listener));
    EXPECT_EQ(Client->GetLastError(), sErrCancelled);
  }
  EXPECT_TRUE(TreeOf(R("c")).empty());
  // A push rids its directory of the part files that killed pushes left (by age), never of a live one.
  MakeFile(R("d/.big.bin.0123abcd.hestrel-part"), "killed", 1500000000);
  MakeFile(R("d/.small.bin.89abcdef.hestrel-part"), "live", std::time(nullptr) - 60);
  MakeFile(R("d/.a.0123abcd.hestrel-part~"), "other", 1500000000);
  ASSERT_TRUE(Client->PutFile(R("d"), Local / "small.bin", 0, "", nullptr)) << Client->GetLastError();
  EXPECT_EQ(TreeOf(R("d")),
            (std::vector<std::string>{".a.0123abcd.hestrel-part~", ".small.bin.89abcdef.hestrel-part", "small.bin"}));
}

TEST_P(HestrelClientPull, PushesAndRemovalsThatFailSayWhy) {
  MakeFile(Local / "small.bin", "x");
  MakeFile(Local / "big.bin", std::string(2 << 20, 'x'));
  MakeFile(R("gone.txt"), "x");
  ASSERT_TRUE(Client->RemoveRemoteFile(R("gone.txt"), &Listener)) << Client->GetLastError();
  EXPECT_EQ(Listener.Removed, std::vector<std::string>{R("gone.txt") + "@127.0.0.1"});
  EXPECT_FALSE(Client->RemoveRemoteFile(R("gone.txt"), &Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteFileMissing, {R("gone.txt")}));
  const std::tuple<std::string, std::string, std::string> Cases[] = {
      {Remote.Path, Local / "none", Format(sErrLocalFileMissing, {Local / "none"})},
      {R("no/such/dir"), Local / "small.bin", Format(sErrRemoteFileMissing, {R("no/such/dir/small.bin")})},
      {"/sys", Local / "small.bin", Format(sErrRemotePermission, {"/sys/small.bin"})},  // refused even to root
      {"/sys", Local / "big.bin", Format(sErrRemotePermission, {"/sys/big.bin"})},
      {"..\\..\\..\\..", Local / "small.bin", Format(sErrRemoteDestinationOutside, {"..\\..\\..\\.."})},
  };
  for (const auto& [Dir, File, Error] : Cases) {
    EXPECT_FALSE(Client->PutFile(Dir, File, 0, "", nullptr));
    EXPECT_EQ(Client->GetLastError(), Error);
  }
}

INSTANTIATE_TEST_SUITE_P(TarAndSftp, HestrelClientPull, ::testing::Bool(),
                         [](const auto& Info) { return Info.param ? std::string("Tar") : std::string("Sftp"); });

TEST_F(HestrelClient, PathsExpandTildeAndVariablesOnlyAndTheEnvironmentIsTheRemoteOne) {
  const std::string Home = ::getpwuid(::geteuid())->pw_dir, Pwned = "/x/$(touch " + Remote / "pwned" + ")/*";
  std::string Expanded;
  for (const auto& [Path, Expected] : std::vector<std::pair<std::string, std::string>>{
           {"~/sdk", Home + "/sdk"}, {"$HOME/a b/${HOME}", Home + "/a b/" + Home}, {Pwned, Pwned}}) {
    ASSERT_TRUE(Client->ExpandPath(Path, Expanded)) << Client->GetLastError();
    EXPECT_EQ(Expanded, Expected);
  }
  EXPECT_FALSE(fs::exists(Remote / "pwned"));
  ASSERT_TRUE(Client->ExpandAllPaths("~/a:$HOME/b;c::", Expanded)) << Client->GetLastError();
  EXPECT_EQ(Expanded, Home + "/a:" + Home + "/b;c::");
  ASSERT_TRUE(Client->ExpandAllPaths("", Expanded));
  EXPECT_EQ(Expanded, "");
  EXPECT_EQ((*Client->GetEnv())["HOME"], Home);
}

TEST_F(HestrelClient, DirectoriesListingsLinksAndLaunchers) {
  MakeFile(R("a.h"), "aa", 1500000000);
  MakeFile(R("sub/deep/c.h"), "c");
  fs::create_directory_symlink("sub", Remote.Path / "link");
  for (const auto& [Path, Exists] : std::vector<std::pair<std::string, bool>>{
           {Remote.Path, true}, {R("a.h"), false}, {R("none"), false}, {"~", true}})
    EXPECT_EQ(Client->DirExists(Path), Exists) << Path;
  auto Names = [&](int Depth, bool DirectoriesOnly) {
    std::vector<std::string> Result;
    const auto List = Client->ListFiles(Remote.Path, Depth, DirectoriesOnly);
    for (const auto& F : *List)
      Result.push_back(F.Name + (F.IsDirectory ? "/" : " " + std::to_string(F.Size)) + (F.IsSymLink ? "@" : "") +
                       (F.Modified == FromUnixSeconds(1500000000) ? " 2017" : ""));
    std::sort(Result.begin(), Result.end());
    return Result;
  };
  EXPECT_EQ(Names(0, false), (std::vector<std::string>{"a.h 2 2017", "link/@", "sub/"}));
  EXPECT_EQ(Names(1, false), (std::vector<std::string>{"a.h 2 2017", "link/@", "sub/", "sub/deep/"}));
  EXPECT_EQ(Names(5, true), (std::vector<std::string>{"link/@", "sub/", "sub/deep/"}));
  EXPECT_EQ(Client->ListFiles(R("none"), 0, false), nullptr);
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteFileMissing, {R("none")}));
  ASSERT_TRUE(Client->CreateSymLink("target file", R("my link"))) << Client->GetLastError();
  EXPECT_EQ(fs::read_symlink(R("my link")).string(), "target file");
  EXPECT_FALSE(Client->CreateSymLink("x", R("my link")));  // exists already
  EXPECT_NE(Client->GetLastError().find("exit status 1"), std::string::npos) << Client->GetLastError();
  const std::string Sh = Client->GetIOSLauncher("sh", false);
  EXPECT_TRUE(Sh == "/usr/bin/sh" || Sh == "/bin/sh") << Sh;
  for (const char* Missing : {"no-such-launcher-xyz", "cd" /* a builtin is no program */, ""})
    EXPECT_EQ(Client->GetIOSLauncher(Missing, true), "") << Missing;
}

TEST_F(HestrelClient, RunStartsTheProgramDetachedOrSaysWhyItCannot) {
  const std::vector<std::string> Env = {"GREETING=hello there"};
  MakeFile(R("in.txt"), "from input\n");
  ASSERT_EQ(Run("/bin/sh", "-c 'cat; echo \"$GREETING\" $0; pwd' arg0", Remote.Path, "out", "in.txt", &Env), "");
  EXPECT_GT(Pid, 0);
  EXPECT_TRUE(WaitFor([&] {
    return ReadFileText(R("out")) == "from input\nhello there arg0\n" + Remote.Path.string() + "\n";
  })) << ReadFileText(R("out"));
  MakeFile(R("plain.txt"), "not a program");
  const std::tuple<std::string, std::string, std::string, std::string> Cases[] = {
      {"no-such-program-xyz", "", "", Format(sErrProgramNotFound, {"no-such-program-xyz"})},
      {R("missing"), "", "", Format(sErrProgramNotFound, {R("missing")})},
      {R("plain.txt"), "", "", Format(sErrProgramNotExecutable, {R("plain.txt")})},
      {"/bin/true", R("nodir"), "", Format(sErrWorkingDirMissing, {R("nodir")})},
      {"/bin/cat", Remote.Path, "none.txt", Format(sErrInputFile, {"none.txt"})},
  };
  for (const auto& [Program, Dir, Input, Error] : Cases) {
    EXPECT_EQ(Run(Program, "", Dir, "", Input), Error);
    EXPECT_EQ(Pid, 0);
  }
}

TEST_F(HestrelClient, DebugStartsOrAttachesGdbServerOnAnyPortAndReportsItsFailure) {
  ASSERT_EQ(std::system("command -v gdbserver >/dev/null"), 0) << "gdbserver is needed (scripts/deps.sh has it)";
  ASSERT_EQ(Run("/bin/sleep", "30", "", "", ""), "");
  const std::int32_t Sleeper = Pid;
  for (const bool Attach : {false, true}) {
    std::int32_t N1 = Attach ? Sleeper : 0, Port = 0, GdbServer = 0;
    ASSERT_TRUE(Client->Debug(Attach ? "" : "/bin/sleep", Attach, N1, Port, GdbServer)) << Client->GetLastError();
    EXPECT_TRUE(Port > 0 && GdbServer > 0);
    KillProcess(GdbServer, SIGKILL);
  }
  KillProcess(Sleeper, SIGKILL);
  std::int32_t N1 = 0, N2 = 0, N3 = 0;
  EXPECT_FALSE(Client->Debug(R("missing"), false, N1, N2, N3));
  EXPECT_EQ(Client->GetLastError().rfind("gdbserver did not start on the remote machine: ", 0), 0u)
      << Client->GetLastError();
}

// End to end: the remote operations of Parts 3.1 to 3.5, run by a profile manager through
// the Hestrel client library against a real `hestrel` server on loopback.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "ClientTestSupport.h"
#include "TestServer.h"
#include "client/ClientErrors.h"
#include "client/ClientFactory.h"
#include "core/RemoteProfileManager.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "doubles/HostDoubles.h"
#include "doubles/RemoteDoubles.h"

using namespace hestrel_test;
namespace fs = std::filesystem;

namespace {

std::string Finished() { return NoticeText(ptFinished, -1, -1, "", "", "", -1); }

class RemoteOperationsE2E : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    ASSERT_TRUE(fs::exists(TTestServer::BinaryPath())) << "no hestrel binary at " << TTestServer::BinaryPath();
    ASSERT_TRUE(Server.Start()) << Server.Log();
    hestrel::THestrelClientOptions Options;
    Options.ConnectTimeoutSeconds = 5;
    Options.TarMinimumFiles = 2;
    Host.AgentLibrary = std::make_shared<hestrel::THestrelClientFactory>(Environment->AppDataDir, Options);
    Host.ProgressDisplay = Display;
    Reinstall();
    Manager = TRemoteProfileManager::Create(nullptr);
    Cache = (TempDir / "cache").string();
    Profile = Manager->AddProfile("E2E", "Linux64", "127.0.0.1", Server.Port(), {Server.Password(), true, false},
                                  Cache, {}, true);
  }
  void TearDown() override {
    Manager.reset();
    Profile.reset();
    THostFixture::TearDown();
  }
  IOTARemoteProfilePtr Unreachable() {
    return Manager->AddProfile("Closed", "Linux64", "127.0.0.1", FreeLoopbackPort(), {"x", true, false}, "", {},
                               false);
  }
  std::string Remote(const std::string& Relative) const { return (Server.Dir() / Relative).string(); }
  std::string Cached(const std::string& RemotePath) const { return Cache + RemotePath; }
  /// The notices that are not byte or per-file progress (type 1 with index -1).
  std::vector<std::string> Steps() const {
    std::vector<std::string> Result;
    for (const auto& N : Progress.Notices)
      if (N.rfind("1|-1|", 0) != 0) Result.push_back(N);
    return Result;
  }

  TTestServer Server;
  std::shared_ptr<TProgressDisplayDouble> Display = std::make_shared<TProgressDisplayDouble>();
  TRemoteProfileManagerPtr Manager;
  IOTARemoteProfilePtr Profile;
  std::string Cache;
  TProgressRecorder Progress;
};

}  // namespace

// ---- TestConnection -------------------------------------------------------------------------

TEST_F(RemoteOperationsE2E, TestConnectionSucceedsAndTheCallerReportsHostAndPort) {
  std::string Error = "old";
  ASSERT_TRUE(Manager->TestConnection(Profile, Error, nullptr)) << Error;
  EXPECT_EQ(Error, "");
  EXPECT_EQ(Format(sConnectionSucceeded, {Profile->GetHostName(), std::int64_t{Profile->GetPortNumber()}}),
            "Connection to '127.0.0.1' on port " + std::to_string(Server.Port()) + " succeeded");
}

TEST_F(RemoteOperationsE2E, TestConnectionWithAWrongPasswordGivesTheAgentsAuthenticationText) {
  Profile->SetCredential({"wrong", true, false});
  std::string Error;
  EXPECT_FALSE(Manager->TestConnection(Profile, Error, nullptr));
  EXPECT_EQ(Error.rfind("Authentication of user '", 0), 0u) << Error;
  EXPECT_NE(Error.find("' on '127.0.0.1' port " + std::to_string(Server.Port()) + " failed"), std::string::npos)
      << Error;
}

TEST_F(RemoteOperationsE2E, TestConnectionToAClosedPortIsRefusedAndAsksTheCallbackToRetry) {
  const auto Closed = Unreachable();
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  std::string Error;
  EXPECT_FALSE(Manager->TestConnection(Closed, Error, Callback));
  EXPECT_EQ(Error, Format(hestrel::sErrConnectionRefused, {"127.0.0.1", std::int64_t{Closed->GetPortNumber()}}));
  EXPECT_EQ(Callback->Log, std::vector<std::string>{"Retry"});
}

// ---- PutFiles and RemoveRemoteFiles -----------------------------------------------------------

TEST_F(RemoteOperationsE2E, PutFilesFollowsEachOverwriteAnswer) {
  const std::string Dir = Remote("up");
  for (const char* Name : {"yes", "no", "cancel", "later"}) {
    MakeFile((TempDir / "local" / Name).string(), std::string("new ") + Name, 1700000000);
    MakeFile(Dir + "/" + Name, std::string("old ") + Name, 1600000000);
  }
  Messages->Answers = {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo, TMsgDlgBtn::mbCancel};
  std::vector<TOTAPutFileItem> Items;
  for (const char* Name : {"yes", "no", "cancel", "later"}) Items.push_back({(TempDir / "local" / Name).string(), Dir, "", 0});
  EXPECT_TRUE(Manager->PutFiles(Profile, Items, focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Slurp(Dir + "/yes"), "new yes");
  EXPECT_EQ(Slurp(Dir + "/no"), "old no");
  EXPECT_EQ(Slurp(Dir + "/cancel"), "old cancel");
  EXPECT_EQ(Slurp(Dir + "/later"), "old later");  // the loop stopped before it
  ASSERT_EQ(Messages->Shown.size(), 3u);
  EXPECT_EQ(Messages->Shown[0].Text.rfind("File '" + Dir + "/yes' already exists.\r\nReplace 7 byte(s) file", 0), 0u)
      << Messages->Shown[0].Text;
  EXPECT_NE(Progress.Notices.back(), Finished());  // cancelled: no finished notice
}

TEST_F(RemoteOperationsE2E, PutFilesWithYesToAllAndNoToAllAsksOncePerOperation) {
  const std::string Dir = Remote("up");
  for (const char* Name : {"a", "b"}) {
    MakeFile((TempDir / "local" / Name).string(), std::string("new ") + Name, 1700000000);
    MakeFile(Dir + "/" + Name, std::string("old ") + Name, 1600000000);
  }
  const std::vector<TOTAPutFileItem> Items = {{(TempDir / "local/a").string(), Dir, "", 0},
                                              {(TempDir / "local/b").string(), Dir, "", 0}};
  Messages->Answers = {TMsgDlgBtn::mbNoToAll};
  EXPECT_TRUE(Manager->PutFiles(Profile, Items, focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Slurp(Dir + "/a") + "|" + Slurp(Dir + "/b"), "old a|old b");
  Messages->Answers = {TMsgDlgBtn::mbYesToAll};
  EXPECT_TRUE(Manager->PutFiles(Profile, Items, focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Slurp(Dir + "/a") + "|" + Slurp(Dir + "/b"), "new a|new b");
  EXPECT_EQ(Messages->Shown.size(), 2u);
}

TEST_F(RemoteOperationsE2E, PutFilesWithProgressSendsToARenamedTargetAndDrawsTheWindow) {
  MakeFile((TempDir / "local/app").string(), "binary");
  fs::create_directories(Remote("bin"));
  EXPECT_TRUE(Manager->PutFilesWithProgress(Profile, {{(TempDir / "local/app").string(), Remote("bin"), "app2", 0}}));
  EXPECT_EQ(Slurp(Remote("bin/app2")), "binary");
  EXPECT_EQ(Display->Notices.back(), Finished() + "|close=1");
}

TEST_F(RemoteOperationsE2E, RemoveRemoteFilesAnnouncesEachRemovedFileAndReportsAMissingOne) {
  MakeFile(Remote("rm/a"), "a");
  MakeFile(Remote("rm/b"), "b");
  std::vector<std::string> Removed;
  const THandlerId Id = TRemoteProfileManager::FEvRemoteFileRemoved.Add(
      [&](const IOTARemoteProfilePtr& P, const std::string& File) { Removed.push_back(P->GetName() + ":" + File); });
  const bool Result = Manager->RemoveRemoteFiles(Profile, {Remote("rm/a"), Remote("rm/missing"), Remote("rm/b")},
                                                 nullptr, Progress.Proc());
  TRemoteProfileManager::FEvRemoteFileRemoved.Remove(Id);
  EXPECT_FALSE(Result);
  EXPECT_EQ(Removed, (std::vector<std::string>{"E2E:" + Remote("rm/a"), "E2E:" + Remote("rm/b")}));
  EXPECT_FALSE(fs::exists(Remote("rm/a")));
  EXPECT_FALSE(fs::exists(Remote("rm/b")));
  EXPECT_EQ(std::count_if(Progress.Notices.begin(), Progress.Notices.end(),
                          [](const std::string& N) { return N.rfind("2|", 0) == 0; }),
            1);
  EXPECT_EQ(Progress.Notices.back(), Finished());
}

// ---- GetProfileFiles --------------------------------------------------------------------------

namespace {

void MakeSdk(const TTestServer& Server) {
  const fs::path Sdk = Server.Dir() / "sdk";
  MakeFile((Sdk / "usr/include/a.h").string(), "a", 1600000001);
  MakeFile((Sdk / "usr/include/b.h").string(), "bb", 1600000002);
  MakeFile((Sdk / "usr/include/notes.txt").string(), "txt");
  MakeFile((Sdk / "usr/include/sys/d.h").string(), "ddd");
  MakeFile((Sdk / "usr/lib/libx.dylib").string(), "x");
  MakeFile((Sdk / "usr/lib/liby.a").string(), "y");
  MakeFile((Sdk / "usr/lib/deep/libz.dylib").string(), "z");
  MakeFile((Sdk / "Frameworks/Foo.framework/Headers/Foo.h").string(), "foo");
  MakeFile((Sdk / "Frameworks/Foo.framework/Foo").string(), "bin");
  MakeFile((Sdk / "Frameworks/Foo.framework/Resources/Info.plist").string(), "plist");
}

}  // namespace

TEST_F(RemoteOperationsE2E, GetProfileFilesPullsMasksSubdirectoriesAndFrameworksAndAFailingPathDoesNotEndIt) {
  MakeSdk(Server);
  const std::string Sdk = Remote("sdk");
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = Cache;
  SDK->Items = {{Sdk + "/usr/include", "*.h", true, ptIncludePath},
                {Sdk + "/missing", "*", true, ptOtherPath},
                {Sdk + "/usr/lib", "*.dylib", false, ptLibraryPath},
                {Sdk + "/Frameworks", "Foo", false, ptFramework}};
  Manager->SetPlatformSDK(SDK);
  EXPECT_FALSE(Manager->GetProfileFiles(Profile, focAsk, nullptr, Progress.Proc()));  // one path failed
  EXPECT_EQ(Slurp(Cached(Sdk + "/usr/include/a.h")), "a");
  EXPECT_EQ(Slurp(Cached(Sdk + "/usr/include/sys/d.h")), "ddd");
  EXPECT_FALSE(fs::exists(Cached(Sdk + "/usr/include/notes.txt")));
  EXPECT_EQ(Slurp(Cached(Sdk + "/usr/lib/libx.dylib")), "x");
  EXPECT_FALSE(fs::exists(Cached(Sdk + "/usr/lib/liby.a")));
  EXPECT_FALSE(fs::exists(Cached(Sdk + "/usr/lib/deep/libz.dylib")));
  EXPECT_EQ(Slurp(Cached(Sdk + "/Frameworks/Foo.framework/Headers/Foo.h")), "foo");
  EXPECT_EQ(Slurp(Cached(Sdk + "/Frameworks/Foo.framework/Foo")), "bin");
  EXPECT_FALSE(fs::exists(Cached(Sdk + "/Frameworks/Foo.framework/Resources/Info.plist")));
  const std::vector<std::string> Steps = this->Steps();
  ASSERT_EQ(Steps.size(), 11u) << ::testing::PrintToString(Steps);
  EXPECT_EQ(Steps[0], NoticeText(ptStart, -1, 4, "Updating Local File Cache", "", "", -1));
  EXPECT_EQ(Steps[3], NoticeText(ptProgress, 1, 4, "Updated files from remote path '" + Sdk + "/usr/include'", "",
                                 "", -1));
  EXPECT_EQ(Steps[4], NoticeText(ptProgress, 2, 4, "Updating files from remote machine", "", "", -1));
  EXPECT_EQ(Steps[5].rfind("2|-1|-1|", 0), 0u) << Steps[5];
  EXPECT_EQ(Steps[9], NoticeText(ptProgress, 4, 4, "Updated files from remote path '" + Sdk + "/Frameworks'", "",
                                 "", -1));
  EXPECT_EQ(Steps[10], Finished());
  EXPECT_TRUE(Messages->Shown.empty());  // nothing existed yet: nothing to ask
}

TEST_F(RemoteOperationsE2E, AChangedRemoteFileAsksBeforeReplacingTheCachedCopy) {
  MakeSdk(Server);
  const std::string Sdk = Remote("sdk");
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = Cache;
  SDK->Items = {{Sdk + "/usr/include", "*.h", false, ptIncludePath}};
  Manager->SetPlatformSDK(SDK);
  ASSERT_TRUE(Manager->GetProfileFiles(Profile, focAsk, nullptr, Progress.Proc()));
  MakeFile(Sdk + "/usr/include/a.h", "changed", 1600000100);
  Messages->Answers = {TMsgDlgBtn::mbNo};
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAsk, nullptr, Progress.Proc()));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text.rfind("File '" + Cached(Sdk + "/usr/include/a.h") + "' already exists.", 0), 0u);
  EXPECT_EQ(Slurp(Cached(Sdk + "/usr/include/a.h")), "a");
  Messages->Answers = {TMsgDlgBtn::mbYes};
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Slurp(Cached(Sdk + "/usr/include/a.h")), "changed");
}

TEST_F(RemoteOperationsE2E, ACancelStopsTheUpdateLeavesLaterPathsUntouchedAndSendsNoFinishedNotice) {
  MakeSdk(Server);
  const std::string Sdk = Remote("sdk");
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = Cache;
  SDK->Items = {{Sdk + "/usr/include", "*.h", true, ptIncludePath}, {Sdk + "/usr/lib", "*", true, ptLibraryPath}};
  Manager->SetPlatformSDK(SDK);
  // The user cancels at the first per-file notice (the "Copying file" or a byte count).
  Progress.Answer = [](const std::string& Notice, std::size_t) { return Notice.rfind("1|-1|", 0) != 0; };
  EXPECT_FALSE(Manager->GetProfileFiles(Profile, focAsk, nullptr, Progress.Proc()));
  EXPECT_FALSE(fs::exists(Cache + Sdk + "/usr/lib"));
  EXPECT_NE(Progress.Notices.back(), Finished());
  for (const auto& N : Progress.Notices) EXPECT_EQ(N.find("'" + Sdk + "/usr/lib'"), std::string::npos) << N;
  EXPECT_EQ(Manager->GetCallbackParams().OperationState, 1);  // reset by the frame
}

// ---- Remote queries ---------------------------------------------------------------------------

TEST_F(RemoteOperationsE2E, GetEnvironmentVariablesListsTheRemoteEnvironment) {
  const auto Variables = Manager->GetEnvironmentVariables(Profile, nullptr);
  EXPECT_TRUE(std::any_of(Variables.begin(), Variables.end(),
                          [](const std::string& V) { return V.rfind("PATH=", 0) == 0; }))
      << ::testing::PrintToString(Variables);
  EXPECT_TRUE(std::is_sorted(Variables.begin(), Variables.end()));
}

TEST_F(RemoteOperationsE2E, GetEnvironmentVariablesOfAnUnreachableMachineIsOneUnderscoreEntry) {
  const auto Closed = Unreachable();
  EXPECT_EQ(Manager->GetEnvironmentVariables(Closed, nullptr),
            std::vector<std::string>{
                "_=" + Format(hestrel::sErrConnectionRefused, {"127.0.0.1", std::int64_t{Closed->GetPortNumber()}})});
}

TEST_F(RemoteOperationsE2E, ExpandPathExpandsRemotelyAndAnUnreachableMachineGivesTheInputBack) {
  const std::string Home = Manager->ExpandPath(Profile, "$HOME", nullptr);
  EXPECT_FALSE(Home.empty());
  EXPECT_NE(Home, "$HOME");
  EXPECT_EQ(Manager->ExpandPath(Unreachable(), "$HOME", nullptr), "$HOME");
}

TEST_F(RemoteOperationsE2E, RemoteDirectoryExistsAndBrowseRemoteFileSystem) {
  MakeFile(Remote("tree/a.txt"), "a");
  MakeFile(Remote("tree/sub/b.txt"), "b");
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, Remote("tree"), nullptr));
  EXPECT_FALSE(Manager->RemoteDirectoryExists(Profile, Remote("nope"), nullptr));
  const auto Listing = Manager->BrowseRemoteFileSystem(Profile, Remote("tree"), 1, false, nullptr);
  ASSERT_NE(Listing, nullptr);
  std::vector<std::string> Names;
  for (const auto& F : *Listing) Names.push_back(F.Name + (F.IsDirectory ? "/" : ""));
  std::sort(Names.begin(), Names.end());
  EXPECT_EQ(Names, (std::vector<std::string>{"a.txt", "sub/", "sub/b.txt"}));
  const auto DirsOnly = Manager->BrowseRemoteFileSystem(Profile, Remote("tree"), 0, true, nullptr);
  ASSERT_NE(DirsOnly, nullptr);
  ASSERT_EQ(DirsOnly->size(), 1u);
  EXPECT_EQ(DirsOnly->front().Name, "sub");
  EXPECT_EQ(Manager->BrowseRemoteFileSystem(Unreachable(), "/", 0, false, nullptr), nullptr);
}

TEST_F(RemoteOperationsE2E, CreateSymLinkMakesTheLinkOnTheRemoteMachine) {
  MakeFile(Remote("target.txt"), "t");
  EXPECT_TRUE(Manager->CreateSymLink(Profile, Remote("target.txt"), Remote("link.txt"), nullptr));
  ASSERT_TRUE(fs::is_symlink(Remote("link.txt")));
  EXPECT_EQ(fs::read_symlink(Remote("link.txt")).string(), Remote("target.txt"));
  EXPECT_FALSE(Manager->CreateSymLink(Profile, Remote("target.txt"), Remote("link.txt"), nullptr));  // exists
}

TEST_F(RemoteOperationsE2E, TwoQueriesBetweenBeginAndEndOperationShareOneConnection) {
  const auto Logins = [this] {
    const std::string Log = Server.Log();
    int Count = 0;
    for (std::size_t At = Log.find("' from "); At != std::string::npos; At = Log.find("' from ", At + 1))
      if (Log.compare(Log.find('\n', At) - 8, 8, "accepted") == 0) ++Count;
    return Count;
  };
  Manager->BeginOperation(Profile);
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, Server.Dir().string(), nullptr));
  EXPECT_EQ(Manager->ExpandPath(Profile, Server.Dir().string(), nullptr), Server.Dir().string());
  Manager->EndOperation(Profile);
  EXPECT_EQ(Logins(), 1) << Server.Log();
  // Without the bracket each query connects (and logs in) on its own.
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, Server.Dir().string(), nullptr));
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, Server.Dir().string(), nullptr));
  EXPECT_EQ(Logins(), 3) << Server.Log();
}

// ---- Run ----------------------------------------------------------------------------------------

TEST_F(RemoteOperationsE2E, RunGivesBackTheProcessNumberAndDReachesTheAgentAsTheOutputFile) {
  std::vector<std::string> AfterRun;
  const THandlerId Id = TRemoteProfileManager::FEvAfterRun.Add(
      [&](const bool& Success, const IOTARemoteProfilePtr& P) { AfterRun.push_back((Success ? "ok:" : "failed:") + P->GetName()); });
  std::string Error = "old";
  std::int32_t Process = 0;
  // A program, B parameters, C working directory, D output file, E launcher (exchanged on the way).
  const bool Started = Manager->Run(Profile, "/bin/sh", "-c 'echo started'", Server.Dir().string(), "run.out", "",
                                    nullptr, "", Error, Process, nullptr);
  TRemoteProfileManager::FEvAfterRun.Remove(Id);
  ASSERT_TRUE(Started) << Error;
  EXPECT_EQ(Error, "");
  EXPECT_GT(Process, 0);
  for (int I = 0; I < 100 && Slurp(Remote("run.out")) != "started\n"; ++I)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(Slurp(Remote("run.out")), "started\n");
  EXPECT_EQ(AfterRun, std::vector<std::string>{"ok:E2E"});
}

TEST_F(RemoteOperationsE2E, ARunThatFailsGivesTheAgentsErrorTextAndProcessNumberZero) {
  std::string Error;
  std::int32_t Process = 42;
  EXPECT_FALSE(Manager->Run(Profile, "no-such-program-xyz", "", "", "", "", nullptr, "", Error, Process, nullptr));
  EXPECT_EQ(Error, Format(hestrel::sErrProgramNotFound, {"no-such-program-xyz"}));
  EXPECT_EQ(Process, 0);
  EXPECT_FALSE(Manager->Run(Unreachable(), "/bin/true", "", "", "", "", nullptr, "", Error, Process, nullptr));
  EXPECT_EQ(Error.rfind("Connection to '127.0.0.1' on port ", 0), 0u) << Error;
  EXPECT_EQ(Process, 0);
}

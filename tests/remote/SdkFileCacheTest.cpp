// Part 3.3: GetProfileFiles, GetProfileFilesWithProgress, DeployMungerPatch and the
// manager as the agent's IFileIteration.
#include "RemoteTestSupport.h"

namespace {

class SdkFileCache : public RemoteFixture {
 protected:
  void SetUp() override {
    RemoteFixture::SetUp();
    SDK = std::make_shared<TPlatformSDKDouble>();
    SDK->SystemRoot = "/cache/Mac";
    Manager->SetPlatformSDK(SDK);
    Environment->Variables["ZEPH"] = "/opt/zeph";
  }
  std::shared_ptr<TPlatformSDKDouble> SDK;
};

TOTARemoteProfilePathArray ThreePaths() {
  return {{"/usr/include", "*.h", true, ptIncludePath},
          {"/usr/lib", "*.dylib", false, ptLibraryPath},
          {"/System/Library/Frameworks", "Foundation", true, ptFramework}};
}

const std::string kPatch = "PutFile(..\\..\\,/opt/zeph/Hestrel/munger.patch,16777216,)";

std::vector<std::string> Without(std::vector<std::string> Log, const std::string& Prefix) {
  std::erase_if(Log, [&](const std::string& E) { return E.rfind(Prefix, 0) == 0; });
  return Log;
}

}  // namespace

// ---- Edge cases of Part 3.3 -------------------------------------------------------------

TEST_F(SdkFileCache, Win32AndWin64ProfilesNeverReceiveThePatchFile) {
  SDK->Items = ThreePaths();
  for (const char* Platform : {"Win32", "Win64"}) {
    Library->Prepared.clear();  // a fresh client for each profile, recorded in Library->Clients
    const std::size_t Before = Library->Clients.size();
    const auto Local = Manager->AddProfile(std::string("Local") + Platform, Platform, "pc", 64211, {}, "", {}, false);
    EXPECT_TRUE(Manager->GetProfileFiles(Local, focAlwaysReplace, nullptr, Progress.Proc()));
    ASSERT_EQ(Library->Clients.size(), Before + 1) << Platform;
    EXPECT_EQ(Library->Clients.back()->Actions(),
              (std::vector<std::string>{"SetHostName(pc)", "SetPort(64211)", std::string("SetPlatform(") + Platform + ")",
                                        "SetCredential(,1,0)", "SetSysRoot(/cache/Mac)", "Connect(listener)",
                                        "GetFiles(/usr/include,1,*.h)", "GetFiles(/usr/lib,0,*.dylib)",
                                        "GetFrameworkFiles(/System/Library/Frameworks,Foundation,1)", "Disconnect()"}))
        << Platform;
  }
}

TEST_F(SdkFileCache, EveryOtherPlatformReceivesThePatchOncePerUpdateBeforeTheFirstPathItem) {
  SDK->Items = ThreePaths();
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->Actions(),
            SetupThen({"SetSysRoot(/cache/Mac)", "Connect(listener)", kPatch, "GetFiles(/usr/include,1,*.h)",
                       "GetFiles(/usr/lib,0,*.dylib)", "GetFrameworkFiles(/System/Library/Frameworks,Foundation,1)",
                       "Disconnect()"}));
  // The patch goes without a file listener; the items with the manager as listener.
  EXPECT_EQ(Agent->FileListeners,
            (std::vector<IFileListener*>{nullptr, Manager.get(), Manager.get(), Manager.get()}));
  const auto Android = Manager->AddProfile("Droid", "Android", "phone", 64211, {}, "", {}, false);
  auto Agent2 = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Agent2);
  EXPECT_TRUE(Manager->GetProfileFiles(Android, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(std::count(Agent2->Log.begin(), Agent2->Log.end(), kPatch), 1);
}

TEST_F(SdkFileCache, AnSDKWithNoPathItemsSendsTheStartConnectingAndFinishedNoticesAndTransfersNothing) {
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(0, "Updating Local File Cache"),
                                                        ConnectingNotice(0), FinishedNotice()}));
  EXPECT_EQ(Without(Agent->Actions(), "PutFile"),
            SetupThen({"SetSysRoot(/cache/Mac)", "Connect(listener)", "Disconnect()"}));
}

TEST_F(SdkFileCache, AFrameworkItemIsFetchedWithGetFrameworkFilesEvenWithAnEmptyMask) {
  SDK->Items = {{"/F", "", false, ptFramework},
                {"/I", "", false, ptIncludePath},
                {"/L", "", true, ptLibraryPath},
                {"/O", "*", false, ptOtherPath},
                {"/X", "*", false, static_cast<TOTAPathItemType>(9)}};
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Without(Agent->Actions(), "PutFile"),
            SetupThen({"SetSysRoot(/cache/Mac)", "Connect(listener)", "GetFrameworkFiles(/F,,0)", "GetFiles(/I,0,)",
                       "GetFiles(/L,1,)", "GetFiles(/O,0,*)", "GetFiles(/X,0,*)", "Disconnect()"}));
}

TEST_F(SdkFileCache, AFailingPathIsReportedAndTheNextPathIsStillFetched) {
  SDK->Items = ThreePaths();
  Agent->Script("GetFiles", Fails("Remote path '/usr/include' not found"));
  EXPECT_FALSE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices,
            (std::vector<std::string>{StartNotice(3, "Updating Local File Cache"), ConnectingNotice(3),
                                      ItemNotice(1, 3, "Updating files from remote machine"),
                                      ErrorNotice("Remote path '/usr/include' not found"),
                                      ItemNotice(2, 3, "Updating files from remote machine"),
                                      ItemNotice(2, 3, "Updated files from remote path '/usr/lib'"),
                                      ItemNotice(3, 3, "Updating files from remote machine"),
                                      ItemNotice(3, 3, "Updated files from remote path '/System/Library/Frameworks'"),
                                      FinishedNotice()}));
}

TEST_F(SdkFileCache, CancellingDuringTheTransferOfAnItemLeavesLaterItemsUntouchedAndSendsNoFinishedNotice) {
  SDK->Items = ThreePaths();
  Agent->Script("GetFiles", {});
  Agent->Script("GetFiles", During([](TAgentCallContext& Call) {
                  Call.PreCopy("/usr/lib", "/usr/lib/a.dylib", "/cache/Mac/usr/lib/a.dylib", 10000);
                  Call.BytesCopied("/usr/lib", "/usr/lib/a.dylib", "/cache/Mac/usr/lib/a.dylib", 5000, 10000);
                  Call.EnterDirectory("/usr/lib/sub");
                  Call.Accept("/usr/lib/b.dylib", "/cache/Mac/usr/lib/b.dylib", false);
                  Call.ContinueOnError("/usr/lib/b.dylib", "boom");
                }));
  Progress.Answer = [](const std::string& Notice, std::size_t) {
    return Notice.find("Received 5000") == std::string::npos;  // the user cancels here
  };
  EXPECT_FALSE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Without(Agent->Actions(), "PutFile"),
            SetupThen({"SetSysRoot(/cache/Mac)", "Connect(listener)", "GetFiles(/usr/include,1,*.h)",
                       "GetFiles(/usr/lib,0,*.dylib)", "Disconnect()"}));
  EXPECT_EQ(Agent->ListenerLog,
            (std::vector<std::string>{
                "PreCopy(/usr/lib,/usr/lib/a.dylib,/cache/Mac/usr/lib/a.dylib,10000)",
                "BytesCopied(/usr/lib,/usr/lib/a.dylib,/cache/Mac/usr/lib/a.dylib,5000,10000)=2",
                "EnterDirectory(/usr/lib/sub)=false", "Accept(/usr/lib/b.dylib,/cache/Mac/usr/lib/b.dylib,0)=3",
                "ContinueOnError(/usr/lib/b.dylib,boom)=false"}));
  EXPECT_EQ(Progress.Notices,
            (std::vector<std::string>{
                StartNotice(3, "Updating Local File Cache"), ConnectingNotice(3),
                ItemNotice(1, 3, "Updating files from remote machine"),
                ItemNotice(1, 3, "Updated files from remote path '/usr/include'"),
                ItemNotice(2, 3, "Updating files from remote machine"),
                "1|-1|-1|Copying file|/usr/lib/a.dylib|/cache/Mac/usr/lib/a.dylib|-1",
                "1|-1|-1|Received 5000 of 10000 bytes|/usr/lib/a.dylib|/cache/Mac/usr/lib/a.dylib|50"}));
}

// ---- Further rules of Part 3.3 ----------------------------------------------------------

TEST_F(SdkFileCache, TheOverwriteQuestionOfAPullUsesTheGivenControl) {
  SDK->Items = {{"/usr/include", "*.h", true, ptIncludePath}};
  const TDateTime When = LocalTime(2026, 1, 2, 3, 4, 5);
  Agent->Script("GetFiles", During([When](TAgentCallContext& Call) {
                  Call.Overwrite("/cache/Mac/usr/include/a.h", When, 1, When, 2);
                  Call.Overwrite("/cache/Mac/usr/include/b.h", When, 1, When, 2);
                }));
  Messages->Answers = {TMsgDlgBtn::mbNoToAll};
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->ListenerLog, (std::vector<std::string>{"Overwrite(/cache/Mac/usr/include/a.h)=false",
                                                          "Overwrite(/cache/Mac/usr/include/b.h)=false"}));
  EXPECT_EQ(Messages->Shown.size(), 1u);
}

TEST_F(SdkFileCache, ARefusedItemNoticeEndsTheLoopButStillFinishes) {
  SDK->Items = ThreePaths();
  Progress.Answer = [](const std::string& Notice, std::size_t) {
    return Notice != ItemNotice(2, 3, "Updating files from remote machine");
  };
  EXPECT_FALSE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices.back(), FinishedNotice());
  EXPECT_EQ(std::count_if(Agent->Log.begin(), Agent->Log.end(),
                          [](const std::string& E) { return E.rfind("GetFiles", 0) == 0; }),
            1);
}

TEST_F(SdkFileCache, AFailedConnectionEndsTheUpdateWithTheErrorReport) {
  SDK->Items = ThreePaths();
  Agent->Script("Connect", Fails("Host key verification failed"));
  EXPECT_FALSE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(3, "Updating Local File Cache"),
                                                        ConnectingNotice(3),
                                                        ErrorNotice("Host key verification failed"), FinishedNotice()}));
  EXPECT_EQ(Agent->Actions(), SetupThen({"SetSysRoot(/cache/Mac)", "Connect(listener)", "Disconnect()"}));
}

TEST_F(SdkFileCache, WithoutAProgressProcedureTheProgressWindowIsUsed) {
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, nullptr));
  EXPECT_EQ(Display->Notices, (std::vector<std::string>{StartNotice(0, "Updating Local File Cache") + "|close=1",
                                                        ConnectingNotice(0) + "|close=1",
                                                        FinishedNotice() + "|close=1"}));
}

TEST_F(SdkFileCache, GetProfileFilesWithProgressAsksBeforeOverwritingAndDrawsTheWindow) {
  SDK->Items = {{"/usr/include", "*.h", true, ptIncludePath}};
  Agent->Script("GetFiles", During([](TAgentCallContext& Call) {
                  Call.Overwrite("a.h", LocalTime(2026, 1, 2, 3, 4, 5), 1, LocalTime(2026, 1, 2, 3, 4, 6), 2);
                }));
  Messages->Answers = {TMsgDlgBtn::mbYes};
  EXPECT_TRUE(Manager->GetProfileFilesWithProgress(Profile));
  EXPECT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Display->Notices.size(), 5u);
  EXPECT_EQ(Display->Notices.front(), StartNotice(1, "Updating Local File Cache") + "|close=1");
}

TEST_F(SdkFileCache, WithoutTheZephVariableThePatchIsSilentlySkipped) {
  Environment->Variables.erase("ZEPH");
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, Progress.Proc()));
  for (const std::string& Entry : Agent->Log) EXPECT_EQ(Entry.rfind("PutFile", 0), std::string::npos) << Entry;
}

TEST_F(SdkFileCache, DeployMungerPatchPutsTheInstallationsPatchAndIgnoresTheResult) {
  TScriptedAgent Client;
  Client.Script("PutFile", Fails("no such file"));
  Environment->Variables["ZEPH"] = "/opt/zeph/";  // a trailing delimiter is not doubled
  Manager->DeployMungerPatch(Client);
  EXPECT_EQ(Client.Log, std::vector<std::string>{kPatch});
  EXPECT_EQ(Client.FileListeners, std::vector<IFileListener*>{nullptr});
}

TEST_F(SdkFileCache, WithoutAPlatformSDKNothingIsPulledAndNoSystemRootIsSent) {
  Manager->SetPlatformSDK(nullptr);
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", kPatch, "Disconnect()"}));
}

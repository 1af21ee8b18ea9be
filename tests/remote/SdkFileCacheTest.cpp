// GetProfileFiles, GetProfileFilesWithProgress, DeployMungerPatch and the manager as the
// agent's IFileIteration.
#include "RemoteTestSupport.h"

namespace {

const std::string kPatch = "PutFile(..\\..\\,/opt/zeph/Hestrel/munger.patch,16777216,)";
const std::string kUpdating = "Updating files from remote machine";

class SdkFileCache : public RemoteFixture {
 protected:
  void SetUp() override {
    RemoteFixture::SetUp();
    SDK->SystemRoot = "/cache/Mac";
    // A framework is pulled as one even without a name; every other type as a directory.
    SDK->Items = {{"/usr/include", "*.h", true, ptIncludePath},
                  {"/usr/x", "*", false, static_cast<TOTAPathItemType>(9)},
                  {"/F", "", true, ptFramework}};
    Manager->SetPlatformSDK(SDK);
    Environment->Variables["ZEPH"] = "/opt/zeph";
  }
  bool Update(TOTAFileOverwriteControl Control = focAlwaysReplace) {
    return Manager->GetProfileFiles(Profile, Control, nullptr, Progress.Proc());
  }
  std::shared_ptr<TPlatformSDKDouble> SDK = std::make_shared<TPlatformSDKDouble>();
  const TNames Pulled =
      SetupThen({"SetSysRoot(/cache/Mac)", "Connect(listener)", kPatch, "GetFiles(/usr/include,1,*.h)",
                 "GetFiles(/usr/x,0,*)", "GetFrameworkFiles(/F,,1)", "Disconnect()"});
};

}  // namespace

TEST_F(SdkFileCache, ThePatchGoesOnceBeforeThePathItemsToEveryPlatformButWindowsAndAFailingPathEndsNothing) {
  Agent->Script("GetFiles", Fails("Remote path '/usr/include' not found"));
  EXPECT_FALSE(Update());
  EXPECT_EQ(Agent->Log, Pulled);
  EXPECT_EQ(Progress.Notices[3], Notice(ptError, -1, -1, "Remote path '/usr/include' not found"));
  // The patch goes without a file listener, the items with the manager as listener.
  EXPECT_EQ(Agent->FileListeners, (std::vector<IFileListener*>{nullptr, Manager.get(), Manager.get(), Manager.get()}));
  for (const char* Platform : {"Win32", "Win64"}) {
    const auto Client = NextAgent();
    EXPECT_TRUE(Manager->GetProfileFiles(Manager->AddProfile(Platform, Platform, "pc", 1, {}, "", {}, false),
                                         focAlwaysReplace, nullptr, nullptr));
    EXPECT_EQ(Client->FileListeners, std::vector<IFileListener*>(3, Manager.get())) << Platform;
  }
}

TEST_F(SdkFileCache, ACancelRefusesTheAgentsFurtherQuestionsAndEndsWithoutFinishedNotice) {
  Agent->Script("GetFiles", {});
  Agent->Script("GetFiles", During([this](TAgentCallContext& Call) {
                  std::int32_t Flags = 0;
                  const auto Ask = [&] {  // the questions an agent asks while it copies
                    Answers.insert(Answers.end(), {Call.Iteration->EnterDirectory("/usr/x/sub"),
                                                   Call.Files->Accept("/usr/x/b", "/cache/b", false, Flags),
                                                   Call.Files->ContinueOnError("/usr/x/b", "boom")});
                  };
                  Ask();
                  Call.Files->PreCopy("/usr/x", "/usr/x/a", "/cache/a", 10000);  // the user cancels here
                  Ask();
                  Call.Files->Deleted("/usr/x/b", "mac.local");
                  Call.Files->PreCopy("/usr/x", "/usr/x/a", "/cache/a", 10000);
                  Answers.push_back(Call.Files->BytesCopied("/usr/x", "/usr/x/a", "/cache/a", 5000, 10000, nullptr));
                }));
  Progress.Answer = [](const std::string& Text, std::size_t) { return Text.find("Copying file") == std::string::npos; };
  EXPECT_FALSE(Update());
  EXPECT_EQ(Agent->Log, Then(TNames(Pulled.begin(), Pulled.end() - 2), {"Disconnect()"}));
  EXPECT_EQ(Answers, (std::vector<int>{1, 1, 1, 0, 3, 0, 2}));
  EXPECT_EQ(Progress.Notices, Then(Started(3, "Updating Local File Cache"),
                                   {Notice(ptProgress, 1, 3, kUpdating),
                                    Notice(ptProgress, 1, 3, "Updated files from remote path '/usr/include'"),
                                    Notice(ptProgress, 2, 3, kUpdating), Notice(ptError, -1, -1, "boom"),
                                    "1|-1|-1|Copying file|/usr/x/a|/cache/a|-1"}));
  Progress.Answer = [](const std::string& Text, std::size_t) { return Text != Notice(ptProgress, 2, 3, kUpdating); };
  EXPECT_FALSE(Update());  // a refused item notice ends the update incomplete, but finished
  EXPECT_EQ(Progress.Notices.back(), kFinished);
}

TEST_F(SdkFileCache, WithoutAPlatformSDKNothingIsPulledWithoutZephNoPatchIsSentAndWithProgressTheUpdateAsks) {
  Manager->SetPlatformSDK(nullptr);
  EXPECT_TRUE(Update());
  EXPECT_EQ(Agent->Log, SetupThen({"Connect(listener)", kPatch, "Disconnect()"}));
  Manager->SetPlatformSDK(SDK);
  SDK->Items.SetLength(1);
  Environment->Variables.erase("ZEPH");
  NextAgent()->Script("GetFiles", During([this](TAgentCallContext& Call) {
                        Answers.push_back(Call.Files->Overwrite("a.h", {}, 1, {}, 2));
                      }));
  Messages->Answers = {TMsgDlgBtn::mbNo};
  EXPECT_TRUE(Manager->GetProfileFilesWithProgress(Profile));
  EXPECT_EQ(Library->Clients.back()->Log,
            SetupThen({"SetSysRoot(/cache/Mac)", "Connect(listener)", "GetFiles(/usr/include,1,*.h)", "Disconnect()"}));
  EXPECT_EQ(Answers, std::vector<int>{0});
  EXPECT_EQ(Display->Notices.front(), Notice(ptStart, -1, 1, "Updating Local File Cache") + "|close=1");
  TScriptedAgent Client;
  Client.Script("PutFile", Fails("no such file"));  // not examined
  Environment->Variables["ZEPH"] = "/opt/zeph/";    // a trailing delimiter is not doubled
  Manager->DeployMungerPatch(Client);
  EXPECT_EQ(Client.Log, TNames{kPatch});
}

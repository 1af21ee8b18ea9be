// Run and StartRemoteDebugger.
#include "RemoteTestSupport.h"

namespace {

/// Records the after-run announcements with what the frame had left in place by then.
class RemoteLaunch : public RemoteFixture {
 protected:
  void SetUp() override {
    RemoteFixture::SetUp();
    FId = TRemoteProfileManager::FEvAfterRun.Add([this](const bool& Success, const IOTARemoteProfilePtr& P) {
      AfterRun.push_back(std::string(Success ? "true:" : "false:") + P->GetName() +
                         " uses=" + std::to_string(Remote().ClientUseCount()) +
                         (Manager->GetCallbackParams().Callback ? " set" : ""));
    });
  }
  void TearDown() override {
    TRemoteProfileManager::FEvAfterRun.Remove(FId);
    RemoteFixture::TearDown();
  }
  bool RunIt(const std::vector<std::string>* Env = nullptr) {
    return Manager->Run(Profile, "A", "B", "C", "D", "E", Env, "F", Error, Process,
                        std::make_shared<TConnectionCallbackDouble>());
  }
  TNames AfterRun;
  std::string Error = "old";
  std::int32_t Process = 77, N1 = 10, N2 = 20;
  THandlerId FId{};
};

}  // namespace

TEST_F(RemoteLaunch, RunExchangesDAndEAnnouncingAfterTheReleaseAndTheDebuggerAttachesUnlessTheProcessTypeIs2) {
  Agent->Script("Run", {.Number = 4711});
  const std::vector<std::string> Env = {"A=1", "B=2"};
  EXPECT_TRUE(RunIt(&Env));
  EXPECT_EQ(std::to_string(Process) + "|" + Error, "4711|");
  EXPECT_EQ(Agent->Log, SetupThen({"Connect(listener)", "Run(A,B,C,E,[A=1;B=2],D,F)", "Disconnect()"}));
  EXPECT_TRUE(Manager->Run(Profile, "A", "B", "C", "D", "E", nullptr, "F", Error, nullptr));  // without a number
  EXPECT_EQ(Library->Clients.back()->Log[5], "Run(A,B,C,E,none,D,F)");
  for (const auto& [Type, Call] :
       std::vector<std::pair<int, std::string>>{{0, "Debug(app,1,10,20,0)"}, {2, "Debug(app,0,31,32,0)"}}) {
    NextAgent()->Script("Debug", {.Number = 31, .Number2 = 32});  // N1 and N2 given back, passed on by the next
    EXPECT_TRUE(Manager->StartRemoteDebugger(Profile, "app", Type, N1, N2, Error, nullptr));
    EXPECT_EQ(Library->Clients.back()->Log[5], Call);
  }
  EXPECT_EQ(std::to_string(N1) + "," + std::to_string(N2) + "|" + Error, "31,32|");
  EXPECT_EQ(AfterRun, (TNames{"true:Mac uses=0", "true:Mac uses=0"}));  // the debugger announces nothing
  EXPECT_EQ(Remote().ClientUseCount(), 0);
}

TEST_F(RemoteLaunch, AFailedLaunchGivesTheAgentsTextOrTheConnectionFailedTextAndProcessNumberZero) {
  const std::vector<std::tuple<std::string, std::string, std::string>> Cases{
      // failing call, agent text, error
      {"Connect", "refused", "refused"},
      {"Connect", "", kMacConnectionFailed},
      {"Run", "no such program", "no such program"},
      {"Run", "", kMacConnectionFailed}};
  for (const auto& [Call, Text, Expected] : Cases) {
    Library->Prepared = {std::make_shared<TScriptedAgent>(), std::make_shared<TScriptedAgent>()};
    Library->Prepared[0]->Script(Call, Fails(Text));
    Library->Prepared[1]->Script(Call == "Run" ? "Debug" : "Connect", Fails(Text));
    Process = 77;
    EXPECT_FALSE(RunIt());
    EXPECT_EQ(Error, Expected) << Call;
    EXPECT_EQ(Process, 0) << Call;
    EXPECT_EQ(AfterRun.back(), "false:Mac uses=0");
    EXPECT_FALSE(Manager->StartRemoteDebugger(Profile, "app", 1, N1, N2, Error, nullptr));
    EXPECT_EQ(Error, Expected) << Call;
  }
  EXPECT_EQ(AfterRun.size(), 4u);  // the debugger announces nothing
}

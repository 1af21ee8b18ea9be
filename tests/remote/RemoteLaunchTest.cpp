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
  Texts AfterRun;
  std::string Error = "old";
  std::int32_t Process = 77, N1 = 10, N2 = 20;
  THandlerId FId{};
};

}  // namespace

TEST_F(RemoteLaunch, RunExchangesDAndEOnTheWayToTheAgentAndAnnouncesAfterTheRelease) {
  Agent->Script("Run", {.Number = 4711});
  const std::vector<std::string> Env = {"A=1", "B=2"};
  EXPECT_TRUE(RunIt(&Env));
  EXPECT_EQ(Process, 4711);
  EXPECT_EQ(Error, "");
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "Run(A,B,C,E,[A=1;B=2],D,F)", "Disconnect()"}));
  EXPECT_TRUE(Manager->Run(Profile, "A", "B", "C", "D", "E", nullptr, "F", Error, nullptr));  // without a number
  EXPECT_EQ(Library->Clients.back()->Actions()[5], "Run(A,B,C,E,none,D,F)");
  EXPECT_EQ(AfterRun, (Texts{"true:Mac uses=0", "true:Mac uses=0"}));
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

TEST_F(RemoteLaunch, StartRemoteDebuggerGivesBackN1AndN2AndAttachesUnlessTheProcessTypeIs2) {
  Library->Prepared.clear();
  for (TOTAProcessType Type : {0, 1, 2, 3, -1}) {
    NextAgent()->Script("Debug", {.Number = 31, .Number2 = 32});
    N1 = 10;
    N2 = 20;
    EXPECT_TRUE(Manager->StartRemoteDebugger(Profile, "app", Type, N1, N2, Error, nullptr));
    EXPECT_EQ(Library->Clients.back()->Actions()[5], std::string("Debug(app,") + (Type == 2 ? "0" : "1") + ",10,20,0)");
    EXPECT_EQ(std::pair(N1, N2), std::pair(31, 32));
    EXPECT_EQ(Error, "");
  }
  EXPECT_TRUE(AfterRun.empty());
  EXPECT_EQ(Remote().ClientUseCount(), 0);
}

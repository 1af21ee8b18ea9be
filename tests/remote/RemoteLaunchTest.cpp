// Part 3.5: Run and StartRemoteDebugger.
#include "RemoteTestSupport.h"

namespace {

const char kMacConnectionFailed[] =
    "Connection to 'mac.local' on port 64211 failed.\r\n\r\nPlease make sure that 'Hestrel' is running on the host "
    "machine and is configured to use port 64211";

/// Records the after-run announcements (class event) as "success:profile".
class RemoteLaunch : public RemoteFixture {
 protected:
  void SetUp() override {
    RemoteFixture::SetUp();
    FId = TRemoteProfileManager::FEvAfterRun.Add([this](const bool& Success, const IOTARemoteProfilePtr& P) {
      AfterRun.push_back(std::string(Success ? "true" : "false") + ":" + P->GetName());
    });
  }
  void TearDown() override {
    TRemoteProfileManager::FEvAfterRun.Remove(FId);
    RemoteFixture::TearDown();
  }
  bool RunIt(std::string& Error, std::int32_t& Process, const std::vector<std::string>* Env = nullptr) {
    return Manager->Run(Profile, "A", "B", "C", "D", "E", Env, "F", Error, Process, nullptr);
  }
  std::vector<std::string> AfterRun;

 private:
  THandlerId FId{};
};

class TAfterRunNotifier : public IOTARemoteProfileNotifier2 {
 public:
  void ProfileRenamed(const IOTARemoteProfilePtr&, const std::string&) override {}
  void ProfileChanged(const IOTARemoteProfilePtr&) override {}
  void ProfileAdded(const IOTARemoteProfilePtr&) override {}
  void ProfileRemoved(const IOTARemoteProfilePtr&) override {}
  void AfterDeploy(bool, const IOTARemoteProfilePtr&) override {}
  void AfterRun(bool Success, const IOTARemoteProfilePtr& P) override {
    Log.push_back(std::string(Success ? "true" : "false") + ":" + P->GetName());
  }
  std::vector<std::string> Log;
};

TAgentAnswer Started(std::int32_t Process) {
  TAgentAnswer Answer;
  Answer.Number = Process;
  return Answer;
}

}  // namespace

// ---- Edge cases of Part 3.5 -------------------------------------------------------------

TEST_F(RemoteLaunch, WithTheAgentUnreachableAndNoAgentTextTheErrorIsTheConnectionFailedText) {
  Agent->Script("Connect", Fails());
  std::string Error = "old";
  std::int32_t Process = 77;
  EXPECT_FALSE(RunIt(Error, Process));
  EXPECT_EQ(Error, kMacConnectionFailed);
  std::int32_t N1 = 1, N2 = 2;
  auto Next = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Next);
  Next->Script("Connect", Fails());
  EXPECT_FALSE(Manager->StartRemoteDebugger(Profile, "A", 0, N1, N2, Error, nullptr));
  EXPECT_EQ(Error, kMacConnectionFailed);
}

TEST_F(RemoteLaunch, AnAlreadyConnectedClientIsReusedWithoutANewConnect) {
  Manager->BeginOperation(Profile);
  Manager->RemoteDirectoryExists(Profile, "/", nullptr);  // connects the shared client
  std::string Error;
  std::int32_t Process = 0, N1 = 0, N2 = 0;
  EXPECT_TRUE(RunIt(Error, Process));
  EXPECT_TRUE(Manager->StartRemoteDebugger(Profile, "A", 1, N1, N2, Error, nullptr));
  Manager->EndOperation(Profile);
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "DirExists(/)", "Run(A,B,C,E,none,D,F)",
                                         "Debug(A,1,0,0,0)", "Disconnect()"}));
}

TEST_F(RemoteLaunch, AProcessTypeOf2MakesTheDebugBooleanFalseAndEveryOtherTypeTrue) {
  std::string Error;
  for (TOTAProcessType Type : {0, 1, 2, 3, -1}) {
    std::int32_t N1 = 10, N2 = 20;
    EXPECT_TRUE(Manager->StartRemoteDebugger(Profile, "app", Type, N1, N2, Error, nullptr));
  }
  std::vector<std::string> Debugs;  // each call had a client of its own
  for (const auto& Client : Library->Clients)
    for (const std::string& Entry : Client->Log)
      if (Entry.rfind("Debug", 0) == 0) Debugs.push_back(Entry);
  EXPECT_EQ(Debugs, (std::vector<std::string>{"Debug(app,1,10,20,0)", "Debug(app,1,10,20,0)", "Debug(app,0,10,20,0)",
                                              "Debug(app,1,10,20,0)", "Debug(app,1,10,20,0)"}));
}

TEST_F(RemoteLaunch, TheProcessNumberIsZeroWheneverTheLaunchFailsBeforeTheAgentsRun) {
  Agent->Script("Connect", Fails("refused"));
  std::string Error;
  std::int32_t Process = 1234;
  EXPECT_FALSE(RunIt(Error, Process));
  EXPECT_EQ(Process, 0);
  EXPECT_EQ(Error, "refused");
  for (const std::string& Entry : Agent->Log) EXPECT_EQ(Entry.rfind("Run", 0), std::string::npos);
}

// ---- Run ----------------------------------------------------------------------------------

TEST_F(RemoteLaunch, RunExchangesDAndEOnTheWayToTheAgentAndGivesBackTheProcessNumber) {
  Agent->Script("Run", Started(4711));
  const std::vector<std::string> Env = {"A=1", "B=2"};
  std::string Error = "old";
  std::int32_t Process = 0;
  EXPECT_TRUE(RunIt(Error, Process, &Env));
  EXPECT_EQ(Process, 4711);
  EXPECT_EQ(Error, "");
  // Part 3.5 step 4: A, B, C, E, Env, D, F.
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "Run(A,B,C,E,[A=1;B=2],D,F)", "Disconnect()"}));
  EXPECT_EQ(AfterRun, std::vector<std::string>{"true:Mac"});
}

TEST_F(RemoteLaunch, AFailedRunGivesTheAgentsTextAndAnnouncesTheFailure) {
  TAgentAnswer Failed = Fails("launch failed: no such program");
  Failed.Number = 0;
  Agent->Script("Run", Failed);
  auto Notifier = std::make_shared<TAfterRunNotifier>();
  Manager->AddNotifier(Notifier);
  std::string Error;
  std::int32_t Process = 5;
  EXPECT_FALSE(RunIt(Error, Process));
  EXPECT_EQ(Error, "launch failed: no such program");
  EXPECT_EQ(Notifier->Log, std::vector<std::string>{"false:Mac"});
  EXPECT_EQ(AfterRun, std::vector<std::string>{"false:Mac"});
  // Steps 5 and 6 each read the agent's text.
  EXPECT_EQ(Agent->Log, SetupThen({"IsConnected()", "Connect(listener)", "Run(A,B,C,E,none,D,F)", "GetLastError()",
                                   "GetLastError()", "Disconnect()"}));
}

TEST_F(RemoteLaunch, AFailedRunWithoutAgentTextGivesTheConnectionFailedText) {
  Agent->Script("Run", Fails());
  std::string Error;
  std::int32_t Process = 0;
  EXPECT_FALSE(RunIt(Error, Process));
  EXPECT_EQ(Error, kMacConnectionFailed);
}

TEST_F(RemoteLaunch, TheAnnouncementComesAfterTheClientIsReleased) {
  std::vector<std::string> Seen;
  const THandlerId Id = TRemoteProfileManager::FEvAfterRun.Add([&](const bool&, const IOTARemoteProfilePtr&) {
    Seen.push_back("uses=" + std::to_string(Remote().ClientUseCount()) +
                   " proc=" + (Manager->GetCallbackParams().Callback ? "set" : "reset"));
  });
  std::string Error;
  std::int32_t Process = 0;
  Manager->Run(Profile, "A", "B", "C", "D", "E", nullptr, "F", Error, Process,
               std::make_shared<TConnectionCallbackDouble>());
  TRemoteProfileManager::FEvAfterRun.Remove(Id);
  EXPECT_EQ(Seen, std::vector<std::string>{"uses=0 proc=reset"});
}

TEST_F(RemoteLaunch, TheFormWithoutAProcessNumberForwards) {
  Agent->Script("Run", Started(9));
  std::string Error;
  EXPECT_TRUE(Manager->Run(Profile, "A", "B", "C", "D", "E", nullptr, "F", Error, nullptr));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "Run(A,B,C,E,none,D,F)", "Disconnect()"}));
  EXPECT_EQ(AfterRun, std::vector<std::string>{"true:Mac"});
}

// ---- StartRemoteDebugger ------------------------------------------------------------------

TEST_F(RemoteLaunch, StartRemoteDebuggerGivesBackN1AndN2ButNotTheThirdAndAnnouncesNothing) {
  TAgentAnswer Answer;
  Answer.Number = 31;
  Answer.Number2 = 32;
  Agent->Script("Debug", Answer);
  std::string Error = "old";
  std::int32_t N1 = 1, N2 = 2;
  EXPECT_TRUE(Manager->StartRemoteDebugger(Profile, "app", 1, N1, N2, Error, nullptr));
  EXPECT_EQ(N1, 31);
  EXPECT_EQ(N2, 32);
  EXPECT_EQ(Error, "");
  EXPECT_TRUE(AfterRun.empty());
  EXPECT_EQ(Remote().ClientUseCount(), 0);
}

TEST_F(RemoteLaunch, AFailedDebugGivesTheAgentsText) {
  Agent->Script("Debug", Fails("debugger busy"));
  std::string Error;
  std::int32_t N1 = 0, N2 = 0;
  EXPECT_FALSE(Manager->StartRemoteDebugger(Profile, "app", 1, N1, N2, Error, nullptr));
  EXPECT_EQ(Error, "debugger busy");
}

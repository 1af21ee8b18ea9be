// The profile's shared client, the connection test and its listener, progress notices, and
// the operation frame every remote operation runs in.
#include <stdexcept>

#include "RemoteTestSupport.h"

using OperationFrame = RemoteFixture;

TEST_F(OperationFrame, NestedOperationsShareOneClientThatOnlyTheLastEndDisconnectsEvenWhenTheProfileChanged) {
  Manager->BeginOperation(Profile);
  Manager->BeginOperation(Profile);
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, "/a", nullptr));
  Manager->EndOperation(Profile);
  EXPECT_TRUE(Agent->Connected);
  Manager->EndOperation(Profile);
  Manager->EndOperation(Profile);  // one too many: nothing left to release
  EXPECT_EQ(Remote().ClientUseCount(), 0);
  EXPECT_EQ(Agent->Log, SetupThen({"Connect(listener)", "DirExists(/a)", "Disconnect()"}));
  EXPECT_EQ(Library->CreateClientCalls, TNames{"CreateClient(Mac,)"});
  const auto Clone = NextAgent();
  EXPECT_EQ(Remote().CloneClient(), Clone);  // a fresh client, not counted
  const auto Later = NextAgent();
  Manager->BeginOperation(Profile);
  Profile->SetHostName("mini.local");  // drops the client the operation holds
  Manager->EndOperation(Profile);
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, "/a", nullptr));  // a later operation's own client
  EXPECT_EQ(Remote().ClientUseCount(), 0);
  EXPECT_FALSE(Later->Connected);
}

TEST_F(OperationFrame, AClientGetsTheProfilesSettingsAndTheSdkRootWithoutItsLocalRootPart) {
  Environment->Variables["PROFILES"] = "/home/u/Profiles";
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = "$(PROFILES)/Mac/LOCAL/sdk/local";
  SDK->LocalRootPart = "/local";  // every occurrence, ignoring case
  Profile->SetCredential({"/home/u/mac.passfile", false, true});
  Remote().GetClient(SDK, true);
  Remote().GetClient(SDK, false);
  SDK->SystemRoot = "/second";
  SDK->LocalRootPart = "";
  Remote().GetClient(SDK, true);  // set again on the client that exists
  EXPECT_EQ(Agent->Log, (TNames{"SetHostName(mac.local)", "SetPort(64211)", "SetPlatform(OSX32)",
                                "SetCredential(/home/u/mac.passfile,0,1)", "SetSysRoot(/home/u/Profiles/Mac/sdk)",
                                "SetSysRoot(/second)"}));
}

TEST_F(OperationFrame, TestConnectionUsesAFreshClientAskingTheCallbackThroughAnAdapter) {
  Manager->BeginOperation(Profile);  // the shared client exists
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  Callback->RetryAnswer = true;
  NextAgent()->Script("Connect", During([this](TAgentCallContext& Call) {
                        Answers = {Call.Connection->Retry(), Call.Connection->Abort()};
                      }));
  NextAgent()->Script("Connect", Fails("Authentication failed"));
  std::string Error = "old";
  EXPECT_TRUE(Manager->TestConnection(Profile, Error, Callback));
  EXPECT_EQ(Error, "");
  EXPECT_FALSE(Manager->TestConnection(Profile, Error, nullptr));
  EXPECT_EQ(Error, "Authentication failed");
  EXPECT_EQ(Answers, (std::vector<int>{1, 0}));
  EXPECT_EQ(Callback->Log, (TNames{"Retry", "Abort"}));
  EXPECT_EQ(Library->Clients[1]->Log, SetupThen({"Connect(listener)", "Disconnect()"}));
  EXPECT_EQ(Library->Clients[2]->Log, SetupThen({"Connect()"}));
  EXPECT_EQ(Agent->Log, SetupThen({}));  // the shared client is left alone
}

TEST_F(OperationFrame, WithoutAnAgentLibraryTheConnectionFailsWithTheConnectionFailedText) {
  Host.AgentLibrary = nullptr;
  Reinstall();
  std::string Error;
  EXPECT_FALSE(Manager->TestConnection(Profile, Error, nullptr));
  EXPECT_EQ(Error, kMacConnectionFailed);
  EXPECT_FALSE(Manager->PutFiles(Profile, {}, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices,
            Then(Started(0, sUpdatingRemoteFiles), {Notice(ptError, -1, -1, kMacConnectionFailed), kFinished}));
  EXPECT_EQ(Remote().GetClient(nullptr, false), nullptr);
  EXPECT_EQ(Remote().ClientUseCount(), 0);
  Host.ProgressDisplay = nullptr;
  Reinstall();
  const TOTAProgressProc Window = Manager->ProgressFormProc();
  EXPECT_TRUE(Window(ptStart, -1, 0, "t", "", "", -1));  // nobody to show it to, nobody to cancel
  Manager.reset();
  EXPECT_TRUE(Window(ptStart, -1, 0, "t", "", "", -1));  // the manager is gone
}

TEST_F(OperationFrame, AStartThatFailsReportsTheAgentsTextOrTheConnectionFailedTextThenFinishes) {
  const TNames Begun = Started(0, sUpdatingRemoteFiles),
               Failed{Notice(ptError, -1, -1, kMacConnectionFailed), kFinished};
  const std::vector<std::tuple<std::size_t, TNames, TNames>> Cases{
      // refused notice, notices, agent actions
      {9,
       Then(Begun, {Notice(ptError, -1, -1, "Connection refused"), kFinished}),
       {"Connect(listener)", "Disconnect()"}},
      {0, Then({Begun[0]}, Failed), {"Disconnect()"}},
      {1, Then(Begun, Failed), {"Disconnect()"}}};
  for (const auto& [Refused, Notices, Actions] : Cases) {
    Library->Prepared = {std::make_shared<TScriptedAgent>()};
    Library->Prepared[0]->Script("Connect", Fails("Connection refused"));
    TProgressRecorder Recorder;
    Recorder.Answer = [&Refused](const std::string&, std::size_t Number) { return Number != Refused; };
    EXPECT_FALSE(Manager->PutFiles(Profile, {}, focAlwaysReplace, nullptr, Recorder.Proc()));
    EXPECT_EQ(Recorder.Notices, Notices);
    EXPECT_EQ(Library->Clients.back()->Log, SetupThen(Actions));
  }
}

TEST_F(OperationFrame, TheFrameResetsItsParametersAndReleasesTheClientAlsoWhenAnExceptionPasses) {
  Progress.Answer = [](const std::string& Notice, std::size_t) -> bool {
    if (Notice.rfind("1|1|", 0) == 0) throw std::runtime_error("display gone");
    return true;
  };
  const auto Callback = std::make_shared<TConnectionCallbackDouble>();
  EXPECT_THROW(Manager->PutFiles(Profile, {{"a", "d", "", 0}}, focAsk, Callback, Progress.Proc()), std::runtime_error);
  const TProfileManagerCallbackParams& Params = Manager->GetCallbackParams();
  EXPECT_TRUE(!Params.Callback && !Params.ProgressProc && Params.ByteCountFormat.empty());
  EXPECT_EQ(Params.OverwriteControl, focAlwaysReplace);
  EXPECT_EQ(Agent->Log, SetupThen({"Connect(listener)", "Disconnect()"}));
}

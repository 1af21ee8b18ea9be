// Part 3.1: the manager's client access, callback parameters, progress notices, the
// connection test, Retry/Abort, and the operation frame every long operation runs in.
#include <stdexcept>

#include "RemoteTestSupport.h"

using OperationFrame = RemoteFixture;

namespace {

/// A profile object that is only the host's IOTARemoteProfile (no IRemoteProfile).
class THostOnlyProfile : public IOTARemoteProfile {
 public:
  std::string GetName() const override { return "Foreign"; }
  std::string GetPlatformName() const override { return "OSX32"; }
  std::string GetHostName() const override { return "foreign.local"; }
  std::int32_t GetPortNumber() const override { return 1; }
  TOTARemoteProfileCredential GetCredential() const override { return {}; }
  std::string GetSystemRoot() const override { return {}; }
  TOTARemoteProfilePathArray GetPaths() const override { return {}; }
  void SetName(const std::string&) override {}
  void SetPlatformName(const std::string&) override {}
  void SetHostName(const std::string&) override {}
  void SetPortNumber(std::int32_t) override {}
  void SetCredential(const TOTARemoteProfileCredential&) override {}
  void SetSystemRoot(const std::string&) override {}
  void SetPaths(const TOTARemoteProfilePathArray&) override {}
  void BeginUpdate() override {}
  void EndUpdate() override {}
};

const char kMacConnectionFailed[] =
    "Connection to 'mac.local' on port 64211 failed.\r\n\r\nPlease make sure that 'Hestrel' is running on the host "
    "machine and is configured to use port 64211";

}  // namespace

// ---- Edge cases of Part 3.1 -------------------------------------------------------------

TEST_F(OperationFrame, TwoNestedBeginEndOperationPairsKeepOneClientAndOnlyTheLastReleaseDisconnects) {
  Manager->BeginOperation(Profile);
  Manager->BeginOperation(Profile);
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, "/a", nullptr));
  Manager->EndOperation(Profile);
  EXPECT_TRUE(Remote().HasClient());
  EXPECT_TRUE(Agent->Connected);
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "DirExists(/a)"}));
  Manager->EndOperation(Profile);
  EXPECT_FALSE(Remote().HasClient());
  EXPECT_FALSE(Agent->Connected);
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "DirExists(/a)", "Disconnect()"}));
  EXPECT_EQ(Library->CreateClientCalls.size(), 1u);
}

TEST_F(OperationFrame, ReleaseClientWithoutAClientDoesNothingAndTheCountNeverGoesBelowTheCalls) {
  Manager->ReleaseProfileClient(Profile);
  Manager->EndOperation(Profile);
  EXPECT_EQ(Remote().ClientUseCount(), 0);
  Manager->BeginOperation(Profile);
  EXPECT_EQ(Remote().ClientUseCount(), 1);
  Manager->EndOperation(Profile);
  Manager->EndOperation(Profile);
  EXPECT_EQ(Remote().ClientUseCount(), 0);
  EXPECT_EQ(Agent->Actions(), SetupThen({"Disconnect()"}));
}

TEST_F(OperationFrame, ClientFromProfileOnAProfileWithoutIRemoteProfileYieldsNoClient) {
  const IOTARemoteProfilePtr Foreign = std::make_shared<THostOnlyProfile>();
  EXPECT_EQ(Manager->ClientFromProfile(Foreign, true), nullptr);
  Manager->ReleaseProfileClient(Foreign);  // nothing to release, nothing raised
  EXPECT_TRUE(Library->CreateClientCalls.empty());
}

TEST_F(OperationFrame, WithNoPlatformSDKSetNoSystemRootIsEverSent) {
  Manager->ClientFromProfile(Profile, true);
  Manager->BeginOperation(Profile);
  Manager->PutFiles(Profile, {}, focAlwaysReplace, nullptr, nullptr);
  Manager->ExpandPath(Profile, "~", nullptr);
  for (const std::string& Entry : Agent->Log) EXPECT_EQ(Entry.rfind("SetSysRoot", 0), std::string::npos) << Entry;
}

TEST_F(OperationFrame, WithAPlatformSDKTheFrameSendsItsSystemRoot) {
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = "/cache/Mac";
  Manager->SetPlatformSDK(SDK);
  EXPECT_EQ(Manager->GetPlatformSDK(), SDK);
  Manager->ClientFromProfile(Profile, false);
  Manager->ClientFromProfile(Profile, true);
  EXPECT_EQ(Agent->Log, SetupThen({"SetSysRoot(/cache/Mac)"}));
}

TEST_F(OperationFrame, TestConnectionNeverTouchesTheSharedClientAndLeavesNoConnectionOpen) {
  Manager->BeginOperation(Profile);  // the shared client exists
  auto Fresh = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Fresh);
  const std::vector<std::string> SharedBefore = Agent->Log;
  std::string Error = "old";
  EXPECT_TRUE(Manager->TestConnection(Profile, Error, nullptr));
  EXPECT_EQ(Error, "");
  EXPECT_EQ(Agent->Log, SharedBefore);
  EXPECT_EQ(Remote().ClientUseCount(), 1);
  EXPECT_EQ(Fresh->Actions(), SetupThen({"Connect()", "Disconnect()"}));
  EXPECT_FALSE(Fresh->Connected);
  EXPECT_EQ(Library->CreateClientCalls, (std::vector<std::string>{"CreateClient(Mac,)", "CreateClient(Mac,)"}));
  Manager->EndOperation(Profile);
}

TEST_F(OperationFrame, UpdateProgressWithNoProgressProcedureAlwaysAnswersTrue) {
  EXPECT_TRUE(Manager->UpdateProgress(ptStart, -1, 3, "t", "", "", -1));
  EXPECT_TRUE(Manager->UpdateProgress(ptError, -1, -1, "e", "", "", -1));
  EXPECT_TRUE(Manager->UpdateProgress(ptFinished, -1, -1, "", "", "", -1));
  EXPECT_TRUE(Display->Notices.empty());  // not the progress window either
}

// ---- The connection test ------------------------------------------------------------

TEST_F(OperationFrame, TestConnectionReportsTheAgentTextOnFailureWithoutDisconnecting) {
  Agent->Script("Connect", Fails("Authentication failed for user 'u'"));
  std::string Error;
  EXPECT_FALSE(Manager->TestConnection(Profile, Error, nullptr));
  EXPECT_EQ(Error, "Authentication failed for user 'u'");
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect()"}));
  EXPECT_FALSE(Agent->Connected);
  EXPECT_FALSE(Remote().HasClient());
}

TEST_F(OperationFrame, TestConnectionWrapsTheCallbackInAnAdapter) {
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  Callback->RetryAnswer = true;
  Agent->Script("Connect", During([](TAgentCallContext& Call) {
                  Call.Retry();
                  Call.Abort();
                }));
  std::string Error;
  EXPECT_TRUE(Manager->TestConnection(Profile, Error, Callback));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "Disconnect()"}));
  EXPECT_NE(Agent->ConnectListeners.front(), static_cast<IConnectionListener*>(Manager.get()));
  EXPECT_EQ(Agent->ListenerLog, (std::vector<std::string>{"Retry()=true", "Abort()=false"}));
  EXPECT_EQ(Callback->Log, (std::vector<std::string>{"Retry", "Abort"}));
}

TEST_F(OperationFrame, TheCallerBuildsTheSuccessTextWithHostAndPort) {
  std::string Error;
  ASSERT_TRUE(Manager->TestConnection(Profile, Error, nullptr));
  EXPECT_EQ(Format(sConnectionSucceeded, {Profile->GetHostName(), std::int64_t{Profile->GetPortNumber()}}),
            "Connection to 'mac.local' on port 64211 succeeded");
}

TEST_F(OperationFrame, TestConnectionWithoutAnAgentLibraryGivesTheConnectionFailedText) {
  Host.AgentLibrary = nullptr;
  Reinstall();
  std::string Error;
  EXPECT_FALSE(Manager->TestConnection(Profile, Error, nullptr));
  EXPECT_EQ(Error, kMacConnectionFailed);
}

// ---- Retry and Abort, callback parameters ---------------------------------------------

TEST_F(OperationFrame, RetryAndAbortForwardToTheCurrentCallbackOrAnswerFalse) {
  EXPECT_FALSE(Manager->Retry());
  EXPECT_FALSE(Manager->Abort());
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  Callback->RetryAnswer = true;
  Callback->AbortAnswer = true;
  Manager->SetCallbackParams(Callback, nullptr, focAsk, 1, sCopiedBytes);
  EXPECT_TRUE(Manager->Retry());
  EXPECT_TRUE(Manager->Abort());
  EXPECT_EQ(Callback->Log, (std::vector<std::string>{"Retry", "Abort"}));
}

TEST_F(OperationFrame, SetCallbackParamsStoresAllFive) {
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  Manager->SetCallbackParams(Callback, Progress.Proc(), focNeverReplace, 2, sReceivedBytes);
  const TProfileManagerCallbackParams& Params = Manager->GetCallbackParams();
  EXPECT_EQ(Params.Callback, Callback);
  EXPECT_TRUE(static_cast<bool>(Params.ProgressProc));
  EXPECT_EQ(Params.OverwriteControl, focNeverReplace);
  EXPECT_EQ(Params.OperationState, 2);
  EXPECT_EQ(Params.ByteCountFormat, "Received %d of %d bytes");
  EXPECT_TRUE(Manager->UpdateProgress(ptProgress, 1, 2, "x", "a", "b", 50));
  EXPECT_EQ(Progress.Notices, std::vector<std::string>{"1|1|2|x|a|b|50"});
}

TEST_F(OperationFrame, TheConnectionListenerDuringAnOperationIsTheManagerAskingTheCallback) {
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  Callback->AbortAnswer = true;
  Agent->Script("Connect", During([](TAgentCallContext& Call) { Call.Abort(); }, false));
  EXPECT_FALSE(Manager->PutFiles(Profile, {}, focAlwaysReplace, Callback, Progress.Proc()));
  EXPECT_EQ(Agent->ConnectListeners, std::vector<IConnectionListener*>{Manager.get()});
  EXPECT_EQ(Agent->ListenerLog, std::vector<std::string>{"Abort()=true"});
  EXPECT_EQ(Callback->Log, std::vector<std::string>{"Abort"});
}

// ---- The frame: notices, error report, reset and release --------------------------------

TEST_F(OperationFrame, AFailedConnectionWithAnAgentTextReportsThatTextThenFinishes) {
  Agent->Script("Connect", Fails("Connection refused"));
  EXPECT_FALSE(Manager->PutFiles(Profile, {{"a", "d", "", 0}}, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(1, sUpdatingRemoteFiles), ConnectingNotice(1),
                                                        ErrorNotice("Connection refused"), FinishedNotice()}));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "Disconnect()"}));
}

TEST_F(OperationFrame, AFailedConnectionWithoutAgentTextReportsTheConnectionFailedText) {
  Agent->Script("Connect", Fails());
  EXPECT_FALSE(Manager->RemoveRemoteFiles(Profile, {"/x"}, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(1, sRemovingRemoteFiles), ConnectingNotice(1),
                                                        ErrorNotice(kMacConnectionFailed), FinishedNotice()}));
}

TEST_F(OperationFrame, ARefusedStartNoticeSkipsConnectingAndReportsTheConnectionFailure) {
  Progress.Answer = [](const std::string&, std::size_t Number) { return Number != 0; };
  EXPECT_FALSE(Manager->PutFiles(Profile, {}, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(0, sUpdatingRemoteFiles),
                                                        ErrorNotice(kMacConnectionFailed), FinishedNotice()}));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Disconnect()"}));  // never connected
}

TEST_F(OperationFrame, ARefusedConnectingNoticeSkipsTheConnection) {
  Progress.Answer = [](const std::string&, std::size_t Number) { return Number != 1; };
  EXPECT_FALSE(Manager->PutFiles(Profile, {}, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(0, sUpdatingRemoteFiles), ConnectingNotice(0),
                                                        ErrorNotice(kMacConnectionFailed), FinishedNotice()}));
  EXPECT_EQ(std::count(Agent->Log.begin(), Agent->Log.end(), "Connect(listener)"), 0);
}

TEST_F(OperationFrame, AnAlreadyConnectedClientIsNotConnectedAgain) {
  Manager->BeginOperation(Profile);
  EXPECT_TRUE(Manager->PutFiles(Profile, {}, focAlwaysReplace, nullptr, nullptr));
  EXPECT_TRUE(Manager->PutFiles(Profile, {}, focAlwaysReplace, nullptr, nullptr));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)"}));
  Manager->EndOperation(Profile);
}

TEST_F(OperationFrame, TheFrameResetsTheParametersAndReleasesTheClientAfterTheWork) {
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  EXPECT_TRUE(Manager->PutFiles(Profile, {}, focAsk, Callback, Progress.Proc()));
  const TProfileManagerCallbackParams& Params = Manager->GetCallbackParams();
  EXPECT_EQ(Params.Callback, nullptr);
  EXPECT_FALSE(static_cast<bool>(Params.ProgressProc));
  EXPECT_EQ(Params.OverwriteControl, focAlwaysReplace);
  EXPECT_EQ(Params.OperationState, 1);
  EXPECT_EQ(Params.ByteCountFormat, "");
  EXPECT_EQ(Remote().ClientUseCount(), 0);
  EXPECT_FALSE(Remote().HasClient());
}

TEST_F(OperationFrame, TheResetAndReleaseHappenAlsoWhenAnExceptionPasses) {
  Progress.Answer = [](const std::string& Notice, std::size_t) -> bool {
    if (Notice.rfind("1|1|", 0) == 0) throw std::runtime_error("display gone");
    return true;
  };
  EXPECT_THROW(Manager->PutFiles(Profile, {{"a", "d", "", 0}}, focAsk, nullptr, Progress.Proc()), std::runtime_error);
  EXPECT_FALSE(static_cast<bool>(Manager->GetCallbackParams().ProgressProc));
  EXPECT_EQ(Manager->GetCallbackParams().OverwriteControl, focAlwaysReplace);
  EXPECT_EQ(Remote().ClientUseCount(), 0);
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "Disconnect()"}));
}

// ---- The progress window procedure ----------------------------------------------------

TEST_F(OperationFrame, UpdateProgressFormForwardsToTheProgressDisplayWithTheCloseWhenDoneFlag) {
  EXPECT_TRUE(Manager->UpdateProgressForm(ptProgress, 2, 5, "t", "d1", "d2", 40));
  Display->Answer = [](const std::string&, std::size_t) { return false; };
  EXPECT_FALSE(Manager->ProgressFormProc()(ptError, -1, -1, "e", "", "", -1));
  EXPECT_EQ(Display->Notices, (std::vector<std::string>{"1|2|5|t|d1|d2|40|close=1", "2|-1|-1|e|||-1|close=1"}));
}

TEST_F(OperationFrame, UpdateProgressFormWithoutADisplayGoesOn) {
  Host.ProgressDisplay = nullptr;
  Reinstall();
  EXPECT_TRUE(Manager->UpdateProgressForm(ptStart, -1, 0, "t", "", "", -1));
}

TEST_F(OperationFrame, AnOperationWithoutAnAgentLibraryReportsTheConnectionFailure) {
  Host.AgentLibrary = nullptr;
  Reinstall();
  EXPECT_FALSE(Manager->PutFiles(Profile, {}, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(0, sUpdatingRemoteFiles), ConnectingNotice(0),
                                                        ErrorNotice(kMacConnectionFailed), FinishedNotice()}));
  EXPECT_EQ(Remote().ClientUseCount(), 0);
}

// Part 3.4: remote queries in their light frame (no notices, no messages).
#include "RemoteTestSupport.h"

using RemoteQueries = RemoteFixture;

namespace {

const char kMacConnectionFailed[] =
    "Connection to 'mac.local' on port 64211 failed.\r\n\r\nPlease make sure that 'Hestrel' is running on the host "
    "machine and is configured to use port 64211";

TAgentAnswer WithText(const std::string& Text, bool Result = true) {
  TAgentAnswer Answer;
  Answer.Result = Result;
  Answer.Text = Text;
  return Answer;
}

TAgentAnswer WithEnv(std::map<std::string, std::string> Env) {
  TAgentAnswer Answer;
  Answer.Env = std::move(Env);
  return Answer;
}

}  // namespace

// ---- Edge cases of Part 3.4 -------------------------------------------------------------

TEST_F(RemoteQueries, ExpandPathOnAMachineThatCannotBeReachedReturnsItsInputUnchanged) {
  Agent->Always("Connect", Fails("No route to host"));
  EXPECT_EQ(Manager->ExpandPath(Profile, "~/sdk", nullptr), "~/sdk");
  EXPECT_EQ(Manager->ExpandAllPaths(Profile, "~/a:~/b", nullptr), "~/a:~/b");
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "Disconnect()"}));
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_TRUE(Display->Notices.empty());
}

TEST_F(RemoteQueries, GetEnvironmentVariablesWithZeroRemoteVariablesReturnsAnEmptyArray) {
  Agent->Script("GetEnv", WithEnv({}));
  EXPECT_EQ(Manager->GetEnvironmentVariables(Profile, nullptr), std::vector<std::string>{});
}

TEST_F(RemoteQueries, GetEnvironmentVariablesAgainstAnUnreachableMachineReturnsOneUnderscoreEntry) {
  Agent->Script("Connect", Fails());
  EXPECT_EQ(Manager->GetEnvironmentVariables(Profile, nullptr),
            std::vector<std::string>{std::string("_=") + kMacConnectionFailed});
  auto Next = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Next);
  Next->Script("Connect", Fails("Connection refused"));
  EXPECT_EQ(Manager->GetEnvironmentVariables(Profile, nullptr), std::vector<std::string>{"_=Connection refused"});
}

TEST_F(RemoteQueries, TwoQueriesInARowBetweenBeginAndEndOperationUseOneConnection) {
  Agent->Script("ExpandPath", WithText("/Users/u/sdk"));
  Manager->BeginOperation(Profile);
  EXPECT_EQ(Manager->ExpandPath(Profile, "~/sdk", nullptr), "/Users/u/sdk");
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, "/Users/u/sdk", nullptr));
  Manager->EndOperation(Profile);
  EXPECT_EQ(Agent->Actions(),
            SetupThen({"Connect(listener)", "ExpandPath(~/sdk)", "DirExists(/Users/u/sdk)", "Disconnect()"}));
  EXPECT_EQ(Library->CreateClientCalls.size(), 1u);
}

// ---- Each query -------------------------------------------------------------------------

TEST_F(RemoteQueries, ExpandPathAndExpandAllPathsGiveTheAgentsExpansion) {
  Agent->Script("ExpandPath", WithText("/Users/u"));
  Agent->Script("ExpandAllPaths", WithText("/Users/u/a:/Users/u/b"));
  Manager->BeginOperation(Profile);
  EXPECT_EQ(Manager->ExpandPath(Profile, "~", nullptr), "/Users/u");
  EXPECT_EQ(Manager->ExpandAllPaths(Profile, "~/a:~/b", nullptr), "/Users/u/a:/Users/u/b");
  Manager->EndOperation(Profile);
  EXPECT_EQ(Agent->Actions(),
            SetupThen({"Connect(listener)", "ExpandPath(~)", "ExpandAllPaths(~/a:~/b)", "Disconnect()"}));
}

TEST_F(RemoteQueries, AnAgentFailureYieldsWhatTheAgentCallGaveBack) {
  Agent->Script("ExpandPath", Fails("cannot expand"));
  Agent->Script("ExpandAllPaths", WithText("partial", false));
  Manager->BeginOperation(Profile);
  EXPECT_EQ(Manager->ExpandPath(Profile, "$NOPE", nullptr), "$NOPE");
  EXPECT_EQ(Manager->ExpandAllPaths(Profile, "$A:$B", nullptr), "partial");
  Manager->EndOperation(Profile);
}

TEST_F(RemoteQueries, RemoteDirectoryExistsPassesTheAgentsAnswerAndIsFalseWhenNotConnected) {
  Agent->Script("DirExists", Fails());
  Manager->BeginOperation(Profile);
  EXPECT_FALSE(Manager->RemoteDirectoryExists(Profile, "/nope", nullptr));
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, "/usr", nullptr));
  Manager->EndOperation(Profile);
  auto Next = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Next);
  Next->Script("Connect", Fails());
  EXPECT_FALSE(Manager->RemoteDirectoryExists(Profile, "/usr", nullptr));
  EXPECT_EQ(Next->Actions(), SetupThen({"Connect(listener)", "Disconnect()"}));
}

TEST_F(RemoteQueries, BrowseRemoteFileSystemPassesItsArgumentsAndTheListingThrough) {
  TAgentAnswer Listing;
  Listing.Listing = TRARemoteFileList{{"sub", true, false, 0, {}}, {"a.h", false, false, 12, {}}};
  Agent->Script("ListFiles", Listing);
  const auto Result = Manager->BrowseRemoteFileSystem(Profile, "/usr/include", 2, true, nullptr);
  ASSERT_NE(Result, nullptr);
  EXPECT_EQ(*Result, *Listing.Listing);
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "ListFiles(/usr/include,2,1)", "Disconnect()"}));
}

TEST_F(RemoteQueries, BrowseRemoteFileSystemGivesNoneWhenNotConnected) {
  Agent->Script("Connect", Fails());
  EXPECT_EQ(Manager->BrowseRemoteFileSystem(Profile, "/", 0, false, nullptr), nullptr);
}

TEST_F(RemoteQueries, CreateSymLinkHandsBothPathsInOrderAndIsFalseWhenNotConnected) {
  EXPECT_TRUE(Manager->CreateSymLink(Profile, "/target", "/link", nullptr));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "CreateSymLink(/target,/link)", "Disconnect()"}));
  auto Next = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Next);
  Next->Script("Connect", Fails());
  EXPECT_FALSE(Manager->CreateSymLink(Profile, "/target", "/link", nullptr));
}

TEST_F(RemoteQueries, GetIOSLauncherGivesTheAgentsAnswerOrEmptyWhenNotConnected) {
  Agent->Script("GetIOSLauncher", WithText("/usr/bin/ios-sim"));
  EXPECT_EQ(Manager->GetIOSLauncher(Profile, "MyApp", true, nullptr), "/usr/bin/ios-sim");
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "GetIOSLauncher(MyApp,1)", "Disconnect()"}));
  auto Next = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Next);
  Next->Script("Connect", Fails("refused"));
  EXPECT_EQ(Manager->GetIOSLauncher(Profile, "MyApp", false, nullptr), "");
}

TEST_F(RemoteQueries, GetEnvironmentVariablesListsNameEqualsValueInTheTablesKeyOrder) {
  Agent->Script("GetEnv", WithEnv({{"PATH", "/usr/bin:/bin"}, {"HOME", "/Users/u"}, {"EMPTY", ""}}));
  EXPECT_EQ(Manager->GetEnvironmentVariables(Profile, nullptr),
            (std::vector<std::string>{"EMPTY=", "HOME=/Users/u", "PATH=/usr/bin:/bin"}));
}

TEST_F(RemoteQueries, GetEnvironmentVariablesWithoutATableFromTheAgentIsEmpty) {
  Agent->Script("GetEnv", Fails("env failed"));
  EXPECT_EQ(Manager->GetEnvironmentVariables(Profile, nullptr), std::vector<std::string>{});
}

TEST_F(RemoteQueries, AQueryStoresTheCallbackAndResetsTheParametersAfterwards) {
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  Callback->RetryAnswer = true;
  Agent->Script("Connect", During([this, Callback](TAgentCallContext& Call) {
                  const TProfileManagerCallbackParams& P = Manager->GetCallbackParams();
                  EXPECT_EQ(P.Callback, Callback);
                  EXPECT_FALSE(static_cast<bool>(P.ProgressProc));
                  EXPECT_EQ(P.OverwriteControl, focAlwaysReplace);
                  EXPECT_EQ(P.OperationState, 1);
                  EXPECT_EQ(P.ByteCountFormat, "");
                  Call.Retry();
                }));
  Manager->RemoteDirectoryExists(Profile, "/", Callback);
  EXPECT_EQ(Agent->ListenerLog, std::vector<std::string>{"Retry()=true"});
  EXPECT_EQ(Manager->GetCallbackParams().Callback, nullptr);
  EXPECT_EQ(Remote().ClientUseCount(), 0);
}

TEST_F(RemoteQueries, AQuerySendsTheSystemRootOfTheCurrentSDK) {
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = "/cache/Mac";
  Manager->SetPlatformSDK(SDK);
  Manager->RemoteDirectoryExists(Profile, "/", nullptr);
  EXPECT_EQ(Agent->Actions(),
            SetupThen({"SetSysRoot(/cache/Mac)", "Connect(listener)", "DirExists(/)", "Disconnect()"}));
}

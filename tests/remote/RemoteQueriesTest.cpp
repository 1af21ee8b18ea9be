// Remote queries in their light frame: one agent call each, no notices, no messages.
#include "RemoteTestSupport.h"

using RemoteQueries = RemoteFixture;

namespace {

TAgentAnswer WithText(const std::string& Text, bool Result = true) { return {.Result = Result, .Text = Text}; }

}  // namespace

TEST_F(RemoteQueries, QueriesBetweenBeginAndEndOperationShareOneConnectionAndGiveTheAgentsAnswers) {
  Agent->Script("ExpandPath", WithText("/Users/u"));
  Agent->Script("ExpandPath", Fails("cannot expand"));
  Agent->Script("ExpandAllPaths", WithText("partial", false));  // what the agent gave back, even on failure
  Agent->Script("DirExists", Fails());
  Agent->Script("ListFiles",
                {.Listing = TRARemoteFileList{{"sub", true, false, 0, {}}, {"a.h", false, false, 12, {}}}});
  Agent->Script("GetIOSLauncher", WithText("/usr/bin/ios-sim"));
  Agent->Script("GetEnv",
                {.Env = std::map<std::string, std::string>{{"PATH", "/bin"}, {"HOME", "/Users/u"}, {"E", ""}}});
  Agent->Script("GetEnv", Fails("env failed"));
  Manager->BeginOperation(Profile);
  EXPECT_EQ(Manager->ExpandPath(Profile, "~", nullptr), "/Users/u");
  EXPECT_EQ(Manager->ExpandPath(Profile, "$NOPE", nullptr), "$NOPE");
  EXPECT_EQ(Manager->ExpandAllPaths(Profile, "$A:$B", nullptr), "partial");
  EXPECT_FALSE(Manager->RemoteDirectoryExists(Profile, "/nope", nullptr));
  EXPECT_TRUE(Manager->RemoteDirectoryExists(Profile, "/usr", nullptr));
  const auto Listing = Manager->BrowseRemoteFileSystem(Profile, "/usr/include", 2, true, nullptr);
  EXPECT_EQ(Listing ? Listing->back().Name + ":" + std::to_string(Listing->back().Size) : "none", "a.h:12");
  EXPECT_TRUE(Manager->CreateSymLink(Profile, "/target", "/link", nullptr));
  EXPECT_EQ(Manager->GetIOSLauncher(Profile, "MyApp", true, nullptr), "/usr/bin/ios-sim");
  EXPECT_EQ(Manager->GetEnvironmentVariables(Profile, nullptr), (TNames{"E=", "HOME=/Users/u", "PATH=/bin"}));
  EXPECT_EQ(Manager->GetEnvironmentVariables(Profile, nullptr), TNames{});  // no table from the agent
  Manager->EndOperation(Profile);
  EXPECT_EQ(Agent->Log, SetupThen({"Connect(listener)", "ExpandPath(~)", "ExpandPath($NOPE)", "ExpandAllPaths($A:$B)",
                                   "DirExists(/nope)", "DirExists(/usr)", "ListFiles(/usr/include,2,1)",
                                   "CreateSymLink(/target,/link)", "GetIOSLauncher(MyApp,1)", "GetEnv()", "GetEnv()",
                                   "Disconnect()"}));
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_TRUE(Display->Notices.empty());
}

TEST_F(RemoteQueries, AQueryThatCannotConnectAnswersItsNotConnectedValueAfterAskingTheCallback) {
  auto Callback = std::make_shared<TConnectionCallbackDouble>();
  const auto Asks = [](TAgentCallContext& Call) { Call.Connection->Retry(), Call.Connection->Abort(); };
  Agent->Script("Connect", {.Result = false, .Error = "No route to host", .During = Asks});
  Agent->Script("Connect", Fails());
  Agent->Script("Connect", Fails("No route to host"));
  Manager->BeginOperation(Profile);
  EXPECT_EQ(Manager->GetEnvironmentVariables(Profile, Callback), TNames{"_=No route to host"});
  EXPECT_EQ(Callback->Log, (TNames{"Retry", "Abort"}));
  EXPECT_EQ(Manager->GetCallbackParams().Callback, nullptr);  // stored for the query only
  EXPECT_EQ(Manager->GetEnvironmentVariables(Profile, nullptr), TNames{"_=" + kMacConnectionFailed});
  EXPECT_EQ(Manager->ExpandPath(Profile, "~/sdk", nullptr), "~/sdk");  // the input, unchanged
  Manager->EndOperation(Profile);
  EXPECT_EQ(Agent->Log, SetupThen({"Connect(listener)", "Connect(listener)", "Connect(listener)", "Disconnect()"}));
}

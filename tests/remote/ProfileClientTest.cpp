// Part 3.1: the profile's shared agent client (GetClient, ReleaseClient, CloneClient),
// and Part 1.1's rule that a delivered change drops it.
#include "RemoteTestSupport.h"

using ProfileClient = RemoteFixture;

TEST_F(ProfileClient, GetClientCreatesOneClientWithTheProfileSettings) {
  TRAClientPtr Client = Remote().GetClient(nullptr, false);
  EXPECT_EQ(Client.get(), Agent.get());
  EXPECT_EQ(Library->CreateClientCalls, std::vector<std::string>{"CreateClient(Mac,)"});
  EXPECT_EQ(Agent->Log, ClientSetup());
  EXPECT_EQ(Remote().ClientUseCount(), 1);
  EXPECT_EQ(Remote().GetClient(nullptr, false), Client);  // shared: no second client
  EXPECT_EQ(Library->CreateClientCalls.size(), 1u);
  EXPECT_EQ(Remote().ClientUseCount(), 2);
}

TEST_F(ProfileClient, TheCredentialIsPassedUnchangedWithBothFlags) {
  Profile->SetCredential({"/home/u/mac.passfile", false, true});
  Remote().GetClient(nullptr, false);
  EXPECT_EQ(Agent->Credential, (TRACredential{"/home/u/mac.passfile", false, true}));
}

TEST_F(ProfileClient, SetSysRootRemovesEveryLocalRootPartIgnoringCaseThenExpandsMacros) {
  Environment->Variables["PROFILES"] = "/home/u/Profiles";
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = "$(PROFILES)/Mac/LOCAL/sdk/local";
  SDK->LocalRootPart = "/local";
  Remote().GetClient(SDK, true);
  EXPECT_EQ(Agent->Log, SetupThen({"SetSysRoot(/home/u/Profiles/Mac/sdk)"}));
}

TEST_F(ProfileClient, AnEmptyLocalRootPartRemovesNothing) {
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = "/cache/Mac";
  Remote().GetClient(SDK, true);
  EXPECT_EQ(Agent->Log, SetupThen({"SetSysRoot(/cache/Mac)"}));
}

TEST_F(ProfileClient, TheSystemRootIsSetAgainOnAClientThatAlreadyExists) {
  auto SDK = std::make_shared<TPlatformSDKDouble>();
  SDK->SystemRoot = "/first";
  Remote().GetClient(SDK, false);
  Remote().GetClient(SDK, true);
  SDK->SystemRoot = "/second";
  Remote().GetClient(SDK, true);
  EXPECT_EQ(Agent->Log, SetupThen({"SetSysRoot(/first)", "SetSysRoot(/second)"}));
}

TEST_F(ProfileClient, OnlyTheLastReleaseDisconnectsAndForgetsTheClient) {
  Remote().GetClient(nullptr, false);
  Remote().GetClient(nullptr, false);
  Remote().ReleaseClient();
  EXPECT_TRUE(Remote().HasClient());
  EXPECT_EQ(Agent->Actions(), ClientSetup());
  Remote().ReleaseClient();
  EXPECT_FALSE(Remote().HasClient());
  EXPECT_EQ(Remote().ClientUseCount(), 0);
  EXPECT_EQ(Agent->Actions(), SetupThen({"Disconnect()"}));
}

TEST_F(ProfileClient, ReleaseClientWithoutAClientDoesNothing) {
  Remote().ReleaseClient();
  Remote().ReleaseClient();
  EXPECT_EQ(Remote().ClientUseCount(), 0);
  EXPECT_FALSE(Remote().HasClient());
  EXPECT_TRUE(Library->CreateClientCalls.empty());
}

TEST_F(ProfileClient, CloneClientIsAFreshUnsharedClientWithoutSystemRoot) {
  auto Shared = std::make_shared<TScriptedAgent>();
  auto Clone = std::make_shared<TScriptedAgent>();
  Library->Prepared = {Shared, Clone};
  Remote().GetClient(nullptr, false);
  TRAClientPtr Cloned = Remote().CloneClient();
  EXPECT_EQ(Cloned.get(), Clone.get());
  EXPECT_EQ(Clone->Log, ClientSetup());
  EXPECT_EQ(Remote().ClientUseCount(), 1);  // the clone is not counted
  EXPECT_EQ(Library->CreateClientCalls, (std::vector<std::string>{"CreateClient(Mac,)", "CreateClient(Mac,)"}));
}

TEST_F(ProfileClient, WithoutAnAgentLibraryThereIsNoClient) {
  Host.AgentLibrary = nullptr;
  Reinstall();
  EXPECT_EQ(Remote().GetClient(nullptr, false), nullptr);
  EXPECT_FALSE(Remote().HasClient());
}

// Part 1.1: "BeginUpdate, two setter calls, EndUpdate: ... the client is freed then, not before."
TEST_F(ProfileClient, ADeliveredChangeDropsTheClientOnlyAtEndUpdate) {
  Remote().GetClient(nullptr, false);
  Profile->BeginUpdate();
  Profile->SetHostName("other.local");
  Profile->SetPortNumber(1234);
  EXPECT_TRUE(Remote().HasClient());
  Profile->EndUpdate();
  EXPECT_FALSE(Remote().HasClient());
  auto Next = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Next);
  Remote().GetClient(nullptr, false);
  EXPECT_EQ(Next->Log, (std::vector<std::string>{"SetHostName(other.local)", "SetPort(1234)", "SetPlatform(OSX32)",
                                                 "SetCredential(secret,1,1)"}));
}

// The reference host's platform SDK built from a profile (hosts/linux/ProfilePlatformSDK):
// what a profile's cache update without an IDE reads.
#include <gtest/gtest.h>

#include "core/RemoteProfileManager.h"
#include "doubles/HostDoubles.h"
#include "doubles/RemoteDoubles.h"
#include "doubles/ScriptedAgent.h"
#include "hosts/linux/ProfilePlatformSDK.h"

namespace {

class ProfilePlatformSDK : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Library = std::make_shared<TScriptedAgentLibrary>();
    Host.AgentLibrary = Library;
    Reinstall();
    Manager = TRemoteProfileManager::Create(nullptr);
    Profile = Manager->AddProfile("Mac", "OSX32", "mac.local", 64211, {"pw", true, true}, "/home/u/Profiles/Mac",
                                  {{"/usr/include", "*.h", true, ptIncludePath},
                                   {"/System/Library/Frameworks", "Foundation", false, ptFramework}},
                                  true);
  }
  void TearDown() override {
    Manager.reset();
    Profile.reset();
    THostFixture::TearDown();
  }
  TScriptedAgentLibraryPtr Library;
  TRemoteProfileManagerPtr Manager;
  IOTARemoteProfilePtr Profile;
};

}  // namespace

TEST_F(ProfilePlatformSDK, GivesTheProfilesLocalRootAndPathItemsAndAnEmptyLocalRootPart) {
  TProfilePlatformSDK SDK(Profile);
  EXPECT_EQ(SDK.GetSystemRoot(), "/home/u/Profiles/Mac");
  EXPECT_EQ(SDK.GetLocalRootPart(), "");
  EXPECT_TRUE(SDK.GetPathItems().SameItems(Profile->GetPaths()));
  EXPECT_EQ(SDK.GetPathItems().size(), 2u);
}

TEST_F(ProfilePlatformSDK, FollowsLaterChangesOfTheProfile) {
  TProfilePlatformSDK SDK(Profile);
  Profile->SetSystemRoot("/cache/other");
  Profile->SetPaths({{"/usr/lib", "*.dylib", false, ptLibraryPath}});
  EXPECT_EQ(SDK.GetSystemRoot(), "/cache/other");
  ASSERT_EQ(SDK.GetPathItems().size(), 1u);
  EXPECT_EQ(SDK.GetPathItems()[0].Path, "/usr/lib");
}

TEST_F(ProfilePlatformSDK, WithoutAProfileEverythingIsEmpty) {
  TProfilePlatformSDK SDK(nullptr);
  EXPECT_EQ(SDK.GetSystemRoot(), "");
  EXPECT_TRUE(SDK.GetPathItems().empty());
}

TEST_F(ProfilePlatformSDK, UpdatesAProfilesCacheWithoutAnIDE) {
  auto Agent = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Agent);
  TProgressRecorder Progress;
  Manager->SetPlatformSDK(std::make_shared<TProfilePlatformSDK>(Profile));
  EXPECT_TRUE(Manager->GetProfileFiles(Profile, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->Actions(),
            (std::vector<std::string>{"SetHostName(mac.local)", "SetPort(64211)", "SetPlatform(OSX32)",
                                      "SetCredential(pw,1,1)", "SetSysRoot(/home/u/Profiles/Mac)",
                                      "Connect(listener)", "GetFiles(/usr/include,1,*.h)",
                                      "GetFrameworkFiles(/System/Library/Frameworks,Foundation,0)", "Disconnect()"}));
}

// Part 7.1: start-up and shut-down of the manager's unit, and the env-file save routine.
#include <gtest/gtest.h>

#include "ManagerTestSupport.h"
#include "doubles/HostDoubles.h"
#include "host/startup/HostIntegration.h"

namespace {
class HostIntegration : public THostFixture {
 protected:
  void TearDown() override {
    while (RemoteProfileMonitorActive()) RemoteProfileManagerShutdown();
    THostFixture::TearDown();
  }
};
}  // namespace

TEST_F(HostIntegration, StartupDeclaresZephProfilesDirUnderTheBaseDocumentsDirectory) {
  RemoteProfileManagerStartup();
  ASSERT_EQ(Environment->Declared.size(), 1u);
  EXPECT_EQ(Environment->Declared[0].first, "ZEPHPROFILESDIR");
  EXPECT_EQ(Environment->Declared[0].second, Environment->DocumentsDir + "/Profiles");
  EXPECT_TRUE(RemoteProfileMonitorActive());
}

TEST_F(HostIntegration, SecondStartupHasNoFurtherEffectAndShutdownIsCounted) {
  RemoteProfileManagerStartup();
  RemoteProfileManagerStartup();
  EXPECT_EQ(Environment->Declared.size(), 1u);
  RemoteProfileManagerShutdown();
  EXPECT_TRUE(RemoteProfileMonitorActive());
  RemoteProfileManagerShutdown();
  EXPECT_FALSE(RemoteProfileMonitorActive());
}

TEST_F(HostIntegration, MonitorCreatedAtStartupFollowsRenamesUntilShutdown) {
  auto App = Projects->AddProject("app.dproj");
  App->SetProfile("Linux64", "Box");
  auto Manager = TRemoteProfileManager::Create(nullptr);
  RemoteProfileManagerStartup();
  TRemoteProfileManager::FSelectedProfile = "Box";
  const auto Box = Add(*Manager, "Box", "Linux64");
  Box->SetName("Server");
  EXPECT_EQ(App->GetProfile("Linux64"), "Server");
  RemoteProfileManagerShutdown();
  EXPECT_EQ(TRemoteProfileManager::FSelectedProfile, "");
  Box->SetName("Again");
  EXPECT_EQ(App->GetProfile("Linux64"), "Server");
}

TEST_F(HostIntegration, EnvFileRoutineWritesEachPlatformsStoredDefault) {
  Ini->WriteString("RemoteProfiles", "Default_OSX32", "Mac");
  Ini->WriteString("RemoteProfiles", "Default_Linux64", "Box");
  SaveEnvFileDefaults(*EnvFile);
  EXPECT_EQ(EnvFile->Log, (std::vector<std::string>{
                              "Group '$(Platform)'=='Win32'", "Set DefaultProfile=",
                              "Group '$(Platform)'=='Win64'", "Set DefaultProfile=",
                              "Group '$(Platform)'=='OSX32'", "Set DefaultProfile=Mac",
                              "Group '$(Platform)'=='iOSDevice'", "Set DefaultProfile=",
                              "Group '$(Platform)'=='iOSSimulator'", "Set DefaultProfile=",
                              "Group '$(Platform)'=='Android'", "Set DefaultProfile=",
                              "Group '$(Platform)'=='Linux64'", "Set DefaultProfile=Box",
                          }));
}

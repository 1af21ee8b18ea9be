// Part 1.3: TRemoteProfileMonitor keeps project profile entries in step.
#include <gtest/gtest.h>

#include "ManagerTestSupport.h"
#include "core/RemoteProfileMonitor.h"
#include "doubles/HostDoubles.h"

namespace {
class ProfileMonitor : public THostFixture {
 protected:
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(nullptr);
};
}  // namespace

TEST_F(ProfileMonitor, RenameFollowsInEveryProjectForThatPlatformOnly) {
  TRemoteProfileMonitor Monitor;
  auto App = Projects->AddProject("app.dproj");
  auto Lib = Projects->AddProject("lib.dproj");
  auto Other = Projects->AddProject("other.dproj");
  App->SetProfile("Linux64", "Box");
  App->SetProfile("OSX32", "Box");  // same name, other platform: untouched
  Lib->SetProfile("Linux64", "BOX");
  Other->SetProfile("Linux64", "Elsewhere");
  const auto Box = Add(*Manager, "Box", "Linux64");
  Box->SetName("Server");
  EXPECT_EQ(App->GetProfile("Linux64"), "Server");
  EXPECT_EQ(App->GetProfile("OSX32"), "Box");
  EXPECT_EQ(Lib->GetProfile("Linux64"), "Server");
  EXPECT_EQ(Other->GetProfile("Linux64"), "Elsewhere");
  EXPECT_EQ(Projects->Log, (std::vector<std::string>{"BeginUpdate", "EndUpdate"}));
}

TEST_F(ProfileMonitor, RemovalClearsMatchingEntriesInAnyCase) {
  TRemoteProfileMonitor Monitor;
  auto App = Projects->AddProject("app.dproj");
  App->SetProfile("Linux64", "bOx");
  const auto Box = Add(*Manager, "Box", "Linux64");
  Manager->RemoveProfile(Box);
  EXPECT_EQ(App->GetProfile("Linux64"), "");
}

TEST_F(ProfileMonitor, ProjectsWithoutPlatformSettingsAreSkipped) {
  TRemoteProfileMonitor Monitor;
  auto Plain = Projects->AddProject("plain.dproj", /*OffersPlatforms=*/false);
  Plain->Profiles["Linux64"] = "Box";
  const auto Box = Add(*Manager, "Box", "Linux64");
  Manager->RemoveProfile(Box);
  EXPECT_EQ(Plain->Profiles["Linux64"], "Box");
}

TEST_F(ProfileMonitor, NothingHappensWithoutAnOpenGroup) {
  TRemoteProfileMonitor Monitor;
  Projects->GroupOpen = false;
  auto App = Projects->AddProject("app.dproj");
  App->SetProfile("Linux64", "Box");
  Manager->RemoveProfile(Add(*Manager, "Box", "Linux64"));
  EXPECT_EQ(App->GetProfile("Linux64"), "Box");
  EXPECT_TRUE(Projects->Log.empty());
}

TEST_F(ProfileMonitor, DestroyedMonitorNoLongerListens) {
  auto App = Projects->AddProject("app.dproj");
  App->SetProfile("Linux64", "Box");
  { TRemoteProfileMonitor Monitor; }
  Manager->RemoveProfile(Add(*Manager, "Box", "Linux64"));
  EXPECT_EQ(App->GetProfile("Linux64"), "Box");
}

// Part 1.2 Assign and Part 1.3 NotifyRenames: merging an edited copy into the live manager.
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "ManagerTestSupport.h"
#include "core/RemoteProfileManager.h"
#include "doubles/HostDoubles.h"
#include "doubles/ProfileFileLibrary.h"

namespace {

class AssignCopy : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Host.AgentLibrary = std::make_shared<TProfileFileLibrary>();
    Reinstall();
  }
  /// A copy of Live holding the same profiles (values, not objects), as the options page makes.
  TRemoteProfileManagerPtr CopyOf(const TRemoteProfileManager& Live) {
    auto Copy = TRemoteProfileManager::Create(nullptr);
    for (const auto& [Platform, List] : Live.GetProfiles())
      for (const auto& P : List)
        Copy->AddProfile(P->GetName(), P->GetPlatformName(), P->GetHostName(), P->GetPortNumber(),
                         P->GetCredential(), P->GetSystemRoot(), P->GetPaths(), false);
    return Copy;
  }
  bool FileExists(const std::string& Name) {
    return std::filesystem::exists(TRemoteProfileManager::GetProfileFileName(Name));
  }
};

}  // namespace

TEST_F(AssignCopy, UpdatesExistingProfilesInPlaceWithOneChangeEach) {
  auto Live = TRemoteProfileManager::Create(nullptr);
  const auto Mac = Add(*Live, "Mac", "OSX32");
  Add(*Live, "Box", "Linux64");
  auto Copy = CopyOf(*Live);
  Copy->GetProfile("Mac")->SetHostName("new.host");
  Copy->GetProfile("Mac")->SetPortNumber(1234);
  TEventRecorder Events;
  Live->Assign(Copy);
  EXPECT_EQ(Live->GetProfile("Mac"), Mac);  // same object
  EXPECT_EQ(Mac->GetHostName(), "new.host");
  EXPECT_EQ(Mac->GetPortNumber(), 1234);
  EXPECT_EQ(Events.Log, (std::vector<std::string>{"Changed(Mac)"}));
}

TEST_F(AssignCopy, AddsNewProfilesAsDefaultWhenFirstInTheCopy) {
  auto Live = TRemoteProfileManager::Create(nullptr);
  Add(*Live, "Box", "Linux64");
  auto Copy = CopyOf(*Live);
  Add(*Copy, "NewDefault", "Linux64", /*AsDefault=*/true);
  TEventRecorder Events;
  Live->Assign(Copy);
  EXPECT_EQ(NamesOf(*Live, "Linux64"), (std::vector<std::string>{"NewDefault", "Box"}));
  EXPECT_EQ(Events.Log, (std::vector<std::string>{"Added(NewDefault)"}));
}

TEST_F(AssignCopy, MakesTheLiveProfileDefaultWhenItIsTheCopysDefault) {
  auto Live = TRemoteProfileManager::Create(nullptr);
  Add(*Live, "A", "Linux64");
  Add(*Live, "B", "Linux64");
  auto Copy = CopyOf(*Live);
  Copy->SetAsDefaultForPlatform(Copy->GetProfile("B"));
  TEventRecorder Events;
  Live->Assign(Copy);
  EXPECT_EQ(NamesOf(*Live, "Linux64"), (std::vector<std::string>{"B", "A"}));
  EXPECT_TRUE(Events.Log.empty());  // moving to the front changes no profile
}

TEST_F(AssignCopy, CaseOnlyChangeOfANameIsNotApplied) {
  auto Live = TRemoteProfileManager::Create(nullptr);
  Add(*Live, "Mac", "OSX32");
  auto Copy = CopyOf(*Live);
  Copy->GetProfile("Mac")->SetName("MAC");
  Live->Assign(Copy);
  EXPECT_EQ(Live->GetProfile("mac")->GetName(), "Mac");
}

TEST_F(AssignCopy, WithoutNotifyRenamesARenameBecomesAddAndRemoveAndDeletesTheOldFile) {
  auto Live = TRemoteProfileManager::Create(Ini);
  const auto Old = Add(*Live, "Old", "Linux64");
  Live->SaveOptions(*Ini);
  ASSERT_TRUE(FileExists("Old"));
  auto Copy = CopyOf(*Live);
  Copy->GetProfile("Old")->SetName("New");
  TEventRecorder Events;
  Live->Assign(Copy);
  const auto New = Live->GetProfile("New");
  ASSERT_NE(New, nullptr);
  EXPECT_NE(New, Old);  // a new object
  EXPECT_EQ(Live->GetProfile("Old"), nullptr);
  EXPECT_EQ(Events.Log, (std::vector<std::string>{"Added(New)", "Removed(Old)"}));
  EXPECT_FALSE(FileExists("Old"));
  EXPECT_TRUE(FileExists("New"));  // SaveOptions wrote everything back
}

TEST_F(AssignCopy, WithNotifyRenamesFirstTheSameObjectLivesOnUnderTheNewName) {
  auto Live = TRemoteProfileManager::Create(Ini);
  const auto Old = Add(*Live, "Old", "Linux64");
  Live->SaveOptions(*Ini);
  auto Copy = CopyOf(*Live);
  Copy->GetProfile("Old")->SetName("New");
  TEventRecorder Events;
  Live->NotifyRenames({{"Old", "New"}});
  Live->Assign(Copy);
  EXPECT_EQ(Live->GetProfile("New"), Old);
  EXPECT_EQ(Old->GetName(), "New");
  EXPECT_EQ(Events.Log, (std::vector<std::string>{"Changed(New)", "Renamed(New,Old)"}));
  EXPECT_FALSE(FileExists("Old"));
  EXPECT_TRUE(FileExists("New"));
}

TEST_F(AssignCopy, RemovedProfilesLoseTheirFilesAndTheStoreIsRewritten) {
  auto Live = TRemoteProfileManager::Create(Ini);
  Add(*Live, "Keep", "Linux64");
  Add(*Live, "Drop", "Linux64");
  Live->SaveOptions(*Ini);
  auto Copy = CopyOf(*Live);
  Copy->RemoveProfile(Copy->GetProfile("Drop"));
  Live->Assign(Copy);
  EXPECT_EQ(NamesOf(*Live, "Linux64"), (std::vector<std::string>{"Keep"}));
  EXPECT_FALSE(FileExists("Drop"));
  EXPECT_FALSE(Ini->HasSection("RemoteProfiles\\Drop"));
  EXPECT_TRUE(Ini->HasSection("RemoteProfiles\\Keep"));
}

TEST_F(AssignCopy, StopsAtTheFirstAddProfileFailureAndSavesNothing) {
  auto Live = TRemoteProfileManager::Create(Ini);
  Ini->Log.clear();
  auto Copy = TRemoteProfileManager::Create(nullptr);
  Add(*Copy, "Fresh", "Android");
  Add(*Copy, "Box", "Linux64")->SetName("bad/name");  // SetName does not validate
  try {
    Live->Assign(Copy);
    FAIL() << "Assign should raise";
  } catch (const ENonAIRException& E) {
    EXPECT_STREQ(E.what(), "'bad/name' is not a valid profile name.  A profile name must be a valid filename");
  }
  EXPECT_NE(Live->GetProfile("Fresh"), nullptr);  // merged so far stays merged
  EXPECT_EQ(Live->GetProfile("bad/name"), nullptr);
  EXPECT_TRUE(Ini->Log.empty());  // nothing saved
}

TEST_F(AssignCopy, NotifyRenamesOfACaseOnlyRenameDropsTheProfile) {
  auto Live = TRemoteProfileManager::Create(Ini);
  const auto A = Add(*Live, "A", "Linux64");
  Live->SaveOptions(*Ini);
  ASSERT_TRUE(FileExists("A"));
  TEventRecorder Events;
  Live->NotifyRenames({{"A", "a"}});
  EXPECT_EQ(Live->GetProfile("a"), nullptr);
  EXPECT_EQ(Live->GetProfile("A"), nullptr);
  EXPECT_EQ(A->GetName(), "a");  // renamed, but no longer filed in any list
  EXPECT_EQ(Events.Log, (std::vector<std::string>{"Removed(A)", "Changed(a)", "Renamed(a,A)"}));
  EXPECT_FALSE(FileExists("A"));
}

TEST_F(AssignCopy, NotifyRenamesOntoAnotherProfileReplacesIt) {
  auto Live = TRemoteProfileManager::Create(nullptr);
  const auto A = Add(*Live, "A", "Linux64");
  Add(*Live, "B", "Linux64");
  TEventRecorder Events;
  Live->NotifyRenames({{"A", "B"}, {"Missing", "X"}});
  EXPECT_EQ(Live->GetProfile("B"), A);
  EXPECT_EQ(NamesOf(*Live, "Linux64"), (std::vector<std::string>{"B"}));
  EXPECT_EQ(Events.Log, (std::vector<std::string>{"Removed(B)", "Changed(B)", "Renamed(B,A)"}));
}

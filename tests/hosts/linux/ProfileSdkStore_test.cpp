// The reference host's SDK store, run with the real Linux host (TIniFile, the Hestrel profile
// files) and a real manager.
#include "hosts/linux/ProfileSdkStore.h"

#include "HostTestSupport.h"
#include "core/RemoteProfileManager.h"
#include "hosts/linux/LinuxHost.h"
#include "persistence/DefaultSdkPaths.h"
#include "ui/ProfileCommands.h"

namespace {
const TOTARemoteProfilePathArray Include{{"/usr/include", "*.h", true, ptIncludePath}};
const TOTARemoteProfilePathArray Two{{"/usr/lib", "libz.so", false, ptLibraryPath},
                                     {"/System/Library/Frameworks", "Foundation", true, ptFramework}};

class ProfileSdkStore : public THostFilesTest {
 protected:
  void SetUp() override {
    THostFilesTest::SetUp();
    TLinuxHostOptions Options;
    Options.SettingsFileName = At("settings.ini");
    Options.AppDataDir = At("data");
    Settings = InstallLinuxHost(Options).Settings;
    Sdks = std::make_shared<TProfileSdkStore>(Settings);
    Live->AddNotifier(Sdks);
  }
  IOTARemoteProfilePtr Add(const std::string& Name, const TOTARemoteProfilePathArray& Items = {}) {
    return Live->AddProfile(Name, Name == "Mac" ? "OSX32" : "Linux64", "h", 64211, {"", true, true}, "", Items, true);
  }
  /// The entry's items as "count: first path", or "none".
  std::string Entry(const std::string& Name) const {
    TOTARemoteProfilePathArray Items;
    if (!Sdks->Read(Name, Items)) return "none";
    return std::to_string(Items.size()) + ": " + (Items.empty() ? "" : Items[0].Path);
  }

  TIniFilePtr Settings;
  TProfileSdkStorePtr Sdks;
  TRemoteProfileManagerPtr Live = TRemoteProfileManager::Create(nullptr);
};
}  // namespace

TEST_F(ProfileSdkStore, EntriesFollowTheProfilesOfTheLiveManager) {
  const IOTARemoteProfilePtr Box = Add("Box", Include);
  EXPECT_EQ(Entry("BOX"), "1: /usr/include");  // names compare ignoring case
  Box->SetName("BOX");                         // a change of letter case only keeps the entry
  EXPECT_EQ(Entry("Box"), "1: /usr/include");
  Box->SetPaths(Two);  // a change writes the profile's items
  EXPECT_EQ(Entry("Box"), "2: /usr/lib");
  Sdks->Write("Box", Two);
  Sdks->Write("Box", Include);  // a write replaces the whole entry
  EXPECT_EQ(Settings->ReadString("ProfileSDKs\\Box", "Path1", "gone"), "gone");
  Sdks->Write("Mac", Two);
  Add("Mac", Include);  // an entry there already is kept
  EXPECT_EQ(Entry("Mac"), "2: /usr/lib");
  const TRemoteProfileManagerPtr Elsewhere = TRemoteProfileManager::Create(nullptr);
  Live->MergeRemoteProfile(Elsewhere->AddProfile("Mac", "OSX32", "e", 22, {"", true, true}, "", Include, true));
  EXPECT_EQ(Entry("Mac"), "1: /usr/include");  // a merged profile brings its own items
  const TRemoteProfileManagerPtr Later = TRemoteProfileManager::Create(nullptr);
  const IOTARemoteProfilePtr Read = Later->AddProfile("Mac", "OSX32", "e", 22, {"", true, true}, "", {}, true);
  TProfileSdkStore::Attach(Settings, *Later);  // a profile read from its file takes its entry's items
  ASSERT_EQ(Read->GetPaths().size(), 1u);
  EXPECT_EQ(Read->GetPaths()[0].Path, "/usr/include");
  Sdks->Erase("Box");
  Sdks->Write("Builder", Two);  // left behind by a hand edit
  Box->SetName("Builder");      // a rename moves the absence of an entry too
  EXPECT_EQ(Entry("Builder"), "none");
  Settings->WriteInteger("ProfileSDKs\\Bad", "PathCount", -3);
  EXPECT_EQ(Entry("Bad"), "none");
}

TEST_F(ProfileSdkStore, AnImportedProfileStartsFromItsPlatformsDefaultSet) {
  Live = TRemoteProfileManager::Create(Settings);
  Live->AddNotifier(Sdks);
  Live->SaveProfile(Add("Mac", Include), At("mac.profile"));
  Live->RemoveProfile(Live->GetProfile("Mac"));
  EXPECT_EQ(Entry("Mac"), "none");
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(Live);
  IOTARemoteProfilePtr Imported;
  ASSERT_EQ(ImportProfile(*Copy, At("mac.profile"), Imported), TImportResult::Imported);
  CommitWorkingCopy(*Live, Copy, {});
  EXPECT_EQ(Entry("Mac"),
            "66: " + GetDefaultPaths("OSX32")[0].Path);  // path items are never read back from a profile file
}

// The reference host's SDK store (hosts/linux/ProfileSdkStore): SDK path items per
// profile in the settings file, following the live manager's changes. Run with the real
// Linux host (TIniFile, the Hestrel profile files) and a real manager.
#include "hosts/linux/ProfileSdkStore.h"

#include <gtest/gtest.h>

#include "TempDir.h"
#include "core/RemoteProfileManager.h"
#include "hosts/linux/LinuxHost.h"
#include "hosts/linux/ProfilePlatformSDK.h"
#include "persistence/DefaultSdkPaths.h"
#include "ui/ProfileCommands.h"

namespace {

const TOTARemoteProfilePathArray Include{{"/usr/include", "*.h", true, ptIncludePath}};
const TOTARemoteProfilePathArray Two{{"/usr/lib", "libz.so", false, ptLibraryPath},
                                     {"/System/Library/Frameworks", "Foundation", true, ptFramework}};

/// A settings store that passes everything to the real one and records the sections written.
class TSectionRecorder : public TCustomIniFile {
 public:
  explicit TSectionRecorder(TCustomIniFilePtr Inner) : FInner(std::move(Inner)) {}
  void ReadSections(const std::string& S, std::vector<std::string>& L) override { FInner->ReadSections(S, L); }
  std::string ReadString(const std::string& S, const std::string& I, const std::string& D) override {
    return FInner->ReadString(S, I, D);
  }
  std::int32_t ReadInteger(const std::string& S, const std::string& I, std::int32_t D) override {
    return FInner->ReadInteger(S, I, D);
  }
  bool ReadBool(const std::string& S, const std::string& I, bool D) override { return FInner->ReadBool(S, I, D); }
  void WriteString(const std::string& S, const std::string& I, const std::string& V) override {
    Written.push_back(S);
    FInner->WriteString(S, I, V);
  }
  void WriteInteger(const std::string& S, const std::string& I, std::int32_t V) override {
    Written.push_back(S);
    FInner->WriteInteger(S, I, V);
  }
  void WriteBool(const std::string& S, const std::string& I, bool V) override {
    Written.push_back(S);
    FInner->WriteBool(S, I, V);
  }
  void EraseSection(const std::string& S) override {
    Written.push_back(S);
    FInner->EraseSection(S);
  }
  std::vector<std::string> Written;

 private:
  TCustomIniFilePtr FInner;
};

class ProfileSdkStore : public ::testing::Test {
 protected:
  void SetUp() override {
    Messages = std::make_shared<TMessageBoxDouble>();
    Host = Install();
    Sdks = std::make_shared<TProfileSdkStore>(Host.Settings);
    Live = TRemoteProfileManager::Create(Host.Settings);
    Live->AddNotifier(Sdks);
  }
  void TearDown() override {
    Live.reset();
    SetHostServices(Previous);
  }
  TLinuxHost Install() {
    TLinuxHostOptions Options;
    Options.SettingsFileName = Dir / "settings.ini";
    Options.AppDataDir = Dir / "data";
    Options.Messages = Messages;
    return InstallLinuxHost(Options);
  }
  TOTARemoteProfilePathArray Entry(const std::string& Name) const {
    TOTARemoteProfilePathArray Items;
    EXPECT_TRUE(Sdks->Read(Name, Items)) << "no entry for " << Name;
    return Items;
  }
  IOTARemoteProfilePtr AddBox(const TOTARemoteProfilePathArray& Items = {}) {
    return Live->AddProfile("Box", "Linux64", "box", 64211, {"", true, true}, "/cache/Box", Items, true);
  }

  TTempDir Dir{"sdks"};
  THostServices Previous = HostServices();
  std::shared_ptr<TMessageBoxDouble> Messages;
  TLinuxHost Host;
  TProfileSdkStorePtr Sdks;
  TRemoteProfileManagerPtr Live;
};

}  // namespace

TEST_F(ProfileSdkStore, AnAddedProfileWithItemsKeepsItsOwn) {
  AddBox(Include);
  EXPECT_TRUE(Entry("Box").SameItems(Include));
  EXPECT_TRUE(Entry("BOX").SameItems(Include));  // names compare ignoring case
  const std::string Text = Host.Settings->GetText();
  EXPECT_NE(Text.find("[ProfileSDKs\\Box]\nPathCount=1\nPath0=/usr/include\nMask0=*.h\nIncludeSubDir0=1\nType0=0\n"),
            std::string::npos)
      << Text;
}

TEST_F(ProfileSdkStore, AnAddedProfileWithoutItemsGetsThePlatformsDefaultSet) {
  Live->AddProfile("Mac", "OSX32", "mac", 64211, {"", true, true}, "", {}, true);
  EXPECT_TRUE(Entry("Mac").SameItems(GetDefaultPaths("OSX32")));
  EXPECT_EQ(Entry("Mac").size(), 66u);
  // Linux64 has no default set: the entry exists and holds no items.
  AddBox();
  EXPECT_TRUE(Sdks->HasEntry("Box"));
  EXPECT_EQ(Entry("Box").size(), 0u);
  EXPECT_EQ(Host.Settings->ReadInteger("ProfileSDKs\\Box", "PathCount", -1), 0);
}

TEST_F(ProfileSdkStore, AnExistingEntryIsKeptWhenItsProfileIsAdded) {
  Sdks->Write("Box", Two);
  AddBox(Include);
  EXPECT_TRUE(Entry("Box").SameItems(Two));
}

TEST_F(ProfileSdkStore, WriteReplacesTheWholeEntry) {
  Sdks->Write("Box", Two);
  Sdks->Write("Box", Include);
  EXPECT_TRUE(Entry("Box").SameItems(Include));
  EXPECT_EQ(Host.Settings->ReadString("ProfileSDKs\\Box", "Path1", "gone"), "gone");
}

TEST_F(ProfileSdkStore, ARenameMovesTheEntry) {
  const IOTARemoteProfilePtr Box = AddBox(Include);
  Box->SetName("Builder");
  EXPECT_FALSE(Sdks->HasEntry("Box"));
  EXPECT_TRUE(Entry("Builder").SameItems(Include));
}

TEST_F(ProfileSdkStore, AChangeOfLetterCaseOnlyKeepsTheEntry) {
  const IOTARemoteProfilePtr Box = AddBox(Include);
  Box->SetName("BOX");
  EXPECT_TRUE(Entry("BOX").SameItems(Include));
  EXPECT_NE(Host.Settings->GetText().find("[ProfileSDKs\\BOX]"), std::string::npos) << Host.Settings->GetText();
}

TEST_F(ProfileSdkStore, ARenameThroughTheOptionsPageMovesTheEntry) {
  AddBox(Include);
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(Live);
  TRenameMap Renames;
  ASSERT_EQ(RenameProfile(*Copy, Copy->GetProfile("Box"), "Builder", Renames), TRenameResult::Renamed);
  CommitWorkingCopy(*Live, Copy, Renames);
  EXPECT_FALSE(Sdks->HasEntry("Box"));
  EXPECT_TRUE(Entry("Builder").SameItems(Include));
}

TEST_F(ProfileSdkStore, ARenameOfAProfileWithoutAnEntryLeavesNoStaleEntryOfTheNewName) {
  const IOTARemoteProfilePtr Box = AddBox(Include);
  Sdks->Erase("Box");
  Sdks->Write("Builder", Two);  // left behind by a hand edit
  Box->SetName("Builder");
  EXPECT_FALSE(Sdks->HasEntry("Builder"));
  EXPECT_TRUE(Sdks->PathItemsOf(Box).SameItems(Include));
}

TEST_F(ProfileSdkStore, ARemovalErasesTheEntry) {
  const IOTARemoteProfilePtr Box = AddBox(Include);
  Live->RemoveProfile(Box);
  EXPECT_FALSE(Sdks->HasEntry("Box"));
  // Through the options page: the committed copy no longer holds the profile.
  AddBox(Include);
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(Live);
  Copy->RemoveProfile(Copy->GetProfile("Box"));
  CommitWorkingCopy(*Live, Copy, {});
  EXPECT_FALSE(Sdks->HasEntry("Box"));
}

TEST_F(ProfileSdkStore, AChangeLeavesTheEntryAlone) {
  const IOTARemoteProfilePtr Box = AddBox(Include);
  Box->SetPaths(Two);
  Box->SetPlatformName("OSX32");
  EXPECT_TRUE(Entry("Box").SameItems(Include));
}

TEST_F(ProfileSdkStore, ACopyGivenItsEntryBeforeTheCommitKeepsIt) {
  AddBox(Include);
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(Live);
  const IOTARemoteProfilePtr New = CopyProfile(*Copy, Copy->GetProfile("Box"), "Box 2");
  ASSERT_TRUE(New);
  New->SetPaths({});  // as a profile loaded from its profile file: no items of its own
  Sdks->Write(New->GetName(), Sdks->PathItemsOf(Live->GetProfile("Box")));
  CommitWorkingCopy(*Live, Copy, {});
  EXPECT_TRUE(Entry("Box 2").SameItems(Include));
  EXPECT_TRUE(Entry("Box").SameItems(Include));
}

TEST_F(ProfileSdkStore, AMergedProfileReplacesTheEntryWithItsItems) {
  AddBox(Include);
  TRemoteProfileManagerPtr Other = TRemoteProfileManager::Create(nullptr);
  const IOTARemoteProfilePtr Made =
      Other->AddProfile("Box", "Linux64", "elsewhere", 22, {"", true, true}, "/cache/Box", Two, true);
  Live->MergeRemoteProfile(Made);
  EXPECT_TRUE(Entry("Box").SameItems(Two));
}

TEST_F(ProfileSdkStore, AnImportedProfileStartsFromTheDefaultSet) {
  Live->AddProfile("Mac", "OSX32", "mac", 64211, {"", true, true}, "", {}, true);
  const std::string File = Dir / "mac.profile";
  Live->SaveProfile(Live->GetProfile("Mac"), File);
  Live->RemoveProfile(Live->GetProfile("Mac"));
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(Live);
  IOTARemoteProfilePtr Imported;
  ASSERT_EQ(ImportProfile(*Copy, File, Imported), TImportResult::Imported);
  CommitWorkingCopy(*Live, Copy, {});
  EXPECT_EQ(Entry("Mac").size(), 66u);
}

TEST_F(ProfileSdkStore, EntriesSurviveSaveOptionsAndARoundTripThroughTheFile) {
  AddBox(Include);
  Live->AddProfile("Mac", "OSX32", "mac", 64211, {"", true, true}, "", {}, true);
  Sdks->Write("Mac", Two);
  Live->SaveOptions(*Host.Settings);  // erases "RemoteProfiles" only
  ASSERT_TRUE(Host.Settings->UpdateFile().Ok());

  Live.reset();
  SetHostServices(Previous);
  TLinuxHost Again = Install();
  TProfileSdkStore Reloaded(Again.Settings);
  TOTARemoteProfilePathArray Items;
  ASSERT_TRUE(Reloaded.Read("Box", Items));
  EXPECT_TRUE(Items.SameItems(Include));
  ASSERT_TRUE(Reloaded.Read("mac", Items));
  EXPECT_TRUE(Items.SameItems(Two));
  // The profiles came back from their profile files, without path items; the SDK still
  // has them.
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(Again.Settings);
  const IOTARemoteProfilePtr Box = Manager->GetProfile("Box");
  ASSERT_TRUE(Box);
  EXPECT_TRUE(Box->GetPaths().empty());
  auto Shared = std::make_shared<TProfileSdkStore>(Again.Settings);
  EXPECT_TRUE(TProfilePlatformSDK(Box, Shared).GetPathItems().SameItems(Include));
}

TEST_F(ProfileSdkStore, AProfileWithoutAnEntryFallsBackToItsOwnItems) {
  const IOTARemoteProfilePtr Box = AddBox(Include);
  Sdks->Erase("Box");  // as in a settings file written before there were SDK entries
  EXPECT_FALSE(Sdks->HasEntry("Box"));
  EXPECT_TRUE(Sdks->PathItemsOf(Box).SameItems(Include));
  EXPECT_TRUE(TProfilePlatformSDK(Box, Sdks).GetPathItems().SameItems(Include));
  Sdks->Write("Box", Two);
  EXPECT_TRUE(TProfilePlatformSDK(Box, Sdks).GetPathItems().SameItems(Two));
  // Items given for one pull win over both.
  EXPECT_TRUE(TProfilePlatformSDK(Box, TOTARemoteProfilePathArray(Include)).GetPathItems().SameItems(Include));
}

TEST_F(ProfileSdkStore, ANegativeOrHugeCountIsReadSafely) {
  Host.Settings->WriteInteger("ProfileSDKs\\Bad", "PathCount", -3);
  EXPECT_FALSE(Sdks->HasEntry("Bad"));
  Host.Settings->WriteInteger("ProfileSDKs\\Huge", "PathCount", 2000000000);
  Host.Settings->WriteInteger("ProfileSDKs\\Huge", "Type0", 0x1FF);
  TOTARemoteProfilePathArray Items;
  ASSERT_TRUE(Sdks->Read("Huge", Items));
  EXPECT_EQ(Items.size(), 65536u);
  EXPECT_EQ(static_cast<int>(Items[0].Type), 0xFF);  // low 8 bits, as the manager reads types
}

TEST_F(ProfileSdkStore, OnlyItsOwnSectionsAreWritten) {
  auto Recorder = std::make_shared<TSectionRecorder>(Host.Settings);
  auto Own = std::make_shared<TProfileSdkStore>(Recorder);
  Live->AddNotifier(Own);
  const IOTARemoteProfilePtr Box = AddBox(Include);
  Box->SetName("Builder");
  Box->SetHostName("other");
  Live->RemoveProfile(Box);
  ASSERT_FALSE(Recorder->Written.empty());
  for (const std::string& Section : Recorder->Written)
    EXPECT_EQ(Section.rfind("ProfileSDKs\\", 0), 0u) << Section;
}

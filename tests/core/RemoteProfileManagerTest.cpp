// The profile manager: per-platform lists and defaults, name checks, re-filing, merging an
// edited copy, the build-environment defaults and the process-wide manager.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "CoreTestSupport.h"
#include "doubles/ProfileFileLibrary.h"

namespace {

using ::testing::ThrowsMessage;

class ProfileManager : public TManagerFixture {
 protected:
  /// A manager on the store holding Names (Linux64), saved with their profile files.
  TRemoteProfileManagerPtr Stored(const TNames& Names) {
    Host.AgentLibrary = std::make_shared<TProfileFileLibrary>();
    Reinstall();
    const auto Live = TRemoteProfileManager::Create(Ini);
    for (const auto& Name : Names) Add(*Live, Name, "Linux64");
    Live->SaveOptions(*Ini);
    return Live;
  }
  static bool HasFile(const std::string& Name) {
    return std::filesystem::exists(TRemoteProfileManager::GetProfileFileName(Name));
  }
};

TEST_F(ProfileManager, TheFrontOfAParentPlatformsListIsItsDefault) {
  const auto Stranger = Add(*TRemoteProfileManager::Create(nullptr), "Stranger", "OSX32");  // its manager is gone
  const auto Elsewhere = Add(*TRemoteProfileManager::Create(nullptr), "Elsewhere", "Android");
  Add(*Manager, "Local", "Win32");
  Add(*Manager, "lower", "win32");
  const auto A = Add(*Manager, "A", "iOSDevice");
  const auto B = Add(*Manager, "B", "OSX32");
  const auto C = Add(*Manager, "C", "iOSSimulator", /*AsDefault=*/true);
  EXPECT_EQ(NamesOf(*Manager, "IOSDEVICE"), (TNames{"C", "A", "B"}));  // one list, under "OSX32"
  EXPECT_EQ(A->GetPlatformName() + " " + std::to_string(Manager->GetProfiles().size()), "OSX32 3");
  const std::pair<IOTARemoteProfilePtr, std::string> Lookups[] = {
      {Manager->GetDefaultForPlatform("Win32"), "nil"},    // local targets never have a remote default
      {Manager->GetDefaultForPlatform("win32"), "lower"},  // that test is case-sensitive
      {Manager->GetProfile("OSX32", 3), "nil"},           {Manager->GetProfile("OSX32", -1), "nil"},
      {Manager->GetProfile("Android", 0), "nil"},         {Manager->GetProfile("c"), "C"},
  };
  for (const auto& [Found, Expected] : Lookups) EXPECT_EQ(NameOf(Found), Expected);
  TEventRecorder Events;
  Stranger->SetHostName("still.here");  // nobody hears
  Manager->SetAsDefaultForPlatform(B);
  EXPECT_EQ(NamesOf(*Manager, "OSX32"), (TNames{"B", "C", "A"}));
  Manager->SetAsDefaultForPlatform(B);
  Manager->SetAsDefaultForPlatform(nullptr);
  Manager->RemoveProfile(nullptr);
  EXPECT_TRUE(Events.Log.empty());  // a new default is no change of any profile
  Manager->RemoveProfile(B);
  EXPECT_EQ(Manager->GetDefaultForPlatform("iOSSimulator"), C);
  Manager->RemoveProfile(C);
  Manager->RemoveProfile(A);
  EXPECT_EQ(Manager->GetProfiles().at("OSX32"), TProfileList{});  // the list stays, empty
  Manager->RemoveProfile(Stranger);   // not held here, but its platform has a list: announced
  Manager->RemoveProfile(Elsewhere);  // no list for its platform: ignored
  EXPECT_EQ(Events.Log, (TNames{"Removed(B)", "Removed(C)", "Removed(A)", "Removed(Stranger)"}));
}

TEST_F(ProfileManager, NameChecksRunBlankThenFileNameThenDuplicate) {
  Add(*Manager, "Mac", "OSX32");
  std::string Accented;  // 124 characters, 248 bytes
  for (int I = 0; I < 124; ++I) Accented += "\xc3\xa9";
  const auto Bad = [](const std::string& Name) {
    return "'" + Name + "' is not a valid profile name.  A profile name must be a valid filename";
  };
  const struct {
    std::string Name, Message;
    TProfileNameValidationError Error = pnveBadFileName;
  } Rows[] = {
      {"", "Profile name cannot be blank"},
      {"a/b", Bad("a/b")},
      {"a\\b", Bad("a\\b")},
      {"why?", Bad("why?")},
      {"tab\tname", Bad("tab\tname")},
      {std::string(248, 'a'), Bad(std::string(248, 'a'))},  // "<name>.profile" must fit NAME_MAX
      {Accented, Bad(Accented)},                            // bytes count, not characters
      {Accented.substr(0, 246), "untouched", pnveNone},
      {"..", Bad("..")},  // only dots and blanks: a directory, never a file
      {" . ", Bad(" . ")},
      {"..a", "untouched", pnveNone},
      {"mAC", "A profile named 'mAC' already exists", pnveDuplicate},  // in any case, on any platform
  };
  for (const auto& Row : Rows) {
    std::string Message = "untouched";
    EXPECT_EQ(Manager->InternalValidateProfileName(Row.Name, Message), Row.Error) << Row.Name;
    EXPECT_EQ(Message, Row.Message);
    EXPECT_EQ(Manager->ValidateProfileName(Row.Name), Row.Error == pnveNone);
    if (Row.Error == pnveNone) continue;
    EXPECT_THAT([&] { Add(*Manager, Row.Name, "Android"); }, ThrowsMessage<ENonAIRException>(Row.Message));
    EXPECT_EQ(Messages->Shown.back().Text, Row.Message);
    EXPECT_EQ(Messages->Shown.back().Kind, TMsgDlgType::mtError);
    EXPECT_EQ(Messages->Shown.back().Buttons, (TMsgDlgButtons{TMsgDlgBtn::mbOK}));
  }
  EXPECT_EQ(Messages->Shown.size(), 10u);
  EXPECT_EQ(Manager->GetProfiles().count("Android"), 0u);  // a refused name makes no list
}

TEST_F(ProfileManager, RenameAndPlatformChangeRefileTheProfile) {
  Add(*Manager, "L1", "Linux64");
  const auto A = Add(*Manager, "A", "Android");
  TEventRecorder Events;
  A->SetPlatformName("Linux64");
  A->SetName("Studio");
  EXPECT_EQ(Events.Log, (TNames{"Changed(A)", "Changed(Studio)", "Renamed(Studio,A)"}));  // re-filing adds nothing
  EXPECT_EQ(NamesOf(*Manager, "Linux64"), (TNames{"L1", "Studio"}));
  EXPECT_EQ(Manager->GetProfileCount("Android"), 0);
  EXPECT_THAT([&] { Add(*Manager, "STUDIO", "Android"); },
              ThrowsMessage<ENonAIRException>("A profile named 'STUDIO' already exists"));
  EXPECT_NO_THROW(Add(*Manager, "A", "Android"));
  // Straight to a child platform: filed once, under the parent.
  Manager->GetProfile("A")->SetPlatformName("iOSDevice");
  EXPECT_EQ(NamesOf(*Manager, "OSX32"), (TNames{"A"}));
  EXPECT_EQ(Manager->GetProfile("a")->GetPlatformName(), "OSX32");
}

TEST_F(ProfileManager, WriteEnvOptionsWritesEachPlatformsDefaultInTheHostsOrder) {
  Add(*Manager, "Mac", "OSX32");
  Add(*Manager, "Local", "Win32");
  Add(*Manager, "Box", "Linux64");
  Manager->WriteEnvOptions();
  EXPECT_EQ(Joined(EnvFile->Log),
            "\nBegin"
            "\nGroup '$(Platform)'=='Win32' Set DefaultProfile="
            "\nGroup '$(Platform)'=='Win64' Set DefaultProfile="
            "\nGroup '$(Profile)'=='' And '$(Platform)'=='OSX32' Set Profile=Mac"
            "\nGroup '$(Profile)'=='' And '$(Platform)'=='iOSDevice' Set Profile=Mac"
            "\nGroup '$(Profile)'=='' And '$(Platform)'=='iOSSimulator' Set Profile=Mac"
            "\nGroup '$(Platform)'=='Android' Set DefaultProfile="
            "\nGroup '$(Profile)'=='' And '$(Platform)'=='Linux64' Set Profile=Box"
            "\nEnd");
}

TEST_F(ProfileManager, TheProcessWideManagerIsLoadedOnceFromTheStoreInstalledAtTheFirstCall) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->Log.clear();
  const TRemoteProfileManagerPtr M = RemoteProfileMgr();
  EXPECT_EQ(Ini->Log.at(0), "ReadSections(RemoteProfiles)");
  EXPECT_EQ(NamesOf(*M, "OSX32"), (TNames{"Mac"}));
  Ini->Log.clear();
  Host.AppIniFile = std::make_shared<TMemIniFile>();
  Reinstall();
  EXPECT_EQ(RemoteProfileMgr(), M);
  EXPECT_EQ(M->GetSettings(), Ini);
  EXPECT_TRUE(Ini->Log.empty());  // not loaded again
}

TEST_F(ProfileManager, AssignUpdatesInPlaceAddsNewOnesAndTakesTheCopysDefaults) {
  const auto Mac = Add(*Manager, "Mac", "OSX32");
  Add(*Manager, "A", "Linux64");
  Add(*Manager, "B", "Linux64");
  const auto Copy = TRemoteProfileManager::Create(nullptr);  // as the options page edits it
  Add(*Copy, "MAC", "OSX32")->SetHostName("new.host");       // a change of case only is not taken
  Copy->GetProfile("Mac")->SetPortNumber(1234);
  Add(*Copy, "B", "Linux64");
  Add(*Copy, "A", "Linux64");
  Add(*Copy, "Droid", "Android");
  TEventRecorder Events;
  Manager->Assign(Copy);
  EXPECT_EQ(Events.Log, (TNames{"Added(Droid)", "Changed(Mac)"}));  // one change for two fields
  EXPECT_EQ(Manager->GetProfile("mac"), Mac);
  EXPECT_EQ(Mac->GetName() + " " + Mac->GetHostName() + ":" + std::to_string(Mac->GetPortNumber()),
            "Mac new.host:1234");
  EXPECT_EQ(NamesOf(*Manager, "Linux64"), (TNames{"B", "A"}));
}

TEST_F(ProfileManager, AssignKeepsTheObjectOfAnAnnouncedRenameAndReplacesAnUnannouncedOne) {
  const auto Live = Stored({"Old1", "Old2", "Keep"});
  const auto Old1 = Live->GetProfile("Old1");
  const auto Old2 = Live->GetProfile("Old2");
  Add(*Manager, "New1", "Linux64");
  Add(*Manager, "Keep", "Linux64");
  Add(*Manager, "New2", "Linux64")->SetHostName("Old2.example");  // nothing else changed
  TEventRecorder Events;
  Live->NotifyRenames({{"Old2", "New2"}});
  Live->Assign(Manager);
  EXPECT_EQ(Events.Log, (TNames{"Changed(New2)", "Renamed(New2,Old2)", "Added(New1)", "Removed(Old1)"}));
  EXPECT_EQ(NamesOf(*Live, "Linux64"), (TNames{"New1", "New2", "Keep"}));  // the copy's default first
  EXPECT_EQ(Live->GetProfile("New2"), Old2);
  EXPECT_NE(Live->GetProfile("New1"), Old1);
  EXPECT_FALSE(HasFile("Old1") || HasFile("Old2") || Ini->HasSection("RemoteProfiles\\Old1"));
  EXPECT_TRUE(HasFile("New1") && HasFile("New2") && Ini->HasSection("RemoteProfiles\\New1"));  // all written again
}

TEST_F(ProfileManager, AssignStopsAtTheFirstRefusedNameAndSavesNothing) {
  const auto Live = Stored({});
  Ini->Log.clear();
  Add(*Manager, "Fresh", "Android");
  Add(*Manager, "Box", "Linux64")->SetName("bad/name");  // SetName does not check names
  EXPECT_THROW(Live->Assign(Manager), ENonAIRException);
  EXPECT_NE(Live->GetProfile("Fresh"), nullptr);  // what was merged so far stays
  EXPECT_TRUE(Ini->Log.empty());
}

TEST_F(ProfileManager, NotifyRenamesReplacesAProfileUnderTheNewNameAndDropsACaseOnlyRename) {
  const auto Live = Stored({"A", "B", "C"});
  const auto A = Live->GetProfile("A");
  const auto C = Live->GetProfile("C");
  TEventRecorder Events;
  Live->NotifyRenames({{"A", "B"}, {"Missing", "X"}, {"C", "c"}});
  EXPECT_EQ(Events.Log,
            (TNames{"Removed(B)", "Changed(B)", "Renamed(B,A)", "Removed(C)", "Changed(c)", "Renamed(c,C)"}));
  EXPECT_EQ(NamesOf(*Live, "Linux64"), (TNames{"B"}));
  EXPECT_EQ(Live->GetProfile("B"), A);
  EXPECT_EQ(C->GetName(), "c");  // renamed, but no longer filed
  EXPECT_FALSE(HasFile("A") || HasFile("B") || HasFile("C"));
}

}  // namespace

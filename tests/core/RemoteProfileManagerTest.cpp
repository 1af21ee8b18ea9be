// The profile manager: per-platform lists and defaults, name checks, re-filing, merging an
// edited copy and the process-wide manager.
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
  Manager->SetAsDefaultForPlatform(B);  // no change of any profile
  EXPECT_EQ(NamesOf(*Manager, "OSX32"), (TNames{"B", "C", "A"}));
  Manager->SetAsDefaultForPlatform(nullptr);
  Manager->RemoveProfile(nullptr);
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
  const auto Bad = [](const std::string& Name) {
    return "'" + Name + "' is not a valid profile name.  A profile name must be a valid filename";
  };
  const struct {
    std::string Name, Message;
    TProfileNameValidationError Error = pnveBadFileName;
  } Rows[] = {
      {"", "Profile name cannot be blank"},
      {"a/b", Bad("a/b")},
      {" . ", Bad(" . ")},  // only dots and blanks: a directory, never a file
      {"..a", "untouched", pnveNone},
      {"mAC", "A profile named 'mAC' already exists", pnveDuplicate},  // in any case, on any platform
  };
  for (const auto& Row : Rows) {
    std::string Message = "untouched";
    EXPECT_EQ(Manager->InternalValidateProfileName(Row.Name, Message), Row.Error) << Row.Name;
    EXPECT_EQ(Message, Row.Message);
    EXPECT_EQ(Manager->ValidateProfileName(Row.Name), Row.Error == pnveNone);
    if (Row.Error == pnveNone) continue;
    EXPECT_EQ(Messages->Shown.at(0).Buttons, (TMsgDlgButtons{TMsgDlgBtn::mbOK}));
    ExpectOneMessage(Row.Message);
    EXPECT_THAT([&] { Add(*Manager, Row.Name, "Android"); }, ThrowsMessage<ENonAIRException>(Row.Message));
  }
  EXPECT_TRUE(Messages->Shown.empty());                    // only the check that answers yes or no shows the message
  EXPECT_EQ(Manager->GetProfiles().count("Android"), 0u);  // a refused name makes no list
}

TEST_F(ProfileManager, RenameAndPlatformChangeRefileTheProfile) {
  const auto A = Add(*Manager, "A", "Android");
  TEventRecorder Events;
  A->SetName("Studio");
  A->SetPlatformName("Linux64");
  EXPECT_EQ(Events.Log, (TNames{"Changed(Studio)", "Renamed(Studio,A)", "Changed(Studio)"}));  // re-filing adds nothing
  A->SetPlatformName("iOSDevice");  // straight to a child platform: filed once, under the parent
  EXPECT_EQ(NamesOf(*Manager, "OSX32"), (TNames{"Studio"}));
  EXPECT_EQ(A->GetPlatformName() + " " + std::to_string(Manager->GetProfileCount("Android")) + " " +
                std::to_string(Manager->GetProfileCount("Linux64")),
            "OSX32 0 0");
  EXPECT_THAT([&] { Add(*Manager, "STUDIO", "Android"); },
              ThrowsMessage<ENonAIRException>("A profile named 'STUDIO' already exists"));
  EXPECT_NO_THROW(Add(*Manager, "A", "Android"));
}

TEST_F(ProfileManager, TheProcessWideManagerIsLoadedOnceFromTheStoreInstalledAtTheFirstCall) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  const TRemoteProfileManagerPtr M = RemoteProfileMgr();
  Ini->WriteString("RemoteProfiles\\Box", "Platform", "OSX32");
  Host.AppIniFile = std::make_shared<TMemIniFile>();
  Reinstall();
  EXPECT_EQ(RemoteProfileMgr(), M);
  EXPECT_EQ(M->GetSettings(), Ini);
  EXPECT_EQ(NamesOf(*M, "OSX32"), (TNames{"Mac"}));  // loaded once, at the first call
}

TEST_F(ProfileManager, AssignUpdatesInPlaceAndKeepsTheObjectOfAnAnnouncedRenameButNotOfAnUnannouncedOne) {
  const auto Live = Stored({"Old1", "Old2", "Keep"});
  const auto Keep = Live->GetProfile("Keep");
  Add(*Manager, "KEEP", "Linux64")->SetHostName("new.host");  // a change of case only is not taken
  Manager->GetProfile("Keep")->SetPortNumber(1234);
  Add(*Manager, "New1", "Linux64");
  Add(*Manager, "New2", "Linux64")->SetHostName("Old2.example");  // nothing else changed
  TEventRecorder Events;
  Live->NotifyRenames({{"Old2", "New2"}});
  Live->Assign(Manager);
  EXPECT_EQ(Events.Log,  // objects kept and replaced as announced; one change for two fields
            (TNames{"Changed(New2)", "Renamed(New2,Old2)", "Changed(Keep)", "Added(New1)", "Removed(Old1)"}));
  EXPECT_EQ(NamesOf(*Live, "Linux64"), (TNames{"Keep", "New2", "New1"}));  // the copy's default first
  EXPECT_EQ(Keep->GetName() + " " + Keep->GetHostName() + ":" + std::to_string(Keep->GetPortNumber()),
            "Keep new.host:1234");
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

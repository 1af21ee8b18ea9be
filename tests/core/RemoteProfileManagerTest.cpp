// Part 1.2: Profile manager — lists, parent platforms, defaults, validation, Assign.
#include <gtest/gtest.h>

#include <map>

#include "ManagerTestSupport.h"
#include "core/RemoteProfileManager.h"
#include "doubles/HostDoubles.h"

namespace {

class ProfileManager : public THostFixture {
 protected:
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(nullptr);
};

std::string RaisedMessage(const std::function<void()>& Action) {
  try {
    Action();
  } catch (const ENonAIRException& E) {
    return E.what();
  }
  return "(nothing raised)";
}

}  // namespace

TEST_F(ProfileManager, EditableCopyStartsEmpty) {
  EXPECT_TRUE(Manager->GetProfiles().empty());
  EXPECT_EQ(Manager->GetSettings(), nullptr);
  EXPECT_EQ(Manager->GetProfile("anything"), nullptr);
}

TEST_F(ProfileManager, GetDefaultForPlatformWin32IsNilEvenWithProfiles) {
  Add(*Manager, "Local", "Win32");
  Add(*Manager, "Local64", "Win64");
  EXPECT_EQ(Manager->GetProfileCount("Win32"), 1);
  EXPECT_EQ(Manager->GetDefaultForPlatform("Win32"), nullptr);
  EXPECT_EQ(Manager->GetDefaultForPlatform("Win64"), nullptr);
}

TEST_F(ProfileManager, LowerCaseWin32IsNotCaughtByTheLocalTargetTest) {
  const auto Lower = Add(*Manager, "lower", "win32");
  EXPECT_EQ(Manager->GetDefaultForPlatform("win32"), Lower);
  EXPECT_EQ(Manager->GetDefaultForPlatform("Win32"), nullptr);
}

TEST_F(ProfileManager, IOSPlatformsShareTheOSX32List) {
  const auto Mac = Add(*Manager, "Mac", "OSX32");
  Add(*Manager, "Mac2", "iOSSimulator");
  EXPECT_EQ(Manager->GetProfile("iOSDevice", 0), Manager->GetProfile("OSX32", 0));
  EXPECT_EQ(Manager->GetProfile("iOSDevice", 0), Mac);
  EXPECT_EQ(Manager->GetProfileCount("iOSSimulator"), Manager->GetProfileCount("OSX32"));
  EXPECT_EQ(Manager->GetProfileCount("iOSSimulator"), 2);
  EXPECT_EQ(Manager->GetProfileCount("IOSDEVICE"), 2);  // the mapping ignores case
}

TEST_F(ProfileManager, AddProfileForIOSDeviceIsFiledUnderOSX32) {
  const auto Mac = Add(*Manager, "Mac", "iOSDevice");
  EXPECT_EQ(Mac->GetPlatformName(), "OSX32");
  EXPECT_EQ(NamesOf(*Manager, "OSX32"), (std::vector<std::string>{"Mac"}));
  EXPECT_EQ(Manager->GetProfiles().count("iOSDevice"), 0u);
}

TEST_F(ProfileManager, DuplicateNameInOtherCaseOnAnyPlatformIsRefused) {
  Add(*Manager, "Mac", "OSX32");
  EXPECT_EQ(RaisedMessage([&] { Add(*Manager, "mac", "Android"); }), "A profile named 'mac' already exists");
  EXPECT_EQ(Manager->GetProfileCount("Android"), 0);
}

TEST_F(ProfileManager, EmptyNameIsRefusedAsBlank) {
  EXPECT_EQ(RaisedMessage([&] { Add(*Manager, "", "OSX32"); }), "Profile name cannot be blank");
  EXPECT_TRUE(Manager->GetProfiles().empty());  // nothing changed, not even a list
}

TEST_F(ProfileManager, PathSeparatorOrQuestionMarkIsRefusedAsBadFileName) {
  EXPECT_EQ(RaisedMessage([&] { Add(*Manager, "a/b", "OSX32"); }),
            "'a/b' is not a valid profile name.  A profile name must be a valid filename");
  EXPECT_EQ(RaisedMessage([&] { Add(*Manager, "a\\b", "OSX32"); }),
            "'a\\b' is not a valid profile name.  A profile name must be a valid filename");
  EXPECT_EQ(RaisedMessage([&] { Add(*Manager, "why?", "OSX32"); }),
            "'why?' is not a valid profile name.  A profile name must be a valid filename");
}

TEST_F(ProfileManager, NameLongerThan247BytesIsRefusedAsBadFileName) {
  // "<name>.profile" must fit in 255 bytes (NAME_MAX); the length counts UTF-8 bytes.
  std::string Message;
  EXPECT_EQ(Manager->InternalValidateProfileName(std::string(240, 'a'), Message), pnveNone);
  EXPECT_EQ(Manager->InternalValidateProfileName(std::string(247, 'a'), Message), pnveNone);
  EXPECT_EQ(Message, "");
  const std::string Long(248, 'a');
  EXPECT_EQ(Manager->InternalValidateProfileName(Long, Message), pnveBadFileName);
  EXPECT_EQ(Message, "'" + Long + "' is not a valid profile name.  A profile name must be a valid filename");
  std::string Accented;  // 124 characters, 248 bytes
  for (int I = 0; I < 124; ++I) Accented += "\xc3\xa9";
  EXPECT_EQ(Manager->InternalValidateProfileName(Accented, Message), pnveBadFileName);
  EXPECT_EQ(Manager->InternalValidateProfileName(Accented.substr(0, 246), Message), pnveNone);
  EXPECT_EQ(RaisedMessage([&] { Add(*Manager, std::string(300, 'b'), "OSX32"); }),
            "'" + std::string(300, 'b') + "' is not a valid profile name.  A profile name must be a valid filename");
  EXPECT_TRUE(Manager->GetProfiles().empty());
}

TEST_F(ProfileManager, NameOfBlanksIsNotEmptyAndPassesTheBlankTest) {
  std::string Message;
  EXPECT_EQ(Manager->InternalValidateProfileName("   ", Message), pnveNone);
  EXPECT_EQ(Message, "");
}

TEST_F(ProfileManager, ValidationOrderBlankThenFileNameThenDuplicate) {
  Add(*Manager, "Mac", "OSX32");
  std::string Message = "untouched";
  EXPECT_EQ(Manager->InternalValidateProfileName("Mac", Message), pnveDuplicate);
  EXPECT_EQ(Message, "A profile named 'Mac' already exists");
  EXPECT_EQ(Manager->InternalValidateProfileName("M*c", Message), pnveBadFileName);
  EXPECT_EQ(Message, "'M*c' is not a valid profile name.  A profile name must be a valid filename");
  Message = "untouched";
  EXPECT_EQ(Manager->InternalValidateProfileName("Fresh", Message), pnveNone);
  EXPECT_EQ(Message, "untouched");
}

TEST_F(ProfileManager, ValidateProfileNameShowsTheMessageInAnErrorBoxWithOK) {
  EXPECT_FALSE(Manager->ValidateProfileName(""));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "Profile name cannot be blank");
  EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtError);
  EXPECT_EQ(Messages->Shown[0].Buttons, (TMsgDlgButtons{TMsgDlgBtn::mbOK}));
  EXPECT_TRUE(Manager->ValidateProfileName("Good"));
  EXPECT_EQ(Messages->Shown.size(), 1u);
}

TEST_F(ProfileManager, AsDefaultInsertsAtIndexZero) {
  Add(*Manager, "A", "Linux64");
  Add(*Manager, "B", "Linux64");
  Add(*Manager, "C", "Linux64", /*AsDefault=*/true);
  EXPECT_EQ(NamesOf(*Manager, "Linux64"), (std::vector<std::string>{"C", "A", "B"}));
  EXPECT_EQ(Manager->GetDefaultForPlatform("Linux64")->GetName(), "C");
}

TEST_F(ProfileManager, RemovingTheDefaultMakesTheNextOneDefault) {
  const auto A = Add(*Manager, "A", "Linux64");
  const auto B = Add(*Manager, "B", "Linux64");
  Manager->RemoveProfile(A);
  EXPECT_EQ(Manager->GetDefaultForPlatform("Linux64"), B);
  Manager->RemoveProfile(B);
  ASSERT_EQ(Manager->GetProfiles().count("Linux64"), 1u);
  EXPECT_TRUE(Manager->GetProfiles().at("Linux64").empty());
  EXPECT_EQ(Manager->GetDefaultForPlatform("Linux64"), nullptr);
  EXPECT_EQ(Manager->GetProfile("A"), nullptr);
}

TEST_F(ProfileManager, RemoveProfileOfNilDoesNothing) {
  TEventRecorder Events;
  Manager->RemoveProfile(nullptr);
  EXPECT_TRUE(Events.Log.empty());
}

TEST_F(ProfileManager, RemoveProfileNotInItsListStillNotifiesWhenTheListExists) {
  Add(*Manager, "A", "Linux64");
  const auto Other = TRemoteProfileManager::Create(nullptr);
  const auto Stranger = Add(*Other, "Stranger", "Linux64");
  const auto Elsewhere = Add(*Other, "Elsewhere", "Android");
  TEventRecorder Events;
  Manager->RemoveProfile(Stranger);
  EXPECT_EQ(Events.Log, (std::vector<std::string>{"Removed(Stranger)"}));
  EXPECT_EQ(NamesOf(*Manager, "Linux64"), (std::vector<std::string>{"A"}));

  Manager->RemoveProfile(Elsewhere);  // no "Android" list here: nothing at all
  EXPECT_EQ(Events.Log.size(), 1u);
}

TEST_F(ProfileManager, SetAsDefaultOfTheFirstProfileChangesNothing) {
  const auto A = Add(*Manager, "A", "Linux64");
  Add(*Manager, "B", "Linux64");
  TEventRecorder Events;
  Manager->SetAsDefaultForPlatform(A);
  EXPECT_EQ(NamesOf(*Manager, "Linux64"), (std::vector<std::string>{"A", "B"}));
  EXPECT_TRUE(Events.Log.empty());
}

TEST_F(ProfileManager, SetAsDefaultMovesTheProfileToTheFrontWithoutNotification) {
  Add(*Manager, "A", "Linux64");
  Add(*Manager, "B", "Linux64");
  const auto C = Add(*Manager, "C", "Linux64");
  TEventRecorder Events;
  Manager->SetAsDefaultForPlatform(C);
  EXPECT_EQ(NamesOf(*Manager, "Linux64"), (std::vector<std::string>{"C", "A", "B"}));
  EXPECT_TRUE(Events.Log.empty());
  Manager->SetAsDefaultForPlatform(nullptr);
}

TEST_F(ProfileManager, GetProfileByIndexOutOfRangeIsNil) {
  Add(*Manager, "A", "Linux64");
  EXPECT_EQ(Manager->GetProfile("Linux64", -1), nullptr);
  EXPECT_EQ(Manager->GetProfile("Linux64", 1), nullptr);
  EXPECT_EQ(Manager->GetProfile("Android", 0), nullptr);
  EXPECT_EQ(Manager->GetProfileCount("Android"), 0);
}

TEST_F(ProfileManager, GetProfileByNameIgnoresCase) {
  const auto Mac = Add(*Manager, "Office Mac", "OSX32");
  EXPECT_EQ(Manager->GetProfile("office mac"), Mac);
  EXPECT_EQ(Manager->GetProfile("OFFICE MAC"), Mac);
  EXPECT_EQ(Manager->GetProfile("Office"), nullptr);
}

TEST_F(ProfileManager, RenamedProfileIsFoundUnderItsNewNameOnly) {
  const auto Mac = Add(*Manager, "Mac", "OSX32");
  Mac->SetName("Studio");
  EXPECT_EQ(Manager->GetProfile("studio"), Mac);
  EXPECT_EQ(Manager->GetProfile("Mac"), nullptr);
  EXPECT_EQ(RaisedMessage([&] { Add(*Manager, "STUDIO", "Android"); }), "A profile named 'STUDIO' already exists");
  EXPECT_NO_THROW(Add(*Manager, "Mac", "Android"));
}

TEST_F(ProfileManager, ChangingPlatformRefilesAtTheEndOfTheNewList) {
  Add(*Manager, "L1", "Linux64");
  const auto A = Add(*Manager, "A", "Android");
  TEventRecorder Events;
  A->SetPlatformName("Linux64");
  EXPECT_EQ(NamesOf(*Manager, "Linux64"), (std::vector<std::string>{"L1", "A"}));
  EXPECT_EQ(Manager->GetProfileCount("Android"), 0);
  EXPECT_EQ(Events.Log, (std::vector<std::string>{"Changed(A)"}));  // re-filing sends nothing of its own
}

TEST_F(ProfileManager, ChangingPlatformToIOSDeviceDirectlyRaisesTheDuplicateError) {
  const auto A = Add(*Manager, "Phone", "Android");
  EXPECT_EQ(RaisedMessage([&] { A->SetPlatformName("iOSDevice"); }), "A profile named 'Phone' already exists");
  EXPECT_EQ(A->GetPlatformName(), "OSX32");
  EXPECT_EQ(NamesOf(*Manager, "OSX32"), (std::vector<std::string>{"Phone"}));
  EXPECT_EQ(Manager->GetProfileCount("Android"), 0);
}

TEST_F(ProfileManager, AddExistingProfileObjectAppendsWithoutNotification) {
  const auto Other = TRemoteProfileManager::Create(nullptr);
  const auto Foreign = Add(*Other, "Foreign", "iOSSimulator");
  TEventRecorder Events;
  Manager->AddProfile(Foreign);
  EXPECT_EQ(NamesOf(*Manager, "OSX32"), (std::vector<std::string>{"Foreign"}));
  EXPECT_TRUE(Events.Log.empty());
  EXPECT_EQ(RaisedMessage([&] { Manager->AddProfile(Foreign); }), "A profile named 'Foreign' already exists");
}

TEST_F(ProfileManager, WriteEnvOptionsRecordsDefaultsInTheHostsPlatformOrder) {
  Add(*Manager, "Mac", "OSX32");
  Add(*Manager, "Local", "Win32");
  Add(*Manager, "Box", "Linux64");
  Manager->WriteEnvOptions();
  EXPECT_EQ(EnvFile->Log, (std::vector<std::string>{
                              "Begin",
                              "Group '$(Platform)'=='Win32'",
                              "Set DefaultProfile=",
                              "Group '$(Platform)'=='Win64'",
                              "Set DefaultProfile=",
                              "Group '$(Profile)'=='' And '$(Platform)'=='OSX32'",
                              "Set Profile=Mac",
                              "Group '$(Profile)'=='' And '$(Platform)'=='iOSDevice'",
                              "Set Profile=Mac",
                              "Group '$(Profile)'=='' And '$(Platform)'=='iOSSimulator'",
                              "Set Profile=Mac",
                              "Group '$(Platform)'=='Android'",
                              "Set DefaultProfile=",
                              "Group '$(Profile)'=='' And '$(Platform)'=='Linux64'",
                              "Set Profile=Box",
                              "End",
                          }));
}

TEST_F(ProfileManager, WriteEnvOptionsLeavesTheProfilePropertyOfAPlatformThatLostItsLastProfile) {
  // Part 1.2 as written: "Profile" is written only for a platform with a default; without one
  // only the other group's "DefaultProfile" is emptied. So the build-environment file keeps the
  // removed name in "Profile" (docs/DECISIONS.md).
  const auto Mac = Add(*Manager, "Mac", "OSX32");
  Manager->WriteEnvOptions();
  const std::vector<std::string> FirstSave = EnvFile->Log;
  Manager->RemoveProfile(Mac);
  EXPECT_EQ(Manager->GetDefaultForPlatform("OSX32"), nullptr);
  EnvFile->Log.clear();
  Manager->WriteEnvOptions();
  EXPECT_EQ(EnvFile->Log, (std::vector<std::string>{
                              "Begin",
                              "Group '$(Platform)'=='Win32'",
                              "Set DefaultProfile=",
                              "Group '$(Platform)'=='Win64'",
                              "Set DefaultProfile=",
                              "Group '$(Platform)'=='OSX32'",
                              "Set DefaultProfile=",
                              "Group '$(Platform)'=='iOSDevice'",
                              "Set DefaultProfile=",
                              "Group '$(Platform)'=='iOSSimulator'",
                              "Set DefaultProfile=",
                              "Group '$(Platform)'=='Android'",
                              "Set DefaultProfile=",
                              "Group '$(Platform)'=='Linux64'",
                              "Set DefaultProfile=",
                              "End",
                          }));
  // The properties a file holds after both saves, each write applied in order.
  std::map<std::string, std::map<std::string, std::string>> File;
  std::string Group;
  std::vector<std::string> Writes = FirstSave;
  Writes.insert(Writes.end(), EnvFile->Log.begin(), EnvFile->Log.end());
  for (const std::string& Line : Writes) {
    if (Line.rfind("Group ", 0) == 0) Group = Line.substr(6);
    if (Line.rfind("Set ", 0) != 0) continue;
    const std::size_t Eq = Line.find('=');
    File[Group][Line.substr(4, Eq - 4)] = Line.substr(Eq + 1);
  }
  EXPECT_EQ(File["'$(Profile)'=='' And '$(Platform)'=='OSX32'"]["Profile"], "Mac");  // the removed name
  EXPECT_EQ(File["'$(Profile)'=='' And '$(Platform)'=='iOSDevice'"]["Profile"], "Mac");
  EXPECT_EQ(File["'$(Platform)'=='OSX32'"]["DefaultProfile"], "");
}

TEST_F(ProfileManager, ProfilesOutliveTheirEditableCopy) {
  IOTARemoteProfilePtr Survivor;
  {
    auto Copy = TRemoteProfileManager::Create(nullptr);
    Survivor = Add(*Copy, "Survivor", "Linux64");
  }
  TEventRecorder Events;
  Survivor->SetHostName("still.here");  // the callback finds no manager and does nothing
  EXPECT_EQ(Survivor->GetHostName(), "still.here");
  EXPECT_TRUE(Events.Log.empty());
}

TEST_F(ProfileManager, ParentPlatformMapping) {
  EXPECT_EQ(ParentPlatform("iOSSimulator"), "OSX32");
  EXPECT_EQ(ParentPlatform("iosdevice"), "OSX32");
  EXPECT_EQ(ParentPlatform("OSX64"), "OSX64");
  EXPECT_EQ(ParentPlatform("win32"), "win32");
}

// Parts 6.1 and 6.2: the toolkit-independent profile commands of src/ui/ProfileCommands.
#include <fstream>

#include <gtest/gtest.h>

#include "core/ResourceStrings.h"
#include "doubles/HostDoubles.h"
#include "ui/ProfileCommands.h"

namespace {

class ProfileCommands : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Manager = TRemoteProfileManager::Create(nullptr);
  }
  IOTARemoteProfilePtr Add(const std::string& Name, const std::string& Platform, const std::string& Root = "") {
    return Manager->AddProfile(Name, Platform, "host", 64211, {}, Root, {}, false);
  }
  std::vector<std::string> Names(const std::string& Platform) const {
    std::vector<std::string> Result;
    for (std::int32_t I = 0; I < Manager->GetProfileCount(Platform); ++I)
      Result.push_back(Manager->GetProfile(Platform, I)->GetName());
    return Result;
  }
  TRemoteProfileManagerPtr Manager;
};

TEST_F(ProfileCommands, TrimRemovesBlanksAndControlCharactersAtBothEnds) {
  EXPECT_EQ(TrimText("  \t Mac \r\n"), "Mac");
  EXPECT_EQ(TrimText("a b"), "a b");
  EXPECT_EQ(TrimText("   "), "");
}

TEST_F(ProfileCommands, PlatformChoicesHideLinux32AndroidAndTheIosTargets) {
  EXPECT_EQ(PlatformChoices(), (std::vector<std::string>{"Win32", "Win64", "OSX32", "Linux64"}));
  EXPECT_TRUE(IsPlatformChoice("OSX32"));
  EXPECT_FALSE(IsPlatformChoice("iOSDevice"));
  EXPECT_FALSE(IsPlatformChoice("osx32"));
}

TEST_F(ProfileCommands, FirstProfileOfAPlatformIsForcedDefault) {
  EXPECT_EQ(DefaultCheckFor(*Manager, "OSX32"), TDefaultCheck::ForcedOn);
  EXPECT_TRUE(NewProfileIsDefault(*Manager, "OSX32", false));
  Add("Mac", "OSX32");
  EXPECT_EQ(DefaultCheckFor(*Manager, "OSX32"), TDefaultCheck::Optional);
  EXPECT_FALSE(NewProfileIsDefault(*Manager, "OSX32", false));
  EXPECT_TRUE(NewProfileIsDefault(*Manager, "OSX32", true));
}

TEST_F(ProfileCommands, WindowsPlatformsNeverGetADefaultFromTheWizard) {
  EXPECT_EQ(DefaultCheckFor(*Manager, "Win32"), TDefaultCheck::Hidden);
  EXPECT_FALSE(NewProfileIsDefault(*Manager, "Win32", true));
  EXPECT_FALSE(NewProfileIsDefault(*Manager, "Win64", true));
}

TEST_F(ProfileCommands, AddNewProfileTrimsTheNameAndTakesTheDefaultPaths) {
  TNewProfileSettings Settings;
  Settings.Name = "  Sim  ";
  Settings.PlatformName = "Linux64";
  Settings.HostName = " box ";
  const IOTARemoteProfilePtr First = AddNewProfile(*Manager, Settings);
  ASSERT_TRUE(First);
  EXPECT_EQ(First->GetName(), "Sim");
  EXPECT_EQ(First->GetHostName(), "box");
  EXPECT_EQ(First->GetPortNumber(), 64211);
  EXPECT_TRUE(First->GetPaths().empty());  // Linux64 has no built-in list (Part 2.3)

  Settings.Name = "Mac";
  Settings.PlatformName = "OSX32";
  const IOTARemoteProfilePtr Mac = AddNewProfile(*Manager, Settings);
  ASSERT_TRUE(Mac);
  ASSERT_EQ(Mac->GetPaths().size(), 66u);
  EXPECT_EQ(Mac->GetPaths()[0].Path, "/usr/include");
}

TEST_F(ProfileCommands, AddNewProfileMakesTheFirstOfAPlatformDefaultAndLaterOnlyWhenAsked) {
  TNewProfileSettings Settings;
  Settings.PlatformName = "Linux64";
  Settings.Name = "A";
  AddNewProfile(*Manager, Settings);
  Settings.Name = "B";
  AddNewProfile(*Manager, Settings);
  EXPECT_EQ(Names("Linux64"), (std::vector<std::string>{"A", "B"}));
  Settings.Name = "C";
  Settings.AsDefault = true;
  AddNewProfile(*Manager, Settings);
  EXPECT_EQ(Names("Linux64"), (std::vector<std::string>{"C", "A", "B"}));
}

TEST_F(ProfileCommands, AddNewProfileForWin64KeepsItLastEvenWhenAskedForDefault) {
  TNewProfileSettings Settings;
  Settings.PlatformName = "Win64";
  Settings.Name = "W1";
  AddNewProfile(*Manager, Settings);
  Settings.Name = "W2";
  Settings.AsDefault = true;
  AddNewProfile(*Manager, Settings);
  EXPECT_EQ(Names("Win64"), (std::vector<std::string>{"W1", "W2"}));
}

TEST_F(ProfileCommands, AddNewProfileWithABlankNameShowsTheMessageAndAddsNothing) {
  TNewProfileSettings Settings;
  Settings.Name = "   ";
  Settings.PlatformName = "Linux64";
  EXPECT_FALSE(AddNewProfile(*Manager, Settings));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "Profile name cannot be blank");
  EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtError);
  EXPECT_EQ(Manager->GetProfileCount("Linux64"), 0);
}

TEST_F(ProfileCommands, AddNewProfileWithADuplicateNameInOtherCaseIsRefused) {
  Add("Mac", "OSX32");
  TNewProfileSettings Settings;
  Settings.Name = "mac";
  Settings.PlatformName = "Linux64";
  EXPECT_FALSE(AddNewProfile(*Manager, Settings));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "A profile named 'mac' already exists");
}

TEST_F(ProfileCommands, CopyTakesEverySettingAndItsOwnPathItems) {
  const IOTARemoteProfilePtr Source =
      Manager->AddProfile("Mac", "OSX32", "mac.local", 7000, {"secret", true, true}, "C:\\SDKs\\Mac\\x",
                          TOTARemoteProfilePathArray{{"/usr/include", "*", false, ptIncludePath}}, false);
  const IOTARemoteProfilePtr Copy = CopyProfile(*Manager, Source, " Mac2 ");
  ASSERT_TRUE(Copy);
  EXPECT_EQ(Copy->GetName(), "Mac2");
  EXPECT_EQ(Copy->GetPlatformName(), "OSX32");
  EXPECT_EQ(Copy->GetHostName(), "mac.local");
  EXPECT_EQ(Copy->GetPortNumber(), 7000);
  EXPECT_EQ(Copy->GetCredential(), (TOTARemoteProfileCredential{"secret", true, true}));
  EXPECT_EQ(Copy->GetSystemRoot(), "C:\\SDKs\\Mac2\\x");
  EXPECT_TRUE(Copy->GetPaths().SameItems(Source->GetPaths()));
  EXPECT_FALSE(Copy->GetPaths().SameArray(Source->GetPaths()));
  EXPECT_EQ(Names("OSX32"), (std::vector<std::string>{"Mac", "Mac2"}));
}

TEST_F(ProfileCommands, CopyUnderAnExistingNameIsRefusedWithTheManagersMessage) {
  const IOTARemoteProfilePtr Source = Add("Mac", "OSX32");
  EXPECT_FALSE(CopyProfile(*Manager, Source, "MAC"));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "A profile named 'MAC' already exists");
}

TEST_F(ProfileCommands, RenameThatOnlyChangesCaseDoesNothing) {
  const IOTARemoteProfilePtr Mac = Add("Mac", "OSX32");
  TRenameMap Renames;
  EXPECT_EQ(RenameProfile(*Manager, Mac, "MAC", Renames), TRenameResult::Unchanged);
  EXPECT_EQ(Mac->GetName(), "Mac");
  EXPECT_TRUE(Renames.Entries().empty());
  EXPECT_TRUE(Messages->Shown.empty());
}

TEST_F(ProfileCommands, RenameAndBackLeavesNoEntryInTheRenameMap) {
  const IOTARemoteProfilePtr Mac = Add("Mac", "OSX32");
  TRenameMap Renames;
  EXPECT_EQ(RenameProfile(*Manager, Mac, "Build", Renames), TRenameResult::Renamed);
  EXPECT_EQ(Renames.Entries(), (std::vector<std::pair<std::string, std::string>>{{"Mac", "Build"}}));
  EXPECT_EQ(RenameProfile(*Manager, Mac, "Build2", Renames), TRenameResult::Renamed);
  EXPECT_EQ(Renames.Entries(), (std::vector<std::pair<std::string, std::string>>{{"Mac", "Build2"}}));
  EXPECT_EQ(RenameProfile(*Manager, Mac, "Mac", Renames), TRenameResult::Renamed);
  EXPECT_TRUE(Renames.Entries().empty());
  EXPECT_EQ(Mac->GetName(), "Mac");
}

TEST_F(ProfileCommands, RenameToAnInvalidNameIsRefusedWithTheFileNameMessage) {
  const IOTARemoteProfilePtr Mac = Add("Mac", "OSX32");
  TRenameMap Renames;
  EXPECT_EQ(RenameProfile(*Manager, Mac, "a/b", Renames), TRenameResult::Refused);
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "'a/b' is not a valid profile name.  A profile name must be a valid filename");
  EXPECT_EQ(Mac->GetName(), "Mac");
}

TEST_F(ProfileCommands, DeleteAsksAndRemovesOnlyOnYes) {
  const IOTARemoteProfilePtr Mac = Add("Mac", "OSX32");
  TRenameMap Renames;
  Messages->Answers = {TMsgDlgBtn::mbNo};
  EXPECT_FALSE(DeleteProfile(*Manager, Mac, Renames));
  EXPECT_EQ(Manager->GetProfileCount("OSX32"), 1);
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "Are you sure you want to delete the profile named 'Mac'?");
  EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtConfirmation);
  EXPECT_EQ(Messages->Shown[0].Buttons, (TMsgDlgButtons{TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo}));

  RenameProfile(*Manager, Mac, "Build", Renames);
  Messages->Answers = {TMsgDlgBtn::mbYes};
  EXPECT_TRUE(DeleteProfile(*Manager, Mac, Renames));
  EXPECT_EQ(Manager->GetProfileCount("OSX32"), 0);
  EXPECT_TRUE(Renames.Entries().empty());
}

TEST_F(ProfileCommands, SetAsDefaultIsOfferedOnlyForNonWindowsProfilesNotYetDefault) {
  const IOTARemoteProfilePtr A = Add("A", "OSX32");
  const IOTARemoteProfilePtr B = Add("B", "OSX32");
  const IOTARemoteProfilePtr W = Add("W", "Win32");
  Add("W2", "Win32");
  EXPECT_FALSE(CanSetAsDefault(*Manager, A));
  EXPECT_TRUE(CanSetAsDefault(*Manager, B));
  EXPECT_FALSE(CanSetAsDefault(*Manager, W));
  EXPECT_FALSE(CanSetAsDefault(*Manager, Manager->GetProfile("Win32", 1)));
}

TEST_F(ProfileCommands, PortCheckAcceptsZeroTo65535Only) {
  std::int32_t Port = -1;
  EXPECT_TRUE(CheckPortNumber("0", Port));
  EXPECT_EQ(Port, 0);
  EXPECT_TRUE(CheckPortNumber(" 65535 ", Port));
  EXPECT_EQ(Port, 65535);
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_FALSE(CheckPortNumber("65536", Port));
  EXPECT_FALSE(CheckPortNumber("-1", Port));
  EXPECT_FALSE(CheckPortNumber("22x", Port));
  EXPECT_FALSE(CheckPortNumber("", Port));
  EXPECT_EQ(Port, 65535);
  ASSERT_EQ(Messages->Shown.size(), 4u);
  EXPECT_EQ(Messages->Shown[0].Text, "'65536' is not a valid port number (a whole number from 0 to 65535)");
}

TEST_F(ProfileCommands, HostNameAndPathItemChecksRefuseBlanks) {
  EXPECT_TRUE(CheckHostName("mac"));
  EXPECT_FALSE(CheckHostName("  "));
  EXPECT_TRUE(CheckPathItem({"/usr", "*", false, ptIncludePath}));
  EXPECT_FALSE(CheckPathItem({"/usr", " ", false, ptIncludePath}));
  ASSERT_EQ(Messages->Shown.size(), 2u);
  EXPECT_EQ(Messages->Shown[0].Text, sHostNameBlank);
  EXPECT_EQ(Messages->Shown[1].Text, sHostPathItemBlank);
}

TEST_F(ProfileCommands, CommitAppliesRenamesToTheSameLiveObjectAndRemovesDeletedOnes) {
  const TRemoteProfileManagerPtr Live = TRemoteProfileManager::Create(nullptr);
  const IOTARemoteProfilePtr LiveMac = Live->AddProfile("Mac", "OSX32", "h", 1, {}, "", {}, false);
  const IOTARemoteProfilePtr LiveOld = Live->AddProfile("Old", "OSX32", "h", 1, {}, "", {}, false);
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(Live);
  ASSERT_EQ(Copy->GetProfileCount("OSX32"), 2);
  EXPECT_NE(Copy->GetProfile("Mac"), LiveMac);

  TRenameMap Renames;
  ASSERT_EQ(RenameProfile(*Copy, Copy->GetProfile("Mac"), "Build", Renames), TRenameResult::Renamed);
  Copy->GetProfile("Build")->SetHostName("new.host");
  Messages->Answers = {TMsgDlgBtn::mbYes};
  ASSERT_TRUE(DeleteProfile(*Copy, Copy->GetProfile("Old"), Renames));
  CommitWorkingCopy(*Live, Copy, Renames);

  EXPECT_EQ(Live->GetProfile("Build"), LiveMac);
  EXPECT_EQ(LiveMac->GetHostName(), "new.host");
  EXPECT_FALSE(Live->GetProfile("Old"));
  EXPECT_EQ(Live->GetProfileCount("OSX32"), 1);
}

TEST_F(ProfileCommands, ExportAppendsTheExtensionAndAsksBeforeReplacingAFile) {
  const IOTARemoteProfilePtr Mac = Add("Mac", "OSX32");
  const std::string Existing = (TempDir / "mac.profile").string();
  std::ofstream(Existing) << "keep";
  std::string FileName = (TempDir / "mac").string();
  Messages->Answers = {TMsgDlgBtn::mbNo};
  EXPECT_FALSE(ExportProfile(*Manager, Mac, FileName));
  EXPECT_EQ(FileName, Existing);
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "File '" + Existing + "' already exists.  Do you want to replace it?");
  std::ifstream In(Existing);
  std::string Content;
  In >> Content;
  EXPECT_EQ(Content, "keep");
}

}  // namespace

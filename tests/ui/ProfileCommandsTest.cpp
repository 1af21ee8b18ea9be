// The toolkit-independent profile commands of the options page and the new-profile wizard.
#include <gtest/gtest.h>

#include <fstream>

#include "doubles/HostDoubles.h"
#include "doubles/ProfileFileLibrary.h"
#include "ui/ProfileCommands.h"

namespace {

using Texts = std::vector<std::string>;

class ProfileCommands : public THostFixture {
 protected:
  IOTARemoteProfilePtr Add(const std::string& Name, const std::string& Platform = "OSX32", bool AsDefault = false) {
    TNewProfileSettings Settings;
    Settings.Name = Name, Settings.PlatformName = Platform, Settings.HostName = " box ", Settings.AsDefault = AsDefault;
    return AddNewProfile(*Manager, Settings);
  }
  Texts Shown() const {
    Texts Result;
    for (const auto& Message : Messages->Shown) Result.push_back(Message.Text);
    return Result;
  }
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(nullptr);
};

TEST_F(ProfileCommands, TheHostsChecksReportEachRefusal) {
  std::int32_t Port = -1;
  for (const std::string Refused : {"65536", "-1", "22x", ""}) {
    EXPECT_FALSE(CheckPortNumber(Refused, Port));
    EXPECT_EQ(Shown().back(), "'" + Refused + "' is not a valid port number (a whole number from 0 to 65535)");
  }
  EXPECT_TRUE(CheckPortNumber("0", Port) && CheckPortNumber(" 65535 ", Port) && CheckHostName("mac") &&
              CheckPathItem({"/usr", "*", false, ptIncludePath}));
  EXPECT_EQ(Port, 65535);
  EXPECT_FALSE(CheckHostName(" \t\r\n") || CheckPathItem({"/usr", " ", false, ptIncludePath}));
  EXPECT_EQ(Messages->Shown[4].Text, "Host name cannot be blank");
  EXPECT_EQ(Messages->Shown[5].Text, "The path and the file mask of a path item cannot be blank");
}

TEST_F(ProfileCommands, TheWizardOffersTheVisiblePlatformsAndMakesTheFirstOfEachItsDefault) {
  EXPECT_EQ(PlatformChoices(), (Texts{"Win32", "Win64", "OSX32", "Linux64"}));
  EXPECT_EQ(DefaultCheckFor(*Manager, "Win32"), TDefaultCheck::Hidden);
  EXPECT_EQ(DefaultCheckFor(*Manager, "Linux64"), TDefaultCheck::ForcedOn);
  ASSERT_TRUE(Add("A", "Linux64") && Add("B", "Linux64") && Add("C", "Linux64", true) && Add("W1", "Win64") &&
              Add("W2", "Win64", true));
  EXPECT_EQ(DefaultCheckFor(*Manager, "Linux64"), TDefaultCheck::Optional);
  EXPECT_EQ(Manager->GetProfile("Linux64", 0)->GetName() + Manager->GetProfile("Win64", 0)->GetName(), "CW1");
  EXPECT_TRUE(CanSetAsDefault(*Manager, Manager->GetProfile("A")));
  EXPECT_FALSE(CanSetAsDefault(*Manager, Manager->GetProfile("C")) ||
               CanSetAsDefault(*Manager, Manager->GetProfile("W1")));
}

TEST_F(ProfileCommands, NewAndCopiedProfilesGetTrimmedNamesTheManagerAccepts) {
  const auto Mac = Add("  Mac  ");
  EXPECT_EQ(Mac->GetName() + "|" + Mac->GetHostName(), "Mac|box");
  EXPECT_EQ(Mac->GetPaths().size(), 66u);  // the platform's default paths
  Mac->SetSystemRoot("C:\\SDKs\\Mac\\x");
  const auto Copy = CopyProfile(*Manager, Mac, " Mac2 ");
  EXPECT_EQ(Copy->GetName() + "|" + Copy->GetHostName() + "|" + Copy->GetSystemRoot(), "Mac2|box|C:\\SDKs\\Mac2\\x");
  EXPECT_TRUE(Copy->GetPaths().SameItems(Mac->GetPaths()));
  EXPECT_FALSE(Copy->GetPaths().SameArray(Mac->GetPaths()));
  EXPECT_FALSE(Add("   ") || Add("mac", "Linux64") || CopyProfile(*Manager, Mac, "MAC"));
  EXPECT_EQ(Shown(), (Texts{"Profile name cannot be blank", "A profile named 'mac' already exists",
                            "A profile named 'MAC' already exists"}));
}

TEST_F(ProfileCommands, RenamesAndDeletesOfAWorkingCopyReachTheSameLiveProfilesOnCommit) {
  const auto LiveMac = Manager->AddProfile("Mac", "OSX32", "h", 1, {}, "", {}, false);
  Manager->AddProfile("Old", "OSX32", "h", 1, {}, "", {}, false);
  const auto Copy = MakeWorkingCopy(Manager);
  const auto Mac = Copy->GetProfile("Mac"), Old = Copy->GetProfile("Old");
  TRenameMap Renames;
  const std::vector<std::pair<std::string, TRenameResult>> Steps{
      {"MAC", TRenameResult::Unchanged},  // case only
      {"a/b", TRenameResult::Refused},    {"Build", TRenameResult::Renamed},
      {"Mac", TRenameResult::Renamed},  // back again
      {"Build2", TRenameResult::Renamed}, {"Build", TRenameResult::Renamed}};
  RenameProfile(*Copy, Old, "Older", Renames);
  for (const auto& [Name, Result] : Steps) EXPECT_EQ(RenameProfile(*Copy, Mac, Name, Renames), Result) << Name;
  EXPECT_EQ(Renames.Entries(), (std::vector<std::pair<std::string, std::string>>{{"Old", "Older"}, {"Mac", "Build"}}));
  Mac->SetHostName("new.host");
  Messages->Answers = {TMsgDlgBtn::mbNo, TMsgDlgBtn::mbYes};
  EXPECT_FALSE(DeleteProfile(*Copy, Old, Renames));
  EXPECT_TRUE(DeleteProfile(*Copy, Old, Renames));
  EXPECT_EQ(Renames.Entries().size(), 1u);  // a deleted profile's renames are forgotten
  EXPECT_EQ(Shown().back(), "Are you sure you want to delete the profile named 'Older'?");
  CommitWorkingCopy(*Manager, Copy, Renames);
  EXPECT_EQ(Manager->GetProfile("Build"), LiveMac);
  EXPECT_EQ(LiveMac->GetHostName(), "new.host");
  EXPECT_EQ(Manager->GetProfileCount("OSX32"), 1);
}

TEST_F(ProfileCommands, ExportAsksBeforeReplacingAFileAndImportTakesOnlyAPlatformOfTheCombo) {
  Host.AgentLibrary = std::make_shared<TProfileFileLibrary>();
  Reinstall();
  const std::string Existing = (TempDir / "mac.profile").string(), Box = (TempDir / "box.profile").string();
  std::ofstream(Existing) << "keep";
  const auto Mac = Manager->AddProfile("Mac", "Android", "h", 1, {"enc:00", true, true}, "", {}, false);
  Messages->Answers = {TMsgDlgBtn::mbNo, TMsgDlgBtn::mbYes};
  for (const bool Written : {false, true}) {
    std::string FileName = (TempDir / "mac").string();  // the extension is appended
    EXPECT_EQ(ExportProfile(*Manager, Mac, FileName), Written);
    EXPECT_EQ(FileName, Existing);
    EXPECT_EQ(std::filesystem::file_size(Existing) != 4, Written);
  }
  std::string FileName = Box;
  EXPECT_TRUE(ExportProfile(*Manager, Manager->AddProfile("Box", "Linux64", "h", 1, {}, "", {}, false), FileName));
  const auto Other = TRemoteProfileManager::Create(nullptr);
  IOTARemoteProfilePtr Imported;
  EXPECT_EQ(ImportProfile(*Other, Box, Imported), TImportResult::Imported);
  EXPECT_EQ(ImportProfile(*Other, Existing, Imported), TImportResult::InvalidPlatform);
  EXPECT_EQ(ImportProfile(*Other, Existing + ".gone", Imported), TImportResult::NotTaken);
  const std::string Replace = "File '" + Existing + "' already exists.  Do you want to replace it?";
  EXPECT_EQ(Shown(), (Texts{Replace, Replace, "The imported profile has an invalid platform"}));
}

}  // namespace

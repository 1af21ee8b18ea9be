// Profile files: their names, LoadProfileFile, import (LoadProfile), export (SaveProfile
// with a file name) and MergeRemoteProfile.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PersistenceFixture.h"
#include "common/AtomicFile.h"

namespace {

using ::testing::ThrowsMessage;

class ProfileFiles : public TPersistenceFixture {
 protected:
  void TearDown() override {
    hestrel::SetAtomicWriteHookForTesting(nullptr);
    TPersistenceFixture::TearDown();
  }
  /// LoadProfileFile of FileName with the out values prefilled, to see what is left alone.
  bool LoadFile(const std::string& FileName, bool Confirm = true) {
    Name = "prefilled";
    Port = -5;
    return M->LoadProfileFile(FileName, Name, Platform, HostName, Port, Credential, LocalRoot, Paths, Confirm);
  }
  TRemoteProfileManagerPtr M = TRemoteProfileManager::Create(nullptr);
  std::string Name, Platform, HostName, LocalRoot;
  std::int32_t Port = 0;
  TOTARemoteProfileCredential Credential;
  TOTARemoteProfilePathArray Paths{{"/stale", "*", false, ptIncludePath}};
};

TEST_F(ProfileFiles, ANameHasAFileInTheApplicationDataDirectoryExactlyWhenTheManagerTakesIt) {
  std::string Accented;  // 124 two-byte characters: 248 bytes, one more than "<name>.profile" leaves
  for (int I = 0; I < 124; ++I) Accented += "\xc3\xa9";
  const TNames Taken{"Mac mini", "Zoë 東京", "a;b=c#[d]", "..a", std::string(247, 'L'), Accented.substr(0, 246)};
  const TNames Refused{"..",   " . ",   "../evil", "a/b",    "a\\b",   "/etc/passwd",        "C:\\x",
                       "why?", "a\x01", "a\x1f",   "tab\tx", Accented, std::string(248, 'L')};
  M = TRemoteProfileManager::Create(Ini);
  std::string Message;
  for (const std::string& Name : Taken) {
    EXPECT_EQ(M->InternalValidateProfileName(Name, Message), pnveNone) << Name;
    EXPECT_EQ(TRemoteProfileManager::GetProfileFileName(Name), (AppData() / (Name + ".profile")).string());
    M->AddProfile(Name, "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
  }
  for (const std::string& Name : Refused) {
    EXPECT_EQ(M->InternalValidateProfileName(Name, Message), pnveBadFileName) << Name;
    EXPECT_EQ(TRemoteProfileManager::GetProfileFileName(Name), "") << Name;
    EXPECT_FALSE(M->LoadProfile(WriteProfileFile("bad.profile", Name, "OSX32"))) << Name;
    ExpectOneMessage("'" + Name + "' is not a valid profile name.  A profile name must be a valid filename");
    EXPECT_THROW(M->SaveProfileFile("", Name, "OSX32", "h", 1, {}, "", {}, {}, {}, {}), EProfileFileError);
  }
  std::vector<std::string> Temporaries;
  hestrel::SetAtomicWriteHookForTesting([&](const std::string& Temp, const std::string&) {
    Temporaries.push_back(fs::path(Temp).filename().string());
    return std::string();
  });
  M->SaveOptions(*Ini);
  for (const std::string& Temp : Temporaries)  // at most 255 bytes, and still known as a profile's
    EXPECT_TRUE(Temp.size() <= 255 && Temp.substr(0, Temp.size() - 6).ends_with(".profile.tmp-")) << Temp;
  for (const std::string& Name : Taken) EXPECT_TRUE(fs::is_regular_file(AppData() / (Name + ".profile"))) << Name;
  EXPECT_FALSE(fs::exists(AppData().parent_path() / "evil.profile"));
  EXPECT_EQ(NamesOf(*TRemoteProfileManager::Create(Ini), "OSX32"), Taken);
  EXPECT_TRUE(Messages->Shown.empty());
  Environment->AppDataDir += "/";
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName("Mac"), AppData().string() + "Mac.profile");
  Environment->AppDataDir = "";  // the host answers no directory
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName("Mac"), "");
  Host.Environment = nullptr;  // no host environment at all
  Reinstall();
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName("Mac"), "");
}

TEST_F(ProfileFiles, LoadProfileFileFillsEveryValueButThePathsAndNamesANamelessFileAfterItself) {
  ASSERT_TRUE(LoadFile(WriteProfileFile("x.profile", "Mac", "iOSDevice", "mac.local", {"enc:01", true, true})));
  EXPECT_EQ(Name + "|" + Platform + "|" + HostName + "|" + LocalRoot, "Mac|iOSDevice|mac.local|/cache/Mac");
  EXPECT_EQ(Port, 4000);
  EXPECT_EQ(Credential, (TOTARemoteProfileCredential{"enc:01", true, true}));
  EXPECT_TRUE(Paths.empty());
  WriteText(AppData() / "office.mac.profile",  // a file without a name line
            "HestrelProfile 1\nPlatform = \"OSX32\"\nHost = \"mac.office\"\nPort = 64211\n"
            "Credential = Password \"enc:00\" Encrypted\nSysRoot = \"/cache/office\"\nEnd\n");
  const auto P = M->LoadProfile((AppData() / "office.mac.profile").string());
  ASSERT_TRUE(P);
  EXPECT_EQ(P->GetName() + "|" + P->GetHostName(), "office.mac|mac.office");
  EXPECT_EQ(M->GetProfilePlatformName((AppData() / "office.mac.profile").string()), "OSX32");
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_FALSE(LoadFile(WriteProfileFile(".profile", "", "OSX32")));
  ExpectOneMessage("Profile name cannot be blank");
}

TEST_F(ProfileFiles, DamagedMissingOrUnreadableFilesAreNotTakenAndSayNothing) {
  std::ifstream In(WriteProfileFile("valid.profile", "Mac", "OSX32"), std::ios::binary);
  const std::string Valid(std::istreambuf_iterator<char>(In), {});
  TNames Files{(AppData() / "missing.profile").string(), (AppData() / "dir.profile").string()};
  fs::create_directory(Files[1]);
  for (const std::string& Text :  // empty, cut off, binary, oversized, of a later version, damaged
       {std::string(), Valid.substr(0, Valid.size() / 2), std::string("\177ELF\2\1\1\0\0\0\377\376", 12),
        Valid.substr(0, Valid.size() - 4) + std::string(1024 * 1024, '#') + "\nEnd\n",
        "HestrelProfile 2" + Valid.substr(16), std::string("HestrelProfile 1\nName = \"Mac\nEnd\n")})
    WriteText(Files.emplace_back((AppData() / (std::to_string(Files.size()) + ".profile")).string()), Text);
  for (const std::string& File : Files) {
    EXPECT_FALSE(LoadFile(File)) << File;
    EXPECT_EQ(Name + std::to_string(Port), "prefilled-5") << File;
    EXPECT_FALSE(M->LoadProfile(File)) << File;
  }
  EXPECT_EQ(M->GetProfilePlatformName((AppData() / "missing.profile").string()), "");
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_TRUE(M->GetProfiles().empty());
  Host.AgentLibrary = nullptr;  // without an agent library no file is read at all
  Reinstall();
  EXPECT_FALSE(LoadFile((AppData() / "valid.profile").string()));
}

TEST_F(ProfileFiles, ImportOfAHeldNameAsksAndYesReplacesAllButThePathItems) {
  M = TRemoteProfileManager::Create(Ini);
  const TOTARemoteProfilePathArray HeldPaths{{"/p", "*", false, ptIncludePath}};
  const auto Held = M->AddProfile("Mac", "OSX32", "old", 1, {"enc:00", true, true}, "/old", HeldPaths, false);
  const auto Other = M->AddProfile("Box", "Linux64", "box", 3, {"enc:01", true, true}, "/box", {}, false);
  const std::string File = WriteProfileFile("in.profile", "mac", "Linux64", "new", {"/f", false, true});
  Ini->Log.clear();
  Messages->Answers = {TMsgDlgBtn::mbNo};
  EXPECT_FALSE(M->LoadProfile(File));
  ExpectOneMessage(
      "A profile named 'mac' already exists.\r\n\r\nImporting this profile will overwrite the existing "
      "profile.  Are you sure you want to import this profile?",
      TMsgDlgType::mtConfirmation);
  EXPECT_EQ(Describe(Held), "Mac|OSX32|old|1|enc:00,1,1|/old|1");
  EXPECT_EQ(Ini->Log, TNames{});  // the store saw nothing
  Messages->Answers = {TMsgDlgBtn::mbYes};
  EXPECT_EQ(M->LoadProfile(File), Held);
  EXPECT_EQ(Describe(Held), "mac|Linux64|new|4000|/f,0,1|/cache/mac|1");
  EXPECT_TRUE(Held->GetPaths().SameArray(HeldPaths));
  EXPECT_EQ(M->GetDefaultForPlatform("OSX32"), nullptr);  // re-filed at the end of its new platform's list
  EXPECT_EQ(NamesOf(*M, "Linux64"), (TNames{"Box", "mac"}));
  EXPECT_EQ(M->GetDefaultForPlatform("Linux64"), Other);
  EXPECT_TRUE(LoadFile(File, false));  // without confirmation nobody is asked
  EXPECT_EQ(Messages->Shown.size(), 1u);
}

TEST_F(ProfileFiles, AFailedWriteRaisesTheAgentsReasonAndKeepsTheOldFile) {
  const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
  M->SaveProfile(P, "");
  const fs::path File = AppData() / "Mac.profile";
  const auto Before = fs::file_size(File);
  P->SetHostName("a much longer host name than before");
  hestrel::SetAtomicWriteHookForTesting([](const std::string&, const std::string&) { return std::string("no space"); });
  EXPECT_THAT([&] { M->SaveProfile(P, ""); },
              ThrowsMessage<EProfileFileError>("Cannot save '" + File.string() + "': no space"));
  EXPECT_EQ(fs::file_size(File), Before);
}

TEST_F(ProfileFiles, MergeReplacesTheHeldProfileAndSavesTheStore) {
  M = TRemoteProfileManager::Create(Ini);
  const auto Held = M->AddProfile("Mac", "OSX32", "old", 1, {"enc:00", true, true}, "", {}, false);
  const auto Other = TRemoteProfileManager::Create(nullptr);
  const auto Made = Other->AddProfile("MAC", "OSX32", "new", 2, {"enc:01", true, true}, "/r",
                                      {{"/p", "*", false, ptIncludePath}}, false);
  Ini->Log.clear();
  M->MergeRemoteProfile(nullptr);
  EXPECT_EQ(Ini->Log, TNames{});
  M->MergeRemoteProfile(Made);
  EXPECT_NE(M->GetProfile("mac"), Held);
  EXPECT_EQ(Describe(M->GetProfile("mac")), Describe(Made));
  EXPECT_EQ(Ini->Log[1], "EraseSection(RemoteProfiles)");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\MAC", "HostName", ""), "new");
}

}  // namespace

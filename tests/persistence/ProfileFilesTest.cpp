// Profile files: their names, LoadProfileFile, import (LoadProfile), export (SaveProfile
// with a file name) and MergeRemoteProfile.
#include <gtest/gtest.h>

#include "PersistenceFixture.h"
#include "common/AtomicFile.h"

namespace {

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

TEST_F(ProfileFiles, OnlyANameTheManagerTakesForAFileNameHasAFileInTheApplicationDataDirectory) {
  Texts Names{"",    "Mac", " Mac ", "..",  ".",   " .. ", "a/b",  "a\\b",     "/etc/passwd", "../x",    "C:\\x",
              "a*b", "a?b", "a\"b",  "a<b", "a>b", "a|b",  "\x7f", "Zoë 東京", "a;b=c#[d]",   "Mac mini"};
  for (int C = 1; C < 0x20; ++C) Names.push_back("a" + std::string(1, static_cast<char>(C)));
  for (std::size_t Bytes : {240u, 247u, 248u, 300u}) Names.push_back(std::string(Bytes, 'n'));
  std::string Accented;  // 124 two-byte characters: 248 bytes
  for (int I = 0; I < 124; ++I) Accented += "\xc3\xa9";
  Names.insert(Names.end(), {Accented, Accented.substr(0, 246)});
  for (const std::string& Name : Names) {
    std::string Message;
    const fs::path File = TRemoteProfileManager::GetProfileFileName(Name);
    EXPECT_EQ(File.empty(), M->InternalValidateProfileName(Name, Message) == pnveBadFileName) << Name;
    EXPECT_TRUE(File.empty() || File == AppData() / (Name + ".profile")) << Name;
    EXPECT_TRUE(File.empty() || File.lexically_normal().parent_path() == AppData()) << Name;  // "..": still inside
  }
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
  fs::create_directory(AppData() / "dir.profile");
  for (const auto& [Tag, Text] : std::vector<std::pair<std::string, std::string>>{
           {"empty", ""},
           {"truncated", Valid.substr(0, Valid.size() / 2)},
           {"binary", std::string("\x7f"
                                  "ELF\x02\x01\x01\0\0\0\xff\xfe",
                                  12)},
           {"oversized", Valid.substr(0, Valid.size() - 4) + std::string(1024 * 1024, '#') + "\nEnd\n"},
           {"version", "HestrelProfile 2" + Valid.substr(16)},
           {"damaged", "HestrelProfile 1\nName = \"Mac\nEnd\n"},
           {"missing", ""},
           {"dir", ""}}) {
    const fs::path File = AppData() / (Tag + ".profile");
    if (Tag != "missing" && Tag != "dir") WriteText(File, Text);
    EXPECT_FALSE(LoadFile(File.string())) << Tag;
    EXPECT_EQ(Name + std::to_string(Port), "prefilled-5") << Tag;
    EXPECT_FALSE(M->LoadProfile(File.string())) << Tag;
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
  EXPECT_EQ(Ini->Log, Texts{});  // the store saw nothing
  Messages->Answers = {TMsgDlgBtn::mbYes};
  EXPECT_EQ(M->LoadProfile(File), Held);
  EXPECT_EQ(Describe(Held), "mac|Linux64|new|4000|/f,0,1|/cache/mac|1");
  EXPECT_TRUE(Held->GetPaths().SameArray(HeldPaths));
  EXPECT_EQ(M->GetDefaultForPlatform("OSX32"), nullptr);  // re-filed at the end of its new platform's list
  EXPECT_EQ(NamesOf(*M, "Linux64"), (Texts{"Box", "mac"}));
  EXPECT_EQ(M->GetDefaultForPlatform("Linux64"), Other);
  EXPECT_TRUE(LoadFile(File, false));  // without confirmation nobody is asked
  EXPECT_EQ(Messages->Shown.size(), 1u);
}

TEST_F(ProfileFiles, NamesThatCannotBeFileNamesAreRefusedWithTheBadFileNameMessage) {
  for (const std::string& Bad :
       Texts{"../evil", "a/b", "a\\b", "/etc/passwd", std::string(248, 'L'), std::string(400, 'L')}) {
    const std::string Expected = "'" + Bad + "' is not a valid profile name.  A profile name must be a valid filename";
    EXPECT_FALSE(M->LoadProfile(WriteProfileFile("bad.profile", Bad, "OSX32"))) << Bad;
    ExpectOneMessage(Expected);
    EXPECT_THROW(M->SaveProfileFile("", Bad, "OSX32", "h", 1, {}, "", {}, {}, {}, {}), EProfileFileError);
  }
  EXPECT_TRUE(M->GetProfiles().empty());
  EXPECT_FALSE(fs::exists(AppData().parent_path() / "evil.profile"));
}

TEST_F(ProfileFiles, NamesUpTo247BytesAndDotsAreSavedInsideTheDirectoryAndLoadedBack) {
  M = TRemoteProfileManager::Create(Ini);
  for (const std::string& Name : {std::string(240, 'L'), std::string(247, 'L'), std::string("..a")})
    M->AddProfile(Name, "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
  M->SaveOptions(*Ini);  // the temporary file of a 255-byte name must not be longer
  EXPECT_TRUE(fs::is_regular_file(AppData() / (std::string(247, 'L') + ".profile")));
  EXPECT_TRUE(fs::is_regular_file(AppData() / "..a.profile"));
  EXPECT_EQ(NamesOf(*TRemoteProfileManager::Create(Ini), "OSX32"), NamesOf(*M, "OSX32"));
  EXPECT_TRUE(Messages->Shown.empty());
}

TEST_F(ProfileFiles, AFailedWriteRaisesTheAgentsReasonAndKeepsTheOldFile) {
  const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
  M->SaveProfile(P, "");
  const fs::path File = AppData() / "Mac.profile";
  const auto Before = fs::file_size(File);
  P->SetHostName("a much longer host name than before");
  hestrel::SetAtomicWriteHookForTesting([](const std::string&, const std::string&) { return std::string("no space"); });
  try {
    M->SaveProfile(P, "");
    FAIL() << "no exception";
  } catch (const EProfileFileError& Error) {
    EXPECT_EQ(std::string(Error.what()), "Cannot save '" + File.string() + "': no space");
  }
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
  EXPECT_EQ(Ini->Log, Texts{});
  M->MergeRemoteProfile(Made);
  EXPECT_NE(M->GetProfile("mac"), Held);
  EXPECT_EQ(Describe(M->GetProfile("mac")), Describe(Made));
  EXPECT_EQ(Ini->Log[1], "EraseSection(RemoteProfiles)");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\MAC", "HostName", ""), "new");
}

}  // namespace

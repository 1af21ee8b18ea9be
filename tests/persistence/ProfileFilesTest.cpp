// Part 2.2: Profile files (persistence/ProfileFiles.cpp): file names, LoadProfileFile,
// import (LoadProfile), export (SaveProfile with a file name), MergeRemoteProfile.
#include <gtest/gtest.h>

#include <filesystem>

#include "PersistenceFixture.h"
#include "common/AtomicFile.h"
#include "core/ResourceStrings.h"
#include "persistence/ProfileFiles.h"

namespace {

namespace fs = std::filesystem;

/// Records every profile notification of the class events while it lives.
class TNotificationLog {
 public:
  TNotificationLog() {
    using M = TRemoteProfileManager;
    FAdded =
        M::FEvRemoteProfileAdded.Add([this](const IOTARemoteProfilePtr& P) { Log.push_back("Added " + P->GetName()); });
    FRemoved = M::FEvRemoteProfileRemoved.Add(
        [this](const IOTARemoteProfilePtr& P) { Log.push_back("Removed " + P->GetName()); });
    FRenamed = M::FEvRemoteProfileRenamed.Add([this](const IOTARemoteProfilePtr& P, const std::string& Old) {
      Log.push_back("Renamed " + Old + " " + P->GetName());
    });
    FChanged = M::FEvRemoteProfileChanged.Add(
        [this](const IOTARemoteProfilePtr& P) { Log.push_back("Changed " + P->GetName()); });
  }
  TNotificationLog(const TNotificationLog&) = delete;
  TNotificationLog& operator=(const TNotificationLog&) = delete;
  ~TNotificationLog() {
    using M = TRemoteProfileManager;
    M::FEvRemoteProfileAdded.Remove(FAdded);
    M::FEvRemoteProfileRemoved.Remove(FRemoved);
    M::FEvRemoteProfileRenamed.Remove(FRenamed);
    M::FEvRemoteProfileChanged.Remove(FChanged);
  }
  std::vector<std::string> Log;

 private:
  THandlerId FAdded = 0, FRemoved = 0, FRenamed = 0, FChanged = 0;
};

class ProfileFiles : public TPersistenceFixture {
 protected:
  void TearDown() override {
    hestrel::SetAtomicWriteHookForTesting(nullptr);
    TPersistenceFixture::TearDown();
  }
  /// LoadProfileFile of FileName with out values prefilled, to see what is left alone.
  bool LoadFile(TRemoteProfileManager& M, const std::string& FileName, bool Confirm = true) {
    Name = "prefilled";
    Port = -5;
    return M.LoadProfileFile(FileName, Name, Platform, HostName, Port, Credential, LocalRoot, Paths, Confirm);
  }
  std::string Name, Platform, HostName, LocalRoot;
  std::int32_t Port = 0;
  TOTARemoteProfileCredential Credential;
  TOTARemoteProfilePathArray Paths{{"/stale", "*", false, ptIncludePath}};
};

TEST_F(ProfileFiles, FileNameIsAppDataNameAndExtension) {
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName("Mac mini"), AppData().string() + "/Mac mini.profile");
  Environment->AppDataDir += "/";
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName("Mac"), AppData().string() + "Mac.profile");
}

TEST_F(ProfileFiles, NameThatIsNotAFileNameHasNoProfileFile) {
  for (const std::string Name : {"", "a/b", "a\\b", "/etc/passwd", "../x", "C:\\x", "a?b", "a\nb"})
    EXPECT_EQ(TRemoteProfileManager::GetProfileFileName(Name), "") << Name;
}

TEST_F(ProfileFiles, DotDotStaysInsideTheApplicationDataDirectory) {
  for (const std::string Name : {"..", ".", "...", " .. "}) {
    const fs::path File = TRemoteProfileManager::GetProfileFileName(Name);
    EXPECT_EQ(File.parent_path(), AppData()) << Name;
    EXPECT_EQ(File.filename().string(), Name + ".profile");
    EXPECT_EQ(File.lexically_normal().parent_path(), AppData()) << Name;
  }
}

TEST_F(ProfileFiles, NoEnvironmentMeansNoDefaultLocation) {
  Host.Environment = nullptr;
  Reinstall();
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName("Mac"), "");
}

TEST_F(ProfileFiles, FileWithoutProfileNameIsImportedUnderItsFileName) {
  const auto M = TRemoteProfileManager::Create(Ini);
  const std::string File = WriteProfileFile("office.mac.profile", "", "OSX32");
  const auto P = M->LoadProfile(File);
  ASSERT_TRUE(P);
  EXPECT_EQ(P->GetName(), "office.mac");
  EXPECT_EQ(M->GetProfile("office.mac"), P);
}

TEST_F(ProfileFiles, FileWithoutANameLineIsImportedUnderItsFileName) {
  // Part 2.2 edge case: "a file named office.mac.profile that holds no profile name".
  const auto M = TRemoteProfileManager::Create(Ini);
  const fs::path File = AppData() / "office.mac.profile";
  WriteText(File,
            "HestrelProfile 1\nPlatform = \"OSX32\"\nHost = \"mac.office\"\nPort = 64211\n"
            "Credential = Password \"enc:00\" Encrypted\nSysRoot = \"/cache/office\"\nEnd\n");
  const auto P = M->LoadProfile(File.string());
  ASSERT_TRUE(P);
  EXPECT_EQ(P->GetName(), "office.mac");
  EXPECT_EQ(P->GetPlatformName(), "OSX32");
  EXPECT_EQ(P->GetHostName(), "mac.office");
  EXPECT_EQ(P->GetPortNumber(), 64211);
  EXPECT_EQ(P->GetCredential(), (TOTARemoteProfileCredential{"enc:00", true, true}));
  EXPECT_EQ(P->GetSystemRoot(), "/cache/office");
  EXPECT_EQ(M->GetProfile("office.mac"), P);
  EXPECT_TRUE(Messages->Shown.empty());
}

TEST_F(ProfileFiles, LoadProfileFileFillsEveryValueAndEmptiesThePaths) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  const std::string File =
      WriteProfileFile("x.profile", "Mac", "iOSDevice", "mac.local", 4000, {"enc:01", true, true}, "/cache/Mac");
  ASSERT_TRUE(LoadFile(*M, File));
  EXPECT_EQ(Name, "Mac");
  EXPECT_EQ(Platform, "iOSDevice");
  EXPECT_EQ(HostName, "mac.local");
  EXPECT_EQ(Port, 4000);
  EXPECT_EQ(Credential, (TOTARemoteProfileCredential{"enc:01", true, true}));
  EXPECT_EQ(LocalRoot, "/cache/Mac");
  EXPECT_TRUE(Paths.empty());
  EXPECT_TRUE(Messages->Shown.empty());
}

TEST_F(ProfileFiles, EmptyFileNameReadsTheDefaultFileOfTheName) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  WriteProfileFile("Mac.profile", "Mac", "OSX32", "default-location");
  Name = "Mac";
  ASSERT_TRUE(M->LoadProfileFile("", Name, Platform, HostName, Port, Credential, LocalRoot, Paths, true));
  EXPECT_EQ(HostName, "default-location");
}

TEST_F(ProfileFiles, ImportOfAnExistingNameAsksOnceAndNoChangesNothing) {
  const auto M = TRemoteProfileManager::Create(Ini);
  const TOTARemoteProfilePathArray HeldPaths{{"/p", "*", false, ptIncludePath}};
  const auto Held = M->AddProfile("Mac", "OSX32", "old", 1, {"enc:00", true, true}, "/old", HeldPaths, false);
  const std::string File =
      WriteProfileFile("in.profile", "mac", "Linux64", "new", 2, {"/new.passfile", false, true}, "/new");
  Ini->Log.clear();
  const TNotificationLog Notifications;
  Messages->Answers = {TMsgDlgBtn::mbNo};
  EXPECT_FALSE(M->LoadProfile(File));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text,
            "A profile named 'mac' already exists.\r\n\r\nImporting this profile will overwrite the existing "
            "profile.  Are you sure you want to import this profile?");
  EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtConfirmation);
  EXPECT_EQ(Messages->Shown[0].Buttons, (TMsgDlgButtons{TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo}));
  EXPECT_EQ(Held->GetName(), "Mac");
  EXPECT_EQ(Held->GetPlatformName(), "OSX32");
  EXPECT_EQ(Held->GetHostName(), "old");
  EXPECT_EQ(Held->GetPortNumber(), 1);
  EXPECT_EQ(Held->GetCredential(), (TOTARemoteProfileCredential{"enc:00", true, true}));
  EXPECT_EQ(Held->GetSystemRoot(), "/old");
  EXPECT_TRUE(Held->GetPaths().SameArray(HeldPaths));
  EXPECT_EQ(M->GetProfileCount("OSX32"), 1);
  EXPECT_EQ(M->GetProfileCount("Linux64"), 0);
  EXPECT_EQ(NamesOf(*M, "OSX32"), (std::vector<std::string>{"Mac"}));
  EXPECT_EQ(M->GetProfile("Mac"), Held);
  EXPECT_EQ(Ini->Log, (std::vector<std::string>{}));  // the store saw nothing, no write at all
  EXPECT_EQ(Notifications.Log, (std::vector<std::string>{}));
}

TEST_F(ProfileFiles, ImportAnsweredYesKeepsPathItemsAndReplacesTheRest) {
  const auto M = TRemoteProfileManager::Create(Ini);
  const TOTARemoteProfilePathArray HeldPaths{{"/p", "*", false, ptIncludePath}};
  const auto Held = M->AddProfile("Mac", "OSX32", "old", 1, {"enc:00", true, true}, "/old", HeldPaths, false);
  const auto Other = M->AddProfile("Box", "Linux64", "box", 3, {"enc:01", true, true}, "/box", {}, false);
  // A file of another platform family: the held OSX32 profile becomes a Linux64 one.
  const std::string File = WriteProfileFile("in.profile", "mac", "Linux64", "new", 2, {"/f", false, true}, "/new");
  Messages->Answers = {TMsgDlgBtn::mbYes};
  EXPECT_EQ(M->LoadProfile(File), Held);
  EXPECT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Held->GetName(), "mac");
  EXPECT_EQ(Held->GetPlatformName(), "Linux64");
  EXPECT_EQ(Held->GetHostName(), "new");
  EXPECT_EQ(Held->GetPortNumber(), 2);
  EXPECT_EQ(Held->GetCredential(), (TOTARemoteProfileCredential{"/f", false, true}));
  EXPECT_EQ(Held->GetSystemRoot(), "/new");
  EXPECT_TRUE(Held->GetPaths().SameArray(HeldPaths));
  // Re-filed at the end of the Linux64 list; the OSX32 list is left empty.
  EXPECT_EQ(NamesOf(*M, "OSX32"), (std::vector<std::string>{}));
  EXPECT_EQ(M->GetProfileCount("OSX32"), 0);
  EXPECT_EQ(M->GetDefaultForPlatform("OSX32"), nullptr);
  EXPECT_EQ(NamesOf(*M, "Linux64"), (std::vector<std::string>{"Box", "mac"}));
  EXPECT_EQ(M->GetDefaultForPlatform("Linux64"), Other);
  EXPECT_EQ(M->GetProfile("MAC"), Held);
}

TEST_F(ProfileFiles, DuplicateWithoutConfirmGoesOnWithoutAsking) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  M->AddProfile("Mac", "OSX32", "old", 1, {}, "", {}, false);
  EXPECT_TRUE(LoadFile(*M, WriteProfileFile("in.profile", "Mac", "OSX32"), false));
  EXPECT_TRUE(Messages->Shown.empty());
}

TEST_F(ProfileFiles, StoreLoaderAsksWhenAFilesNameIsAlreadyHeld) {
  Ini->WriteString("RemoteProfiles\\A", "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\A", "HostName", "store-a");
  Ini->WriteString("RemoteProfiles\\B", "Platform", "OSX32");
  WriteProfileFile("B.profile", "A", "OSX32", "file-b");
  Messages->Answers = {TMsgDlgBtn::mbYes};
  const auto M = TRemoteProfileManager::Create(Ini);
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text,
            "A profile named 'A' already exists.\r\n\r\nImporting this profile will overwrite the existing "
            "profile.  Are you sure you want to import this profile?");
  EXPECT_EQ(NamesOf(*M, "OSX32"), (std::vector<std::string>{"A"}));
  EXPECT_EQ(M->GetProfile("A")->GetHostName(), "file-b");
}

TEST_F(ProfileFiles, BadNameInTheFileShowsTheErrorAndIsNotTaken) {
  const auto M = TRemoteProfileManager::Create(Ini);
  for (const std::string Bad : {"../evil", "a/b", "a\\b", "/etc/passwd"}) {
    Messages->Shown.clear();
    EXPECT_FALSE(M->LoadProfile(WriteProfileFile("bad.profile", Bad, "OSX32"))) << Bad;
    ASSERT_EQ(Messages->Shown.size(), 1u);
    EXPECT_EQ(Messages->Shown[0].Text,
              "'" + Bad + "' is not a valid profile name.  A profile name must be a valid filename");
    EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtError);
    EXPECT_EQ(Messages->Shown[0].Buttons, (TMsgDlgButtons{TMsgDlgBtn::mbOK}));
  }
  EXPECT_TRUE(M->GetProfiles().empty());
  EXPECT_FALSE(fs::exists(AppData().parent_path() / "evil.profile"));
}

TEST_F(ProfileFiles, FileNamedWithoutNameAndEmptyStemShowsTheBlankNameError) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  EXPECT_FALSE(LoadFile(*M, WriteProfileFile(".profile", "", "OSX32")));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "Profile name cannot be blank");
}

TEST_F(ProfileFiles, StoredNameDotDotIsImportedAndSavedInsideTheDirectory) {
  const auto M = TRemoteProfileManager::Create(Ini);
  const auto P = M->LoadProfile(WriteProfileFile("dots.profile", "..", "OSX32"));
  ASSERT_TRUE(P);
  M->SaveOptions(*Ini);
  EXPECT_TRUE(fs::exists(AppData() / "...profile"));
  EXPECT_FALSE(fs::exists(AppData().parent_path() / ".profile"));
}

TEST_F(ProfileFiles, DamagedFilesAreNotTakenAndSayNothing) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  const std::string Valid = [&] {
    std::ifstream In(WriteProfileFile("valid.profile", "Mac", "OSX32"), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(In), {});
  }();
  const std::vector<std::pair<std::string, std::string>> Cases{
      {"empty", ""},
      {"truncated", Valid.substr(0, Valid.size() / 2)},
      {"binary", std::string("\x7f"
                             "ELF\x02\x01\x01\0\0\0\xff\xfe",
                             12)},
      {"oversized", Valid.substr(0, Valid.size() - 4) + std::string(1024 * 1024, '#') + "\nEnd\n"},
      {"version", "HestrelProfile 2" + Valid.substr(16)},
      {"damaged", "HestrelProfile 1\nName = \"Mac\nEnd\n"}};
  for (const auto& [Tag, Text] : Cases) {
    const fs::path File = AppData() / (Tag + ".profile");
    WriteText(File, Text);
    EXPECT_FALSE(LoadFile(*M, File.string())) << Tag;
    EXPECT_EQ(Name, "prefilled") << Tag;
    EXPECT_EQ(Port, -5) << Tag;
    EXPECT_FALSE(M->LoadProfile(File.string())) << Tag;
  }
  EXPECT_FALSE(LoadFile(*M, (AppData() / "missing.profile").string()));
  fs::create_directory(AppData() / "dir.profile");
  EXPECT_FALSE(LoadFile(*M, (AppData() / "dir.profile").string()));
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_TRUE(M->GetProfiles().empty());
}

TEST_F(ProfileFiles, WithoutAnAgentLibraryNoFileIsRead) {
  const std::string File = WriteProfileFile("Mac.profile", "Mac", "OSX32");
  Host.AgentLibrary = nullptr;
  Reinstall();
  const auto M = TRemoteProfileManager::Create(nullptr);
  EXPECT_FALSE(LoadFile(*M, File));
}

TEST_F(ProfileFiles, ExportLeavesTheSettingsStoreUnchanged) {
  const auto M = TRemoteProfileManager::Create(Ini);
  const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
  Ini->Log.clear();
  const std::string File = (TempDir / "x.profile").string();
  M->SaveProfile(P, File);
  EXPECT_TRUE(Ini->Log.empty());
  EXPECT_FALSE(Ini->HasSection("RemoteProfiles\\Mac"));
  EXPECT_TRUE(fs::exists(File));
  EXPECT_FALSE(fs::exists(AppData() / "Mac.profile"));
}

TEST_F(ProfileFiles, ExportThenImportKeepsEveryField) {
  const std::string Awkward = " =;#[x]\\\"\nZoë 東京 ";
  struct TCase {
    std::string Name, Host;
    TOTARemoteProfileCredential Credential;
    std::string Root;
  };
  const std::vector<TCase> Cases{
      {"Mac " + Awkward.substr(1, 3) + " Zoë", "host" + Awkward, {"/pass" + Awkward, false, true}, "/cache" + Awkward},
      // An enciphered password passes as it is; blanks at both ends of name and host are kept.
      {"  Mac mini  ", "  mac.example.org ", {"hes1:q83vAbC+/9xYz==", true, true}, " /cache/Mac mini "}};
  for (const TCase& C : Cases) {
    const auto Source = TRemoteProfileManager::Create(nullptr);
    const auto P = Source->AddProfile(C.Name, "OSX32", C.Host, 65000, C.Credential, C.Root,
                                      {{"/usr/include", "*", false, ptIncludePath}}, false);
    const std::string File = (TempDir / "export.profile").string();
    Source->SaveProfile(P, File);
    const auto Target = TRemoteProfileManager::Create(nullptr);
    const auto Q = Target->LoadProfile(File);
    ASSERT_TRUE(Q) << C.Name;
    EXPECT_EQ(Q->GetName(), C.Name);
    EXPECT_EQ(Q->GetPlatformName(), "OSX32");
    EXPECT_EQ(Q->GetHostName(), C.Host);
    EXPECT_EQ(Q->GetPortNumber(), 65000);
    EXPECT_EQ(Q->GetCredential(), C.Credential);
    EXPECT_EQ(Q->GetSystemRoot(), C.Root);
    EXPECT_TRUE(Q->GetPaths().empty());  // never read back from a file
    THestrelClientProfile Raw;
    ASSERT_TRUE(Raw.ReadProfileSettings(File));
    EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Include), (TRAPathItems{{"/usr/include", "*", false}}));
  }
  EXPECT_EQ(Library->Encrypted, (std::vector<std::string>{}));  // nothing was typed, nothing enciphered
}

TEST_F(ProfileFiles, ExportOfATypedPasswordHoldsOnlyItsEncipheredForm) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"secret", true, false}, "", {}, false);
  const std::string File = (TempDir / "pw.profile").string();
  M->SaveProfile(P, File);
  std::ifstream In(File, std::ios::binary);
  const std::string Text(std::istreambuf_iterator<char>(In), {});
  EXPECT_EQ(Text.find("secret"), std::string::npos);
  EXPECT_NE(Text.find("Credential = Password \"" + FakeEnciphered("secret") + "\" Encrypted"), std::string::npos);
}

TEST_F(ProfileFiles, SaveProfileFileSortsTheFourListsIntoTheirKinds) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"enc:00", true, true}, "",
                               {{"/i", "*", false, ptIncludePath},
                                {"/l", "a", false, ptLibraryPath},
                                {"/f", "F", false, ptFramework},
                                {"/o", "*", true, ptOtherPath},
                                {"/x", "*", false, static_cast<TOTAPathItemType>(9)}},
                               false);
  M->SaveProfile(P, "");  // no store: the profile file only
  THestrelClientProfile Raw;
  ASSERT_TRUE(Raw.ReadProfileSettings((AppData() / "Mac.profile").string()));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Include), (TRAPathItems{{"/i", "*", false}}));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Library), (TRAPathItems{{"/l", "a", false}}));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Framework), (TRAPathItems{{"/f", "F", false}}));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Other), (TRAPathItems{{"/o", "*", true}}));
}

TEST_F(ProfileFiles, FailedProfileFileWriteRaisesTheAgentsReasonAndKeepsTheOldFile) {
  const auto M = TRemoteProfileManager::Create(nullptr);
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

TEST_F(ProfileFiles, ProfileFileOfAnInvalidNameIsRefusedNotWrittenElsewhere) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  EXPECT_THROW(M->SaveProfileFile("", "../evil", "OSX32", "h", 1, {}, "", {}, {}, {}, {}), EProfileFileError);
  EXPECT_FALSE(fs::exists(AppData().parent_path() / "evil.profile"));
}

TEST_F(ProfileFiles, LongNamesUpTo247BytesAreSavedAndLoadedBack) {
  // "<name>.profile" of 248 and 255 bytes; the temporary file must not be longer than 255.
  for (const std::size_t Bytes : {std::size_t{240}, std::size_t{247}}) {
    ResetRemoteProfileMgrForTesting();
    const std::string Name(Bytes, 'L');
    const auto M = TRemoteProfileManager::Create(Ini);
    M->AddProfile(Name, "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
    M->SaveOptions(*Ini);
    EXPECT_TRUE(fs::is_regular_file(AppData() / (Name + ".profile"))) << Bytes;
    const auto Again = TRemoteProfileManager::Create(Ini);
    ASSERT_TRUE(Again->GetProfile(Name)) << Bytes;
    EXPECT_EQ(Again->GetProfile(Name)->GetHostName(), "h");
    M->RemoveProfile(M->GetProfile(Name));
    M->SaveOptions(*Ini);
    fs::remove(AppData() / (Name + ".profile"));
  }
  EXPECT_TRUE(Messages->Shown.empty());
}

TEST_F(ProfileFiles, NamesOf248BytesOrMoreAreRefusedWithTheBadFileNameMessage) {
  const auto M = TRemoteProfileManager::Create(Ini);
  for (const std::size_t Bytes : {std::size_t{248}, std::size_t{255}, std::size_t{400}}) {
    const std::string Name(Bytes, 'L');
    const std::string Expected = "'" + Name + "' is not a valid profile name.  A profile name must be a valid filename";
    EXPECT_FALSE(M->ValidateProfileName(Name));
    ASSERT_FALSE(Messages->Shown.empty());
    EXPECT_EQ(Messages->Shown.back().Text, Expected);
    try {
      M->AddProfile(Name, "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
      ADD_FAILURE() << "no exception for " << Bytes;
    } catch (const ENonAIRException& Error) {
      EXPECT_EQ(std::string(Error.what()), Expected);
    }
    EXPECT_EQ(TRemoteProfileManager::GetProfileFileName(Name), "");
    // A file that holds such a name is not imported.
    Messages->Shown.clear();
    EXPECT_FALSE(M->LoadProfile(WriteProfileFile("long.profile", Name, "OSX32")));
    ASSERT_EQ(Messages->Shown.size(), 1u);
    EXPECT_EQ(Messages->Shown[0].Text, Expected);
  }
  EXPECT_TRUE(M->GetProfiles().empty());
}

TEST_F(ProfileFiles, MergeReplacesTheHeldProfileAndSavesTheStore) {
  const auto M = TRemoteProfileManager::Create(Ini);
  const auto Held = M->AddProfile("Mac", "OSX32", "old", 1, {"enc:00", true, true}, "", {}, false);
  const auto Other = TRemoteProfileManager::Create(nullptr);
  const auto Made = Other->AddProfile("MAC", "OSX32", "new", 2, {"enc:01", true, true}, "/r",
                                      {{"/p", "*", false, ptIncludePath}}, false);
  Ini->Log.clear();
  M->MergeRemoteProfile(Made);
  const auto Now = M->GetProfile("mac");
  ASSERT_TRUE(Now);
  EXPECT_NE(Now, Held);
  EXPECT_EQ(Now->GetName(), "MAC");
  EXPECT_EQ(Now->GetHostName(), "new");
  EXPECT_TRUE(Now->GetPaths().SameItems(Made->GetPaths()));
  ASSERT_FALSE(Ini->Log.empty());
  EXPECT_EQ(Ini->Log.front(), "EraseSection(RemoteProfiles)");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\MAC", "HostName", ""), "new");
}

TEST_F(ProfileFiles, MergeOfNothingDoesNothing) {
  const auto M = TRemoteProfileManager::Create(Ini);
  Ini->Log.clear();
  M->MergeRemoteProfile(nullptr);
  EXPECT_TRUE(Ini->Log.empty());
}

TEST_F(ProfileFiles, GetProfilePlatformNameReadsThePlatformOfAFile) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  EXPECT_EQ(M->GetProfilePlatformName(WriteProfileFile("x.profile", "Mac", "iOSSimulator")), "iOSSimulator");
  EXPECT_EQ(M->GetProfilePlatformName((AppData() / "none.profile").string()), "");
}

}  // namespace

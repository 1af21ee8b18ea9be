// Part 2.1: Settings-store layout (persistence/SettingsStore.cpp): LoadOptions,
// SaveOptions, SaveProfile — values, defaults and the exact order of store calls.
#include <gtest/gtest.h>

#include <filesystem>

#include "PersistenceFixture.h"
#include "client/ClientFactory.h"
#include "persistence/ProfileFiles.h"
#include "persistence/SettingsStoreLayout.h"

namespace {

namespace fs = std::filesystem;
using Log = std::vector<std::string>;

class SettingsStore : public TPersistenceFixture {
 protected:
  TRemoteProfileManagerPtr Load() { return TRemoteProfileManager::Create(Ini); }
  TRemoteProfileManagerPtr Empty() { return TRemoteProfileManager::Create(nullptr); }
};

TEST_F(SettingsStore, SubSectionWithOnlyPlatformLoadsWithDefaults) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  const auto M = Load();
  const auto P = M->GetProfile("Mac");
  ASSERT_TRUE(P);
  EXPECT_EQ(P->GetPlatformName(), "OSX32");
  EXPECT_EQ(P->GetHostName(), "");
  EXPECT_EQ(P->GetPortNumber(), 64211);
  EXPECT_EQ(P->GetCredential(), (TOTARemoteProfileCredential{"", true, true}));
  EXPECT_EQ(P->GetSystemRoot(), "");
  EXPECT_TRUE(P->GetPaths().empty());
}

TEST_F(SettingsStore, PathCountTwoWithOnlyPath0YieldsTwoItems) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteInteger("RemoteProfiles\\Mac", "PathCount", 2);
  Ini->WriteString("RemoteProfiles\\Mac", "Path0", "/usr/include");
  const auto Paths = Load()->GetProfile("Mac")->GetPaths();
  ASSERT_EQ(Paths.size(), 2u);
  EXPECT_EQ(Paths[0], (TOTARemoteProfilePathItem{"/usr/include", "", false, ptIncludePath}));
  EXPECT_EQ(Paths[1], (TOTARemoteProfilePathItem{"", "", false, ptIncludePath}));
}

TEST_F(SettingsStore, PasswordAndPassFileBothPresentGiveThePasswordFile) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\Mac", "Password", "enc:7077");
  Ini->WriteString("RemoteProfiles\\Mac", "PassFile", "/home/ann/mac.passfile");
  EXPECT_EQ(Load()->GetProfile("Mac")->GetCredential(),
            (TOTARemoteProfileCredential{"/home/ann/mac.passfile", false, true}));
}

TEST_F(SettingsStore, StoredPasswordIsTakenAsStoredAndNeverEnciphered) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\Mac", "Password", "enc:7077");
  EXPECT_EQ(Load()->GetProfile("Mac")->GetCredential(), (TOTARemoteProfileCredential{"enc:7077", true, true}));
  EXPECT_TRUE(Library->Encrypted.empty());
}

TEST_F(SettingsStore, DefaultNamingAProfileOfAnotherPlatformMarksNothing) {
  // Z is stored before A on Android, so marking A as a default would reorder that list.
  Ini->WriteString("RemoteProfiles\\Z", "Platform", "Android");
  for (const char* Name : {"A", "B", "C"})
    Ini->WriteString(std::string("RemoteProfiles\\") + Name, "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\A", "Platform", "Android");
  Ini->WriteString("RemoteProfiles", "Default_OSX32", "A");
  const auto M = Load();
  EXPECT_EQ(NamesOf(*M, "OSX32"), (std::vector<std::string>{"B", "C"}));
  EXPECT_EQ(NamesOf(*M, "Android"), (std::vector<std::string>{"Z", "A"}));
  EXPECT_EQ(M->GetDefaultForPlatform("Android")->GetName(), "Z");
}

TEST_F(SettingsStore, DefaultNamingNoProfileLeavesStoreOrder) {
  for (const char* Name : {"B", "C"}) Ini->WriteString(std::string("RemoteProfiles\\") + Name, "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles", "Default_OSX32", "Nobody");
  EXPECT_EQ(NamesOf(*Load(), "OSX32"), (std::vector<std::string>{"B", "C"}));
}

TEST_F(SettingsStore, DefaultIsComparedCaseSensitivelyAndPutFirst) {
  for (const char* Name : {"B", "C", "D"})
    Ini->WriteString(std::string("RemoteProfiles\\") + Name, "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles", "Default_OSX32", "C");
  EXPECT_EQ(NamesOf(*Load(), "OSX32"), (std::vector<std::string>{"C", "B", "D"}));
  ResetRemoteProfileMgrForTesting();
  Ini->WriteString("RemoteProfiles", "Default_OSX32", "d");
  EXPECT_EQ(NamesOf(*Load(), "OSX32"), (std::vector<std::string>{"B", "C", "D"}));
}

TEST_F(SettingsStore, SavingThreeThenDeletingTheSecondLeavesTwoSubSections) {
  const auto M = TRemoteProfileManager::Create(Ini);
  for (const char* Name : {"P1", "P2", "P3"})
    M->AddProfile(Name, "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
  M->SaveOptions(*Ini);
  M->RemoveProfile(M->GetProfile("P2"));
  M->SaveOptions(*Ini);
  EXPECT_TRUE(Ini->HasSection("RemoteProfiles\\P1"));
  EXPECT_FALSE(Ini->HasSection("RemoteProfiles\\P2"));
  EXPECT_TRUE(Ini->HasSection("RemoteProfiles\\P3"));
  std::vector<std::string> Below;
  Ini->ReadSections("RemoteProfiles", Below);
  EXPECT_EQ(Below, (std::vector<std::string>{"P1", "P3"}));
  EXPECT_EQ(Ini->Values("RemoteProfiles"), (std::vector<std::pair<std::string, std::string>>{{"Default_OSX32", "P1"}}));
}

TEST_F(SettingsStore, ProfileFileWinsAndGivesNoPathItems) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\Mac", "HostName", "store-host");
  Ini->WriteInteger("RemoteProfiles\\Mac", "PathCount", 1);
  Ini->WriteString("RemoteProfiles\\Mac", "Path0", "/usr/include");
  WriteProfileFile("Mac.profile", "Mac", "OSX32", "file-host", 1234, {"/p.passfile", false, false}, "/cache/Mac");
  const auto P = Load()->GetProfile("Mac");
  ASSERT_TRUE(P);
  EXPECT_EQ(P->GetHostName(), "file-host");
  EXPECT_EQ(P->GetPortNumber(), 1234);
  EXPECT_EQ(P->GetCredential(), (TOTARemoteProfileCredential{"/p.passfile", false, false}));
  EXPECT_EQ(P->GetSystemRoot(), "/cache/Mac");
  EXPECT_TRUE(P->GetPaths().empty());
}

TEST_F(SettingsStore, LoadReadsTheStoreInTheSpecOrder) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteInteger("RemoteProfiles\\Mac", "PathCount", 1);
  Ini->Log.clear();
  Load();
  const std::string S = "RemoteProfiles\\Mac";
  EXPECT_EQ(
      Ini->Log,
      (Log{"ReadSections(RemoteProfiles)", "ReadString(" + S + ",Platform)", "ReadString(" + S + ",HostName)",
           "ReadInteger(" + S + ",PortNumber)", "ReadString(" + S + ",Password)", "ReadString(" + S + ",PassFile)",
           "ReadString(" + S + ",LocalRoot)", "ReadInteger(" + S + ",PathCount)", "ReadString(" + S + ",Path0)",
           "ReadString(" + S + ",Mask0)", "ReadBool(" + S + ",IncludeSubDir0)", "ReadInteger(" + S + ",Type0)",
           "ReadString(RemoteProfiles,Default_OSX32)"}));
}

TEST_F(SettingsStore, UnknownPlatformIsSkippedSilently) {
  Ini->WriteString("RemoteProfiles\\Old", "Platform", "Symbian");
  Ini->WriteString("RemoteProfiles\\None", "HostName", "h");
  const auto M = Load();
  EXPECT_FALSE(M->GetProfile("Old"));
  EXPECT_FALSE(M->GetProfile("None"));
  EXPECT_TRUE(Messages->Shown.empty());
  M->SaveOptions(*Ini);
  EXPECT_FALSE(Ini->HasSection("RemoteProfiles\\Old"));
}

TEST_F(SettingsStore, TypeKeepsItsLow8Bits) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteInteger("RemoteProfiles\\Mac", "PathCount", 2);
  Ini->WriteInteger("RemoteProfiles\\Mac", "Type0", 258);
  Ini->WriteInteger("RemoteProfiles\\Mac", "Type1", 7);
  const auto Paths = Load()->GetProfile("Mac")->GetPaths();
  EXPECT_EQ(Paths[0].Type, ptFramework);
  EXPECT_EQ(static_cast<int>(Paths[1].Type), 7);
}

TEST_F(SettingsStore, NegativePathCountGivesNoItems) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteInteger("RemoteProfiles\\Mac", "PathCount", -3);
  EXPECT_TRUE(Load()->GetProfile("Mac")->GetPaths().empty());
}

TEST_F(SettingsStore, HugePathCountIsCappedNotAllocated) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteInteger("RemoteProfiles\\Mac", "PathCount", 2147483647);
  EXPECT_EQ(Load()->GetProfile("Mac")->GetPaths().size(), 65536u);
}

TEST_F(SettingsStore, HeldProfileOfTheSameNameIsReplaced) {
  const auto M = Empty();
  const auto Old = M->AddProfile("mac", "OSX32", "old", 1, {}, "", {}, false);
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\Mac", "HostName", "new");
  M->LoadOptions(*Ini);
  const auto P = M->GetProfile("MAC");
  ASSERT_TRUE(P);
  EXPECT_NE(P, Old);
  EXPECT_EQ(P->GetName(), "Mac");
  EXPECT_EQ(P->GetHostName(), "new");
  EXPECT_EQ(M->GetProfileCount("OSX32"), 1);
}

TEST_F(SettingsStore, SaveProfileWritesInTheSpecOrderAndEnciphersATypedPassword) {
  const auto M = Empty();
  const auto P =
      M->AddProfile("Mac", "OSX32", "mac.local", 64211, {"pw", true, false}, "/cache",
                    {{"/usr/include", "*", true, ptIncludePath}, {"/F", "UIKit", false, ptFramework}}, false);
  M->SaveProfile(P, Ini.get(), "");
  const std::string S = "RemoteProfiles\\Mac";
  EXPECT_EQ(Ini->Log, (Log{"WriteString(" + S + ",Platform,OSX32)", "WriteString(" + S + ",HostName,mac.local)",
                           "WriteInteger(" + S + ",PortNumber,64211)", "WriteString(" + S + ",Password,enc:7077)",
                           "WriteString(" + S + ",LocalRoot,/cache)", "WriteInteger(" + S + ",PathCount,2)",
                           "WriteString(" + S + ",Path0,/usr/include)", "WriteString(" + S + ",Mask0,*)",
                           "WriteBool(" + S + ",IncludeSubDir0,1)", "WriteInteger(" + S + ",Type0,0)",
                           "WriteString(" + S + ",Path1,/F)", "WriteString(" + S + ",Mask1,UIKit)",
                           "WriteBool(" + S + ",IncludeSubDir1,0)", "WriteInteger(" + S + ",Type1,2)"}));
  EXPECT_EQ(Library->Encrypted, (std::vector<std::string>{"pw"}));
  // The profile file holds the same stored form, never the clear text.
  THestrelClientProfile File;
  ASSERT_TRUE(File.ReadProfileSettings((AppData() / "Mac.profile").string())) << File.GetLastError();
  EXPECT_EQ(File.GetCredential(), (TRACredential{"enc:7077", true, true}));
  EXPECT_EQ(File.GetIncludePath(TIncludePathKind::Include), (TRAPathItems{{"/usr/include", "*", true}}));
  EXPECT_EQ(File.GetIncludePath(TIncludePathKind::Framework), (TRAPathItems{{"/F", "UIKit", false}}));
}

TEST_F(SettingsStore, SaveProfileWritesAnEncipheredPasswordAsItIsAndAPassFileInClear) {
  const auto M = Empty();
  const auto A = M->AddProfile("A", "OSX32", "h", 1, {"enc:6869", true, true}, "", {}, false);
  const auto B = M->AddProfile("B", "OSX32", "h", 1, {"/b.passfile", false, false}, "", {}, false);
  M->SaveProfile(A, Ini.get(), "");
  M->SaveProfile(B, Ini.get(), "");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\A", "Password", "?"), "enc:6869");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\B", "PassFile", "?"), "/b.passfile");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\B", "Password", "none"), "none");
  EXPECT_TRUE(Library->Encrypted.empty());
}

TEST_F(SettingsStore, EncryptAnsweringNothingRaisesBeforeAnythingOfTheProfileIsWritten) {
  Library->EncryptFails = true;
  const auto M = Empty();
  const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"pw", true, false}, "", {}, false);
  Ini->Log.clear();
  for (const std::string& Export : {std::string(), (TempDir / "x.profile").string()}) {
    try {
      if (Export.empty())
        M->SaveProfile(P, Ini.get(), "");
      else
        M->SaveProfile(P, Export);
      ADD_FAILURE() << "no exception";
    } catch (const EProfileFileError& Error) {
      EXPECT_EQ(std::string(Error.what()), "Cannot encipher the password of profile 'Mac'");
    }
  }
  EXPECT_EQ(Ini->Log, Log{});
  EXPECT_FALSE(fs::exists(AppData() / "Mac.profile"));
  EXPECT_FALSE(fs::exists(TempDir / "x.profile"));
  EXPECT_EQ(Library->Encrypted, (std::vector<std::string>{"pw", "pw"}));
  // An empty typed password has nothing to encipher: it is stored empty.
  P->SetCredential({"", true, false});
  M->SaveProfile(P, Ini.get(), "");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\Mac", "Password", "?"), "");
}

TEST_F(SettingsStore, WithoutAnAgentLibraryATypedPasswordRaisesTheSameError) {
  Host.AgentLibrary = nullptr;
  Reinstall();
  EXPECT_EQ(Encrypt("pw"), "");  // never the clear text, and no logic_error
  const auto M = Empty();
  const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"pw", true, false}, "", {}, false);
  Ini->Log.clear();
  try {
    M->SaveProfile(P, Ini.get(), "");
    ADD_FAILURE() << "no exception";
  } catch (const EProfileFileError& Error) {
    EXPECT_EQ(std::string(Error.what()), "Cannot encipher the password of profile 'Mac'");
  }
  EXPECT_EQ(Ini->Log, Log{});
}

TEST_F(SettingsStore, HestrelWithoutItsKeyFileRaisesInsteadOfStoringAnEmptyPassword) {
  const fs::path NotADirectory = TempDir / "plain-file";
  WriteText(NotADirectory, "x");
  // The real library: its key directory cannot be made, so its Encrypt answers "".
  Host.AgentLibrary = std::make_shared<hestrel::THestrelClientFactory>((NotADirectory / "keys").string());
  Reinstall();
  const auto M = TRemoteProfileManager::Create(Ini);
  M->AddProfile("Mac", "OSX32", "h", 1, {"secret", true, false}, "", {}, false);
  EXPECT_THROW(M->SaveOptions(*Ini), EProfileFileError);
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\Mac", "Password", "none"), "none");
  EXPECT_FALSE(fs::exists(AppData() / "Mac.profile"));
}

TEST_F(SettingsStore, SaveOptionsThatCannotEncipherRaisesWithTheStoreStillWhole) {
  const auto M = Empty();
  M->AddProfile("Box", "Linux64", "h", 1, {"enc:00", true, true}, "", {}, false);
  M->SaveOptions(*Ini);
  M->AddProfile("Mac", "OSX32", "h", 1, {"typed", true, false}, "", {}, false);
  Library->EncryptFails = true;
  Ini->Log.clear();
  try {
    M->SaveOptions(*Ini);
    ADD_FAILURE() << "no exception";
  } catch (const EProfileFileError& Error) {
    EXPECT_EQ(std::string(Error.what()), "Cannot encipher the password of profile 'Mac'");
  }
  EXPECT_EQ(Ini->Log, Log{});  // not even the EraseSection
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\Box", "Password", "?"), "enc:00");
}

TEST_F(SettingsStore, SaveOptionsErasesThenWritesEachPlatformWithItsDefaultAfterTheFirst) {
  const auto M = Empty();
  M->AddProfile("Mac", "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
  M->AddProfile("Mac2", "OSX32", "h", 2, {"enc:00", true, true}, "", {}, false);
  M->AddProfile("Droid", "Android", "d", 3, {"/d", false, true}, "", {}, false);
  M->SaveOptions(*Ini);
  auto Block = [](const std::string& Name, const std::string& Platform, const std::string& Host, int Port,
                  const std::string& CredValue, const std::string& CredKind) {
    const std::string S = "RemoteProfiles\\" + Name;
    return Log{"WriteString(" + S + ",Platform," + Platform + ")",
               "WriteString(" + S + ",HostName," + Host + ")",
               "WriteInteger(" + S + ",PortNumber," + std::to_string(Port) + ")",
               "WriteString(" + S + "," + CredKind + "," + CredValue + ")",
               "WriteString(" + S + ",LocalRoot,)",
               "WriteInteger(" + S + ",PathCount,0)"};
  };
  Log Expected{"EraseSection(RemoteProfiles)"};
  for (const auto& L : {Block("Droid", "Android", "d", 3, "/d", "PassFile")})
    Expected.insert(Expected.end(), L.begin(), L.end());
  Expected.push_back("WriteString(RemoteProfiles,Default_Android,Droid)");
  for (const auto& L : {Block("Mac", "OSX32", "h", 1, "enc:00", "Password")})
    Expected.insert(Expected.end(), L.begin(), L.end());
  Expected.push_back("WriteString(RemoteProfiles,Default_OSX32,Mac)");
  for (const auto& L : {Block("Mac2", "OSX32", "h", 2, "enc:00", "Password")})
    Expected.insert(Expected.end(), L.begin(), L.end());
  EXPECT_EQ(Ini->Log, Expected);
  for (const char* File : {"Droid.profile", "Mac.profile", "Mac2.profile"})
    EXPECT_TRUE(fs::exists(AppData() / File)) << File;
}

TEST_F(SettingsStore, SaveProfileAloneLeavesEarlierValuesInTheStore) {
  const auto M = Empty();
  const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"/old.passfile", false, true}, "",
                               {{"/a", "*", false, ptIncludePath}, {"/b", "*", false, ptIncludePath}}, false);
  M->SaveProfile(P, Ini.get(), "");
  P->SetCredential({"enc:6e6577", true, true});
  P->SetPaths({{"/c", "*", false, ptIncludePath}});
  M->SaveProfile(P, Ini.get(), "");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\Mac", "PassFile", ""), "/old.passfile");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\Mac", "Path1", ""), "/b");
  EXPECT_EQ(Ini->ReadInteger("RemoteProfiles\\Mac", "PathCount", 0), 1);
  // On the next load from the store alone, the stale PassFile keeps precedence.
  std::filesystem::remove(AppData() / "Mac.profile");
  ResetRemoteProfileMgrForTesting();
  EXPECT_EQ(Load()->GetProfile("Mac")->GetCredential(), (TOTARemoteProfileCredential{"/old.passfile", false, true}));
}

TEST_F(SettingsStore, OneArgumentSaveProfileUsesTheManagersStoreWhenNoFileIsGiven) {
  const auto M = Load();
  const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
  Ini->Log.clear();
  M->SaveProfile(P, "");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\Mac", "HostName", ""), "h");
  EXPECT_TRUE(fs::exists(AppData() / "Mac.profile"));
}

TEST_F(SettingsStore, StoreNamesThatAreNotFileNamesAreSkippedBeforeAnyPathIsFormed) {
  for (const char* Name : {"a/b", "/etc/passwd", "x:y", "tab\there"})
    Ini->WriteString(std::string("RemoteProfiles\\") + Name, "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\..", "Platform", "OSX32");
  Ini->Log.clear();
  const auto M = Load();
  EXPECT_EQ(NamesOf(*M, "OSX32"), (std::vector<std::string>{".."}));
  for (const std::string& Entry : Ini->Log) EXPECT_EQ(Entry.find("a/b"), std::string::npos) << Entry;
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_EQ(Library->ProfilesCreated, 1);  // only ".." looked for its profile file
}

TEST_F(SettingsStore, ProfileFileHoldingABadNameShowsTheErrorAndFallsBackToTheStore) {
  Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\Mac", "HostName", "store");
  WriteProfileFile("Mac.profile", "../evil", "OSX32");
  const auto M = Load();
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "'../evil' is not a valid profile name.  A profile name must be a valid filename");
  EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtError);
  EXPECT_EQ(Messages->Shown[0].Buttons, (TMsgDlgButtons{TMsgDlgBtn::mbOK}));
  // The name held in the file replaced the listed one, and it is no usable name.
  EXPECT_EQ(M->GetProfileCount("OSX32"), 0);
  EXPECT_FALSE(fs::exists(AppData().parent_path() / "evil.profile"));
}

TEST_F(SettingsStore, DeclinedOverwriteFallsBackToTheSubSectionOfTheNameInTheFile) {
  Ini->WriteString("RemoteProfiles\\A", "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\A", "HostName", "store-a");
  Ini->WriteString("RemoteProfiles\\B", "Platform", "OSX32");
  Ini->WriteString("RemoteProfiles\\B", "HostName", "store-b");
  WriteProfileFile("B.profile", "A", "OSX32", "file-b");
  Messages->Answers = {TMsgDlgBtn::mbNo};
  const auto M = Load();
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtConfirmation);
  // B's turn read the sub-section of "A", the name its file holds: A is loaded twice, B never.
  EXPECT_EQ(NamesOf(*M, "OSX32"), (std::vector<std::string>{"A"}));
  EXPECT_EQ(M->GetProfile("A")->GetHostName(), "store-a");
}

}  // namespace

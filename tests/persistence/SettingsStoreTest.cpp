// The settings-store layout: LoadOptions, SaveOptions, SaveProfile — values, defaults and
// the exact order of the writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "PersistenceFixture.h"
#include "client/ClientFactory.h"

namespace {

using ::testing::ThrowsMessage;

class SettingsStore : public TPersistenceFixture {
 protected:
  TRemoteProfileManagerPtr Load() { return TRemoteProfileManager::Create(Ini); }
  /// Calls on the sub-section of Name as the store logs them: "Write", "Mac", "String:HostName,h"
  /// is "WriteString(RemoteProfiles\\Mac,HostName,h)".
  static TNames Calls(const std::string& Op, const std::string& Name, const TNames& Entries) {
    TNames Result;
    for (const std::string& E : Entries)
      Result.push_back(Op + E.substr(0, E.find(':')) + "(RemoteProfiles\\" + Name + "," + E.substr(E.find(':') + 1) +
                       ")");
    return Result;
  }
};

TEST_F(SettingsStore, StoredValuesAreTakenAsStoredWithinTheirLimitsAndWhatIsMissingTakesItsDefault) {
  Store("File", "OSX32", {{"Password", "enc:7077"}, {"PassFile", "/home/ann/mac.passfile"}});  // the file wins
  Store("Word", "OSX32", {{"Password", "enc:7077"}});  // already enciphered: never enciphered again
  Store("Types", "OSX32", {{"PathCount", "2"}, {"Path0", "/i"}, {"Type0", "258"}, {"Type1", "7"}});  // the low 8 bits
  Store("Negative", "OSX32", {{"PathCount", "-3"}});
  Store("Huge", "OSX32", {{"PathCount", "2147483647"}});  // capped, not allocated
  const auto M = Load();
  EXPECT_EQ(Describe(M->GetProfile("File")), "File|OSX32||64211|/home/ann/mac.passfile,0,1||0");
  EXPECT_EQ(Describe(M->GetProfile("Word")), "Word|OSX32||64211|enc:7077,1,1||0");
  EXPECT_TRUE(Library->Encrypted.empty());
  EXPECT_EQ(M->GetProfile("Types")->GetPaths().ToVector(),
            (std::vector<TOTARemoteProfilePathItem>{{"/i", "", false, ptFramework},
                                                    {"", "", false, static_cast<TOTAPathItemType>(7)}}));
  EXPECT_TRUE(M->GetProfile("Negative")->GetPaths().empty());
  EXPECT_EQ(M->GetProfile("Huge")->GetPaths().size(), 65536u);
}

TEST_F(SettingsStore, TheStoredDefaultOfAPlatformComesFirstWhenItNamesOneOfItsProfilesExactly) {
  for (const char* Name : {"Z", "A"}) Store(Name, "Android");  // Z before A, so marking A would reorder them
  for (const char* Name : {"B", "C", "D"}) Store(Name, "OSX32");
  for (const auto& [Default, Order] : std::vector<std::pair<std::string, TNames>>{
           {"C", {"C", "B", "D"}}, {"d", {"B", "C", "D"}}, {"Nobody", {"B", "C", "D"}}, {"A", {"B", "C", "D"}}}) {
    Ini->WriteString("RemoteProfiles", "Default_OSX32", Default);
    const auto M = Load();
    EXPECT_EQ(NamesOf(*M, "OSX32"), Order) << Default;
    EXPECT_EQ(NamesOf(*M, "Android"), (TNames{"Z", "A"})) << Default;
  }
}

TEST_F(SettingsStore, EntriesThatCannotBeProfilesAreSkippedSilentlyAndAHeldNameIsReplaced) {
  for (const char* Name : {"a/b", "/etc/passwd", "x:y", "tab\there", ".."}) Store(Name, "OSX32");
  Store("Old", "Symbian");
  Ini->WriteString("RemoteProfiles\\None", "HostName", "h");
  const auto M = TRemoteProfileManager::Create(nullptr);
  const auto Held = M->AddProfile("mac", "OSX32", "old", 1, {}, "", {}, false);
  Store("Mac", "OSX32", {{"HostName", "new"}});
  Ini->Log.clear();
  M->LoadOptions(*Ini);
  EXPECT_EQ(NamesOf(*M, "OSX32"), (TNames{"Mac"}));
  EXPECT_EQ(Describe(M->GetProfile("MAC")), "Mac|OSX32|new|64211|,1,1||0");
  for (const std::string& Entry : Ini->Log) EXPECT_EQ(Entry.find("a/b"), std::string::npos) << Entry;
  EXPECT_EQ(Library->ProfilesCreated, 3);  // only "Old", "None" and "Mac" looked for a profile file
  EXPECT_TRUE(Messages->Shown.empty());
  M->SaveOptions(*Ini);
  EXPECT_FALSE(Ini->HasSection("RemoteProfiles\\Old"));
}

TEST_F(SettingsStore, SaveOptionsErasesThenWritesEachListWithItsDefaultAfterTheFirst) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  M->AddProfile("Mac", "OSX32", "h", 1, {"/p", false, true}, "", {}, false);
  M->AddProfile("Mac2", "OSX32", "h", 2, {"enc:00", true, true}, "", {}, false);
  Store("Gone", "Symbian");  // skipped at load: the save drops it with its profile file
  WriteProfileFile("Gone.profile", "Gone", "Symbian");
  Ini->Log.clear();
  M->SaveOptions(*Ini);
  EXPECT_FALSE(fs::exists(AppData() / "Gone.profile"));
  const auto Writes = [](const std::string& Name, const std::string& Port, const std::string& Credential) {
    return Calls("Write", Name,
                 {"String:Platform,OSX32", "String:HostName,h", "Integer:PortNumber," + Port, "String:" + Credential,
                  "String:LocalRoot,", "Integer:PathCount,0"});
  };
  EXPECT_EQ(
      Ini->Log,
      Then(Then({"ReadSections(RemoteProfiles)", "EraseSection(RemoteProfiles)"}, Writes("Mac", "1", "PassFile,/p")),
           Then({"WriteString(RemoteProfiles,Default_OSX32,Mac)"}, Writes("Mac2", "2", "Password,enc:00"))));
  EXPECT_TRUE(fs::exists(AppData() / "Mac.profile") && fs::exists(AppData() / "Mac2.profile"));
  EXPECT_TRUE(Library->Encrypted.empty());  // nothing typed, nothing enciphered
}

TEST_F(SettingsStore, SaveProfileEnciphersATypedPasswordOnceForTheStoreAndTheProfileFile) {
  const auto M = Load();
  const auto P = M->AddProfile("Mac", "OSX32", "mac.local", 64211, {"pw", true, false}, "/cache",
                               {{"/usr/include", "*", true, ptIncludePath},
                                {"/F", "UIKit", false, ptFramework},
                                {"/l", "a", false, ptLibraryPath},
                                {"/o", "*", false, ptOtherPath},
                                {"/x", "*", false, static_cast<TOTAPathItemType>(9)}},
                               false);
  Ini->Log.clear();
  M->SaveProfile(P, "");  // the manager's own store
  EXPECT_EQ(TNames(Ini->Log.begin(), Ini->Log.begin() + 10),
            Calls("Write", "Mac",
                  {"String:Platform,OSX32", "String:HostName,mac.local", "Integer:PortNumber,64211",
                   "String:Password,enc:7077", "String:LocalRoot,/cache", "Integer:PathCount,5",
                   "String:Path0,/usr/include", "String:Mask0,*", "Bool:IncludeSubDir0,1", "Integer:Type0,0"}));
  EXPECT_EQ(Ini->Log.size(), 6u + 5 * 4);
  EXPECT_EQ(Library->Encrypted, TNames{"pw"});
  THestrelClientProfile File;  // the same stored form, and each item in the list of its type
  ASSERT_TRUE(File.ReadProfileSettings((AppData() / "Mac.profile").string())) << File.GetLastError();
  EXPECT_EQ(File.GetCredential(), (TRACredential{"enc:7077", true, true}));
  EXPECT_EQ(File.GetIncludePath(TIncludePathKind::Include), (TRAPathItems{{"/usr/include", "*", true}}));
  EXPECT_EQ(File.GetIncludePath(TIncludePathKind::Library), (TRAPathItems{{"/l", "a", false}}));
  EXPECT_EQ(File.GetIncludePath(TIncludePathKind::Other), (TRAPathItems{{"/o", "*", false}}));
  EXPECT_EQ(File.GetIncludePath(TIncludePathKind::Framework), (TRAPathItems{{"/F", "UIKit", false}}));
}

TEST_F(SettingsStore, APasswordThatCannotBeEncipheredRaisesBeforeAnythingIsWritten) {
  Library->EncryptFails = true;
  WriteText(TempDir / "plain-file", "x");  // the real library's key directory cannot be made: its Encrypt answers ""
  const auto Real = std::make_shared<hestrel::THestrelClientFactory>((TempDir / "plain-file/keys").string());
  for (const TRAClientFactoryPtr& Agents :
       {TRAClientFactoryPtr(Library), TRAClientFactoryPtr(), TRAClientFactoryPtr(Real)}) {
    Host.AgentLibrary = Agents;
    Reinstall();
    const auto M = Load();
    const auto P = M->AddProfile("Mac", "OSX32", "h", 1, {"pw", true, false}, "", {}, false);
    Ini->Log.clear();
    for (const std::function<void()>& Save : std::vector<std::function<void()>>{
             [&] { M->SaveProfile(P, ""); }, [&] { M->SaveProfile(P, (TempDir / "x.profile").string()); },
             [&] { M->SaveOptions(*Ini); }}) {
      EXPECT_THAT(Save, ThrowsMessage<EProfileFileError>("Cannot encipher the password of profile 'Mac'"));
    }
    EXPECT_EQ(Ini->Log, TNames{});  // not even the EraseSection
    EXPECT_FALSE(fs::exists(AppData() / "Mac.profile") || fs::exists(TempDir / "x.profile"));
  }
  Host.AgentLibrary = Library;  // even with Encrypt failing, an empty typed password is stored empty
  Reinstall();
  const auto M = TRemoteProfileManager::Create(nullptr);
  M->SaveProfile(M->AddProfile("Mac", "OSX32", "h", 1, {"", true, false}, "", {}, false), Ini.get(), "");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\Mac", "Password", "?"), "");
}

TEST_F(SettingsStore, AProfileFileIsTakenWithoutPathItemsOnlyWhenItHoldsWhatItsSubSectionHolds) {
  // Profile files are written before the settings file: one left by a commit that failed or was
  // cut off disagrees with the sub-section, which holds what was committed.
  const std::map<std::string, std::string> Saved{
      {"HostName", "file-host"}, {"PortNumber", "4000"}, {"PassFile", "/p.passfile"}, {"LocalRoot", "/cache/Mac"}};
  const struct {
    std::string Platform;
    std::map<std::string, std::string> Values;
    std::string Expected;
  } Rows[] = {
      {"OSX32", Saved, "Mac|OSX32|file-host|4000|/p.passfile,0,0|/cache/Mac|0"},
      {"OSX32", {{"HostName", "store-host"}}, "Mac|OSX32|store-host|64211|,1,1||1"},
      {"Linux64", Saved, "Mac|Linux64|file-host|4000|/p.passfile,0,1|/cache/Mac|1"},
      {"", {}, "Mac|OSX32|file-host|4000|/p.passfile,0,0|/cache/Mac|0"},  // never saved: nothing to disagree with
  };
  WriteProfileFile("Mac.profile", "Mac", "OSX32", "file-host", {"/p.passfile", false, false});
  for (const auto& Row : Rows) {
    Ini->EraseSection("RemoteProfiles");
    Store("Mac", Row.Platform, Row.Values);
    Ini->WriteString("RemoteProfiles\\Mac", "PathCount", "1");
    EXPECT_EQ(Describe(Load()->GetProfile("Mac")), Row.Expected) << Row.Platform;
  }
}

TEST_F(SettingsStore, AProfileFileHoldingAnotherNameIsTakenUnderItOrLeftForTheSubSectionOfThatName) {
  Store("A", "OSX32", {{"HostName", "store-a"}});
  Store("B", "OSX32", {{"HostName", "store-b"}});
  WriteProfileFile("B.profile", "A", "OSX32", "file-b");
  for (const auto& [Answer, Host] :
       std::vector<std::pair<TMsgDlgBtn, std::string>>{{TMsgDlgBtn::mbYes, "file-b"}, {TMsgDlgBtn::mbNo, "store-a"}}) {
    Messages->Answers = {Answer};
    const auto M = Load();
    ExpectOneMessage(
        "A profile named 'A' already exists.\r\n\r\nImporting this profile will overwrite the existing "
        "profile.  Are you sure you want to import this profile?",
        TMsgDlgType::mtConfirmation);
    EXPECT_EQ(NamesOf(*M, "OSX32"), TNames{"A"});  // B is never loaded
    EXPECT_EQ(M->GetProfile("A")->GetHostName(), Host);
  }
}

}  // namespace

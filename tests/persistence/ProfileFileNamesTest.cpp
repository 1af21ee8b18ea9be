// Parts 2.1 to 2.3 helpers (persistence/ProfileFileNames.cpp): the file-name check, the
// application-data directory and the sorting of path items into the four lists.
#include <gtest/gtest.h>

#include "PersistenceFixture.h"
#include "persistence/ProfileFiles.h"

namespace {

class ProfileFileNames : public TPersistenceFixture {};

TEST_F(ProfileFileNames, FileNameRuleAgreesWithTheManagersNameValidation) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  std::vector<std::string> Names{"",    "Mac", " Mac ", "..",  ".",   "a/b", "a\\b",     "/abs",      "C:x",
                                 "a*b", "a?b", "a\"b",  "a<b", "a>b", "a|b", "Zoë 東京", "a;b=c#[d]", "\x7f"};
  for (int C = 1; C < 0x20; ++C) Names.push_back("a" + std::string(1, static_cast<char>(C)));
  for (std::size_t Bytes : {240u, 247u, 248u, 255u, 300u}) Names.push_back(std::string(Bytes, 'n'));
  std::string Accented;  // 124 two-byte characters: 248 bytes
  for (int I = 0; I < 124; ++I) Accented += "\xc3\xa9";
  Names.push_back(Accented);
  Names.push_back(Accented.substr(0, 246));
  for (const std::string& Name : Names) {
    std::string Message;
    const bool ManagerSaysBad = M->InternalValidateProfileName(Name, Message) == pnveBadFileName;
    EXPECT_EQ(IsValidProfileFileName(Name), !ManagerSaysBad) << Name;
  }
}

TEST_F(ProfileFileNames, NamesOfAtMost247BytesAreFileNames) {
  EXPECT_TRUE(IsValidProfileFileName(std::string(240, 'n')));
  EXPECT_TRUE(IsValidProfileFileName(std::string(247, 'n')));
  EXPECT_FALSE(IsValidProfileFileName(std::string(248, 'n')));
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName(std::string(247, 'n')),
            AppData().string() + "/" + std::string(247, 'n') + ".profile");
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName(std::string(248, 'n')), "");
}

TEST_F(ProfileFileNames, AppDataDirectoryGetsOneTrailingDelimiter) {
  EXPECT_EQ(AppDataDirectory(), AppData().string() + "/");
  Environment->AppDataDir += "/";
  EXPECT_EQ(AppDataDirectory(), AppData().string());
  Environment->AppDataDir = "";
  EXPECT_EQ(AppDataDirectory(), "");
}

TEST_F(ProfileFileNames, PathItemsAreSortedByTypeKeepingOrder) {
  const TPathItemLists Lists = SortPathItemsByType({{"/i1", "*", false, ptIncludePath},
                                                    {"/o", "*", true, ptOtherPath},
                                                    {"/i2", "m", false, ptIncludePath},
                                                    {"/x", "*", false, static_cast<TOTAPathItemType>(200)},
                                                    {"/l", "*", false, ptLibraryPath},
                                                    {"/f", "F", false, ptFramework}});
  EXPECT_EQ(Lists.IncludePaths, (TRAPathItems{{"/i1", "*", false}, {"/i2", "m", false}}));
  EXPECT_EQ(Lists.LibraryPaths, (TRAPathItems{{"/l", "*", false}}));
  EXPECT_EQ(Lists.OtherPaths, (TRAPathItems{{"/o", "*", true}}));
  EXPECT_EQ(Lists.FrameworkPaths, (TRAPathItems{{"/f", "F", false}}));
}

}  // namespace

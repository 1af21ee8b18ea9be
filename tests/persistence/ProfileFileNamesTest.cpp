// The file-name rule and the application-data directory that profile files and default-path
// files share.
#include <gtest/gtest.h>

#include "PersistenceFixture.h"

namespace {

using ProfileFileNames = TPersistenceFixture;

TEST_F(ProfileFileNames, TheFileNameRuleAgreesWithTheManagersNameValidation) {
  const auto M = TRemoteProfileManager::Create(nullptr);
  Texts Names{"",    "Mac", " Mac ", "..",  ".",   "a/b", "a\\b",     "/abs",      "C:x",
              "a*b", "a?b", "a\"b",  "a<b", "a>b", "a|b", "Zoë 東京", "a;b=c#[d]", "\x7f"};
  for (int C = 1; C < 0x20; ++C) Names.push_back("a" + std::string(1, static_cast<char>(C)));
  for (std::size_t Bytes : {240u, 247u, 248u, 255u, 300u}) Names.push_back(std::string(Bytes, 'n'));
  std::string Accented;  // 124 two-byte characters: 248 bytes
  for (int I = 0; I < 124; ++I) Accented += "\xc3\xa9";
  Names.insert(Names.end(), {Accented, Accented.substr(0, 246)});
  for (const std::string& Name : Names) {
    std::string Message;
    EXPECT_EQ(IsValidProfileFileName(Name), M->InternalValidateProfileName(Name, Message) != pnveBadFileName) << Name;
  }
  EXPECT_TRUE(IsValidProfileFileName(std::string(247, 'n')));
  EXPECT_FALSE(IsValidProfileFileName(std::string(248, 'n')));
}

TEST_F(ProfileFileNames, TheApplicationDataDirectoryGetsOneTrailingDelimiter) {
  EXPECT_EQ(AppDataDirectory(), AppData().string() + "/");
  Environment->AppDataDir += "/";
  EXPECT_EQ(AppDataDirectory(), AppData().string());
  Environment->AppDataDir = "";
  EXPECT_EQ(AppDataDirectory(), "");
}

}  // namespace

// The profile-file reader against every fuzzing input kept in the repository
// (tests/fuzz/corpus and tests/fuzz/regressions): no crash, a refused file keeps the
// previous values and names the file, an accepted one round-trips exactly.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "client/ClientProfile.h"

namespace fs = std::filesystem;

TEST(ProfileFileRegression, EveryCorpusAndRegressionFileIsReadSafelyAndTheValidSeedsAreAccepted) {
  const char* Source = std::getenv("ZEPH_SOURCE_DIR");
  const fs::path Fuzz =
      Source ? fs::path(Source) / "tests/fuzz" : fs::path(__FILE__).parent_path().parent_path() / "fuzz";
  std::vector<std::string> Accepted;
  std::size_t Files = 0;
  for (const char* Folder : {"corpus", "regressions"})
    for (const auto& Entry : fs::directory_iterator(Fuzz / Folder)) {
      const std::string File = Entry.path().string();
      THestrelClientProfile Profile, Again;
      Profile.SetProfileName("before");
      const auto Before = Profile.GetData();
      ++Files;
      if (!Profile.ReadProfileSettings(File)) {
        EXPECT_EQ(Profile.GetData(), Before) << File;
        EXPECT_EQ(Profile.GetLastError().rfind("Cannot read profile file '" + File + "': ", 0), 0u) << File;
        continue;
      }
      Accepted.push_back(Entry.path().filename().string());
      ASSERT_TRUE(Again.ReadProfileText(hestrel::WriteProfileText(Profile.GetData()), "again.profile")) << File;
      EXPECT_EQ(Again.GetData(), Profile.GetData()) << File;
    }
  EXPECT_GE(Files, 7u) << "corpus or regressions missing under " << Fuzz;
  const std::vector<std::string> Valid = {"crlf-escapes.profile", "full.profile", "iOSSimulator.defaultprofilepaths",
                                          "minimal.profile"};
  std::sort(Accepted.begin(), Accepted.end());
  EXPECT_TRUE(std::includes(Accepted.begin(), Accepted.end(), Valid.begin(), Valid.end()))
      << ::testing::PrintToString(Accepted);
  THestrelClientProfile Profile;
  ASSERT_TRUE(Profile.ReadProfileSettings((Fuzz / "corpus/crlf-escapes.profile").string()));
  EXPECT_EQ(Profile.GetProfileName(), "Zoë 東京\n");
  EXPECT_EQ(Profile.GetSysRoot(false), "C:\\Users\\ann \"x\" \t\xFF");
  EXPECT_EQ(Profile.GetHost(), " = ; # [x] ");
  EXPECT_EQ(Profile.GetPort(), -1);
}

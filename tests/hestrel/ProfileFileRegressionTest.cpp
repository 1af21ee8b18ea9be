// Part 2.2 profile-file reader against every fuzzing input kept in the repository
// (tests/fuzz/corpus and tests/fuzz/regressions): no crash, a refused file keeps the
// previous values and names the file, an accepted one round-trips exactly.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "client/ClientProfile.h"

namespace {

namespace fs = std::filesystem;

fs::path FuzzDir() {
  if (const char* Source = std::getenv("ZEPH_SOURCE_DIR")) return fs::path(Source) / "tests" / "fuzz";
  return fs::path(__FILE__).parent_path().parent_path() / "fuzz";
}

std::vector<fs::path> FilesOf(const fs::path& Dir) {
  std::vector<fs::path> Files;
  for (const auto& Entry : fs::directory_iterator(Dir))
    if (Entry.is_regular_file()) Files.push_back(Entry.path());
  return Files;
}

void ReadSafely(const fs::path& File) {
  SCOPED_TRACE(File.string());
  THestrelClientProfile Profile;
  Profile.SetProfileName("before");
  const auto Before = Profile.GetData();
  if (!Profile.ReadProfileSettings(File.string())) {
    EXPECT_EQ(Profile.GetData(), Before);
    EXPECT_EQ(Profile.GetLastError().rfind("Cannot read profile file '" + File.string() + "': ", 0), 0u);
    return;
  }
  THestrelClientProfile Again;
  ASSERT_TRUE(Again.ReadProfileText(hestrel::WriteProfileText(Profile.GetData()), "again.profile"))
      << Again.GetLastError();
  EXPECT_EQ(Again.GetData(), Profile.GetData());
}

TEST(ProfileFileRegression, EveryCorpusFileIsReadWithoutCrash) {
  const auto Files = FilesOf(FuzzDir() / "corpus");
  ASSERT_GE(Files.size(), 5u) << "seed corpus missing under " << FuzzDir();
  for (const auto& File : Files) ReadSafely(File);
}

TEST(ProfileFileRegression, EveryRegressionFileIsReadWithoutCrash) {
  const auto Files = FilesOf(FuzzDir() / "regressions");
  ASSERT_FALSE(Files.empty()) << "regressions folder missing under " << FuzzDir();
  for (const auto& File : Files) ReadSafely(File);
}

TEST(ProfileFileRegression, SeedCorpusValidFilesAreAccepted) {
  for (const char* Name :
       {"full.profile", "minimal.profile", "crlf-escapes.profile", "iOSSimulator.defaultprofilepaths"}) {
    THestrelClientProfile Profile;
    EXPECT_TRUE(Profile.ReadProfileSettings((FuzzDir() / "corpus" / Name).string())) << Profile.GetLastError();
  }
  THestrelClientProfile Profile;
  ASSERT_TRUE(Profile.ReadProfileSettings((FuzzDir() / "corpus" / "crlf-escapes.profile").string()));
  EXPECT_EQ(Profile.GetProfileName(), "Zoë 東京\n");
  EXPECT_EQ(Profile.GetSysRoot(false), "C:\\Users\\ann \"x\" \t\xFF");
  EXPECT_EQ(Profile.GetHost(), " = ; # [x] ");
  EXPECT_EQ(Profile.GetPort(), -1);
}

}  // namespace

// What the reference host's tests share: a fresh folder that is HOME, with the XDG variables
// unset, whose files are read and written whole; the environment and the installed host are
// put back afterwards.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "doubles/FileText.h"
#include "doubles/HostDoubles.h"

/// The permission bits of Path (of the file a link names).
inline mode_t ModeOf(const std::string& Path) {
  struct stat Info {};
  EXPECT_EQ(::stat(Path.c_str(), &Info), 0) << Path;
  return Info.st_mode & 07777;
}

class THostFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* Name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DOCUMENTS_DIR", "ZEPHPROFILESDIR"})
      SetEnv(Name, std::nullopt);
    SetEnv("HOME", Dir.string());
  }
  void TearDown() override {
    SetHostServices(FPreviousHost);
    for (auto It = FSavedEnv.rbegin(); It != FSavedEnv.rend(); ++It) Apply(It->first, It->second);
    std::filesystem::remove_all(Dir);
  }
  /// Sets (or with nullopt unsets) an environment variable until the test ends.
  void SetEnv(const std::string& Name, const std::optional<std::string>& Value) {
    const char* Old = std::getenv(Name.c_str());
    FSavedEnv.emplace_back(Name, Old ? std::optional<std::string>(Old) : std::nullopt);
    Apply(Name, Value);
  }
  /// A path below the test's folder.
  std::string At(const std::string& Rest) const { return (Dir / Rest).string(); }

  const std::filesystem::path Dir = MakeTempDir("host");

 private:
  static void Apply(const std::string& Name, const std::optional<std::string>& Value) {
    if (Value)
      ::setenv(Name.c_str(), Value->c_str(), 1);
    else
      ::unsetenv(Name.c_str());
  }
  THostServices FPreviousHost = HostServices();
  std::vector<std::pair<std::string, std::optional<std::string>>> FSavedEnv;
};

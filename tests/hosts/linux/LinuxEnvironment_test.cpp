#include "hosts/linux/LinuxEnvironment.h"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "EnvGuard.h"
#include "TempDir.h"

namespace {
/// A fresh HOME with every XDG variable unset.
struct TXdgFixture : ::testing::Test {
  TTempDir Home{"home"};
  TEnvGuard Env;
  void SetUp() override {
    Env.Set("HOME", Home.Path.string());
    for (const char* Name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DOCUMENTS_DIR"}) Env.Unset(Name);
  }
  std::string H(const std::string& Rest) const { return Home.Path.string() + Rest; }
};
using LinuxEnvironment = TXdgFixture;
}  // namespace

TEST_F(LinuxEnvironment, DefaultsFollowHomeWithoutXdgVariables) {
  EXPECT_EQ(LinuxHost::DefaultSettingsFileName(), H("/.config/zephprof/settings.ini"));
  EXPECT_EQ(LinuxHost::DefaultAppDataDir(), H("/.local/share/zephprof"));
  EXPECT_EQ(LinuxHost::DefaultBaseDocumentsDir(), H("/Documents/zephprof"));
}

TEST_F(LinuxEnvironment, XdgVariablesWin) {
  Env.Set("XDG_CONFIG_HOME", "/cfg");
  Env.Set("XDG_DATA_HOME", "/data");
  Env.Set("XDG_DOCUMENTS_DIR", "/docs");
  EXPECT_EQ(LinuxHost::DefaultSettingsFileName(), "/cfg/zephprof/settings.ini");
  EXPECT_EQ(LinuxHost::DefaultAppDataDir(), "/data/zephprof");
  EXPECT_EQ(LinuxHost::DefaultBaseDocumentsDir(), "/docs/zephprof");
}

TEST_F(LinuxEnvironment, RelativeXdgValuesAreIgnored) {
  Env.Set("XDG_CONFIG_HOME", "relative/cfg");
  Env.Set("XDG_DATA_HOME", "");
  Env.Set("XDG_DOCUMENTS_DIR", "docs");
  EXPECT_EQ(LinuxHost::DefaultSettingsFileName(), H("/.config/zephprof/settings.ini"));
  EXPECT_EQ(LinuxHost::DefaultAppDataDir(), H("/.local/share/zephprof"));
  EXPECT_EQ(LinuxHost::DefaultBaseDocumentsDir(), H("/Documents/zephprof"));
}

TEST_F(LinuxEnvironment, DocumentsDirComesFromUserDirsFile) {
  std::filesystem::create_directories(H("/.config"));
  WriteFileText(H("/.config/user-dirs.dirs"), "# comment\nXDG_DESKTOP_DIR=\"$HOME/Desk\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
  EXPECT_EQ(LinuxHost::DefaultBaseDocumentsDir(), H("/Dokumente/zephprof"));
  Env.Set("XDG_DOCUMENTS_DIR", "/explicit");
  EXPECT_EQ(LinuxHost::DefaultBaseDocumentsDir(), "/explicit/zephprof");
}

TEST_F(LinuxEnvironment, AppDataDirIsCreatedWithMode0700) {
  Env.Set("XDG_DATA_HOME", H("/xdg/data"));
  TLinuxEnvironment Environment;
  const std::string Dir = H("/xdg/data/zephprof");
  EXPECT_FALSE(std::filesystem::exists(Dir));
  EXPECT_EQ(Environment.fnAppDataDir(), Dir);
  struct stat Info {};
  ASSERT_EQ(::stat(Dir.c_str(), &Info), 0);
  EXPECT_TRUE(S_ISDIR(Info.st_mode));
  EXPECT_EQ(Info.st_mode & 07777, 0700u);
  EXPECT_EQ(Environment.fnBaseDocumentsDir(), H("/Documents/zephprof"));
  EXPECT_FALSE(std::filesystem::exists(H("/Documents")));  // documents are not created
}

TEST_F(LinuxEnvironment, OptionsOverrideTheDirectories) {
  TLinuxEnvironment Environment({H("/mine/data"), H("/mine/docs")});
  EXPECT_EQ(Environment.fnAppDataDir(), H("/mine/data"));
  EXPECT_EQ(Environment.fnBaseDocumentsDir(), H("/mine/docs"));
  EXPECT_TRUE(std::filesystem::is_directory(H("/mine/data")));
}

TEST_F(LinuxEnvironment, DeclaredDefaultYieldsToTheProcessEnvironment) {
  TLinuxEnvironment Environment({H("/d"), H("/docs")});
  Env.Unset("ZEPHPROFILESDIR");
  EXPECT_EQ(Environment.GetVariable("ZEPHPROFILESDIR"), "");
  Environment.AddVariable("ZEPHPROFILESDIR", "/default/Profiles");
  EXPECT_EQ(Environment.GetVariable("ZEPHPROFILESDIR"), "/default/Profiles");
  Env.Set("ZEPHPROFILESDIR", "/set/by/user");
  EXPECT_EQ(Environment.GetVariable("ZEPHPROFILESDIR"), "/set/by/user");
  EXPECT_EQ(Environment.GetDeclaredVariables().at("ZEPHPROFILESDIR"), "/default/Profiles");
}

TEST_F(LinuxEnvironment, ExpandRootMacroReplacesKnownNamesOnly) {
  TLinuxEnvironment Environment({H("/d"), H("/docs")});
  Env.Set("ZEPH_TEST_SDK", "/sdk");
  Env.Unset("ZEPH_TEST_UNKNOWN");
  Environment.AddVariable("ZEPH_TEST_ROOT", "/root");
  EXPECT_EQ(Environment.ExpandRootMacro("$(ZEPH_TEST_ROOT)/a/$(ZEPH_TEST_SDK)/b"), "/root/a//sdk/b");
  EXPECT_EQ(Environment.ExpandRootMacro("$(ZEPH_TEST_UNKNOWN)/x"), "$(ZEPH_TEST_UNKNOWN)/x");
  EXPECT_EQ(Environment.ExpandRootMacro("$()/$(ZEPH_TEST_SDK"), "$()/$(ZEPH_TEST_SDK");
  EXPECT_EQ(Environment.ExpandRootMacro("no macros"), "no macros");
}

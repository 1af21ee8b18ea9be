// End-to-end tests of zephprof's local commands: the built program run as a process against
// a temporary settings file and data directory. Standard input is never a terminal here, so
// every question is answered by --yes / --no or by the safe choice.
#include <unistd.h>

#include <fstream>

#include <gtest/gtest.h>

#include "ProcessRunner.h"

namespace {

namespace fs = std::filesystem;

const char Password[] = "S3cret-pw-7f2a";

class Zephprof : public ::testing::Test {
 protected:
  void SetUp() override {
    Dir = fs::temp_directory_path() / ("zephprof-test-" + std::to_string(getpid()) + "-" +
                                       ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(Dir);
    fs::create_directories(Dir / "home");
    Settings = Dir / "settings.ini";
    Data = Dir / "data";
  }
  void TearDown() override { fs::remove_all(Dir); }

  /// zephprof --settings S --data-dir D ARGS..., with a private HOME and XDG directories.
  TProcessResult Z(std::vector<std::string> Args, const std::string& Stdin = "") {
    Args.insert(Args.begin(), {"--settings", Settings.string(), "--data-dir", Data.string()});
    return RunProcess(ZephprofPath(), Args, Stdin,
                      {{"HOME", (Dir / "home").string()},
                       {"XDG_CONFIG_HOME", (Dir / "home/config").string()},
                       {"XDG_DATA_HOME", (Dir / "home/data").string()},
                       {"XDG_CACHE_HOME", (Dir / "home/cache").string()},
                       {"ZEPH", ""}});
  }
  /// Adds a profile with the test password; fails the test when that does not work.
  void AddProfile(const std::string& Name, const std::string& Platform, std::vector<std::string> Extra = {}) {
    std::vector<std::string> Args{"add", Name, "--platform", Platform, "--host", "127.0.0.1", "--password-stdin"};
    Args.insert(Args.end(), Extra.begin(), Extra.end());
    const TProcessResult R = Z(Args, std::string(Password) + "\n");
    ASSERT_EQ(R.Status, 0) << R.Err;
  }
  std::string SettingsText() const { return ReadWholeFile(Settings); }

  fs::path Dir, Settings, Data;
};

bool Contains(const std::string& Text, const std::string& Part) { return Text.find(Part) != std::string::npos; }

TEST_F(Zephprof, HelpAndVersionExitZero) {
  const TProcessResult Help = Z({"--help"});
  EXPECT_EQ(Help.Status, 0);
  for (const char* Command : {"list", "show", "add", "copy", "rename", "remove", "set", "default", "paths",
                              "default-paths", "export", "import", "test", "update-cache", "put", "rm", "env",
                              "expand", "exists", "ls", "symlink", "run"})
    EXPECT_TRUE(Contains(Help.Out, Command)) << Command;
  const TProcessResult AddHelp = Z({"add", "--help"});
  EXPECT_EQ(AddHelp.Status, 0);
  EXPECT_TRUE(Contains(AddHelp.Out, "Example:"));
  const TProcessResult Version = RunProcess(ZephprofPath(), {"--version"}, "", {});
  EXPECT_EQ(Version.Status, 0);
  EXPECT_TRUE(Contains(Version.Out, "zephprof 0.1.0"));
}

TEST_F(Zephprof, UsageErrorsExitTwo) {
  EXPECT_EQ(Z({}).Status, 2);
  EXPECT_EQ(Z({"frobnicate"}).Status, 2);
  EXPECT_EQ(Z({"add", "Mac", "--host", "h"}).Status, 2);  // --platform missing
  EXPECT_EQ(Z({"--yes", "--no", "list"}).Status, 2);
  const TProcessResult Platform = Z({"add", "Mac", "--platform", "Atari", "--host", "h"});
  EXPECT_EQ(Platform.Status, 2);
  EXPECT_TRUE(Contains(Platform.Err, "'Atari' is not a platform a profile can be made for"));
  const TProcessResult Port = Z({"add", "Mac", "--platform", "OSX32", "--host", "h", "--port", "65536"});
  EXPECT_EQ(Port.Status, 2);
  EXPECT_TRUE(Contains(Port.Err, "'65536' is not a valid port number (a whole number from 0 to 65535)"));
  EXPECT_FALSE(fs::exists(Settings));
}

TEST_F(Zephprof, FirstProfileOfAPlatformBecomesDefault) {
  AddProfile("Mac", "OSX32");
  AddProfile("Mac2", "OSX32");
  const TProcessResult List = Z({"list"});
  EXPECT_EQ(List.Status, 0);
  EXPECT_EQ(List.Out, "OSX32 (macOS 32-bit)\n  * Mac  127.0.0.1:64211\n    Mac2  127.0.0.1:64211\n");
  EXPECT_TRUE(Contains(SettingsText(), "Default_OSX32=Mac"));
}

TEST_F(Zephprof, DefaultFlagPutsALaterProfileFirst) {
  AddProfile("Mac", "OSX32");
  AddProfile("Mac2", "OSX32", {"--default"});
  EXPECT_EQ(Z({"list", "OSX32"}).Out, "OSX32 (macOS 32-bit)\n  * Mac2  127.0.0.1:64211\n    Mac  127.0.0.1:64211\n");
}

TEST_F(Zephprof, WindowsProfilesAreNeverDefault) {
  AddProfile("W1", "Win32", {"--default"});
  AddProfile("W2", "Win32", {"--default"});
  EXPECT_EQ(Z({"list"}).Out, "Win32 (32-bit Windows)\n    W1  127.0.0.1:64211\n    W2  127.0.0.1:64211\n");
  const TProcessResult Default = Z({"default", "W2"});
  EXPECT_EQ(Default.Status, 1);
  EXPECT_TRUE(Contains(Default.Err, "'W2' is a profile of Win32, which has no default profile"));
}

TEST_F(Zephprof, NameValidationShowsTheSystemsTexts) {
  AddProfile("Mac", "OSX32");
  const TProcessResult Blank = Z({"add", "   ", "--platform", "OSX32", "--host", "h"});
  EXPECT_EQ(Blank.Status, 1);
  EXPECT_TRUE(Contains(Blank.Err, "Error: Profile name cannot be blank\n"));
  const TProcessResult Bad = Z({"add", "a/b", "--platform", "OSX32", "--host", "h"});
  EXPECT_EQ(Bad.Status, 1);
  EXPECT_TRUE(Contains(Bad.Err, "Error: 'a/b' is not a valid profile name.  A profile name must be a valid filename"));
  const TProcessResult Duplicate = Z({"add", "mac", "--platform", "Linux64", "--host", "h"});
  EXPECT_EQ(Duplicate.Status, 1);
  EXPECT_TRUE(Contains(Duplicate.Err, "Error: A profile named 'mac' already exists"));
  EXPECT_EQ(Z({"list"}).Out, "OSX32 (macOS 32-bit)\n  * Mac  127.0.0.1:64211\n");
}

TEST_F(Zephprof, NamesAreTrimmed) {
  AddProfile("  Build Box  ", "Linux64");
  const TProcessResult Show = Z({"show", "build box"});
  EXPECT_EQ(Show.Status, 0);
  EXPECT_TRUE(Contains(Show.Out, "Name:        Build Box\n"));
}

TEST_F(Zephprof, PasswordNeverAppearsInFilesOrOutput) {
  AddProfile("Mac", "OSX32");
  const TProcessResult Show = Z({"show", "Mac"});
  const TProcessResult Json = Z({"--json", "show", "Mac"});
  const TProcessResult List = Z({"--json", "list"});
  const TProcessResult Export = Z({"export", "Mac", (Dir / "out").string()});
  ASSERT_EQ(Export.Status, 0) << Export.Err;
  EXPECT_TRUE(Contains(Show.Out, "Password:    set (stored enciphered)\n"));
  EXPECT_TRUE(Contains(Json.Out, "\"passwordSet\":true"));
  for (const TProcessResult* R : {&Show, &Json, &List, &Export}) {
    EXPECT_FALSE(Contains(R->Out, Password));
    EXPECT_FALSE(Contains(R->Err, Password));
  }
  std::vector<fs::path> Files = FilesBelow(Dir);
  EXPECT_GE(Files.size(), 3u);  // settings, profile file, exported file
  for (const fs::path& File : Files) EXPECT_FALSE(Contains(ReadWholeFile(File), Password)) << File;
  EXPECT_TRUE(Contains(SettingsText(), "Password="));
}

TEST_F(Zephprof, ShowListsEveryField) {
  const TProcessResult Add = Z({"add", "Mac", "--platform", "OSX32", "--host", "127.0.0.1", "--port", "7000",
                                "--local-root", (Dir / "cache").string(), "--password-stdin"},
                               "pw\n");
  EXPECT_EQ(Add.Status, 0) << Add.Err;
  // The new profile starts from OSX32's 66 built-in path items.
  EXPECT_EQ(Add.Out, "Added profile 'Mac' for OSX32 (macOS 32-bit), the platform's default, with 66 path items\n");
  const TProcessResult Show = Z({"show", "Mac"});
  EXPECT_EQ(Show.Status, 0);
  EXPECT_EQ(Show.Out.rfind(
                "Name:        Mac\nPlatform:    OSX32 (macOS 32-bit)\nHost name:   127.0.0.1\nPort number: 7000\n"
            "Password:    set (stored enciphered)\nLocal root:  " + (Dir / "cache").string() +
            "\nDefault:     yes\n"
            // Its SDK in the host's store: the platform's default set, kept across runs.
            "Path items:  66\n  0  include  /usr/include  *\n  1  include  /usr/include/os  *\n",
                0),
            0u)
      << Show.Out;
  EXPECT_TRUE(Contains(Show.Out, "  65  framework  /System/Library/Frameworks/CoreServices.framework/Frameworks"
                                 "  CFNetwork\n"))
      << Show.Out;
  EXPECT_TRUE(Contains(SettingsText(), "[ProfileSDKs\\Mac]\nPathCount=66\n"));
  const TProcessResult Missing = Z({"show", "Nope"});
  EXPECT_EQ(Missing.Status, 1);
  EXPECT_EQ(Missing.Err, "zephprof: No profile named 'Nope'\n");
}

TEST_F(Zephprof, CopyAndRenameFollowTheOptionsPage) {
  AddProfile("Mac", "OSX32");
  EXPECT_EQ(Z({"copy", "Mac", " Mac2 "}).Status, 0);
  const TProcessResult Taken = Z({"copy", "Mac", "MAC2"});
  EXPECT_EQ(Taken.Status, 1);
  EXPECT_TRUE(Contains(Taken.Err, "A profile named 'MAC2' already exists"));
  const TProcessResult Rename = Z({"rename", "Mac2", "Build"});
  EXPECT_EQ(Rename.Status, 0);
  EXPECT_EQ(Rename.Out, "Renamed 'Mac2' to 'Build'\n");
  const TProcessResult CaseOnly = Z({"rename", "Build", "BUILD"});
  EXPECT_EQ(CaseOnly.Status, 0);
  EXPECT_TRUE(Contains(CaseOnly.Err, "a change of letter case only is ignored"));
  EXPECT_EQ(Z({"list"}).Out, "OSX32 (macOS 32-bit)\n  * Mac  127.0.0.1:64211\n    Build  127.0.0.1:64211\n");
  EXPECT_FALSE(Contains(SettingsText(), "Mac2"));
  EXPECT_TRUE(fs::exists(Data / "Build.profile"));
}

TEST_F(Zephprof, RemoveAsksAndOnlyYesRemoves) {
  AddProfile("Mac", "OSX32");
  const TProcessResult Safe = Z({"remove", "Mac"});
  EXPECT_EQ(Safe.Status, 1);
  EXPECT_TRUE(Contains(Safe.Err, "Confirm: Are you sure you want to delete the profile named 'Mac'?\n"));
  EXPECT_TRUE(Contains(Safe.Err, "No terminal to ask; answered No"));
  EXPECT_EQ(Z({"--no", "remove", "Mac"}).Status, 1);
  EXPECT_TRUE(Contains(Z({"list"}).Out, "Mac"));
  const TProcessResult Yes = Z({"remove", "Mac", "--yes"});
  EXPECT_EQ(Yes.Status, 0) << Yes.Err;
  EXPECT_TRUE(Contains(Yes.Err, "Yes (--yes)"));
  EXPECT_EQ(Z({"list"}).Out, "");
  EXPECT_FALSE(Contains(SettingsText(), "Mac"));
  EXPECT_FALSE(fs::exists(Data / "Mac.profile"));
}

TEST_F(Zephprof, SetChangesFields) {
  AddProfile("Mac", "OSX32");
  const TProcessResult Set = Z({"set", "Mac", "--host", "mac.local", "--port", "7001"});
  EXPECT_EQ(Set.Status, 0) << Set.Err;
  const std::string Show = Z({"show", "Mac"}).Out;
  EXPECT_TRUE(Contains(Show, "Host name:   mac.local\nPort number: 7001\n"));
  EXPECT_EQ(Z({"set", "Mac"}).Status, 2);
  EXPECT_EQ(Z({"set", "Mac", "--port", "x"}).Status, 2);
  const fs::path PassFile = Dir / "pw.passfile";
  std::ofstream(PassFile) << "x\n";
  EXPECT_EQ(Z({"set", "Mac", "--passfile", PassFile.string()}).Status, 0);
  EXPECT_TRUE(Contains(Z({"show", "Mac"}).Out, "Password file: " + PassFile.string() + "\n"));
  EXPECT_TRUE(Contains(SettingsText(), "PassFile=" + PassFile.string()));
  AddProfile("Mac2", "OSX32");
  EXPECT_EQ(Z({"set", "Mac", "--platform", "Linux64"}).Status, 0);
  EXPECT_EQ(Z({"list"}).Out,
            "OSX32 (macOS 32-bit)\n  * Mac2  127.0.0.1:64211\nLinux64 (Linux 64-bit)\n  * Mac  mac.local:7001\n");
  EXPECT_EQ(Z({"set", "Mac", "--platform", "iOSDevice"}).Status, 2);  // hidden in the platform combo
}

TEST_F(Zephprof, DefaultMakesAProfileFirst) {
  AddProfile("A", "Linux64");
  AddProfile("B", "Linux64");
  EXPECT_EQ(Z({"default", "b"}).Status, 0);
  EXPECT_EQ(Z({"list"}).Out, "Linux64 (Linux 64-bit)\n  * B  127.0.0.1:64211\n    A  127.0.0.1:64211\n");
  EXPECT_TRUE(Contains(SettingsText(), "Default_Linux64=B"));
  EXPECT_TRUE(Contains(Z({"default", "B"}).Out, "'B' is already the default profile of Linux64"));
}

TEST_F(Zephprof, PathItemsOutliveTheRunThatSetThem) {
  AddProfile("Box", "Linux64");
  EXPECT_EQ(Z({"paths", "Box"}).Out, "");  // Linux64 has no default set
  const TProcessResult Added = Z({"paths", "Box", "add", "/usr/include", "*.h", "include", "--subdirs"});
  EXPECT_EQ(Added.Status, 0) << Added.Err;
  EXPECT_EQ(Added.Out, "Path items of 'Box': 1\n  0  include  /usr/include  *.h  subdirs\n");
  const TProcessResult Second = Z({"paths", "Box", "add", "/usr/lib", "libz.so", "library"});
  EXPECT_EQ(Second.Out,
            "Path items of 'Box': 2\n  0  include  /usr/include  *.h  subdirs\n  1  library  /usr/lib  libz.so\n");
  // Kept in the host's SDK store, so later runs list them.
  EXPECT_TRUE(Contains(SettingsText(), "[ProfileSDKs\\Box]\nPathCount=2\nPath0=/usr/include\nMask0=*.h\n"
                                       "IncludeSubDir0=1\nType0=0\nPath1=/usr/lib\n"))
      << SettingsText();
  EXPECT_EQ(Z({"paths", "Box", "list"}).Out,
            "  0  include  /usr/include  *.h  subdirs\n  1  library  /usr/lib  libz.so\n");
  EXPECT_TRUE(Contains(Z({"show", "Box"}).Out, "Path items:  2\n  0  include  /usr/include  *.h  subdirs\n"));
  EXPECT_EQ(Z({"--json", "paths", "Box"}).Out,
            "[{\"path\":\"/usr/include\",\"mask\":\"*.h\",\"includeSubDir\":true,\"type\":\"include\"},"
            "{\"path\":\"/usr/lib\",\"mask\":\"libz.so\",\"includeSubDir\":false,\"type\":\"library\"}]\n");
  const TProcessResult Removed = Z({"paths", "Box", "remove", "0"});
  EXPECT_EQ(Removed.Status, 0) << Removed.Err;
  EXPECT_EQ(Z({"paths", "Box"}).Out, "  0  library  /usr/lib  libz.so\n");
  EXPECT_EQ(Z({"paths", "Box", "add", "/x", "*", "sideways"}).Status, 2);
  EXPECT_EQ(Z({"paths", "Box", "add", "/x", " ", "other"}).Status, 2);
  const TProcessResult Beyond = Z({"paths", "Box", "remove", "1"});
  EXPECT_EQ(Beyond.Status, 1);
  EXPECT_EQ(Beyond.Err, "zephprof: 'Box' has no path item 1 (it has 1)\n");
  const TProcessResult Reset = Z({"paths", "Box", "reset"});
  EXPECT_EQ(Reset.Status, 0);
  EXPECT_EQ(Reset.Out, "Path items of 'Box': 0\n");
  EXPECT_EQ(Z({"paths", "Box"}).Out, "");
  AddProfile("Mac", "OSX32");
  ASSERT_EQ(Z({"paths", "Mac", "remove", "0"}).Status, 0);
  const TProcessResult MacReset = Z({"paths", "Mac", "reset"});
  EXPECT_EQ(MacReset.Status, 0);
  EXPECT_TRUE(Contains(MacReset.Out, "Path items of 'Mac': 66\n  0  include  /usr/include  *\n"));
  // The manager's own sections are the manager's: "paths" leaves them as they were.
  EXPECT_TRUE(Contains(SettingsText(), "[RemoteProfiles\\Box]\nPlatform=Linux64\n"));
}

TEST_F(Zephprof, PathItemsFollowCopyRenameAndRemove) {
  AddProfile("Box", "Linux64");
  ASSERT_EQ(Z({"paths", "Box", "add", "/opt/sdk", "*", "other"}).Status, 0);
  ASSERT_EQ(Z({"copy", "Box", "Box 2"}).Status, 0);
  EXPECT_EQ(Z({"paths", "Box 2"}).Out, "  0  other  /opt/sdk  *\n");
  ASSERT_EQ(Z({"rename", "Box 2", "Builder"}).Status, 0);
  EXPECT_EQ(Z({"paths", "Builder"}).Out, "  0  other  /opt/sdk  *\n");
  EXPECT_FALSE(Contains(SettingsText(), "ProfileSDKs\\Box 2"));
  ASSERT_EQ(Z({"--yes", "remove", "Builder"}).Status, 0);
  EXPECT_FALSE(Contains(SettingsText(), "ProfileSDKs\\Builder"));
  // A profile added again under that name starts afresh, from the platform's default set.
  AddProfile("Builder", "Linux64");
  EXPECT_EQ(Z({"paths", "Builder"}).Out, "");
  EXPECT_EQ(Z({"paths", "Box"}).Out, "  0  other  /opt/sdk  *\n");
}

TEST_F(Zephprof, AProfileWithoutAnSdkEntryShowsItsOwnItems) {
  // A settings file written before there were SDK entries, and no profile file: the
  // profile's own items, read from its section, are what a pull takes.
  std::ofstream(Settings) << "[RemoteProfiles]\nDefault_Linux64=Old\n[RemoteProfiles\\Old]\nPlatform=Linux64\n"
                             "HostName=h\nPathCount=1\nPath0=/usr/include\nMask0=*.h\nType0=0\n";
  EXPECT_EQ(Z({"paths", "Old"}).Out, "  0  include  /usr/include  *.h\n");
  const TProcessResult Added = Z({"paths", "Old", "add", "/usr/lib", "*", "library"});
  EXPECT_EQ(Added.Out, "Path items of 'Old': 2\n  0  include  /usr/include  *.h\n  1  library  /usr/lib  *\n");
}

TEST_F(Zephprof, AddWithoutAPasswordSaysSo) {
  const TProcessResult R = Z({"add", "Keys", "--platform", "Linux64", "--host", "h"});
  EXPECT_EQ(R.Status, 0) << R.Err;
  EXPECT_EQ(R.Err,
            "zephprof: no password given: the profile has none (use --password-stdin or --passfile; an empty "
            "password uses your SSH agent and keys)\n");
  EXPECT_TRUE(Contains(Z({"show", "Keys"}).Out, "Password:    not set\n"));
  const TProcessResult WithPassword =
      Z({"add", "Pw", "--platform", "Linux64", "--host", "h", "--password-stdin"}, "x\n");
  EXPECT_EQ(WithPassword.Err, "");
}

TEST_F(Zephprof, DefaultPathsShowAndSave) {
  const TProcessResult Sim = Z({"default-paths", "iOSSimulator"});
  EXPECT_EQ(Sim.Status, 0);
  EXPECT_EQ(Sim.Out, "  0  include  /usr/include  *\n");
  AddProfile("Box", "Linux64");
  const TProcessResult Saved = Z({"default-paths", "OSX32", "--save-from", "Box"});
  EXPECT_EQ(Saved.Status, 0) << Saved.Err;
  EXPECT_EQ(Saved.Out, "Information: Saved default paths to " + (Data / "OSX32.defaultprofilepaths").string() + "\n");
  EXPECT_EQ(Saved.Err, "zephprof: note: new profiles of OSX32 will now start with no path items, not with this "
                       "set: a platform whose default-path file exists has an empty default set; "
                       "that lasts until " + (Data / "OSX32.defaultprofilepaths").string() + " is removed\n");
  // A platform whose default-path file exists gets an empty default list.
  EXPECT_EQ(Z({"default-paths", "OSX32"}).Out, "");
  AddProfile("Mac", "OSX32");
  EXPECT_EQ(Z({"paths", "Mac"}).Out, "");
  const TProcessResult Help = Z({"default-paths", "--help"});
  EXPECT_TRUE(Contains(Help.Out, "EMPTY set once the platform's default-path file")) << Help.Out;
  fs::remove(Data / "OSX32.defaultprofilepaths");
  EXPECT_TRUE(Contains(Z({"default-paths", "OSX32"}).Out, "  0  include  /usr/include  *\n"));
  EXPECT_EQ(Z({"default-paths", "Atari"}).Status, 2);
}

TEST_F(Zephprof, ExportAsksBeforeReplacingAFile) {
  AddProfile("Mac", "OSX32");
  const TProcessResult First = Z({"export", "Mac", (Dir / "mac").string()});
  EXPECT_EQ(First.Status, 0);
  EXPECT_EQ(First.Out, "Exported 'Mac' to " + (Dir / "mac.profile").string() + "\n");
  const std::string Before = ReadWholeFile(Dir / "mac.profile");
  EXPECT_EQ(Z({"set", "Mac", "--host", "changed.example"}).Status, 0);
  const TProcessResult Again = Z({"export", "Mac", (Dir / "mac.profile").string()});
  EXPECT_EQ(Again.Status, 1);
  EXPECT_TRUE(Contains(Again.Err, "File '" + (Dir / "mac.profile").string() + "' already exists.  Do you want to replace it?"));
  EXPECT_EQ(ReadWholeFile(Dir / "mac.profile"), Before);
  EXPECT_EQ(Z({"--yes", "export", "Mac", (Dir / "mac.profile").string()}).Status, 0);
  EXPECT_NE(ReadWholeFile(Dir / "mac.profile"), Before);
}

TEST_F(Zephprof, ImportAddsOrAsksBeforeOverwriting) {
  AddProfile("Mac", "OSX32", {"--port", "7002"});
  ASSERT_EQ(Z({"export", "Mac", (Dir / "mac.profile").string()}).Status, 0);
  ASSERT_EQ(Z({"paths", "Mac", "add", "/extra", "*", "other"}).Status, 0);
  ASSERT_EQ(Z({"set", "Mac", "--port", "7003"}).Status, 0);

  const TProcessResult Declined = Z({"import", (Dir / "mac.profile").string()});
  EXPECT_EQ(Declined.Status, 1);
  EXPECT_TRUE(Contains(Declined.Err,
                       "Confirm: A profile named 'Mac' already exists.\n\nImporting this profile will overwrite the "
                       "existing profile.  Are you sure you want to import this profile?\n"));
  EXPECT_TRUE(Contains(Z({"show", "Mac"}).Out, "Port number: 7003\n"));

  const TProcessResult Accepted = Z({"--yes", "import", (Dir / "mac.profile").string()});
  EXPECT_EQ(Accepted.Status, 0) << Accepted.Err;
  EXPECT_TRUE(Contains(Z({"show", "Mac"}).Out, "Port number: 7002\n"));

  // Into a fresh store: a new profile.
  Settings = Dir / "other.ini";
  Data = Dir / "other-data";
  const TProcessResult Fresh = Z({"import", (Dir / "mac.profile").string()});
  EXPECT_EQ(Fresh.Status, 0) << Fresh.Err;
  EXPECT_EQ(Fresh.Out, "Imported profile 'Mac' for OSX32 (macOS 32-bit)\n");
  EXPECT_EQ(Z({"import", (Dir / "nothing.profile").string()}).Status, 1);
}

TEST_F(Zephprof, ImportOfAnUnreadableFileSaysWhy) {
  const fs::path File = Dir / "future.profile";
  std::ofstream(File) << "HestrelProfile 9\nName = \"Future\"\nEnd\n";
  const TProcessResult R = Z({"import", File.string()});
  EXPECT_EQ(R.Status, 1);
  EXPECT_TRUE(Contains(R.Err, "zephprof: nothing was imported from " + File.string() + ": ")) << R.Err;
  EXPECT_TRUE(Contains(R.Err, "unsupported format version '9'")) << R.Err;
  EXPECT_EQ(Z({"list"}).Out, "");
}

TEST_F(Zephprof, ImportOfAPlatformWithoutAComboEntryIsRefused) {
  const fs::path File = Dir / "droid.profile";
  std::ofstream(File) << "HestrelProfile 1\nName = \"Droid\"\nPlatform = \"Android\"\nHost = \"h\"\nPort = 64211\n"
                         "Credential = Password \"\" Encrypted\nSysRoot = \"\"\nEnd\n";
  const TProcessResult R = Z({"import", File.string()});
  EXPECT_EQ(R.Status, 1);
  EXPECT_EQ(R.Err, "Error: The imported profile has an invalid platform\n");
  EXPECT_EQ(Z({"list"}).Out, "");
  EXPECT_FALSE(fs::exists(Settings));
}

TEST_F(Zephprof, DamagedSettingsFileIsReportedAndNeverOverwritten) {
  const std::string Damaged = "[RemoteProfiles]\nDefault_OSX32=Mac\nthis is not a setting\n";
  std::ofstream(Settings) << Damaged;
  for (const std::vector<std::string>& Args :
       {std::vector<std::string>{"list"}, {"add", "New", "--platform", "OSX32", "--host", "h"}}) {
    const TProcessResult R = Z(Args);
    EXPECT_EQ(R.Status, 1);
    EXPECT_TRUE(Contains(R.Err, Settings.string())) << R.Err;
    EXPECT_TRUE(Contains(R.Err, "line 3")) << R.Err;
  }
  EXPECT_EQ(ReadWholeFile(Settings), Damaged);
  // zephprof stops before any change: no profile file, no build-environment file either.
  EXPECT_FALSE(fs::exists(Data / "New.profile"));
  EXPECT_FALSE(fs::exists(Dir / "environment.proj"));
}

TEST_F(Zephprof, FailedCommitIsReportedAndExitsOne) {
  // The settings file is a link into a directory that does not exist: it loads as empty,
  // and writing it fails (also for root).
  fs::create_symlink(Dir / "missing-dir" / "settings.ini", Settings);
  const TProcessResult R = Z({"add", "Mac", "--platform", "OSX32", "--host", "h", "--password-stdin"}, "pw\n");
  EXPECT_EQ(R.Status, 1);
  EXPECT_TRUE(Contains(R.Err, "Cannot save")) << R.Err;
  EXPECT_TRUE(Contains(R.Err, "zephprof: nothing was committed; the settings file is as it was\n")) << R.Err;
  EXPECT_TRUE(fs::is_symlink(Settings));
  EXPECT_FALSE(fs::exists(Dir / "missing-dir"));
  EXPECT_EQ(Z({"list"}).Out, "");
}

TEST_F(Zephprof, ListAsJson) {
  AddProfile("Mac", "OSX32");
  AddProfile("W", "Win64");
  const TProcessResult R = Z({"list", "--json"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Out,
            "[{\"platform\":\"Win64\",\"displayName\":\"64-bit Windows\",\"profiles\":[{\"name\":\"W\","
            "\"default\":false,\"hostName\":\"127.0.0.1\",\"portNumber\":64211}]},{\"platform\":\"OSX32\","
            "\"displayName\":\"macOS 32-bit\",\"profiles\":[{\"name\":\"Mac\",\"default\":true,"
            "\"hostName\":\"127.0.0.1\",\"portNumber\":64211}]}]\n");
}

TEST_F(Zephprof, OnATerminalThePasswordIsAskedWithoutEcho) {
  TPtyProcess User;
  ASSERT_TRUE(User.Start(ZephprofPath(),
                         {"--settings", Settings.string(), "--data-dir", Data.string(), "add", "Tty", "--platform",
                          "Linux64", "--host", "h"},
                         {{"HOME", (Dir / "home").string()}}));
  ASSERT_TRUE(User.WaitFor("Password: ")) << User.Output();
  User.Type("typed-secret-42\n");
  EXPECT_EQ(User.Wait(), 0) << User.Output();
  EXPECT_FALSE(Contains(User.Output(), "typed-secret-42")) << User.Output();
  EXPECT_TRUE(Contains(User.Output(), "Added profile 'Tty'"));
  EXPECT_FALSE(Contains(SettingsText(), "typed-secret-42"));
  EXPECT_TRUE(Contains(Z({"show", "Tty"}).Out, "Password:    set (stored enciphered)\n"));
}

TEST_F(Zephprof, OnATerminalTheQuestionIsAskedUntilAChoiceIsNamed) {
  AddProfile("Mac", "OSX32");
  TPtyProcess User;
  ASSERT_TRUE(User.Start(ZephprofPath(), {"--settings", Settings.string(), "--data-dir", Data.string(), "remove", "Mac"},
                         {{"HOME", (Dir / "home").string()}}));
  ASSERT_TRUE(User.WaitFor("Confirm: Are you sure you want to delete the profile named 'Mac'?")) << User.Output();
  ASSERT_TRUE(User.WaitFor("[Yes (y) / No (n)]? ")) << User.Output();
  User.Type("maybe\n");
  ASSERT_TRUE(User.WaitFor("Please answer one of the choices.")) << User.Output();
  ASSERT_TRUE(User.WaitFor("? ")) << User.Output();
  User.Type("Y\n");
  EXPECT_EQ(User.Wait(), 0) << User.Output();
  EXPECT_TRUE(Contains(User.Output(), "Removed profile 'Mac'"));
  EXPECT_EQ(Z({"list"}).Out, "");
}

TEST_F(Zephprof, UnreachableServerFailsWithTheConnectionText) {
  const int Port = FreeLoopbackPort();
  AddProfile("Gone", "Linux64", {"--port", std::to_string(Port)});
  const TProcessResult Test = Z({"test", "Gone"});
  EXPECT_EQ(Test.Status, 1);
  EXPECT_TRUE(Contains(Test.Err, "zephprof: Connection to '127.0.0.1' on port " + std::to_string(Port))) << Test.Err;
  EXPECT_EQ(Test.Out, "");
  const TProcessResult Env = Z({"env", "Gone"});
  EXPECT_EQ(Env.Status, 1);
  EXPECT_FALSE(Env.Err.empty());
  EXPECT_EQ(Z({"expand", "Gone", "~"}).Status, 1);
}

}  // namespace

// End-to-end tests of zephprof's local commands. Standard input is not a terminal (but for
// the tests that give it one), so every question is answered by --yes / --no or by the safe
// choice.
#include <fstream>

#include "ProcessRunner.h"

namespace {

const std::string Password = "S3cret-pw-7f2a";
const std::string Defaults = "Path items:  66\n  0  include  /usr/include  *\n  1  include  /usr/include/os  *\n";

class Zephprof : public TZephprofTest {
 protected:
  /// Adds a profile with the test password: no complaint, whatever the output.
  TStep Add(const std::string& Name, const std::string& Platform, std::vector<std::string> Extra = {}) const {
    Extra.insert(Extra.begin(), {"add", Name, "--platform", Platform, "--host", "127.0.0.1", "--password-stdin"});
    return TStep(Extra, 0, "…", "", Password + "\n");
  }
  std::string File(const std::string& Name) const { return (Dir / Name).string(); }
};

TEST(ZephprofMatches, AnEllipsisStandsForAnyText) {
  for (const auto& [Text, Pattern, Expected] :
       std::vector<std::tuple<std::string, std::string, bool>>{{"abc", "abc", true},
                                                               {"abc", "ab", false},
                                                               {"abc", "a…c", true},
                                                               {"abc", "…b…", true},
                                                               {"abc", "a…b", false},
                                                               {"abc", "…c…c", false},
                                                               {"", "…", true},
                                                               {"abcbc", "a…bc", true}})
    EXPECT_EQ(Matches(Text, Pattern), Expected) << Text << " ~ " << Pattern;
}

TEST_F(Zephprof, HelpVersionAndUsageErrors) {
  Run({{{"--help"}, 0, "…list…default-paths…update-cache…symlink…run…"},
       {{"add", "--help"}, 0, "…Example:…"},
       {{"--version"}, 0, "zephprof 0.1.0…"},
       {{}, 2},
       {{"frobnicate"}, 2},
       {{"add", "Mac", "--host", "h"}, 2},  // no --platform
       {{"--yes", "--no", "list"}, 2},
       {{"add", "Mac", "--platform", "Atari", "--host", "h"},
        2,
        "",
        "…'Atari' is not a platform a profile can be made for…"},
       {{"add", "Mac", "--platform", "OSX32", "--host", "h", "--port", "65536"},
        2,
        "",
        "…'65536' is not a valid port number (a whole number from 0 to 65535)…"}});
  EXPECT_FALSE(fs::exists(Settings));
}

TEST_F(Zephprof, TheFirstProfileOfAPlatformIsItsDefaultButNeverOnWindows) {
  Run({Add("Mac", "OSX32"),
       Add("Mac2", "OSX32"),
       {{"list"}, 0, "OSX32 (macOS 32-bit)\n  * Mac  127.0.0.1:64211\n    Mac2  127.0.0.1:64211\n"},
       Add("Mac3", "OSX32", {"--default"}),
       {{"list", "OSX32"}, 0, "OSX32 (macOS 32-bit)\n  * Mac3  …\n    Mac  …\n    Mac2  127.0.0.1:64211\n"},
       {{"default", "mac2"}},
       {{"default", "Mac2"}, 0, "'Mac2' is already the default profile of OSX32\n"},
       Add("W1", "Win32", {"--default"}),
       {{"default", "W1"}, 1, "", "…'W1' is a profile of Win32, which has no default profile…"},
       {{"list", "--json"},
        0,
        "[{\"platform\":\"Win32\",\"displayName\":\"32-bit Windows\",\"profiles\":[{\"name\":\"W1\",\"default\":false,"
        "\"hostName\":\"127.0.0.1\",\"portNumber\":64211}]},{\"platform\":\"OSX32\",\"displayName\":\"macOS 32-bit\","
        "\"profiles\":[{\"name\":\"Mac2\",\"default\":true,…"}});
  EXPECT_PRED2(Matches, ReadWholeFile(Settings), "…Default_OSX32=Mac2\n…");
}

TEST_F(Zephprof, NamesAreTrimmedAndCheckedWithTheSystemsTexts) {
  Run({Add("  Build Box  ", "Linux64"),
       {{"show", "build box"}, 0, "Name:        Build Box\n…"},
       {{"add", "   ", "--platform", "OSX32", "--host", "h"}, 1, "", "…Error: Profile name cannot be blank\n"},
       {{"add", "a/b", "--platform", "OSX32", "--host", "h"},
        1,
        "",
        "…Error: 'a/b' is not a valid profile name.  A profile name must be a valid filename…"},
       {{"add", "BUILD BOX", "--platform", "OSX32", "--host", "h"},
        1,
        "",
        "…Error: A profile named 'BUILD BOX' already exists…"},
       {{"show", "Nope"}, 1, "", "zephprof: No profile named 'Nope'\n"},
       {{"copy", "Build Box", " Mac2 "}},
       {{"copy", "Build Box", "MAC2"}, 1, "", "…A profile named 'MAC2' already exists…"},
       {{"rename", "Mac2", "Build"}, 0, "Renamed 'Mac2' to 'Build'\n"},
       {{"rename", "Build", "BUILD"}, 0, "…", "…a change of letter case only is ignored…"},
       {{"list"}, 0, "Linux64 (Linux 64-bit)\n  * Build Box  127.0.0.1:64211\n    Build  127.0.0.1:64211\n"},
       {{"remove", "Build"},
        1,
        "",
        "Confirm: Are you sure you want to delete the profile named 'Build'?\n…No terminal to ask; answered No…"},
       {{"--no", "remove", "Build"}, 1},
       {{"remove", "Build", "--yes"}, 0, "…", "…Yes (--yes)\n…"},
       {{"list"}, 0, "Linux64 (Linux 64-bit)\n  * Build Box  127.0.0.1:64211\n"}});
  EXPECT_FALSE(Matches(ReadWholeFile(Settings), "…Build]…"));
  EXPECT_FALSE(fs::exists(Data / "Build.profile"));
  EXPECT_TRUE(fs::exists(Data / "Build Box.profile"));
}

TEST_F(Zephprof, ShowAndSetCoverEveryField) {
  std::ofstream(File("pw.passfile")) << "x\n";
  Run({{{"add", "Mac", "--platform", "OSX32", "--host", "127.0.0.1", "--port", "7000", "--local-root", File("cache"),
         "--password-stdin"},
        0,
        "Added profile 'Mac' for OSX32 (macOS 32-bit), the platform's default, with 66 path items\n",
        "",
        "pw\n"},
       {{"show", "Mac"},
        0,
        "Name:        Mac\nPlatform:    OSX32 (macOS 32-bit)\nHost name:   127.0.0.1\nPort number: 7000\n"
        "Password:    set (stored enciphered)\nLocal root:  " +
            File("cache") + "\nDefault:     yes\n" + Defaults +
            "…\n  65  framework  /System/Library/Frameworks/CoreServices.framework/Frameworks  CFNetwork\n"},
       {{"set", "Mac", "--host", "mac.local", "--port", "7001", "--passfile", File("pw.passfile")}},
       {{"set", "Mac"}, 2},
       {{"set", "Mac", "--port", "x"}, 2},
       {{"set", "Mac", "--passfile", File("none")}, 1, "", "…Password file '" + File("none") + "' does not exist…"},
       {{"show", "Mac"},
        0,
        "…Host name:   mac.local\nPort number: 7001\nPassword file: " + File("pw.passfile") + "\n…"},
       Add("Mac2", "OSX32"),
       {{"set", "Mac", "--platform", "Linux64"}},
       {{"set", "Mac", "--platform", "iOSDevice"}, 2},  // not offered for new profiles
       {{"list"},
        0,
        "OSX32 (macOS 32-bit)\n  * Mac2  127.0.0.1:64211\nLinux64 (Linux 64-bit)\n  * Mac  mac.local:7001\n"},
       {{"add", "Keys", "--platform", "Linux64", "--host", "h"},
        0,
        "…",
        "zephprof: no password given: the profile has none (use --password-stdin or --passfile; an empty password "
        "uses your SSH agent and keys)\n"},
       {{"show", "Keys"}, 0, "…Password:    not set\n…"}});
  EXPECT_PRED2(Matches, ReadWholeFile(Settings),
               "…[ProfileSDKs\\Mac2]\nPathCount=66\n…PassFile=" + File("pw.passfile") + "…");
}

TEST_F(Zephprof, ThePasswordNeverAppearsInFilesOrOutput) {
  Run({Add("Mac", "OSX32")});
  for (const auto& [Args, Shown] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"show", "Mac"}, "…Password:    set (stored enciphered)\n…"},
           {{"--json", "show", "Mac"}, "…\"passwordSet\":true…"},
           {{"--json", "list"}, "…"},
           {{"export", "Mac", File("out")}, "…"}}) {
    const TProcessResult R = Z(Args);
    EXPECT_EQ(R.Status, 0) << R.Err;
    EXPECT_PRED2(Matches, R.Out, Shown);
    EXPECT_FALSE(Matches(R.Out + R.Err, "…" + Password + "…")) << R.Out;
  }
  int Files = 0;
  for (const auto& Entry : fs::recursive_directory_iterator(Dir)) {
    if (!Entry.is_regular_file() || Entry.path().filename() == "stdin") continue;
    ++Files;
    EXPECT_FALSE(Matches(ReadWholeFile(Entry.path()), "…" + Password + "…")) << Entry.path();
  }
  EXPECT_GE(Files, 3);  // settings, profile file, exported file
  EXPECT_PRED2(Matches, ReadWholeFile(Settings), "…\nPassword=…");
}

TEST_F(Zephprof, PathItemsAreKeptInTheHostsStoreAndFollowTheProfile) {
  Run({Add("Box", "Linux64"),
       {{"paths", "Box"}, 0, ""},  // Linux64 has no default set
       {{"paths", "Box", "add", "/usr/include", "*.h", "include", "--subdirs"},
        0,
        "Path items of 'Box': 1\n  0  include  /usr/include  *.h  subdirs\n"},
       {{"paths", "Box", "add", "/usr/lib", "libz.so", "library"},
        0,
        "Path items of 'Box': 2\n  0  include  /usr/include  *.h  subdirs\n  1  library  /usr/lib  libz.so\n"},
       {{"paths", "Box", "list"}, 0, "  0  include  /usr/include  *.h  subdirs\n  1  library  /usr/lib  libz.so\n"},
       {{"show", "Box"}, 0, "…Path items:  2\n  0  include  /usr/include  *.h  subdirs\n…"},
       {{"--json", "paths", "Box"},
        0,
        "[{\"path\":\"/usr/include\",\"mask\":\"*.h\",\"includeSubDir\":true,\"type\":\"include\"},"
        "{\"path\":\"/usr/lib\",\"mask\":\"libz.so\",\"includeSubDir\":false,\"type\":\"library\"}]\n"},
       {{"paths", "Box", "remove", "0"}},
       {{"paths", "Box", "remove", "1"}, 1, "", "zephprof: 'Box' has no path item 1 (it has 1)\n"},
       {{"paths", "Box", "add", "/x", "*", "sideways"}, 2},
       {{"paths", "Box", "add", "/x", " ", "other"}, 2},
       {{"copy", "Box", "Box 2"}},
       {{"rename", "Box 2", "Builder"}},
       {{"paths", "Builder"}, 0, "  0  library  /usr/lib  libz.so\n"},
       {{"paths", "Box", "reset"}, 0, "Path items of 'Box': 0\n"},
       {{"--yes", "remove", "Builder"}},
       Add("Builder", "Linux64"),  // starts afresh, from the platform's default set
       {{"paths", "Builder"}, 0, ""},
       Add("Mac", "OSX32"),
       {{"paths", "Mac", "remove", "0"}},
       {{"paths", "Mac", "reset"}, 0, "Path items of 'Mac': 66\n  0  include  /usr/include  *\n…"}});
  const std::string Text = ReadWholeFile(Settings);
  EXPECT_PRED2(Matches, Text, "…[ProfileSDKs\\Box]\nPathCount=0\n…[ProfileSDKs\\Builder]\nPathCount=0\n…");
  EXPECT_FALSE(Matches(Text, "…ProfileSDKs\\Box 2…"));
  EXPECT_PRED2(Matches, Text, "…[RemoteProfiles\\Box]\nPlatform=Linux64\n…");  // the manager's own sections
}

TEST_F(Zephprof, AProfileWithoutAnSdkEntryShowsItsOwnItems) {
  std::ofstream(Settings) << "[RemoteProfiles]\nDefault_Linux64=Old\n[RemoteProfiles\\Old]\nPlatform=Linux64\n"
                             "HostName=h\nPathCount=1\nPath0=/usr/include\nMask0=*.h\nType0=0\n";
  Run({{{"paths", "Old"}, 0, "  0  include  /usr/include  *.h\n"},
       {{"paths", "Old", "add", "/usr/lib", "*", "library"},
        0,
        "Path items of 'Old': 2\n  0  include  /usr/include  *.h\n  1  library  /usr/lib  *\n"}});
}

TEST_F(Zephprof, ADefaultPathFileGivesNewProfilesAnEmptySet) {
  const std::string DefaultFile = (Data / "OSX32.defaultprofilepaths").string();
  Run({{{"default-paths", "iOSSimulator"}, 0, "  0  include  /usr/include  *\n"},
       {{"default-paths", "Atari"}, 2},
       Add("Box", "Linux64"),
       {{"default-paths", "OSX32", "--save-from", "Box"},
        0,
        "Information: Saved default paths to " + DefaultFile + "\n",
        "zephprof: note: new profiles of OSX32 will now start with no path items, not with this set: a platform "
        "whose default-path file exists has an empty default set; that lasts until " +
            DefaultFile + " is removed\n"},
       {{"default-paths", "OSX32"}, 0, ""},
       Add("Mac", "OSX32"),
       {{"paths", "Mac"}, 0, ""},
       {{"default-paths", "--help"}, 0, "…an EMPTY set once the platform's default-path file…"}});
  fs::remove(DefaultFile);
  Run({{{"default-paths", "OSX32"}, 0, "  0  include  /usr/include  *\n…"}});
}

TEST_F(Zephprof, ExportAndImportAskBeforeReplacing) {
  const std::string Exported = File("mac.profile");
  Run({Add("Mac", "OSX32", {"--port", "7002"}),
       {{"export", "Mac", File("mac")}, 0, "Exported 'Mac' to " + Exported + "\n"},
       {{"set", "Mac", "--port", "7003"}}});
  const std::string Before = ReadWholeFile(Exported);
  Run({{{"export", "Mac", Exported}, 1, "", "…File '" + Exported + "' already exists.  Do you want to replace it?…"}});
  EXPECT_EQ(ReadWholeFile(Exported), Before);
  Run({{{"--yes", "export", "Mac", Exported}}, {{"set", "Mac", "--port", "7004"}}});
  EXPECT_NE(ReadWholeFile(Exported), Before);
  const std::string Overwrite =
      "Confirm: A profile named 'Mac' already exists.\n\nImporting this profile will overwrite the existing "
      "profile.  Are you sure you want to import this profile?\n…";
  Run({{{"import", Exported}, 1, "", Overwrite},
       {{"show", "Mac"}, 0, "…Port number: 7004\n…"},
       {{"--yes", "import", Exported}},
       {{"show", "Mac"}, 0, "…Port number: 7003\n…"}});
  Settings = Dir / "other.ini";  // into a fresh store: a new profile
  std::ofstream(File("future.profile")) << "HestrelProfile 9\nName = \"Future\"\nEnd\n";
  std::ofstream(File("droid.profile")) << "HestrelProfile 1\nName = \"Droid\"\nPlatform = \"Android\"\nHost = \"h\"\n"
                                          "Port = 64211\nCredential = Password \"\" Encrypted\nSysRoot = \"\"\nEnd\n";
  Run({{{"import", File("droid.profile")}, 1, "", "Error: The imported profile has an invalid platform\n"},
       {{"import", File("future.profile")},
        1,
        "",
        "zephprof: nothing was imported from " + File("future.profile") + ": …unsupported format version '9'…"},
       {{"import", File("nothing.profile")}, 1},
       {{"import", Exported}, 0, "Imported profile 'Mac' for OSX32 (macOS 32-bit)\n"},
       {{"list"}, 0, "OSX32 (macOS 32-bit)\n  * Mac  127.0.0.1:7003\n"}});
}

TEST_F(Zephprof, ASettingsFileThatCannotBeReadOrWrittenIsReportedAndKept) {
  const std::string Damaged = "[RemoteProfiles]\nDefault_OSX32=Mac\nthis is not a setting\n";
  std::ofstream(Settings) << Damaged;
  Run({{{"list"}, 1, "", "…" + Settings.string() + "…line 3…"},
       {{"add", "New", "--platform", "OSX32", "--host", "h"}, 1, "", "…" + Settings.string() + "…line 3…"}});
  EXPECT_EQ(ReadWholeFile(Settings), Damaged);
  EXPECT_FALSE(fs::exists(Data / "New.profile"));  // zephprof stops before any change
  EXPECT_FALSE(fs::exists(Dir / "environment.proj"));
  // A link into a folder that does not exist: the file loads as empty, and writing it fails
  // (also for root).
  fs::remove(Settings);
  fs::create_symlink(Dir / "missing-dir" / "settings.ini", Settings);
  Run({{{"add", "Mac", "--platform", "OSX32", "--host", "h", "--password-stdin"},
        1,
        "",
        "…Cannot save…zephprof: nothing was committed; the settings file is as it was\n",
        "pw\n"},
       {{"list"}, 0, ""}});
  EXPECT_TRUE(fs::is_symlink(Settings));
  EXPECT_FALSE(fs::exists(Dir / "missing-dir"));
}

TEST_F(Zephprof, OnATerminalThePasswordIsAskedWithoutEchoAndQuestionsUntilAChoiceIsNamed) {
  const TProcessResult Added =
      OnTerminal({"add", "Tty", "--platform", "Linux64", "--host", "h"}, {{"Password: ", "typed-secret-42\n"}});
  EXPECT_EQ(Added.Status, 0) << Added.Out;
  EXPECT_PRED2(Matches, Added.Out, "…Added profile 'Tty'…");
  EXPECT_FALSE(Matches(Added.Out + ReadWholeFile(Settings), "…typed-secret-42…")) << Added.Out;
  const TProcessResult Removed =
      OnTerminal({"remove", "Tty"}, {{"Confirm: Are you sure you want to delete the profile named 'Tty'?", ""},
                                     {"[Yes (y) / No (n)]? ", "maybe\n"},
                                     {"Please answer one of the choices.", ""},
                                     {"? ", "Y\n"}});
  EXPECT_EQ(Removed.Status, 0) << Removed.Out;
  EXPECT_PRED2(Matches, Removed.Out, "…Removed profile 'Tty'…");
}

TEST_F(Zephprof, AnUnreachableServerFailsWithTheConnectionText) {
  Run({Add("Gone", "Linux64", {"--port", "1"}),
       {{"test", "Gone"}, 1, "", "zephprof: Connection to '127.0.0.1' on port 1…"},
       {{"env", "Gone"}, 1, "", "zephprof: …"},
       {{"expand", "Gone", "~"}, 1}});
}

}  // namespace

// End-to-end tests of zephprof's local commands. Standard input is not a terminal (but where a
// test gives it one), so every question is answered by --yes / --no or by the safe choice.
#include <fstream>

#include "ProcessRunner.h"

namespace {

const std::string Password = "S3cret-pw-7f2a";

class Zephprof : public TZephprofTest {
 protected:
  /// Adds a profile with the test password, with no complaint.
  static TStep Add(const std::string& Name, const std::string& Platform, std::vector<std::string> Extra = {}) {
    Extra.insert(Extra.begin(), {"add", Name, "--platform", Platform, "--host", "127.0.0.1", "--password-stdin"});
    return TStep(Extra, 0, "…", "", Password + "\n");
  }
  std::string File(const std::string& Name) const { return Dir / Name; }
};

TEST_F(Zephprof, HelpVersionAndUsageErrors) {
  Run({TStep({"--help"}, 0, "…list…default-paths…update-cache…symlink…run…"),
       TStep({"--version"}, 0, "zephprof 0.1.0…"), TStep({"frobnicate"}, 2), TStep({"--yes", "--no", "list"}, 2),
       TStep({"add", "Mac", "--platform", "Atari", "--host", "h"}, 2, "",
             "…'Atari' is not a platform a profile can be made for…"),
       TStep({"add", "Mac", "--platform", "OSX32", "--host", "h", "--port", "65536"}, 2, "",
             "…'65536' is not a valid port number (a whole number from 0 to 65535)…")});
  EXPECT_FALSE(fs::exists(Settings));
}

TEST_F(Zephprof, TheFirstProfileOfAPlatformIsItsDefaultButNeverOnWindows) {
  Run({Add("Mac", "OSX32"), Add("Mac2", "OSX32"),
       TStep({"list"}, 0, "OSX32 (macOS 32-bit)\n  * Mac  127.0.0.1:64211\n    Mac2  127.0.0.1:64211\n"),
       Add("Mac3", "OSX32", {"--default"}),
       TStep({"list", "OSX32"}, 0, "OSX32 (macOS 32-bit)\n  * Mac3  …\n    Mac  …\n    Mac2  127.0.0.1:64211\n"),
       TStep({"default", "mac2"}, 0, "'Mac2' is now the default profile of OSX32\n"),
       TStep({"default", "Mac2"}, 0, "'Mac2' is already the default profile of OSX32\n"),
       Add("W1", "Win32", {"--default"}),
       TStep({"default", "W1"}, 1, "", "zephprof: 'W1' is a profile of Win32, which has no default profile\n"),
       TStep({"list", "--json"}, 0,
             "[{\"platform\":\"Win32\",\"displayName\":\"32-bit Windows\",\"profiles\":[{\"name\":\"W1\","
             "\"default\":false,\"hostName\":\"127.0.0.1\",\"portNumber\":64211}]},{\"platform\":\"OSX32\",…"
             "\"name\":\"Mac2\",\"default\":true,…")});
  EXPECT_PRED2(Matches, ReadFileText(Settings), "…Default_OSX32=Mac2\n…");
}

TEST_F(Zephprof, ProfilesAreNamedCopiedRenamedAndRemovedAsOnTheOptionsPage) {
  Run({Add("  Build Box  ", "Linux64"), TStep({"show", "build box"}, 0, "Name:        Build Box\n…"),
       TStep({"show", "Nope"}, 1, "", "zephprof: No profile named 'Nope'\n"),
       TStep({"copy", "Build Box", " Mac2 "}, 0, "Copied 'Build Box' to 'Mac2'\n"),
       TStep({"copy", "Build Box", "MAC2"}, 1, "", "…A profile named 'MAC2' already exists…"),
       TStep({"rename", "Mac2", "Build"}, 0, "Renamed 'Mac2' to 'Build'\n"),
       TStep({"rename", "Build", "BUILD"}, 0, "…",
             "zephprof: 'Build' kept its name (a change of letter case only is ignored)\n"),
       TStep({"remove", "Build"}, 1, "",
             "Confirm: Are you sure you want to delete the profile named 'Build'?\n…No terminal to ask; answered No…"),
       TStep({"remove", "Build", "--yes"}, 0, "Removed profile 'Build'\n", "…Yes (--yes)\n"),
       TStep({"list"}, 0, "Linux64 (Linux 64-bit)\n  * Build Box  127.0.0.1:64211\n"),
       TStep({"add", "..", "--platform", "OSX32", "--host", "h"}, 1, "",
             "Error: '..' is not a valid profile name.  A profile name must be a valid filename\n"),
       // The local root follows the name, and is never the data folder nor one above it.
       Add("Mac", "OSX32"), TStep({"copy", "Mac", "Mac2"}), TStep({"rename", "Mac2", "Mini"}),
       TStep({"show", "Mini"}, 0, "…Local root:  " + (Data / "SDKs/Mini").string() + "\n…"),
       TStep({"set", "Mini", "--local-root", Data / "SDKs/.."}, 1, "",
             "zephprof: local root '" + (Data / "SDKs/..").string() +
                 "' of profile 'Mini' is refused: it is the "
                 "application-data directory '" +
                 Data.string() + "' or holds it, …"),
       TStep({"add", "Up", "--platform", "OSX32", "--host", "h", "--local-root", Dir}, 1, "", "…is refused…")});
  EXPECT_FALSE(Matches(ReadFileText(Settings), "…Build]…"));
  EXPECT_FALSE(fs::exists(Data / "Build.profile"));
  EXPECT_TRUE(fs::exists(Data / "Build Box.profile"));
}

TEST_F(Zephprof, ShowAndSetCoverEveryField) {
  std::ofstream(File("pw.passfile")) << "x\n";
  Run({TStep({"add", "Mac", "--platform", "OSX32", "--host", "127.0.0.1", "--port", "7000", "--local-root",
              File("cache"), "--password-stdin"},
             0, "Added profile 'Mac' for OSX32 (macOS 32-bit), the platform's default, with 66 path items\n", "",
             "pw\n"),
       TStep(
           {"show", "Mac"}, 0,
           "Name:        Mac\nPlatform:    OSX32 (macOS 32-bit)\nHost name:   127.0.0.1\nPort number: 7000\n"
           "Password:    set (stored enciphered)\nLocal root:  " +
               File("cache") +
               "\nDefault:     yes\nPath items:  66\n  0  include  /usr/include  *\n  1  include  /usr/include/os  *\n…"
               "\n  65  framework  /System/Library/Frameworks/CoreServices.framework/Frameworks  CFNetwork\n"),
       TStep({"set", "Mac", "--host", "mac.local", "--port", "7001", "--passfile", File("pw.passfile")}, 0,
             "Changed profile 'Mac'\n"),
       TStep({"set", "Mac"}, 2, "", "zephprof: nothing to change (see zephprof set --help)\n"),
       TStep({"set", "Mac", "--passfile", File("none")}, 1, "",
             "zephprof: Password file '" + File("none") + "' does not exist\n"),
       TStep({"show", "Mac"}, 0,
             "…Host name:   mac.local\nPort number: 7001\nPassword file: " + File("pw.passfile") + "\n…"),
       Add("Mac2", "OSX32"), TStep({"set", "Mac", "--platform", "Linux64"}),
       TStep({"set", "Mac", "--platform", "iOSDevice"}, 2),  // not offered for new profiles
       TStep({"list"}, 0,
             "OSX32 (macOS 32-bit)\n  * Mac2  127.0.0.1:64211\nLinux64 (Linux 64-bit)\n  * Mac  mac.local:7001\n"),
       TStep({"add", "Keys", "--platform", "Linux64", "--host", "h"}, 0, "…",
             "zephprof: no password given: the profile has none (use --password-stdin or --passfile; an empty password "
             "uses your SSH agent and keys)\n"),
       TStep({"show", "Keys"}, 0, "…Password:    not set\n…")});
  EXPECT_PRED2(Matches, ReadFileText(Settings), "…PassFile=" + File("pw.passfile") + "\n…");
}

TEST_F(Zephprof, PathItemsAreKeptInTheHostsStoreAndFollowTheProfileAndDefaultPathFilesEmptyTheDefaultSet) {
  // A profile without an entry in the host's store shows the items of its own settings.
  std::ofstream(Settings) << "[RemoteProfiles\\Old]\nPlatform=Linux64\nHostName=h\nPathCount=1\nPath0=/usr/include\n"
                             "Mask0=*.h\nType0=0\n";
  const std::string DefaultFile = Data / "OSX32.defaultprofilepaths";
  Run({TStep({"paths", "Old", "add", "/usr/lib", "*", "library"}, 0,
             "Path items of 'Old': 2\n  0  include  /usr/include  *.h\n  1  library  /usr/lib  *\n"),
       Add("Box", "Linux64"),
       TStep({"paths", "Box"}, 0, ""),  // Linux64 has no default set
       TStep({"paths", "Box", "add", "/usr/include", "*.h", "include", "--subdirs"}, 0,
             "Path items of 'Box': 1\n  0  include  /usr/include  *.h  subdirs\n"),
       TStep({"paths", "Box", "add", "/usr/lib", "libz.so", "1"}, 0,
             "Path items of 'Box': 2\n  0  include  /usr/include  *.h  subdirs\n  1  library  /usr/lib  libz.so\n"),
       TStep({"--json", "paths", "Box", "list"}, 0,
             "[{\"path\":\"/usr/include\",\"mask\":\"*.h\",\"includeSubDir\":true,\"type\":\"include\"},"
             "{\"path\":\"/usr/lib\",\"mask\":\"libz.so\",\"includeSubDir\":false,\"type\":\"library\"}]\n"),
       TStep({"paths", "Box", "remove", "0"}),
       TStep({"paths", "Box", "remove", "1"}, 1, "", "zephprof: 'Box' has no path item 1 (it has 1)\n"),
       TStep({"paths", "Box", "add", "/x", "*", "sideways"}, 2, "",
             "zephprof: 'sideways' is not a path type (include, library, framework, other or 0 to 3)\n"),
       TStep({"copy", "Box", "Box 2"}),
       TStep({"rename", "Box 2", "Builder"}),
       TStep({"show", "Builder"}, 0, "…Path items:  1\n  0  library  /usr/lib  libz.so\n"),
       TStep({"paths", "Box", "reset"}, 0, "Path items of 'Box': 0\n"),
       TStep({"--yes", "remove", "Builder"}),
       Add("Builder", "Linux64"),  // starts afresh, from the platform's default set
       TStep({"paths", "Builder"}, 0, ""),
       Add("Mac", "OSX32"),
       TStep({"paths", "Mac", "remove", "0"}),
       TStep({"paths", "Mac", "reset"}, 0, "Path items of 'Mac': 66\n  0  include  /usr/include  *\n…"),
       TStep({"default-paths", "iOSSimulator"}, 0, "  0  include  /usr/include  *\n"),
       TStep({"default-paths", "Atari"}, 2),
       TStep({"default-paths", "OSX32", "--save-from", "Box"}, 0,
             "Information: Saved default paths to " + DefaultFile + "\n",
             "zephprof: note: new profiles of OSX32 will now start with no path items, not with this set: a platform "
             "whose default-path file exists has an empty default set; that lasts until " +
                 DefaultFile + " is removed\n"),
       TStep({"default-paths", "OSX32"}, 0, ""),
       Add("Mac2", "OSX32"),
       TStep({"paths", "Mac2"}, 0, "")});
  EXPECT_FALSE(Matches(ReadFileText(Settings), "…ProfileSDKs\\Box 2…"));
  EXPECT_PRED2(Matches, ReadFileText(Settings), "…[ProfileSDKs\\Box]\nPathCount=0\n…");
  EXPECT_PRED2(Matches, ReadFileText(Settings), "…[RemoteProfiles\\Box]\nPlatform=Linux64\n…");  // the manager's
  fs::remove(DefaultFile);
  Run({TStep({"default-paths", "OSX32"}, 0, "  0  include  /usr/include  *\n…")});
}

TEST_F(Zephprof, ExportAndImportAskBeforeReplacingAndThePasswordNeverAppearsInFilesOrOutput) {
  const std::string Exported = File("mac.profile");
  Run({Add("Mac", "OSX32", {"--port", "7002"}),
       TStep({"export", "Mac", File("mac")}, 0, "Exported 'Mac' to " + Exported + "\n"),
       TStep({"set", "Mac", "--port", "7003"}),
       TStep({"export", "Mac", Exported}, 1, "",
             "…File '" + Exported + "' already exists.  Do you want to replace it?…")});
  EXPECT_PRED2(Matches, ReadFileText(Exported), "…Port = 7002\n…");
  Run({TStep({"--yes", "export", "Mac", Exported}), TStep({"set", "Mac", "--port", "7004"}),
       TStep({"import", Exported}, 1, "",
             "Confirm: A profile named 'Mac' already exists.\n\nImporting this profile will overwrite the existing "
             "profile.  Are you sure you want to import this profile?\n…"),
       TStep({"show", "Mac"}, 0, "…Port number: 7004\n…"), TStep({"--yes", "import", Exported}),
       TStep({"show", "Mac"}, 0, "…Port number: 7003\n…")});
  std::ofstream(File("future.profile")) << "HestrelProfile 9\nName = \"Future\"\nEnd\n";
  std::ofstream(File("droid.profile")) << "HestrelProfile 1\nName = \"Droid\"\nPlatform = \"Android\"\nHost = \"h\"\n"
                                          "Port = 64211\nCredential = Password \"\" Encrypted\nSysRoot = \"\"\nEnd\n";
  std::ofstream(File("device.profile")) << "HestrelProfile 1\nName = \"Mac\"\nPlatform = \"iOSDevice\"\nHost = "
                                           "\"device\"\nPort = 1\nCredential = Password \"hes1:AAAA\" Encrypted\n"
                                           "SysRoot = \"\"\nEnd\n";
  Run({TStep({"import", File("droid.profile")}, 1, "", "Error: The imported profile has an invalid platform\n"),
       TStep({"import", File("future.profile")}, 1, "",
             "zephprof: nothing was imported from " + File("future.profile") + ": …unsupported format version '9'…"),
       TStep({"import", File("nothing.profile")}, 1, "",
             "zephprof: File '" + File("nothing.profile") + "' does not exist\n"),
       TStep({"import", Dir}, 1, "", "zephprof: File '" + Dir.string() + "' is a directory\n"),
       TStep({"import", "/dev/null"}, 1, "", "zephprof: File '/dev/null' is a device\n"),
       // Over a held profile, from its child platform, with a password enciphered elsewhere.
       TStep({"--yes", "import", File("device.profile")}, 0, "Imported profile 'Mac' for OSX32 (macOS 32-bit)\n",
             "…zephprof: the password in '" + File("device.profile") +
                 "' cannot be deciphered here (…), so it "
                 "was not imported (the profile keeps the one it had); enter it again: zephprof set \"Mac\" "
                 "--password-stdin\n"),
       TStep({"show", "Mac"}, 0, "…Host name:   device\n…Password:    set (stored enciphered)\n…"),
       TStep({"--yes", "remove", "Mac"}),
       TStep({"import", Exported}, 0, "Imported profile 'Mac' for OSX32 (macOS 32-bit)\n"),
       TStep({"--json", "show", "Mac"}, 0, "{…\"passwordSet\":true…")});
  int Files = 0;
  for (const auto& Entry : fs::recursive_directory_iterator(Dir)) {
    if (!Entry.is_regular_file() || Entry.path().filename() == "stdin") continue;
    ++Files;
    EXPECT_FALSE(Matches(ReadFileText(Entry.path()), "…" + Password + "…")) << Entry.path();
  }
  EXPECT_GE(Files, 3);  // settings, profile file, exported file (and what zephprof printed)
  EXPECT_PRED2(Matches, ReadFileText(Settings), "…\nPassword=…");
}

TEST_F(Zephprof, ASettingsFileThatCannotBeReadOrWrittenIsReportedAndKept) {
  const std::string Damaged = "[RemoteProfiles]\nDefault_OSX32=Mac\nthis is not a setting\n";
  std::ofstream(Settings) << Damaged;
  Run({TStep({"list"}, 1, "", "zephprof: Settings file '" + Settings.string() + "' is damaged: line 3: …"),
       TStep({"add", "New", "--platform", "OSX32", "--host", "h"}, 1, "", "…line 3…")});
  EXPECT_EQ(ReadFileText(Settings), Damaged);
  EXPECT_FALSE(fs::exists(Data / "New.profile"));  // zephprof stops before any change
  // Blank beside profile files: replacing it would drop their profiles.
  std::ofstream(Settings) << " \n";
  std::ofstream(Data / "Old.profile") << "";
  Run({TStep({"add", "New", "--platform", "OSX32", "--host", "h"}, 1, "",
             "zephprof: Settings file '" + Settings.string() + "' is empty, but profile files are in '" +
                 Data.string() + "'; it was not replaced…")});
  EXPECT_EQ(ReadFileText(Settings), " \n");
  fs::remove(Data / "Old.profile");
  EXPECT_FALSE(fs::exists(Dir / "environment.proj"));
  // A link into a folder that does not exist: the file loads as empty, and writing it fails
  // (also for root).
  fs::remove(Settings);
  fs::create_symlink(Dir / "missing-dir" / "settings.ini", Settings);
  Run({TStep({"add", "Mac", "--platform", "OSX32", "--host", "h", "--password-stdin"}, 1, "",
             "zephprof: Cannot save …\nzephprof: nothing was committed; the settings file is as it was\n", "pw\n"),
       TStep({"list"}, 0, "")});
  EXPECT_TRUE(fs::is_symlink(Settings));
  EXPECT_FALSE(fs::exists(Dir / "missing-dir"));
  EXPECT_FALSE(fs::exists(Data / "Mac.profile"));  // the profile file of what was not committed goes too
}

TEST_F(Zephprof, ParallelWritersKeepEveryChangeAndRemoveWhatKilledWritersLeft) {
  const fs::path Stale = Data / ".Gone.profile.tmp-AbC123", Young = Dir / ".settings.ini.tmp-XyZ789";
  Run({Add("Keep", "Linux64")});
  for (const fs::path& Left : {Stale, Young, Data / "Ghost.profile", Data / "Kept.profile"}) std::ofstream(Left) << "x";
  std::ofstream(Settings.string() + ".adding") << "Ghost\n";  // a killed writer was adding it
  fs::last_write_time(Stale, fs::file_time_type::clock::now() - std::chrono::minutes(1));
  fs::last_write_time(Young, fs::file_time_type::clock::now() + std::chrono::minutes(1));  // a live writer's
  const std::string Writer = std::string(ZEPH_ZEPHPROF_BINARY) + " --settings " + Settings.string() + " --data-dir " +
                             Data.string() + " --yes ";
  std::string Line = Writer + "remove Keep";
  for (int I = 0; I < 12; ++I) Line += " & " + Writer + "add P" + std::to_string(I) + " --platform Linux64 --host h";
  ASSERT_EQ(std::system(("(" + Line + "; wait) </dev/null >/dev/null 2>&1").c_str()), 0);
  const std::string Listed = Z({"list"}).Out;  // every add kept, in any order, and the removal too
  for (int I = 0; I < 12; ++I) EXPECT_PRED2(Matches, Listed, "…P" + std::to_string(I) + "  h:64211\n…");
  EXPECT_FALSE(Matches(Listed, "…Keep…") || fs::exists(Data / "Keep.profile"));
  EXPECT_FALSE(fs::exists(Stale) || fs::exists(Data / "Ghost.profile"));
  EXPECT_TRUE(fs::exists(Young) && fs::exists(Data / "Kept.profile"));
}

TEST_F(Zephprof, OnATerminalControlCharactersAreEscapedThePasswordIsNotEchoedAndQuestionsWaitForAChoice) {
  const std::string Host = "evil\x1b]0;x\x07\xc2\x9b";  // escaped on a terminal, UTF-8 in JSON
  Run({TStep({"add", "Caf\xe9", "--platform", "Linux64", "--host", Host}),
       TStep({"--json", "list"}, 0, "…{\"name\":\"Caf\\\\xe9\",…\"hostName\":\"evil\\u001b]0;x\\u0007\\u009b\",…"),
       TStep({"list"}, 0, "…Caf\xe9  " + Host + ":64211\n")});  // not a terminal: as it is
  EXPECT_PRED2(Matches, OnTerminal({"list"}, {}).Out, "…Caf\\xe9  evil\\x1b]0;x\\x07\\xc2\\x9b:64211…");
  const TStep Added =
      OnTerminal({"add", "Tty", "--platform", "Linux64", "--host", "h"}, {{"Password: ", "typed-secret-42\n"}});
  EXPECT_EQ(Added.Status, 0) << Added.Out;
  EXPECT_PRED2(Matches, Added.Out, "Password: …Added profile 'Tty'…");
  EXPECT_FALSE(Matches(Added.Out + ReadFileText(Settings), "…typed-secret-42…")) << Added.Out;
  const TStep Removed =
      OnTerminal({"remove", "Tty"},
                 {{"[Yes (y) / No (n)]? ", "maybe\n"}, {"Please answer one of the choices.", ""}, {"? ", "Y\n"}});
  EXPECT_EQ(Removed.Status, 0) << Removed.Out;
  EXPECT_PRED2(Matches, Removed.Out, "Confirm: Are you sure you want to delete the profile named 'Tty'?…Removed…");
}

}  // namespace

// The ".profile" file of the Hestrel agent library (THestrelClientProfile,
// docs/profile-file-format.md): round trips, damaged files refused with their reason and
// line, and whole-file writes with mode 0600.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>

#include "Support.h"
#include "client/ClientProfile.h"
#include "common/AtomicFile.h"

using namespace hestrel_test;
using namespace std::string_literals;

namespace {

const std::string kAwkward = " =;#[Section]\\back\\slash \"quoted\"\ttab\nline\r\nZoë Mäc 東京 🍎 ";

class ClientProfileFile : public ::testing::Test {
 protected:
  void TearDown() override { hestrel::SetAtomicWriteHookForTesting(nullptr); }

  /// A profile with every field set to something awkward, all four lists filled.
  static void Fill(THestrelClientProfile& P) {
    P.SetProfileName(kAwkward + "name");
    P.SetPlatform("OSX32" + kAwkward);
    P.SetHost("  host.example.org = ; # [x]  ");
    P.SetPort(INT32_MIN);
    P.SetCredential({"hes1:abc+/==\\\"" + kAwkward, true, true});
    P.SetSysRoot("C:\\Users\\ann\\Profiles\\" + kAwkward);
    P.SetIncludePath({{"/usr/include", "*", false}, {kAwkward, "\xff\xfe\x01", true}}, TIncludePathKind::Include);
    P.SetIncludePath({{"/usr/lib", "libz.dylib", true}}, TIncludePathKind::Library);
    P.SetIncludePath({{"", "", false}, {"/usr/include/sys", "*", false}}, TIncludePathKind::Other);
    P.SetIncludePath({{"/System/Library/Frameworks", "Foundation", false}}, TIncludePathKind::Framework);
  }
  std::string Save(THestrelClientProfile& P, const std::string& Name) {
    EXPECT_TRUE(P.SaveProfileSettings(Dir / Name)) << P.GetLastError();
    return ReadFileText(Dir / Name);
  }
  /// Reads Text from a file into a profile holding other values: must fail, keep the values,
  /// and give the file, the line (when not 0) and the reason.
  void ExpectRefused(const std::string& Text, const std::string& Reason, int Line = 0) {
    MakeFile(Dir / "damaged.profile", Text);
    THestrelClientProfile P;
    P.SetProfileName("Before");
    P.SetIncludePath({{"/keep", "*", true}}, TIncludePathKind::Other);
    const auto Before = P.GetData();
    EXPECT_FALSE(P.ReadProfileSettings(Dir / "damaged.profile"));
    EXPECT_EQ(P.GetData(), Before);
    const std::string Where = Line > 0 ? "line " + std::to_string(Line) + ": " : "";
    EXPECT_EQ(P.GetLastError(), "Cannot read profile file '" + Dir / "damaged.profile" + "': " + Where + Reason);
  }

  TTempDir Dir;
};

}  // namespace

TEST_F(ClientProfileFile, RoundTripsKeepEveryFieldAndTheTextIsVersionedReadableUtf8) {
  THestrelClientProfile Awkward, Extremes;
  Fill(Awkward);
  Extremes.SetCredential({"/home/ann/mac.passfile", false, false});
  Extremes.SetPort(INT32_MAX);
  std::string AllBytes;
  for (int B = 0; B < 256; ++B) AllBytes += static_cast<char>(B);
  Extremes.SetHost(AllBytes);
  for (THestrelClientProfile* Written : {&Awkward, &Extremes}) {
    Save(*Written, "a.profile");
    THestrelClientProfile Read;
    ASSERT_TRUE(Read.ReadProfileSettings(Dir / "a.profile")) << Read.GetLastError();
    EXPECT_EQ(Read.GetData(), Written->GetData());
    EXPECT_EQ(Read.GetLastError(), "");
  }
  const std::string Text = Save(Awkward, "a.profile");
  EXPECT_EQ(Text.rfind("HestrelProfile 1\n", 0), 0u);
  for (const char* Line :
       {"Name = \" =;#[Section]\\\\back\\\\slash \\\"quoted\\\"\\ttab\\nline\\r\\nZoë Mäc 東京 🍎 name\"\n",
        "Port = -2147483648\n", "Path = Include \"/usr/include\" \"*\" NoSubDirs\n",
        "Path = Library \"/usr/lib\" \"libz.dylib\" SubDirs\n", "\"\\xFF\\xFE\\x01\""})
    EXPECT_NE(Text.find(Line), std::string::npos) << Line << Text;
  EXPECT_EQ(Text.substr(Text.size() - 4), "End\n");
}

TEST_F(ClientProfileFile, ReadsCrLfLineEndsCommentsAByteOrderMarkAndAFileWithoutAName) {
  MakeFile(Dir / "crlf.profile",
           "\xEF\xBB\xBFHestrelProfile 1\r\n# comment\r\n\r\nPlatform=\"P\"\r\n  Host = \"H\"  \r\nPort = 5\r\n"
           "Credential = PasswordFile \"F\" Encrypted\r\nSysRoot = \"/r\"\r\n"
           "Path = Framework \"/F\" \"UIKit\" NoSubDirs\r\nEnd\r\n# trailing comment\r\n");
  THestrelClientProfile P;
  P.SetProfileName("Before");
  ASSERT_TRUE(P.ReadProfileSettings(Dir / "crlf.profile")) << P.GetLastError();
  EXPECT_EQ(P.GetProfileName(), "");  // the importer then takes the file's name
  EXPECT_EQ(P.GetPlatform() + "|" + P.GetHost() + "|" + P.GetSysRoot(false), "P|H|/r");
  EXPECT_EQ(P.GetPort(), 5);
  EXPECT_EQ(P.GetCredential(), (TRACredential{"F", false, true}));
  EXPECT_EQ(P.GetIncludePath(TIncludePathKind::Framework), (TRAPathItems{{"/F", "UIKit", false}}));
  EXPECT_TRUE(P.GetIncludePath(TIncludePathKind::Include).empty());
}

TEST_F(ClientProfileFile, DamagedFilesAreRefusedWithTheirLineAndReason) {
  const std::string Head = "HestrelProfile 1\nName = \"n\"\nPlatform = \"p\"\nHost = \"h\"\n";
  const std::string Tail = "Credential = Password \"x\" Encrypted\nSysRoot = \"\"\nEnd\n";
  const std::string Valid = Head + "Port = 1\n" + Tail;
  auto Without = [&](const std::string& Key) {
    const std::size_t Start = Valid.find("\n" + Key + " = ") + 1;
    return Valid.substr(0, Start) + Valid.substr(Valid.find('\n', Start) + 1);
  };
  const struct {
    std::string Text, Reason;
    int Line;
  } Cases[] = {
      {"", "the file is empty", 0},
      {Valid.substr(0, Valid.size() - 4), "the file ends without its End line (it is truncated)", 7},
      {Valid.substr(0, 30) + std::string(1024 * 1024, '#') + Valid.substr(30),
       "the file is larger than 1 MiB; a profile file is never that big", 0},
      {"\x7f"
       "ELF\x02\x01\x01\0\0\0"s,
       "not UTF-8 text (byte 7); the file is binary or damaged", 1},
      {"HestrelProfile 1\nName = \"a\xc0\xaf\"\n", "not UTF-8 text (byte 26); the file is binary or damaged", 2},
      {"HestrelProfile 2\n" + Valid.substr(17), "unsupported format version '2' (this library reads version 1)", 1},
      {"[Profile]\nName=x\n", "not a Hestrel profile file (the first line must be 'HestrelProfile 1')", 1},
      {Head + "Prot = 1\nPort = 1\n" + Tail, "unknown entry 'Prot'", 5},
      {Head + "Port = 1\nPort = 2\n" + Tail, "'Port' appears twice (first on line 5)", 6},
      {Head + "Port = 99999999999\n" + Tail, "'99999999999' is not a whole number between -2147483648 and 2147483647",
       5},
      {Head + "Port = \"1\"\n" + Tail, "'Port' must be written as: Port = a whole number", 5},
      {Head + "Port = 1\nName2\n" + Tail, "expected an entry 'Name = value'", 6},
      {Head + "Port = 1\nSysRoot = \"a\\q\"\n" + Tail, "unknown escape \\q", 6},
      {Head + "Port = 1\nSysRoot = \"a\\x4\"\n" + Tail, "\\x must be followed by two hexadecimal digits", 6},
      {Head + "Port = 1\nSysRoot = \"open\n" + Tail, "a quoted text has no closing quote", 6},
      {Head + "Port = 1\nSysRoot = \"a\"b\n" + Tail, "a quoted text must be followed by a blank or the end of the line",
       6},
      {Head + "Port = 1\nSysRoot = \"a\tb\"\n" + Tail,
       "a control character inside a quoted text must be written as an escape", 6},
      {Head + "Port = 1\nPath = Headers \"/a\" \"*\" SubDirs\n" + Tail,
       "'Headers' is not a path kind (Include, Library, Other or Framework)", 6},
      {Head + "Port = 1\nPath = Include \"/a\" \"*\" yes\n" + Tail, "'yes' must be SubDirs or NoSubDirs", 6},
      {Head + "Port = 1\nCredential = Pass \"x\" Encrypted\nSysRoot = \"\"\nEnd\n",
       "'Pass' must be Password or PasswordFile", 6},
      {Valid + "Port = 2\n", "text after the End line", 9},
      {Without("Platform"), "the entry 'Platform' is missing", 7},
      {Without("SysRoot"), "the entry 'SysRoot' is missing", 7},
  };
  for (const auto& Case : Cases) ExpectRefused(Case.Text, Case.Reason, Case.Line);
  for (std::size_t Length = 0; Length + 1 < Valid.size(); ++Length)  // every truncation
    EXPECT_FALSE(THestrelClientProfile().ReadProfileText(Valid.substr(0, Length), "t.profile")) << Length;
  fs::create_directory(Dir.Path / "d.profile");  // what is no file is refused without waiting
  ASSERT_EQ(::mkfifo((Dir / "fifo.profile").c_str(), 0600), 0);
  for (const auto& [Name, Reason] : {std::pair{"none.profile", "No such file or directory"},
                                     {"d.profile", "not a regular file"},
                                     {"fifo.profile", "not a regular file"}}) {
    THestrelClientProfile P;
    EXPECT_FALSE(P.ReadProfileSettings(Dir / Name));
    EXPECT_EQ(P.GetLastError(), "Cannot read profile file '" + Dir / Name + "': " + Reason);
  }
}

TEST_F(ClientProfileFile, SavingWritesMode0600AndOnlyWhatChanged) {
  const std::string File = Dir / "m.profile";
  auto InodeAndMode = [&] {
    struct stat Info {};
    ::stat(File.c_str(), &Info);
    return std::pair{Info.st_ino, Info.st_mode & 07777};
  };
  MakeFile(File, "old");
  THestrelClientProfile P;
  Fill(P);
  Save(P, "m.profile");
  const auto First = InodeAndMode();
  EXPECT_EQ(First.second, 0600u);  // although it existed as 0644
  int Writes = 0;
  hestrel::SetAtomicWriteHookForTesting([&](const std::string&, const std::string&) { return ++Writes, ""; });
  EXPECT_TRUE(P.SaveProfileSettings(File));  // the same content: untouched
  EXPECT_EQ(P.GetLastError() + std::to_string(Writes), "0");
  EXPECT_EQ(InodeAndMode(), First);
  P.SetPort(4242);
  EXPECT_TRUE(P.SaveProfileSettings(File));
  ::chmod(File.c_str(), 0644);  // the same content with a wider mode is written again, as 0600
  EXPECT_TRUE(P.SaveProfileSettings(File));
  EXPECT_EQ(Writes, 2);
  EXPECT_EQ(InodeAndMode().second, 0600u);
}

TEST_F(ClientProfileFile, AFailedWriteLeavesTheOldFileAndNoTemporary) {
  const std::string File = Dir / "keep.profile";
  MakeFile(File, "old content");
  std::string SeenTemp;
  hestrel::SetAtomicWriteHookForTesting(
      [&](const std::string& Temp, const std::string&) { return SeenTemp = Temp, "disk on fire"; });
  THestrelClientProfile P;
  Fill(P);
  EXPECT_FALSE(P.SaveProfileSettings(File));
  EXPECT_EQ(P.GetLastError(), "Cannot save '" + File + "': disk on fire");
  EXPECT_EQ(ReadFileText(File), "old content");
  EXPECT_FALSE(SeenTemp.empty());
  EXPECT_EQ(TreeOf(Dir.Path.string()), std::vector<std::string>{"keep.profile"});
  hestrel::SetAtomicWriteHookForTesting(nullptr);
  EXPECT_FALSE(P.SaveProfileSettings(Dir / "no/x.profile"));
  EXPECT_EQ(P.GetLastError().rfind("Cannot save '" + Dir / "no/x.profile" + "': cannot create a temporary file", 0), 0u)
      << P.GetLastError();
  EXPECT_FALSE(P.SaveProfileSettings(""));
  EXPECT_EQ(P.GetLastError(), "Cannot save a file without a name");
}

// Part 2.2 profile-file format of the Hestrel agent library (THestrelClientProfile,
// docs/profile-file-format.md): round trips, every damaged-file case, atomic 0600 writes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <filesystem>
#include <fstream>

#include "client/ClientProfile.h"
#include "common/AtomicFile.h"
#include "doubles/HostDoubles.h"

namespace {

namespace fs = std::filesystem;

const std::string kAwkward = " =;#[Section]\\back\\slash \"quoted\"\ttab\nline\r\nZoë Mäc 東京 🍎 ";

std::string ReadAll(const fs::path& File) {
  std::ifstream In(File, std::ios::binary);
  return {std::istreambuf_iterator<char>(In), {}};
}

void WriteAll(const fs::path& File, const std::string& Text) {
  std::ofstream Out(File, std::ios::binary | std::ios::trunc);
  Out << Text;
}

class ClientProfileFile : public ::testing::Test {
 protected:
  void SetUp() override { Dir = MakeTempDir("profile"); }
  void TearDown() override {
    hestrel::SetAtomicWriteHookForTesting(nullptr);
    std::error_code Ignored;
    fs::remove_all(Dir, Ignored);
  }

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

  /// A valid file's text, for damaging.
  std::string ValidText() {
    THestrelClientProfile P;
    Fill(P);
    EXPECT_TRUE(P.SaveProfileSettings((Dir / "valid.profile").string())) << P.GetLastError();
    return ReadAll(Dir / "valid.profile");
  }

  /// Reads Text from a file into a profile holding other values: must fail, keep the
  /// values, and name the file (and Line, when given) in the reason.
  void ExpectRefused(const std::string& Text, const std::string& Reason, int Line = 0) {
    const fs::path File = Dir / "damaged.profile";
    WriteAll(File, Text);
    THestrelClientProfile P;
    P.SetProfileName("Before");
    P.SetPort(7);
    P.SetIncludePath({{"/keep", "*", true}}, TIncludePathKind::Other);
    const auto Before = P.GetData();
    EXPECT_FALSE(P.ReadProfileSettings(File.string()));
    EXPECT_EQ(P.GetData(), Before);
    EXPECT_NE(P.GetLastError().find("Cannot read profile file '" + File.string() + "'"), std::string::npos)
        << P.GetLastError();
    EXPECT_NE(P.GetLastError().find(Reason), std::string::npos) << P.GetLastError();
    if (Line > 0) {
      EXPECT_NE(P.GetLastError().find("line " + std::to_string(Line) + ":"), std::string::npos) << P.GetLastError();
    }
  }

  fs::path Dir;
};

TEST_F(ClientProfileFile, RoundTripKeepsEveryFieldWithAwkwardTexts) {
  THestrelClientProfile Written;
  Fill(Written);
  const std::string File = (Dir / "a.profile").string();
  ASSERT_TRUE(Written.SaveProfileSettings(File)) << Written.GetLastError();
  THestrelClientProfile Read;
  ASSERT_TRUE(Read.ReadProfileSettings(File)) << Read.GetLastError();
  EXPECT_EQ(Read.GetProfileName(), kAwkward + "name");
  EXPECT_EQ(Read.GetPlatform(), "OSX32" + kAwkward);
  EXPECT_EQ(Read.GetHost(), "  host.example.org = ; # [x]  ");
  EXPECT_EQ(Read.GetPort(), INT32_MIN);
  EXPECT_EQ(Read.GetCredential(), (TRACredential{"hes1:abc+/==\\\"" + kAwkward, true, true}));
  EXPECT_EQ(Read.GetSysRoot(false), "C:\\Users\\ann\\Profiles\\" + kAwkward);
  EXPECT_EQ(Read.GetIncludePath(TIncludePathKind::Include),
            (TRAPathItems{{"/usr/include", "*", false}, {kAwkward, "\xff\xfe\x01", true}}));
  EXPECT_EQ(Read.GetIncludePath(TIncludePathKind::Library), (TRAPathItems{{"/usr/lib", "libz.dylib", true}}));
  EXPECT_EQ(Read.GetIncludePath(TIncludePathKind::Other),
            (TRAPathItems{{"", "", false}, {"/usr/include/sys", "*", false}}));
  EXPECT_EQ(Read.GetIncludePath(TIncludePathKind::Framework),
            (TRAPathItems{{"/System/Library/Frameworks", "Foundation", false}}));
  EXPECT_EQ(Read.GetData(), Written.GetData());
  EXPECT_EQ(Read.GetLastError(), "");
}

TEST_F(ClientProfileFile, RoundTripKeepsPasswordFileCredentialAndExtremes) {
  THestrelClientProfile Written;
  Written.SetCredential({"/home/ann/mac.passfile", false, false});
  Written.SetPort(INT32_MAX);
  std::string AllBytes;
  for (int B = 0; B < 256; ++B) AllBytes += static_cast<char>(B);
  Written.SetHost(AllBytes);
  const std::string File = (Dir / "b.profile").string();
  ASSERT_TRUE(Written.SaveProfileSettings(File));
  THestrelClientProfile Read;
  ASSERT_TRUE(Read.ReadProfileSettings(File)) << Read.GetLastError();
  EXPECT_EQ(Read.GetCredential(), (TRACredential{"/home/ann/mac.passfile", false, false}));
  EXPECT_EQ(Read.GetPort(), INT32_MAX);
  EXPECT_EQ(Read.GetHost(), AllBytes);
  EXPECT_EQ(Read.GetData(), Written.GetData());
}

TEST_F(ClientProfileFile, FileIsVersionedReadableUtf8Text) {
  const std::string Text = ValidText();
  EXPECT_EQ(Text.rfind("HestrelProfile 1\n", 0), 0u);
  EXPECT_NE(
      Text.find("Name = \" =;#[Section]\\\\back\\\\slash \\\"quoted\\\"\\ttab\\nline\\r\\nZoë Mäc 東京 🍎 name\"\n"),
      std::string::npos)
      << Text;
  EXPECT_NE(Text.find("Port = -2147483648\n"), std::string::npos);
  EXPECT_NE(Text.find("Path = Include \"/usr/include\" \"*\" NoSubDirs\n"), std::string::npos);
  EXPECT_NE(Text.find("Path = Library \"/usr/lib\" \"libz.dylib\" SubDirs\n"), std::string::npos);
  EXPECT_NE(Text.find("\"\\xFF\\xFE\\x01\""), std::string::npos);
  EXPECT_EQ(Text.substr(Text.size() - 4), "End\n");
}

TEST_F(ClientProfileFile, ReadsCrLfLineEndsCommentsAndByteOrderMark) {
  std::string Text =
      "\xEF\xBB\xBFHestrelProfile 1\r\n# comment\r\n\r\n  Name = \"N\"  \r\nPlatform=\"P\"\r\n"
      "Host = \"H\"\r\nPort = 5\r\nCredential = PasswordFile \"F\" NotEncrypted\r\nSysRoot = \"\"\r\n"
      "Path = Framework \"/F\" \"UIKit\" NoSubDirs\r\nEnd\r\n# trailing comment\r\n";
  WriteAll(Dir / "crlf.profile", Text);
  THestrelClientProfile P;
  ASSERT_TRUE(P.ReadProfileSettings((Dir / "crlf.profile").string())) << P.GetLastError();
  EXPECT_EQ(P.GetProfileName(), "N");
  EXPECT_EQ(P.GetPlatform(), "P");
  EXPECT_EQ(P.GetPort(), 5);
  EXPECT_EQ(P.GetCredential(), (TRACredential{"F", false, false}));
  EXPECT_EQ(P.GetIncludePath(TIncludePathKind::Framework), (TRAPathItems{{"/F", "UIKit", false}}));
}

TEST_F(ClientProfileFile, MissingFileIsRefused) {
  THestrelClientProfile P;
  P.SetHost("kept");
  EXPECT_FALSE(P.ReadProfileSettings((Dir / "none.profile").string()));
  EXPECT_EQ(P.GetHost(), "kept");
  EXPECT_EQ(P.GetLastError(),
            "Cannot read profile file '" + (Dir / "none.profile").string() + "': No such file or directory");
}

TEST_F(ClientProfileFile, DirectoryIsRefused) {
  fs::create_directory(Dir / "d.profile");
  THestrelClientProfile P;
  EXPECT_FALSE(P.ReadProfileSettings((Dir / "d.profile").string()));
  EXPECT_NE(P.GetLastError().find("not a regular file"), std::string::npos);
}

TEST_F(ClientProfileFile, EmptyFileIsRefused) { ExpectRefused("", "the file is empty"); }

TEST_F(ClientProfileFile, EveryTruncationIsRefused) {
  const std::string Text = ValidText();
  const std::size_t EndPos = Text.rfind("End\n");
  for (std::size_t Length = 0; Length < EndPos + 3; ++Length) {
    SCOPED_TRACE(Length);
    THestrelClientProfile P;
    EXPECT_FALSE(P.ReadProfileText(Text.substr(0, Length), "t.profile"));
  }
  ExpectRefused(Text.substr(0, EndPos), "the file ends without its End line (it is truncated)");
}

TEST_F(ClientProfileFile, BinaryFileIsRefused) {
  ExpectRefused(std::string("\x7f"
                            "ELF\x02\x01\x01\0\0\0",
                            10),
                "not UTF-8 text", 1);
  ExpectRefused("HestrelProfile 1\nName = \"a\xc0\xaf\"\n", "not UTF-8 text (byte 26)", 2);
  ExpectRefused(std::string("HestrelProfile 1\n\0\n", 19), "not UTF-8 text", 2);
}

TEST_F(ClientProfileFile, OversizedFileIsRefused) {
  std::string Text = ValidText();
  Text.insert(Text.size() - 4, std::string(1024 * 1024, '#'));
  ExpectRefused(Text, "the file is larger than 1 MiB");
}

TEST_F(ClientProfileFile, UnknownVersionIsRefused) {
  std::string Text = ValidText();
  ExpectRefused("HestrelProfile 2" + Text.substr(16), "unsupported format version '2' (this library reads version 1)",
                1);
  ExpectRefused("[Profile]\nName=x\n", "not a Hestrel profile file", 1);
}

TEST_F(ClientProfileFile, DamagedEntriesAreRefusedWithTheirLine) {
  const std::string Head = "HestrelProfile 1\nName = \"n\"\nPlatform = \"p\"\nHost = \"h\"\n";
  const std::string Tail = "Credential = Password \"x\" Encrypted\nSysRoot = \"\"\nEnd\n";
  ExpectRefused(Head + "Prot = 1\nPort = 1\n" + Tail, "unknown entry 'Prot'", 5);
  ExpectRefused(Head + "Port = 1\nPort = 2\n" + Tail, "'Port' appears twice (first on line 5)", 6);
  ExpectRefused(Head + "Port = 99999999999\n" + Tail, "is not a whole number", 5);
  ExpectRefused(Head + "Port = \"1\"\n" + Tail, "'Port' must be written as: Port = a whole number", 5);
  ExpectRefused(Head + Tail, "the entry 'Port' is missing", 7);
  ExpectRefused(Head + "Port = 1\nName2\n" + Tail, "expected an entry 'Name = value'", 6);
  ExpectRefused(Head + "Port = 1\nSysRoot = \"a\\q\"\n" + Tail, "unknown escape \\q", 6);
  ExpectRefused(Head + "Port = 1\nSysRoot = \"a\\x4\"\n" + Tail, "\\x must be followed by two hexadecimal digits", 6);
  ExpectRefused(Head + "Port = 1\nSysRoot = \"open\n" + Tail, "a quoted text has no closing quote", 6);
  ExpectRefused(Head + "Port = 1\nSysRoot = \"a\"b\n" + Tail, "must be followed by a blank", 6);
  ExpectRefused(Head + "Port = 1\nSysRoot = \"a\tb\"\n" + Tail, "a control character", 6);
  ExpectRefused(Head + "Port = 1\nPath = Headers \"/a\" \"*\" SubDirs\n" + Tail, "'Headers' is not a path kind", 6);
  ExpectRefused(Head + "Port = 1\nPath = Include \"/a\" \"*\" yes\n" + Tail, "'yes' must be SubDirs or NoSubDirs", 6);
  ExpectRefused(Head + "Port = 1\nCredential = Pass \"x\" Encrypted\nSysRoot = \"\"\nEnd\n",
                "'Pass' must be Password or PasswordFile", 6);
  ExpectRefused(Head + "Port = 1\n" + Tail + "Port = 2\n", "text after the End line", 9);
}

TEST_F(ClientProfileFile, MissingNameReadsAsAnEmptyNameOtherMissingEntriesAreRefused) {
  const std::string Body =
      "Platform = \"OSX32\"\nHost = \"h\"\nPort = 5\n"
      "Credential = PasswordFile \"/pw\" Encrypted\nSysRoot = \"/r\"\nEnd\n";
  const fs::path File = Dir / "office.mac.profile";
  WriteAll(File, "HestrelProfile 1\n" + Body);
  THestrelClientProfile P;
  P.SetProfileName("Before");
  ASSERT_TRUE(P.ReadProfileSettings(File.string())) << P.GetLastError();
  EXPECT_EQ(P.GetProfileName(), "");
  EXPECT_EQ(P.GetPlatform(), "OSX32");
  EXPECT_EQ(P.GetHost(), "h");
  EXPECT_EQ(P.GetPort(), 5);
  EXPECT_EQ(P.GetCredential(), (TRACredential{"/pw", false, true}));
  EXPECT_EQ(P.GetSysRoot(false), "/r");
  EXPECT_EQ(P.GetLastError(), "");

  const std::string Full = "HestrelProfile 1\nName = \"n\"\n" + Body;
  for (const char* Key : {"Platform", "Host", "Port", "Credential", "SysRoot"}) {
    const std::size_t Start = Full.find(std::string("\n") + Key + " = ") + 1;
    const std::string Without = Full.substr(0, Start) + Full.substr(Full.find('\n', Start) + 1);
    ExpectRefused(Without, std::string("the entry '") + Key + "' is missing", 7);
  }
}

TEST_F(ClientProfileFile, SavedFileHasMode0600EvenWhenItExistedWithAnother) {
  const fs::path File = Dir / "m.profile";
  WriteAll(File, "old");
  ::chmod(File.c_str(), 0644);
  THestrelClientProfile P;
  ASSERT_TRUE(P.SaveProfileSettings(File.string()));
  struct stat Info {};
  ASSERT_EQ(::stat(File.c_str(), &Info), 0);
  EXPECT_EQ(Info.st_mode & 07777, 0600u);
}

TEST_F(ClientProfileFile, SavingTheSameContentAgainLeavesTheFileUntouched) {
  const fs::path File = Dir / "same.profile";
  THestrelClientProfile P;
  Fill(P);
  ASSERT_TRUE(P.SaveProfileSettings(File.string())) << P.GetLastError();
  struct stat First {};
  ASSERT_EQ(::stat(File.c_str(), &First), 0);
  int Writes = 0;
  hestrel::SetAtomicWriteHookForTesting([&](const std::string&, const std::string&) {
    ++Writes;
    return std::string();
  });
  EXPECT_TRUE(P.SaveProfileSettings(File.string()));
  EXPECT_EQ(P.GetLastError(), "");
  EXPECT_EQ(Writes, 0);
  struct stat Second {};
  ASSERT_EQ(::stat(File.c_str(), &Second), 0);
  EXPECT_EQ(Second.st_ino, First.st_ino);  // not replaced

  P.SetPort(4242);  // a change is written
  EXPECT_TRUE(P.SaveProfileSettings(File.string()));
  EXPECT_EQ(Writes, 1);
  ::chmod(File.c_str(), 0644);  // same content but a wider mode is written again, as 0600
  EXPECT_TRUE(P.SaveProfileSettings(File.string()));
  EXPECT_EQ(Writes, 2);
  ASSERT_EQ(::stat(File.c_str(), &Second), 0);
  EXPECT_EQ(Second.st_mode & 07777, 0600u);
}

TEST_F(ClientProfileFile, TemporaryNameOfALongFileNameStaysWithinNameMax) {
  // A target name of 255 bytes (NAME_MAX), 247 of them the profile name: "." + name +
  // ".tmp-XXXXXX" would be 267 bytes. The copied part is cut to 243 bytes.
  std::string Accented = "nn";
  for (int I = 0; I < 122; ++I) Accented += "\xc3\xa9";  // "é", two bytes each, starting at byte 2
  Accented += "x";
  for (const std::string& Stem : {std::string(247, 'n'), Accented}) {
    const std::string Name = Stem + ".profile";
    ASSERT_EQ(Name.size(), 255u);
    std::string Temp;
    hestrel::SetAtomicWriteHookForTesting([&](const std::string& TempFileName, const std::string&) {
      Temp = fs::path(TempFileName).filename().string();
      return std::string();
    });
    THestrelClientProfile P;
    Fill(P);
    ASSERT_TRUE(P.SaveProfileSettings((Dir / Name).string())) << P.GetLastError();
    EXPECT_EQ(P.GetLastError(), "");
    EXPECT_TRUE(fs::is_regular_file(Dir / Name));
    ASSERT_FALSE(Temp.empty());
    EXPECT_LE(Temp.size(), 255u);
    EXPECT_EQ(Temp.substr(Temp.size() - 11, 5), ".tmp-");
    if (Stem == std::string(247, 'n')) {
      EXPECT_EQ(Temp.size(), 255u);
      EXPECT_EQ(Temp.substr(0, 244), "." + Name.substr(0, 243));
    } else {
      // Byte 243 would split an "é": the cut is one byte earlier, at the character boundary.
      EXPECT_EQ(Temp.size(), 254u);
      EXPECT_EQ(Temp.substr(0, 243), "." + Name.substr(0, 242));
    }
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(Dir), fs::directory_iterator()), 2);  // no temporary left

  std::string Short;  // a short name is copied whole
  hestrel::SetAtomicWriteHookForTesting([&](const std::string& TempFileName, const std::string&) {
    Short = fs::path(TempFileName).filename().string();
    return std::string();
  });
  THestrelClientProfile P;
  ASSERT_TRUE(P.SaveProfileSettings((Dir / "a.profile").string()));
  EXPECT_EQ(Short.size(), 21u);
  EXPECT_EQ(Short.substr(0, 15), ".a.profile.tmp-");
}

TEST_F(ClientProfileFile, FifoIsRefusedWithoutWaiting) {
  const fs::path File = Dir / "fifo.profile";
  ASSERT_EQ(::mkfifo(File.c_str(), 0600), 0);
  THestrelClientProfile P;
  EXPECT_FALSE(P.ReadProfileSettings(File.string()));
  EXPECT_EQ(P.GetLastError(), "Cannot read profile file '" + File.string() + "': not a regular file");
}

TEST_F(ClientProfileFile, FailedWriteLeavesOldFileAndNoTemporary) {
  const fs::path File = Dir / "keep.profile";
  WriteAll(File, "old content");
  std::string SeenTemp;
  hestrel::SetAtomicWriteHookForTesting([&](const std::string& Temp, const std::string&) {
    SeenTemp = Temp;
    return std::string("disk on fire");
  });
  THestrelClientProfile P;
  Fill(P);
  EXPECT_FALSE(P.SaveProfileSettings(File.string()));
  EXPECT_EQ(P.GetLastError(), "Cannot save '" + File.string() + "': disk on fire");
  EXPECT_EQ(ReadAll(File), "old content");
  EXPECT_FALSE(SeenTemp.empty());
  EXPECT_FALSE(fs::exists(SeenTemp));
  EXPECT_EQ(std::distance(fs::directory_iterator(Dir), fs::directory_iterator()), 1);
}

TEST_F(ClientProfileFile, SaveIntoMissingDirectoryFailsWithReason) {
  THestrelClientProfile P;
  const std::string File = (Dir / "no" / "x.profile").string();
  EXPECT_FALSE(P.SaveProfileSettings(File));
  EXPECT_EQ(P.GetLastError().rfind("Cannot save '" + File + "': cannot create a temporary file", 0), 0u)
      << P.GetLastError();
  EXPECT_FALSE(P.SaveProfileSettings(""));
  EXPECT_EQ(P.GetLastError(), "Cannot save a file without a name");
}

TEST_F(ClientProfileFile, ReadFailureAfterSuccessKeepsTheReadValues) {
  const std::string File = (Dir / "ok.profile").string();
  THestrelClientProfile Written;
  Fill(Written);
  ASSERT_TRUE(Written.SaveProfileSettings(File));
  THestrelClientProfile P;
  ASSERT_TRUE(P.ReadProfileSettings(File));
  EXPECT_FALSE(P.ReadProfileText("HestrelProfile 1\nName = \"other\"\n", File));
  EXPECT_EQ(P.GetData(), Written.GetData());
}

TEST_F(ClientProfileFile, IncludePathOfUnknownKindIsIgnored) {
  THestrelClientProfile P;
  P.SetIncludePath({{"/x", "*", false}}, static_cast<TIncludePathKind>(9));
  EXPECT_TRUE(P.GetIncludePath(static_cast<TIncludePathKind>(9)).empty());
  for (int K = 0; K < 4; ++K) EXPECT_TRUE(P.GetIncludePath(static_cast<TIncludePathKind>(K)).empty());
}

TEST_F(ClientProfileFile, SysRootExpandsRootMacrosOnlyWhenAsked) {
  auto Environment = std::make_shared<TEnvironmentDouble>(Dir);
  Environment->Variables["ZEPHPROFILESDIR"] = "/home/ann/Profiles";
  THostServices Host;
  Host.Environment = Environment;
  const THostServices Previous = SetHostServices(Host);
  THestrelClientProfile P;
  P.SetSysRoot("$(ZEPHPROFILESDIR)/Mac");
  EXPECT_EQ(P.GetSysRoot(false), "$(ZEPHPROFILESDIR)/Mac");
  EXPECT_EQ(P.GetSysRoot(true), "/home/ann/Profiles/Mac");
  SetHostServices(Previous);
  EXPECT_EQ(P.GetSysRoot(true), "$(ZEPHPROFILESDIR)/Mac");
}

}  // namespace

#include "hosts/linux/IniFile.h"

#include <filesystem>
#include <map>
#include <random>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "TempDir.h"
#include "core/Text.h"
#include "hosts/linux/HostAtomicWrite.h"

namespace {
TIniFilePtr LoadOk(const std::string& FileName) {
  TIniFileLoadResult Result = TIniFile::Load(FileName);
  EXPECT_TRUE(Result.Ok()) << Result.Error;
  return Result.File;
}

std::vector<std::string> Sections(TIniFile& Ini, const std::string& Parent) {
  std::vector<std::string> Names{"left over"};
  Ini.ReadSections(Parent, Names);
  return Names;
}
}  // namespace

TEST(IniFile, MissingFileIsAnEmptyStoreThatCanBeSaved) {
  TTempDir Dir;
  const std::string File = Dir / "settings.ini";
  TIniFileLoadResult Result = TIniFile::Load(File);
  ASSERT_TRUE(Result.Ok());
  EXPECT_EQ(Sections(*Result.File, "RemoteProfiles"), std::vector<std::string>{});
  EXPECT_EQ(Result.File->ReadString("RemoteProfiles", "Default_OSX32", "none"), "none");
  EXPECT_FALSE(std::filesystem::exists(File));  // loading writes nothing
  Result.File->WriteString("A", "B", "C");
  ASSERT_TRUE(Result.File->UpdateFile().Ok());
  EXPECT_EQ(LoadOk(File)->ReadString("a", "b", ""), "C");
}

TEST(IniFile, AwkwardValuesRoundTripThroughSaveAndReload) {
  const std::vector<std::string> Values = {
      "a=b=c", "; not a comment", "# nor this", "[not a section]", "C:\\Users\\me\\", "\\\\server\\share",
      "  leading and trailing  ", " ", "\t", "line1\nline2\r\nline3", "100% sure %41", "Grüße, 日本語 ✓",
      "", "ends with =", "=starts with", "%", "%%20", std::string("nul\0byte", 8), "\x7f"};
  TTempDir Dir;
  const std::string File = Dir / "settings.ini";
  {
    TIniFile Ini(File);
    for (std::size_t I = 0; I < Values.size(); ++I) Ini.WriteString("Values", "V" + std::to_string(I), Values[I]);
    Ini.WriteString("Odd names", " name = with ; # [x] ", "x");
    Ini.WriteString("Section ]with[ brackets\\and = sign ", "k", "y");
    ASSERT_TRUE(Ini.UpdateFile().Ok());
  }
  TIniFilePtr Ini = LoadOk(File);
  for (std::size_t I = 0; I < Values.size(); ++I)
    EXPECT_EQ(Ini->ReadString("Values", "V" + std::to_string(I), "<missing>"), Values[I]) << "value " << I;
  EXPECT_EQ(Ini->ReadString("Odd names", " name = with ; # [x] ", ""), "x");
  EXPECT_EQ(Ini->ReadString("Section ]with[ brackets\\and = sign ", "k", ""), "y");
  EXPECT_EQ(Sections(*Ini, "Section ]with[ brackets"), std::vector<std::string>{"and = sign "});
  EXPECT_EQ(Ini->GetText(), ReadFileText(File));  // a reload writes the same text again
}

TEST(IniFile, RandomBytesInNamesAndValuesRoundTrip) {
  std::mt19937 Random(20261122);  // fixed seed: deterministic
  auto RandomText = [&](std::size_t MaxLength) {
    std::string Text(Random() % (MaxLength + 1), '\0');
    for (char& C : Text) C = static_cast<char>(Random() % 256);
    return Text;
  };
  TTempDir Dir;
  const std::string File = Dir / "settings.ini";
  std::map<std::string, std::string> Written;  // lower-cased "section\x01name" -> value
  std::vector<std::tuple<std::string, std::string, std::string>> Order;
  {
    TIniFile Ini(File);
    for (int I = 0; I < 2000; ++I) {
      const std::string Section = "S" + std::to_string(I % 50) + RandomText(6);
      const std::string Name = RandomText(8);
      const std::string Value = RandomText(40);
      Ini.WriteString(Section, Name, Value);
      Order.emplace_back(Section, Name, Value);
    }
    ASSERT_TRUE(Ini.UpdateFile().Ok());
  }
  TIniFilePtr Ini = LoadOk(File);
  for (const auto& [Section, Name, Value] : Order)  // a later write of the same names wins
    Written[LowerCase(Section) + '\x01' + LowerCase(Name)] = Value;
  for (const auto& [Section, Name, Value] : Order)
    EXPECT_EQ(Ini->ReadString(Section, Name, "<missing>"), Written[LowerCase(Section) + '\x01' + LowerCase(Name)]);
}

TEST(IniFile, FileIsReadableIniText) {
  TTempDir Dir;
  TIniFile Ini(Dir / "settings.ini");
  Ini.WriteString("RemoteProfiles", "Default_OSX32", "Mac");
  Ini.WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini.WriteInteger("RemoteProfiles\\Mac", "PortNumber", 64211);
  Ini.WriteBool("RemoteProfiles\\Mac", "IncludeSubDir0", true);
  Ini.WriteString("RemoteProfiles\\Mac", "LocalRoot", " C:\\SDK\nx");
  EXPECT_EQ(Ini.GetText(),
            "; Settings store. Names ignore case; %XX escapes a byte (docs/settings-file-format.md).\n"
            "\n[RemoteProfiles]\nDefault_OSX32=Mac\n"
            "\n[RemoteProfiles\\Mac]\nPlatform=OSX32\nPortNumber=64211\nIncludeSubDir0=1\nLocalRoot=%20C:\\SDK%0Ax\n");
}

TEST(IniFile, HandWrittenFileWithCommentsBlanksAndCrLfLoads) {
  TTempDir Dir;
  const std::string File = Dir / "settings.ini";
  WriteFileText(File,
                "\xEF\xBB\xBF; comment\r\n# another\r\n\r\n  [ RemoteProfiles ]  \r\n Default_OSX32 = Mac \r\n"
                "[RemoteProfiles\\Mac]\nPortNumber = 0x10\nflag=TRUE\nEmpty=\nport=12");
  TIniFilePtr Ini = LoadOk(File);
  EXPECT_EQ(Ini->ReadString("remoteprofiles", "DEFAULT_osx32", ""), "Mac");
  EXPECT_EQ(Ini->ReadInteger("RemoteProfiles\\Mac", "PortNumber", 0), 16);
  EXPECT_TRUE(Ini->ReadBool("RemoteProfiles\\Mac", "Flag", false));
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\Mac", "Empty", "default"), "");
  EXPECT_EQ(Ini->ReadInteger("RemoteProfiles\\Mac", "Port", 0), 12);
}

TEST(IniFile, NamesIgnoreCaseAndKeepTheirFirstWrittenCase) {
  TTempDir Dir;
  TIniFile Ini(Dir / "s.ini");
  Ini.WriteString("RemoteProfiles\\Mac", "HostName", "one");
  Ini.WriteString("REMOTEPROFILES\\MAC", "HOSTNAME", "two");
  EXPECT_EQ(Ini.ReadString("remoteprofiles\\mac", "hostname", ""), "two");
  EXPECT_EQ(Sections(Ini, "remoteprofiles"), std::vector<std::string>{"Mac"});
  EXPECT_NE(Ini.GetText().find("[RemoteProfiles\\Mac]\nHostName=two\n"), std::string::npos);
  EXPECT_EQ(Ini.ReadString("RemoteProfiles\\Mäc", "HostName", "none"), "none");
}

TEST(IniFile, ReadSectionsListsDirectChildrenInStoreOrder) {
  TTempDir Dir;
  TIniFile Ini(Dir / "s.ini");
  Ini.WriteString("RemoteProfiles\\Zeta", "Platform", "OSX32");
  Ini.WriteString("Other\\Skip", "x", "1");
  Ini.WriteString("remoteprofiles\\alpha", "Platform", "Android");
  Ini.WriteString("RemoteProfiles\\Mid\\Deeper", "x", "1");  // grandchild: not listed
  Ini.WriteString("RemoteProfiles", "Default_OSX32", "Zeta");
  Ini.WriteString("RemoteProfilesX\\Not", "x", "1");
  Ini.WriteString("RemoteProfiles\\Mid", "x", "1");
  EXPECT_EQ(Sections(Ini, "REMOTEPROFILES"), (std::vector<std::string>{"Zeta", "alpha", "Mid"}));
  EXPECT_EQ(Sections(Ini, "RemoteProfiles\\mid"), std::vector<std::string>{"Deeper"});
  EXPECT_EQ(Sections(Ini, "Nothing"), std::vector<std::string>{});
}

TEST(IniFile, EraseSectionRemovesItsValuesAndEverySubSection) {
  TTempDir Dir;
  const std::string File = Dir / "s.ini";
  TIniFile Ini(File);
  Ini.WriteString("Before", "k", "1");
  Ini.WriteString("RemoteProfiles", "Default_OSX32", "Mac");
  Ini.WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
  Ini.WriteString("RemoteProfiles\\Mac\\Deeper", "x", "1");
  Ini.WriteString("RemoteProfilesX", "k", "kept");
  Ini.WriteString("After", "k", "2");
  Ini.EraseSection("remoteprofiles");
  EXPECT_EQ(Ini.ReadString("RemoteProfiles", "Default_OSX32", ""), "");
  EXPECT_EQ(Ini.ReadString("RemoteProfiles\\Mac", "Platform", ""), "");
  EXPECT_EQ(Ini.ReadString("RemoteProfiles\\Mac\\Deeper", "x", ""), "");
  EXPECT_EQ(Sections(Ini, "RemoteProfiles"), std::vector<std::string>{});
  EXPECT_EQ(Ini.ReadString("RemoteProfilesX", "k", ""), "kept");
  ASSERT_TRUE(Ini.UpdateFile().Ok());
  EXPECT_EQ(ReadFileText(File),
            "; Settings store. Names ignore case; %XX escapes a byte (docs/settings-file-format.md).\n"
            "\n[Before]\nk=1\n\n[RemoteProfilesX]\nk=kept\n\n[After]\nk=2\n");
  Ini.WriteString("RemoteProfiles\\New", "Platform", "OSX32");  // indexes still right after erasing
  EXPECT_EQ(Sections(Ini, "RemoteProfiles"), std::vector<std::string>{"New"});
  EXPECT_EQ(Ini.ReadString("After", "K", ""), "2");
}

TEST(IniFile, IntegersAndBooleansFallBackToTheDefaultWhenNotNumbers) {
  TTempDir Dir;
  TIniFile Ini(Dir / "s.ini");
  Ini.WriteInteger("S", "Port", -7);
  Ini.WriteString("S", "Bad", "12 monkeys");
  Ini.WriteBool("S", "On", true);
  Ini.WriteBool("S", "Off", false);
  Ini.WriteString("S", "Two", "2");
  EXPECT_EQ(Ini.ReadInteger("S", "Port", 0), -7);
  EXPECT_EQ(Ini.ReadInteger("S", "Bad", 64211), 64211);
  EXPECT_EQ(Ini.ReadInteger("S", "Missing", 64211), 64211);
  EXPECT_TRUE(Ini.ReadBool("S", "On", false));
  EXPECT_FALSE(Ini.ReadBool("S", "Off", true));
  EXPECT_TRUE(Ini.ReadBool("S", "Two", false));
  EXPECT_TRUE(Ini.ReadBool("S", "Bad", true));
  EXPECT_FALSE(Ini.ReadBool("S", "Bad", false));
  EXPECT_EQ(Ini.ReadString("S", "On", ""), "1");
}

TEST(IniFile, ManyValuesInOneSectionStayInOrderAndFindable) {
  TTempDir Dir;
  TIniFile Ini(Dir / "s.ini");
  for (int I = 0; I < 100; ++I) Ini.WriteInteger("Big", "Path" + std::to_string(I), I);
  Ini.WriteInteger("Big", "PATH50", 500);
  EXPECT_EQ(Ini.ReadInteger("big", "path50", 0), 500);
  EXPECT_EQ(Ini.ReadInteger("big", "path99", 0), 99);
  const std::string Text = Ini.GetText();
  EXPECT_LT(Text.find("Path49=49\nPath50=500\nPath51=51\n"), Text.find("Path99=99"));
}

TEST(IniFile, DamagedFileIsReportedWithLineAndLeftUntouched) {
  TTempDir Dir;
  const std::string File = Dir / "settings.ini";
  const std::string Damaged = "[RemoteProfiles]\nDefault_OSX32=Mac\n\n[RemoteProfiles\\Mac\nPlatform=OSX32\n";
  WriteFileText(File, Damaged);
  TIniFileLoadResult Result = TIniFile::Load(File);
  EXPECT_EQ(Result.Error, "Settings file '" + File + "' is damaged: line 4: a section header must end with ']'");
  ASSERT_TRUE(Result.File);
  EXPECT_EQ(Result.File->GetLoadError(), Result.Error);
  EXPECT_EQ(Sections(*Result.File, "RemoteProfiles"), std::vector<std::string>{});  // empty, not half-loaded
  EXPECT_EQ(Result.File->ReadString("RemoteProfiles", "Default_OSX32", ""), "");
  Result.File->WriteString("RemoteProfiles", "Default_OSX32", "Other");
  const TIniFileSaveResult Save = Result.File->UpdateFile();
  EXPECT_EQ(Save.Error, "Settings file '" + File +
                            "' was not saved, to keep the file that could not be loaded. " + Result.Error);
  EXPECT_EQ(ReadFileText(File), Damaged);
}

TEST(IniFile, EverySyntaxErrorNamesItsReason) {
  TTempDir Dir;
  const std::string File = Dir / "s.ini";
  const std::vector<std::pair<std::string, std::string>> Cases = {
      {"[A]\nno equals sign\n", "line 2: a line must be a [section], a name=value pair or a comment"},
      {"x=1\n", "line 1: a value comes before the first [section]"},
      {"[A]\nx=50%\n", "line 2: '%' must be followed by two hexadecimal digits"},
      {"[A]\n[B%G1]\n", "line 2: '%' must be followed by two hexadecimal digits"},
      {"[A]b]\n", "line 1: a section name cannot hold ']' (write it as %5D)"},
      {"[\n", "line 1: a section header must end with ']'"},
  };
  for (const auto& [Text, Expected] : Cases) {
    WriteFileText(File, Text);
    EXPECT_EQ(TIniFile::Load(File).Error, "Settings file '" + File + "' is damaged: " + Expected) << Text;
  }
}

TEST(IniFile, UnreadableFileIsReportedAndNeverOverwritten) {
  TTempDir Dir;
  const std::string Path = Dir / "settings.ini";
  std::filesystem::create_directory(Path);  // a directory where the file should be
  TIniFileLoadResult Result = TIniFile::Load(Path);
  EXPECT_EQ(Result.Error, "Cannot read settings file '" + Path + "': Is a directory");
  EXPECT_FALSE(Result.File->UpdateFile().Ok());
  EXPECT_TRUE(std::filesystem::is_directory(Path));
}

TEST(IniFile, FailedSaveBetweenWritingAndReplacingKeepsOldContent) {
  TTempDir Dir;
  const std::string File = Dir / "settings.ini";
  {
    TIniFile First(File);
    First.WriteString("S", "k", "old");
    ASSERT_TRUE(First.UpdateFile().Ok());
  }
  const std::string Before = ReadFileText(File);
  TIniFilePtr Ini = LoadOk(File);
  Ini->WriteString("S", "k", "new");
  hestrel::SetAtomicWriteHookForTesting([](const std::string&, const std::string&) { return "No space left on device"; });
  const TIniFileSaveResult Result = Ini->UpdateFile();
  hestrel::SetAtomicWriteHookForTesting(nullptr);
  EXPECT_EQ(Result.Error, "Cannot save '" + File + "': No space left on device");
  EXPECT_EQ(ReadFileText(File), Before);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Dir.Path), {}), 1);  // no temporary file left
  EXPECT_EQ(Ini->ReadString("S", "k", ""), "new");  // memory keeps the change for a retry
  ASSERT_TRUE(Ini->UpdateFile().Ok());
  EXPECT_EQ(LoadOk(File)->ReadString("S", "k", ""), "new");
}

TEST(IniFile, NewFileIsCreatedWithMode0600) {
  TTempDir Dir;
  const std::string File = Dir / "settings.ini";
  TIniFile Ini(File);
  Ini.WriteString("S", "Password", "enciphered");
  ASSERT_TRUE(Ini.UpdateFile().Ok());
  struct stat Info {};
  ASSERT_EQ(::stat(File.c_str(), &Info), 0);
  EXPECT_EQ(Info.st_mode & 07777, 0600u);
}

TEST(IniFile, AnExistingFileIsTightenedToAtMost0600) {
  TTempDir Dir;
  const std::string File = Dir / "settings.ini";
  const std::string Real = Dir / "real.ini";
  for (const auto& [Start, Expected] : {std::pair<mode_t, mode_t>{0644, 0600}, {0640, 0600}, {0755, 0600},
                                        {0400, 0400}, {0600, 0600}}) {
    WriteFileText(File, "[S]\nk=v\n");
    ASSERT_EQ(::chmod(File.c_str(), Start), 0);
    TIniFile Ini(File);
    Ini.WriteString("S", "Password", "enciphered");
    ASSERT_TRUE(Ini.UpdateFile().Ok());
    struct stat Info {};
    ASSERT_EQ(::stat(File.c_str(), &Info), 0);
    EXPECT_EQ(Info.st_mode & 07777, Expected) << std::oct << Start;
  }
  // Through a symbolic link: the file it names is tightened, the link stays.
  std::filesystem::remove(File);
  WriteFileText(Real, "[S]\n");
  ASSERT_EQ(::chmod(Real.c_str(), 0644), 0);
  std::filesystem::create_symlink("real.ini", File);
  TIniFile Linked(File);
  Linked.WriteString("S", "k", "v");
  ASSERT_TRUE(Linked.UpdateFile().Ok());
  EXPECT_TRUE(std::filesystem::is_symlink(File));
  struct stat Info {};
  ASSERT_EQ(::stat(Real.c_str(), &Info), 0);
  EXPECT_EQ(Info.st_mode & 07777, 0600u);
  EXPECT_NE(ReadFileText(Real).find("[S]\nk=v\n"), std::string::npos);
}

TEST(IniFile, SaveIntoMissingDirectoryFailsClearly) {
  TTempDir Dir;
  const std::string File = Dir / "missing/settings.ini";
  TIniFile Ini(File);
  Ini.WriteString("S", "k", "v");
  EXPECT_EQ(Ini.UpdateFile().Error, "Cannot save '" + File + "': cannot create a temporary file in '" +
                                        (Dir / "missing") + "': No such file or directory");
}

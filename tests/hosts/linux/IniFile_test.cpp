#include "hosts/linux/IniFile.h"

#include <array>
#include <climits>
#include <optional>
#include <random>

#include "HostTestSupport.h"
#include "hosts/linux/HostAtomicWrite.h"

namespace {
class IniFileTest : public THostFilesTest {
 protected:
  TIniFilePtr Load() {
    TIniFileLoadResult Result = TIniFile::Load(File);
    EXPECT_TRUE(Result.Ok()) << Result.Error;
    return Result.File;
  }
  static std::vector<std::string> Sections(TIniFile& Ini, const std::string& Parent) {
    std::vector<std::string> Names{"left over"};
    Ini.ReadSections(Parent, Names);
    return Names;
  }
  const std::string File = At("settings.ini");
  const std::string Header =
      "; Settings store. Names ignore case; %XX escapes a byte (docs/settings-file-format.md).\n";
};
}  // namespace

TEST_F(IniFileTest, WhatALineCannotHoldIsEscapedAndReadBack) {
  const struct {
    std::string Section, Name, Value, Lines;
  } Cases[] = {
      {"RemoteProfiles\\Mac", "PortNumber", "64211", "[RemoteProfiles\\Mac]\nPortNumber=64211\n"},
      {"A", "k", "a=b;c#[d]\\e", "[A]\nk=a=b;c#[d]\\e\n"},
      {"B", "k", " two  blanks ", "[B]\nk=%20two  blanks%20\n"},
      {"C", "k", "50%\r\n\t\x7f", "[C]\nk=50%25%0D%0A%09%7F\n"},
      {"D", "k", std::string("nul\0", 4), "[D]\nk=nul%00\n"},
      {"E", "a=b", "Grüße, 日本語 ✓", "[E]\na%3Db=Grüße, 日本語 ✓\n"},
      {"F", ";x#y[z", "", "[F]\n%3Bx#y[z=\n"},
      {"G", "[x", " ", "[G]\n%5Bx=%20\n"},
      {"H", "#x", "=", "[H]\n%23x==\n"},
      {"Remote\\a]b[c = ", " k ", "%%20", "[Remote\\a%5Db[c =%20]\n%20k%20=%25%2520\n"},
  };
  std::string Expected = Header;
  TIniFile Ini(File);
  for (const auto& C : Cases) {
    Ini.WriteString(C.Section, C.Name, C.Value);
    Expected += "\n" + C.Lines;
  }
  ASSERT_TRUE(Ini.UpdateFile().Ok());
  EXPECT_EQ(ReadFileText(File), Expected);
  const TIniFilePtr Back = Load();
  for (const auto& C : Cases) EXPECT_EQ(Back->ReadString(C.Section, C.Name, "<missing>"), C.Value) << C.Lines;
  EXPECT_EQ(Sections(*Back, "Remote"), std::vector<std::string>{"a]b[c = "});
}

TEST_F(IniFileTest, RandomBytesInNamesAndValuesRoundTrip) {
  std::mt19937 Random(20261122);
  auto RandomText = [&](std::size_t MaxLength) {
    std::string Text(Random() % (MaxLength + 1), '\0');
    for (char& C : Text) C = static_cast<char>(Random() % 256);
    return Text;
  };
  std::vector<std::array<std::string, 3>> Written;  // the names end in "#<number>": never the same
  TIniFile Ini(File);
  for (int I = 0; I < 2000; ++I) {
    Written.push_back(
        {"S" + std::to_string(I % 50) + RandomText(6), RandomText(8) + "#" + std::to_string(I), RandomText(40)});
    Ini.WriteString(Written.back()[0], Written.back()[1], Written.back()[2]);
  }
  ASSERT_TRUE(Ini.UpdateFile().Ok());
  const TIniFilePtr Back = Load();
  for (const auto& [Section, Name, Value] : Written) EXPECT_EQ(Back->ReadString(Section, Name, "<missing>"), Value);
}

TEST_F(IniFileTest, AHandWrittenFileLoadsAndUnreadableNumbersGiveTheDefault) {
  const struct {
    std::string Text;
    std::int32_t Integer;  // read with default 7
    bool Bool, BoolDefaultTrue;
  } Cases[] = {
      {" 64211 ", 64211, true, true}, {"0x10", 16, true, true},
      {"$FF", 255, true, true},       {"-2147483648", INT_MIN, true, true},
      {"2147483648", 7, false, true}, {"12a", 7, false, true},
      {"", 7, false, true},           {"0", 0, false, false},
      {"TRUE", 7, true, true},        {"False", 7, false, false},
  };
  std::string Text = "\xEF\xBB\xBF; comment\r\n# another\r\n\r\n  [ Numbers ]  \r\n";
  for (std::size_t I = 0; I < std::size(Cases); ++I) Text += "K" + std::to_string(I) + " =" + Cases[I].Text + "\r\n";
  WriteFileText(File, Text);
  const TIniFilePtr Ini = Load();
  for (std::size_t I = 0; I < std::size(Cases); ++I) {
    const std::string Name = "k" + std::to_string(I);
    EXPECT_EQ(Ini->ReadInteger("NUMBERS", Name, 7), Cases[I].Integer) << Cases[I].Text;
    EXPECT_EQ(Ini->ReadBool("numbers", Name, false), Cases[I].Bool) << Cases[I].Text;
    EXPECT_EQ(Ini->ReadBool("numbers", Name, true), Cases[I].BoolDefaultTrue) << Cases[I].Text;
  }
  EXPECT_EQ(Ini->ReadString("Numbers", "k6", "default"), "");
  EXPECT_EQ(Ini->ReadInteger("Numbers", "Missing", 64211), 64211);
}

TEST_F(IniFileTest, SectionsAreListedAndErasedWithTheirSubSectionsIgnoringCase) {
  TIniFile Ini(File);
  Ini.WriteString("Before", "k", "1");
  Ini.WriteString("RemoteProfiles\\Zeta", "HostName", "one");
  Ini.WriteString("REMOTEPROFILES\\ZETA", "HOSTNAME", "two");  // the first-written case is kept
  Ini.WriteString("remoteprofiles\\alpha", "Platform", "Android");
  Ini.WriteString("RemoteProfiles\\Mid\\Deeper", "x", "1");  // a grandchild: not listed
  Ini.WriteString("RemoteProfilesX", "k", "kept");
  Ini.WriteString("RemoteProfiles\\Mid", "x", "1");
  for (int I = 0; I < 100; ++I) Ini.WriteInteger("After", "Path" + std::to_string(I), I);
  Ini.WriteInteger("After", "PATH50", 500);
  EXPECT_EQ(Ini.ReadString("remoteprofiles\\zeta", "hostname", ""), "two");
  EXPECT_EQ(Ini.ReadString("RemoteProfiles\\Zetä", "HostName", "none"), "none");  // only ASCII letters fold
  EXPECT_EQ(Sections(Ini, "REMOTEPROFILES"), (std::vector<std::string>{"Zeta", "alpha", "Mid"}));
  EXPECT_EQ(Sections(Ini, "RemoteProfiles\\mid"), std::vector<std::string>{"Deeper"});
  EXPECT_EQ(Ini.ReadInteger("after", "path50", 0), 500);
  EXPECT_NE(Ini.GetText().find("[RemoteProfiles\\Zeta]\nHostName=two\n"), std::string::npos);
  EXPECT_NE(Ini.GetText().find("Path49=49\nPath50=500\nPath51=51\n"), std::string::npos);
  Ini.EraseSection("remoteprofiles");
  const std::string Kept = Header + "\n[Before]\nk=1\n\n[RemoteProfilesX]\nk=kept\n\n[After]\nPath0=0\n";
  EXPECT_EQ(Ini.GetText().substr(0, Kept.size()), Kept);
  Ini.WriteString("RemoteProfiles\\New", "Platform", "OSX32");  // the indexes are right after erasing
  EXPECT_EQ(Sections(Ini, "RemoteProfiles"), std::vector<std::string>{"New"});
  EXPECT_EQ(Ini.ReadInteger("After", "Path99", 0), 99);
}

TEST_F(IniFileTest, ADamagedOrUnreadableFileLoadsEmptyAndIsNeverOverwritten) {
  const std::pair<std::optional<std::string>, std::string> Cases[] = {
      {"[RemoteProfiles]\nDefault_OSX32=Mac\n\n[RemoteProfiles\\Mac\nPlatform=OSX32\n",
       "' is damaged: line 4: a section header must end with ']'"},
      {"[A]\nno equals sign\n", "' is damaged: line 2: a line must be a [section], a name=value pair or a comment"},
      {"x=1\n", "' is damaged: line 1: a value comes before the first [section]"},
      {"[A]\nx=50%\n", "' is damaged: line 2: '%' must be followed by two hexadecimal digits"},
      {"[A]\n[B%G1]\n", "' is damaged: line 2: '%' must be followed by two hexadecimal digits"},
      {"[A]b]\n", "' is damaged: line 1: a section name cannot hold ']' (write it as %5D)"},
      {std::nullopt, "': Is a directory"},  // a directory where the file should be
  };
  for (const auto& [Text, Reason] : Cases) {
    if (Text) {
      WriteFileText(File, *Text);
    } else {
      std::filesystem::remove(File);
      std::filesystem::create_directory(File);
    }
    const TIniFileLoadResult Result = TIniFile::Load(File);
    const std::string Error = (Text ? "Settings file '" : "Cannot read settings file '") + File + Reason;
    EXPECT_EQ(Result.Error, Error);
    EXPECT_EQ(Result.File->GetLoadError(), Error);
    EXPECT_EQ(Sections(*Result.File, "RemoteProfiles"), std::vector<std::string>{});  // empty, not half-loaded
    Result.File->WriteString("RemoteProfiles", "Default_OSX32", "Other");
    EXPECT_EQ(Result.File->UpdateFile().Error,
              "Settings file '" + File + "' was not saved, to keep the file that could not be loaded. " + Error);
    EXPECT_EQ(ReadFileText(File), Text.value_or(""));
  }
  EXPECT_TRUE(std::filesystem::is_directory(File));
}

using HostAtomicWrite = THostFilesTest;

TEST_F(HostAtomicWrite, ANewFileGetsTheCreateModeAnExistingOneKeepsWhatTheMaskAllows) {
  const struct {
    bool SettingsStore;  // written by the settings store, which holds enciphered passwords
    bool ThroughLink;    // written through a symbolic link, which stays
    mode_t Existing, CreateMode, KeepMask, Expected;
  } Cases[] = {
      {false, false, 0, 0640, 07777, 0640},   {false, false, 0640, 0600, 07777, 0640},
      {false, false, 0664, 0600, 0600, 0600}, {true, false, 0, 0, 0, 0600},
      {true, false, 0755, 0, 0, 0600},        {true, false, 0400, 0, 0, 0400},
      {true, true, 0644, 0, 0, 0600},
  };
  for (const auto& C : Cases) {
    std::filesystem::remove(At("a.txt"));
    std::filesystem::remove(At("link.txt"));
    if (C.Existing) {
      WriteFileText(At("a.txt"), "[S]\nold=1\n");
      ::chmod(At("a.txt").c_str(), C.Existing);
    }
    if (C.ThroughLink) std::filesystem::create_symlink("a.txt", At("link.txt"));
    const std::string File = At(C.ThroughLink ? "link.txt" : "a.txt");
    if (C.SettingsStore) {
      TIniFile Ini(File);
      Ini.WriteString("S", "k", "new");
      ASSERT_TRUE(Ini.UpdateFile().Ok());
    } else {
      ASSERT_TRUE(LinuxHost::AtomicWriteFile(File, "[S]\nk=new\n", C.CreateMode, C.KeepMask).Ok());
    }
    EXPECT_NE(ReadFileText(At("a.txt")).find("[S]\nk=new\n"), std::string::npos);
    EXPECT_EQ(ModeOf(At("a.txt")), C.Expected) << std::oct << C.Existing << " " << C.CreateMode << " " << C.KeepMask;
    EXPECT_EQ(std::filesystem::is_symlink(File), C.ThroughLink);
  }
}

TEST_F(HostAtomicWrite, AFailedWriteNamesTheFileAndKeepsTheOldOneWithoutATemporaryFile) {
  const std::string File = At("settings.ini");
  WriteFileText(File, "[S]\nk=old\n");
  const TIniFilePtr Ini = TIniFile::Load(File).File;
  Ini->WriteString("S", "k", "new");
  std::string Temporary;
  hestrel::SetAtomicWriteHookForTesting([&](const std::string& Temp, const std::string&) {
    Temporary = Temp;
    EXPECT_EQ(ReadFileText(Temp), Ini->GetText());  // written in full before the failure
    return std::string("No space left on device");
  });
  const std::string Error = Ini->UpdateFile().Error;
  hestrel::SetAtomicWriteHookForTesting(nullptr);
  EXPECT_EQ(Error, "Cannot save '" + File + "': No space left on device");
  EXPECT_EQ(ReadFileText(File), "[S]\nk=old\n");
  EXPECT_FALSE(Temporary.empty() || std::filesystem::exists(Temporary));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Dir), {}), 1);
  ASSERT_TRUE(Ini->UpdateFile().Ok());  // memory kept the change for a retry
  EXPECT_EQ(TIniFile::Load(File).File->ReadString("S", "k", ""), "new");
  const std::string Missing = At("no/such/dir/a.txt");
  EXPECT_EQ(LinuxHost::AtomicWriteFile(Missing, "x").Error, "Cannot save '" + Missing +
                                                                "': cannot create a temporary file in '" +
                                                                At("no/such/dir") + "': No such file or directory");
}

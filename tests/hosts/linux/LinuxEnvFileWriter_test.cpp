#include "hosts/linux/LinuxEnvFileWriter.h"

#include <array>

#include "HostTestSupport.h"

namespace {
class EnvFileWriter : public THostFilesTest {
 protected:
  /// One save bracket of a new writer: each update sets a property of the group of a condition.
  std::string Save(const std::vector<std::array<std::string, 3>>& Updates) {
    TLinuxEnvFileWriter Writer(File);
    Writer.BeginEnvFileSave();
    for (const auto& [Condition, Name, Value] : Updates) {
      Writer.SetCurrentPropertyGroup(Condition);
      Writer.UpdateEnvFile(Name, Value);
    }
    Writer.EndEnvFileSave();
    return Writer.GetLastError();
  }
  const std::string File = At("environment.proj");
  const std::string Head =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<Project xmlns=\"http://schemas.microsoft.com/developer/msbuild/2003\">\n";
  const std::string OSX32 = "'$(Platform)'=='OSX32'", Linux64 = "'$(Platform)'=='Linux64'",
                    Android = "'$(Platform)'=='Android'";
};
}  // namespace

TEST_F(EnvFileWriter, UpdatesKeepOtherPropertiesAndAnEmptyValueRemovesOne) {
  EXPECT_EQ(Save({{OSX32, "DefaultProfile", "Mac"},
                  {OSX32, "_a.b-1", "kept"},
                  {Linux64, "DefaultProfile", "Box"},
                  {Android, "DefaultProfile", ""}}),
            "");
  EXPECT_EQ(Save({{OSX32, "DefaultProfile", ""},
                  {Linux64, "DefaultProfile", ""},
                  {Android, "DefaultProfile", "Phone & <Co> \"1\"\r\nTwo\tTabs\x01\x7f"}}),
            "");
  EXPECT_EQ(ReadFileText(File), Head +
                                    "  <PropertyGroup Condition=\"'$(Platform)'=='OSX32'\">\n"
                                    "    <_a.b-1>kept</_a.b-1>\n"
                                    "  </PropertyGroup>\n"
                                    "  <PropertyGroup Condition=\"'$(Platform)'=='Android'\">\n"
                                    "    <DefaultProfile>Phone &amp; &lt;Co&gt; &quot;1&quot;&#13;&#10;Two&#9;Tabs"
                                    "</DefaultProfile>\n"
                                    "  </PropertyGroup>\n"
                                    "</Project>\n");
  EXPECT_EQ(ModeOf(File), 0600u);
}

TEST_F(EnvFileWriter, AHandEditedFileIsReadWithCommentsAndEntities) {
  WriteFileText(File,
                "<?xml version='1.0'?>\n<!-- mine -->\n<Project xmlns='x'>\n"
                "  <PropertyGroup><Plain>a&#x41;&#66;&apos;&#xE9;&#x65E5;&#x1F600;</Plain><Empty/></PropertyGroup>\n"
                "  <PropertyGroup Condition=\"'$(Platform)'=='OSX32'\" >\n"
                "    <!-- c --><DefaultProfile>Mac</DefaultProfile >\n  </PropertyGroup>\n</Project>\n");
  EXPECT_EQ(Save({{OSX32, "DefaultProfile", "Mac2"}}), "");
  EXPECT_EQ(ReadFileText(File), Head +
                                    "  <PropertyGroup>\n    <Plain>aAB'é日😀</Plain>\n    <Empty></Empty>\n"
                                    "  </PropertyGroup>\n"
                                    "  <PropertyGroup Condition=\"'$(Platform)'=='OSX32'\">\n"
                                    "    <DefaultProfile>Mac2</DefaultProfile>\n  </PropertyGroup>\n</Project>\n");
}

TEST_F(EnvFileWriter, ADamagedFileOrABadPropertyNameIsReportedAndNothingIsWritten) {
  const std::pair<std::string, std::string> Damaged[] = {
      {"<Project>\n  <PropertyGroup>\n    <Profile>Mac</Prof>\n", "line 3: expected </Profile>"},
      {"<Other/>", "line 1: the root element must be <Project>"},
      {"<Project>\n<ItemGroup/>\n</Project>", "line 2: <ItemGroup> is not supported here; only <PropertyGroup> is"},
      {"<Project>\n<PropertyGroup>\n<A>&bogus;</A>", "line 3: unknown entity &bogus;"},
      {"<Project>\n<PropertyGroup>\n<A>&#0;</A>", "line 3: bad character reference"},
      {"<Project></Project>\nx", "line 2: text after </Project>"},
      {"<Project>\n<!-- open", "line 2: unterminated comment or declaration"},
  };
  for (const auto& [Text, Reason] : Damaged) {
    WriteFileText(File, Text);
    EXPECT_EQ(Save({{OSX32, "DefaultProfile", "Mac"}}),
              "Build-environment file '" + File + "' is damaged: " + Reason + "; it was not changed");
    EXPECT_EQ(ReadFileText(File), Text);
  }
  std::filesystem::remove(File);
  for (const std::string Name : {"Bad Name", "1a", "a:b", ""}) {
    EXPECT_EQ(Save({{OSX32, Name, "x"}}),
              "Build-environment file '" + File + "': '" + Name + "' is not a property name");
    EXPECT_FALSE(std::filesystem::exists(File));
  }
}

TEST_F(EnvFileWriter, NothingIsWrittenOutsideABracketOrWithoutAChange) {
  TLinuxEnvFileWriter Writer(File);
  Writer.SetCurrentPropertyGroup(OSX32);
  Writer.UpdateEnvFile("DefaultProfile", "Mac");  // no bracket: ignored
  Writer.BeginEnvFileSave();
  Writer.BeginEnvFileSave();  // nested: one file write at the outer end
  Writer.SetCurrentPropertyGroup(OSX32);
  Writer.UpdateEnvFile("DefaultProfile", "");
  Writer.EndEnvFileSave();
  Writer.EndEnvFileSave();
  EXPECT_FALSE(std::filesystem::exists(File));
  EXPECT_EQ(Save({{"", "Profile", "Mac"}}), "");
  const std::string Written = ReadFileText(File);
  EXPECT_EQ(Save({{"", "Profile", "Mac"}}), "");  // the same value again changes nothing
  EXPECT_EQ(ReadFileText(File), Written);
}

#include "hosts/linux/LinuxEnvFileWriter.h"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "TempDir.h"

namespace {
const std::string Head =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<Project xmlns=\"http://schemas.microsoft.com/developer/msbuild/2003\">\n";
}

TEST(EnvFileWriter, WritesConditionedPropertyGroups) {
  TTempDir Dir;
  const std::string File = Dir / "environment.proj";
  TLinuxEnvFileWriter Writer(File);
  Writer.BeginEnvFileSave();
  Writer.SetCurrentPropertyGroup("'$(Profile)'=='' And '$(Platform)'=='OSX32'");
  Writer.UpdateEnvFile("Profile", "Mac & <Co> \"1\"");
  Writer.SetCurrentPropertyGroup("'$(Platform)'=='Android'");
  Writer.UpdateEnvFile("DefaultProfile", "");  // nothing to remove: no group written
  Writer.EndEnvFileSave();
  EXPECT_EQ(Writer.GetLastError(), "");
  EXPECT_EQ(ReadFileText(File), Head +
                                    "  <PropertyGroup Condition=\"'$(Profile)'=='' And '$(Platform)'=='OSX32'\">\n"
                                    "    <Profile>Mac &amp; &lt;Co&gt; &quot;1&quot;</Profile>\n"
                                    "  </PropertyGroup>\n"
                                    "</Project>\n");
  struct stat Info {};
  ASSERT_EQ(::stat(File.c_str(), &Info), 0);
  EXPECT_EQ(Info.st_mode & 07777, 0600u);
}

TEST(EnvFileWriter, UpdatesKeepOtherGroupsAndEmptyValueRemovesTheProperty) {
  TTempDir Dir;
  const std::string File = Dir / "environment.proj";
  TLinuxEnvFileWriter Writer(File);
  Writer.BeginEnvFileSave();
  Writer.SetCurrentPropertyGroup("'$(Platform)'=='OSX32'");
  Writer.UpdateEnvFile("DefaultProfile", "Mac");
  Writer.UpdateEnvFile("Other", "kept");
  Writer.SetCurrentPropertyGroup("'$(Platform)'=='Linux64'");
  Writer.UpdateEnvFile("DefaultProfile", "Box");
  Writer.EndEnvFileSave();

  TLinuxEnvFileWriter Again(File);  // a new writer reads what the first wrote
  Again.BeginEnvFileSave();
  Again.SetCurrentPropertyGroup("'$(Platform)'=='OSX32'");
  Again.UpdateEnvFile("DefaultProfile", "");
  Again.SetCurrentPropertyGroup("'$(Platform)'=='Linux64'");
  Again.UpdateEnvFile("DefaultProfile", "");
  Again.SetCurrentPropertyGroup("'$(Platform)'=='Android'");
  Again.UpdateEnvFile("DefaultProfile", "Phone\nTwo\tTabs");
  Again.EndEnvFileSave();
  EXPECT_EQ(Again.GetLastError(), "");
  EXPECT_EQ(ReadFileText(File), Head +
                                    "  <PropertyGroup Condition=\"'$(Platform)'=='OSX32'\">\n"
                                    "    <Other>kept</Other>\n"
                                    "  </PropertyGroup>\n"
                                    "  <PropertyGroup Condition=\"'$(Platform)'=='Android'\">\n"
                                    "    <DefaultProfile>Phone&#10;Two&#9;Tabs</DefaultProfile>\n"
                                    "  </PropertyGroup>\n"
                                    "</Project>\n");
}

TEST(EnvFileWriter, ReadsHandEditedFileWithCommentsAndEntities) {
  TTempDir Dir;
  const std::string File = Dir / "environment.proj";
  WriteFileText(File,
                "<?xml version='1.0'?>\n<!-- mine -->\n<Project xmlns='x'>\n"
                "  <PropertyGroup><Plain>a&#x41;&#66;&apos;</Plain><Empty/></PropertyGroup>\n"
                "  <PropertyGroup Condition=\"'$(Platform)'=='OSX32'\" >\n"
                "    <!-- c --><DefaultProfile>Mac</DefaultProfile >\n  </PropertyGroup>\n</Project>\n");
  TLinuxEnvFileWriter Writer(File);
  Writer.BeginEnvFileSave();
  Writer.SetCurrentPropertyGroup("'$(Platform)'=='OSX32'");
  Writer.UpdateEnvFile("DefaultProfile", "Mac2");
  Writer.EndEnvFileSave();
  EXPECT_EQ(Writer.GetLastError(), "");
  EXPECT_EQ(ReadFileText(File), Head +
                                    "  <PropertyGroup>\n    <Plain>aAB'</Plain>\n    <Empty></Empty>\n"
                                    "  </PropertyGroup>\n"
                                    "  <PropertyGroup Condition=\"'$(Platform)'=='OSX32'\">\n"
                                    "    <DefaultProfile>Mac2</DefaultProfile>\n  </PropertyGroup>\n</Project>\n");
}

TEST(EnvFileWriter, DamagedFileIsReportedAndNotReplaced) {
  TTempDir Dir;
  const std::string File = Dir / "environment.proj";
  const std::string Damaged = "<Project>\n  <PropertyGroup>\n    <Profile>Mac</Prof>\n";
  WriteFileText(File, Damaged);
  TLinuxEnvFileWriter Writer(File);
  Writer.BeginEnvFileSave();
  Writer.SetCurrentPropertyGroup("'$(Platform)'=='OSX32'");
  Writer.UpdateEnvFile("DefaultProfile", "Mac");
  Writer.EndEnvFileSave();
  EXPECT_EQ(Writer.GetLastError(),
            "Build-environment file '" + File + "' is damaged: line 3: expected </Profile>; it was not changed");
  EXPECT_EQ(ReadFileText(File), Damaged);
}

TEST(EnvFileWriter, NothingChangedWritesNothingAndOutsideABracketIsIgnored) {
  TTempDir Dir;
  const std::string File = Dir / "environment.proj";
  TLinuxEnvFileWriter Writer(File);
  Writer.SetCurrentPropertyGroup("'$(Platform)'=='OSX32'");
  Writer.UpdateEnvFile("DefaultProfile", "Mac");  // no bracket: ignored
  Writer.BeginEnvFileSave();
  Writer.BeginEnvFileSave();  // nested: one file write at the outer end
  Writer.SetCurrentPropertyGroup("'$(Platform)'=='OSX32'");
  Writer.UpdateEnvFile("DefaultProfile", "");
  Writer.EndEnvFileSave();
  Writer.EndEnvFileSave();
  EXPECT_FALSE(std::filesystem::exists(File));
}

TEST(EnvFileWriter, InvalidPropertyNameIsRefused) {
  TTempDir Dir;
  const std::string File = Dir / "environment.proj";
  TLinuxEnvFileWriter Writer(File);
  Writer.BeginEnvFileSave();
  Writer.SetCurrentPropertyGroup("");
  Writer.UpdateEnvFile("Bad Name", "x");
  Writer.EndEnvFileSave();
  EXPECT_EQ(Writer.GetLastError(), "Build-environment file '" + File + "': 'Bad Name' is not a property name");
  EXPECT_FALSE(std::filesystem::exists(File));
}

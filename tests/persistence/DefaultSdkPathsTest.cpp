// Default SDK path sets: the built-in lists, the default-path file and its message.
#include <gtest/gtest.h>

#include "PersistenceFixture.h"
#include "common/AtomicFile.h"
#include "persistence/DefaultSdkPaths.h"

namespace {

using DefaultSdkPaths = TPersistenceFixture;
using TItem = TOTARemoteProfilePathItem;

TEST_F(DefaultSdkPaths, BuiltInListsHold133EntriesForThreePlatformsOnly) {
  const TOTARemoteProfilePathArray OSX = GetDefaultPaths("OSX32"), Device = GetDefaultPaths("iOSDevice");
  EXPECT_EQ(std::to_string(OSX.size()) + " " + std::to_string(Device.size()), "66 66");
  EXPECT_EQ(GetDefaultPaths("iOSSimulator").ToVector(),
            (std::vector<TItem>{{"/usr/include", "*", false, ptIncludePath}}));
  EXPECT_EQ(OSX[65],
            (TItem{"/System/Library/Frameworks/CoreServices.framework/Frameworks", "CFNetwork", false, ptFramework}));
  EXPECT_EQ(Device[51], (TItem{"/usr/lib/system", "libsystem_m.dylib", false, ptLibraryPath}));  // after "/usr/lib"'s
  EXPECT_EQ(Device[59], (TItem{"/System/Library/PrivateFrameworks", "UIFoundation", false, ptFramework}));
  for (const char* Other : {"Win32", "osx32", ""}) EXPECT_TRUE(GetDefaultPaths(Other).empty()) << Other;
}

TEST_F(DefaultSdkPaths, SetDefaultPathsWritesTheFileSaysSoAndLeavesThePlatformWithoutDefaults) {
  SetDefaultPaths("iOSDevice", {{"/i", "*", true, ptIncludePath},
                                {"/l", "a", false, ptLibraryPath},
                                {"/f", "F", false, ptFramework},
                                {"/o", "*", false, ptOtherPath}});
  const std::string File = (AppData() / "iOSDevice.defaultprofilepaths").string();
  ExpectOneMessage("Saved default paths to " + File, TMsgDlgType::mtInformation);
  THestrelClientProfile Raw;
  ASSERT_TRUE(Raw.ReadProfileSettings(File)) << Raw.GetLastError();
  const std::string None = "Not-applicable for default profile paths";
  EXPECT_EQ(Raw.GetProfileName() + "|" + Raw.GetHost() + "|" + Raw.GetSysRoot(false) + "|" + Raw.GetPlatform() + "|" +
                std::to_string(Raw.GetPort()),
            None + "|" + None + "|" + None + "|iOSDevice|0");
  EXPECT_EQ(Raw.GetCredential(), (TRACredential{"", false, false}));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Include), (TRAPathItems{{"/i", "*", true}}));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Framework), (TRAPathItems{{"/f", "F", false}}));
  EXPECT_TRUE(GetDefaultPaths("iOSDevice").empty());
  EXPECT_EQ(GetDefaultPaths("OSX32").size(), 66u);  // other platforms keep theirs
}

TEST_F(DefaultSdkPaths, AFileThatCannotBeReadWrittenOrNamedLeavesTheBuiltInListAndShowsNothing) {
  WriteText(AppData() / "OSX32.defaultprofilepaths", "HestrelProfile 1\nName = \"x\n");
  EXPECT_EQ(GetDefaultPaths("OSX32").size(), 66u);
  hestrel::SetAtomicWriteHookForTesting([](const std::string&, const std::string&) { return std::string("full"); });
  EXPECT_THROW(SetDefaultPaths("iOSSimulator", {}), EProfileFileError);
  hestrel::SetAtomicWriteHookForTesting(nullptr);
  EXPECT_FALSE(fs::exists(AppData() / "iOSSimulator.defaultprofilepaths"));
  EXPECT_EQ(GetDefaultPathsFileName("OSX32"), AppData().string() + "/OSX32.defaultprofilepaths");
  for (const char* Bad : {"../OSX32", ""}) EXPECT_EQ(GetDefaultPathsFileName(Bad), "") << Bad;
  EXPECT_THROW(SetDefaultPaths("a/b", {}), EProfileFileError);
  EXPECT_TRUE(Messages->Shown.empty());
}

}  // namespace

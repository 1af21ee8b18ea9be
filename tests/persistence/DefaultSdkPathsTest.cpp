// Part 2.3: Default SDK path sets (persistence/DefaultSdkPaths.cpp): the 133 built-in
// entries, the default-path file and its message.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "PersistenceFixture.h"
#include "common/AtomicFile.h"
#include "persistence/DefaultSdkPaths.h"
#include "persistence/ProfileFiles.h"

namespace {

namespace fs = std::filesystem;

/// One entry as "type path mask" (include-subdirectories is false in every entry).
std::vector<std::string> Describe(const TOTARemoteProfilePathArray& Paths) {
  std::vector<std::string> Out;
  for (const auto& Item : Paths) {
    EXPECT_FALSE(Item.IncludeSubDir) << Item.Path << " " << Item.Mask;
    Out.push_back(std::to_string(static_cast<int>(Item.Type)) + " " + Item.Path + " " + Item.Mask);
  }
  return Out;
}

/// The expected lists, typed out entry by entry.
const std::vector<std::string> kOSX32 = {"0 /usr/include *",
                                         "0 /usr/include/os *",
                                         "0 /usr/include/xpc *",
                                         "3 /usr/include/architecture *",
                                         "3 /usr/include/architecture/i386 *",
                                         "3 /usr/include/bsm *",
                                         "3 /usr/include/sys *",
                                         "3 /usr/include/device *",
                                         "3 /usr/include/dispatch *",
                                         "3 /usr/include/hfs *",
                                         "3 /usr/include/i386 *",
                                         "3 /usr/include/libkern *",
                                         "3 /usr/include/libkern/machine *",
                                         "3 /usr/include/mach/i386 *",
                                         "3 /usr/include/mach *",
                                         "3 /usr/include/mach/machine *",
                                         "3 /usr/include/machine *",
                                         "3 /usr/include/net *",
                                         "3 /usr/include/netinet *",
                                         "3 /usr/include/netinet6 *",
                                         "3 /usr/include/uuid *",
                                         "1 /usr/lib libiconv.dylib",
                                         "1 /usr/lib libobjc.A.dylib",
                                         "1 /usr/lib libpcre.dylib",
                                         "1 /usr/lib libSystem.dylib",
                                         "1 /usr/lib libSystem.B.dylib",
                                         "1 /usr/lib libSystem.2.dylib",
                                         "1 /usr/lib libz.dylib",
                                         "1 /usr/lib/system libcache.dylib",
                                         "1 /usr/lib/system libcommonCrypto.dylib",
                                         "1 /usr/lib/system libcompiler_rt.dylib",
                                         "1 /usr/lib/system libcopyfile.dylib",
                                         "1 /usr/lib/system libdispatch.dylib",
                                         "1 /usr/lib/system libdnsinfo.dylib",
                                         "1 /usr/lib/system libdyld.dylib",
                                         "1 /usr/lib/system libkeymgr.dylib",
                                         "1 /usr/lib/system liblaunch.dylib",
                                         "1 /usr/lib/system libmacho.dylib",
                                         "1 /usr/lib/system libmathCommon.A.dylib",
                                         "1 /usr/lib/system libnotify.dylib",
                                         "1 /usr/lib/system libquarantine.dylib",
                                         "1 /usr/lib/system libremovefile.dylib",
                                         "1 /usr/lib/system libsystem_blocks.dylib",
                                         "1 /usr/lib/system libsystem_c.dylib",
                                         "1 /usr/lib/system libsystem_dnssd.dylib",
                                         "1 /usr/lib/system libsystem_info.dylib",
                                         "1 /usr/lib/system libsystem_kernel.dylib",
                                         "1 /usr/lib/system libsystem_m.dylib",
                                         "1 /usr/lib/system libsystem_network.dylib",
                                         "1 /usr/lib/system libsystem_notify.dylib",
                                         "1 /usr/lib/system libsystem_sandbox.dylib",
                                         "1 /usr/lib/system libunc.dylib",
                                         "1 /usr/lib/system libunwind.dylib",
                                         "1 /usr/lib/system libxpc.dylib",
                                         "2 /System/Library/Frameworks AppKit",
                                         "2 /System/Library/Frameworks ApplicationServices",
                                         "2 /System/Library/Frameworks Carbon",
                                         "2 /System/Library/Frameworks CFNetwork",
                                         "2 /System/Library/Frameworks CoreFoundation",
                                         "2 /System/Library/Frameworks CoreServices",
                                         "2 /System/Library/Frameworks DiskArbitration",
                                         "2 /System/Library/Frameworks Foundation",
                                         "2 /System/Library/Frameworks IOKit",
                                         "2 /System/Library/Frameworks IOSurface",
                                         "2 /System/Library/Frameworks Security",
                                         "2 /System/Library/Frameworks/CoreServices.framework/Frameworks CFNetwork"};

const std::vector<std::string> kIOSDevice = {"0 /usr/include *",
                                             "3 /usr/include/architecture *",
                                             "3 /usr/include/architecture/arm *",
                                             "3 /usr/include/bsm *",
                                             "3 /usr/include/sys *",
                                             "3 /usr/include/device *",
                                             "3 /usr/include/dispatch *",
                                             "3 /usr/include/libkern/arm *",
                                             "3 /usr/include/mach/arm *",
                                             "3 /usr/include/mach *",
                                             "3 /usr/include/mach/machine *",
                                             "3 /usr/include/machine *",
                                             "3 /usr/include/net *",
                                             "3 /usr/include/netinet *",
                                             "3 /usr/include/netinet6 *",
                                             "3 /usr/include/uuid *",
                                             "1 /usr/lib libiconv.dylib",
                                             "1 /usr/lib libobjc.A.dylib",
                                             "1 /usr/lib libpcre.dylib",
                                             "1 /usr/lib libstdc++.dylib",
                                             "1 /usr/lib libSystem.dylib",
                                             "1 /usr/lib libSystem.B.dylib",
                                             "1 /usr/lib libSystem.2.dylib",
                                             "1 /usr/lib libz.dylib",
                                             "1 /usr/lib/system libcache.dylib",
                                             "1 /usr/lib/system libcommonCrypto.dylib",
                                             "1 /usr/lib/system libcompiler_rt.dylib",
                                             "1 /usr/lib/system libcopyfile.dylib",
                                             "1 /usr/lib/system libdispatch.dylib",
                                             "1 /usr/lib/system libdnsinfo.dylib",
                                             "1 /usr/lib/system libdyld.dylib",
                                             "1 /usr/lib/system libkeymgr.dylib",
                                             "1 /usr/lib/system liblaunch.dylib",
                                             "1 /usr/lib/system libmacho.dylib",
                                             "1 /usr/lib/system libmathCommon.A.dylib",
                                             "1 /usr/lib/system libnotify.dylib",
                                             "1 /usr/lib/system libquarantine.dylib",
                                             "1 /usr/lib/system libremovefile.dylib",
                                             "1 /usr/lib/system libsystem_blocks.dylib",
                                             "1 /usr/lib/system libsystem_c.dylib",
                                             "1 /usr/lib/system libsystem_dnssd.dylib",
                                             "1 /usr/lib/system libsystem_info.dylib",
                                             "1 /usr/lib/system libsystem_kernel.dylib",
                                             "1 /usr/lib/system libsystem_network.dylib",
                                             "1 /usr/lib/system libsystem_notify.dylib",
                                             "1 /usr/lib/system libsystem_sandbox.dylib",
                                             "1 /usr/lib/system libunc.dylib",
                                             "1 /usr/lib/system libunwind.dylib",
                                             "1 /usr/lib/system libxpc.dylib",
                                             "1 /usr/lib libc++abi.dylib",
                                             "1 /usr/lib libobjc.dylib",
                                             "1 /usr/lib/system libsystem_m.dylib",
                                             "2 /System/Library/Frameworks UIKit",
                                             "2 /System/Library/Frameworks CoreFoundation",
                                             "2 /System/Library/Frameworks Foundation",
                                             "2 /System/Library/Frameworks QuartzCore",
                                             "2 /System/Library/Frameworks GLKit",
                                             "2 /System/Library/Frameworks CoreText",
                                             "2 /System/Library/Frameworks CoreGraphics",
                                             "2 /System/Library/PrivateFrameworks UIFoundation",
                                             "2 /System/Library/Frameworks OpenGLES",
                                             "2 /System/Library/Frameworks AVFoundation",
                                             "2 /System/Library/Frameworks CoreLocation",
                                             "2 /System/Library/Frameworks CoreMedia",
                                             "2 /System/Library/Frameworks CoreVideo",
                                             "2 /System/Library/Frameworks MediaPlayer"};

class DefaultSdkPaths : public TPersistenceFixture {
 protected:
  void TearDown() override {
    hestrel::SetAtomicWriteHookForTesting(nullptr);
    TPersistenceFixture::TearDown();
  }
};

TEST_F(DefaultSdkPaths, BuiltInListsHoldAll133EntriesInOrder) {
  EXPECT_EQ(kOSX32.size(), 66u);
  EXPECT_EQ(kIOSDevice.size(), 66u);
  EXPECT_EQ(Describe(BuiltInDefaultPaths("OSX32")), kOSX32);
  EXPECT_EQ(Describe(BuiltInDefaultPaths("iOSDevice")), kIOSDevice);
  EXPECT_EQ(Describe(BuiltInDefaultPaths("iOSSimulator")), (std::vector<std::string>{"0 /usr/include *"}));
  EXPECT_EQ(Describe(GetDefaultPaths("OSX32")), kOSX32);
  EXPECT_EQ(Describe(GetDefaultPaths("iOSDevice")), kIOSDevice);
}

TEST_F(DefaultSdkPaths, IOSSimulatorWithoutAFileGivesOneItem) {
  const auto Paths = GetDefaultPaths("iOSSimulator");
  ASSERT_EQ(Paths.size(), 1u);
  EXPECT_EQ(Paths[0], (TOTARemoteProfilePathItem{"/usr/include", "*", false, ptIncludePath}));
}

TEST_F(DefaultSdkPaths, Win32GivesAnEmptyList) {
  EXPECT_TRUE(GetDefaultPaths("Win32").empty());
  EXPECT_TRUE(GetDefaultPaths("osx32").empty());  // exact, case-sensitive comparison
  EXPECT_TRUE(GetDefaultPaths("").empty());
}

TEST_F(DefaultSdkPaths, AfterSetDefaultPathsTheListIsEmpty) {
  SetDefaultPaths("OSX32", BuiltInDefaultPaths("OSX32"));
  EXPECT_TRUE(GetDefaultPaths("OSX32").empty());
  EXPECT_EQ(Describe(GetDefaultPaths("iOSDevice")), kIOSDevice);  // other platforms keep theirs
}

TEST_F(DefaultSdkPaths, SetDefaultPathsWritesTheFileAndSaysSo) {
  SetDefaultPaths("iOSDevice", {{"/i", "*", true, ptIncludePath},
                                {"/l", "a", false, ptLibraryPath},
                                {"/f", "F", false, ptFramework},
                                {"/o", "*", false, ptOtherPath},
                                {"/x", "*", false, static_cast<TOTAPathItemType>(4)}});
  const std::string File = (AppData() / "iOSDevice.defaultprofilepaths").string();
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "Saved default paths to " + File);
  EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtInformation);
  EXPECT_EQ(Messages->Shown[0].Buttons, (TMsgDlgButtons{TMsgDlgBtn::mbOK}));
  THestrelClientProfile Raw;
  ASSERT_TRUE(Raw.ReadProfileSettings(File)) << Raw.GetLastError();
  EXPECT_EQ(Raw.GetProfileName(), "Not-applicable for default profile paths");
  EXPECT_EQ(Raw.GetHost(), "Not-applicable for default profile paths");
  EXPECT_EQ(Raw.GetSysRoot(false), "Not-applicable for default profile paths");
  EXPECT_EQ(Raw.GetPlatform(), "iOSDevice");
  EXPECT_EQ(Raw.GetPort(), 0);
  EXPECT_EQ(Raw.GetCredential(), (TRACredential{"", false, false}));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Include), (TRAPathItems{{"/i", "*", true}}));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Library), (TRAPathItems{{"/l", "a", false}}));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Framework), (TRAPathItems{{"/f", "F", false}}));
  EXPECT_EQ(Raw.GetIncludePath(TIncludePathKind::Other), (TRAPathItems{{"/o", "*", false}}));
}

TEST_F(DefaultSdkPaths, DamagedDefaultPathFileFallsBackToTheBuiltInListSilently) {
  WriteText(AppData() / "OSX32.defaultprofilepaths", "HestrelProfile 1\nName = \"x\n");
  EXPECT_EQ(Describe(GetDefaultPaths("OSX32")), kOSX32);
  EXPECT_TRUE(Messages->Shown.empty());
}

TEST_F(DefaultSdkPaths, FailedWriteShowsNoMessageAndRaises) {
  hestrel::SetAtomicWriteHookForTesting([](const std::string&, const std::string&) { return std::string("full"); });
  EXPECT_THROW(SetDefaultPaths("OSX32", BuiltInDefaultPaths("OSX32")), EProfileFileError);
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_FALSE(fs::exists(AppData() / "OSX32.defaultprofilepaths"));
}

TEST_F(DefaultSdkPaths, FileNameIsAppDataPlatformAndExtension) {
  EXPECT_EQ(GetDefaultPathsFileName("OSX32"), AppData().string() + "/OSX32.defaultprofilepaths");
  EXPECT_EQ(GetDefaultPathsFileName("../OSX32"), "");
  EXPECT_EQ(GetDefaultPathsFileName(""), "");
  EXPECT_THROW(SetDefaultPaths("a/b", {}), EProfileFileError);
  EXPECT_TRUE(Messages->Shown.empty());
}

}  // namespace

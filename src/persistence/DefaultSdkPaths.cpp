// Default SDK path sets: GetDefaultPaths, SetDefaultPaths, the built-in lists of "OSX32",
// "iOSDevice" and "iOSSimulator" (133 entries, order exact) and the default-path file name.
// GetPlatformDisplayName and ReplacePathPart live in core/PathFunctions.cpp.
#include "persistence/DefaultSdkPaths.h"

#include <initializer_list>
#include <vector>

#include "core/RemoteProfileManager.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "persistence/ProfileFiles.h"

namespace {

const char kDefaultPathsExtension[] = ".defaultprofilepaths";

/// Appends one item per mask (or per path) of one type; the include-subdirectories flag
/// is false in all 133 entries.
void AddMasks(std::vector<TOTARemoteProfilePathItem>& List, TOTAPathItemType Type, const char* Path,
              std::initializer_list<const char*> Masks) {
  for (const char* Mask : Masks) List.push_back({Path, Mask, false, Type});
}
void AddPaths(std::vector<TOTARemoteProfilePathItem>& List, TOTAPathItemType Type, const char* Mask,
              std::initializer_list<const char*> Paths) {
  for (const char* Path : Paths) List.push_back({Path, Mask, false, Type});
}

std::vector<TOTARemoteProfilePathItem> OSX32Defaults() {
  std::vector<TOTARemoteProfilePathItem> L;
  AddPaths(L, ptIncludePath, "*", {"/usr/include", "/usr/include/os", "/usr/include/xpc"});
  AddPaths(L, ptOtherPath, "*",
           {"/usr/include/architecture", "/usr/include/architecture/i386", "/usr/include/bsm", "/usr/include/sys",
            "/usr/include/device", "/usr/include/dispatch", "/usr/include/hfs", "/usr/include/i386",
            "/usr/include/libkern", "/usr/include/libkern/machine", "/usr/include/mach/i386", "/usr/include/mach",
            "/usr/include/mach/machine", "/usr/include/machine", "/usr/include/net", "/usr/include/netinet",
            "/usr/include/netinet6", "/usr/include/uuid"});
  AddMasks(L, ptLibraryPath, "/usr/lib",
           {"libiconv.dylib", "libobjc.A.dylib", "libpcre.dylib", "libSystem.dylib", "libSystem.B.dylib",
            "libSystem.2.dylib", "libz.dylib"});
  AddMasks(L, ptLibraryPath, "/usr/lib/system", {"libcache.dylib",          "libcommonCrypto.dylib",
                                                 "libcompiler_rt.dylib",    "libcopyfile.dylib",
                                                 "libdispatch.dylib",       "libdnsinfo.dylib",
                                                 "libdyld.dylib",           "libkeymgr.dylib",
                                                 "liblaunch.dylib",         "libmacho.dylib",
                                                 "libmathCommon.A.dylib",   "libnotify.dylib",
                                                 "libquarantine.dylib",     "libremovefile.dylib",
                                                 "libsystem_blocks.dylib",  "libsystem_c.dylib",
                                                 "libsystem_dnssd.dylib",   "libsystem_info.dylib",
                                                 "libsystem_kernel.dylib",  "libsystem_m.dylib",
                                                 "libsystem_network.dylib", "libsystem_notify.dylib",
                                                 "libsystem_sandbox.dylib", "libunc.dylib",
                                                 "libunwind.dylib",         "libxpc.dylib"});
  AddMasks(L, ptFramework, "/System/Library/Frameworks",
           {"AppKit", "ApplicationServices", "Carbon", "CFNetwork", "CoreFoundation", "CoreServices", "DiskArbitration",
            "Foundation", "IOKit", "IOSurface", "Security"});
  AddMasks(L, ptFramework, "/System/Library/Frameworks/CoreServices.framework/Frameworks", {"CFNetwork"});
  return L;
}

std::vector<TOTARemoteProfilePathItem> IOSDeviceDefaults() {
  std::vector<TOTARemoteProfilePathItem> L;
  AddPaths(L, ptIncludePath, "*", {"/usr/include"});
  AddPaths(L, ptOtherPath, "*",
           {"/usr/include/architecture", "/usr/include/architecture/arm", "/usr/include/bsm", "/usr/include/sys",
            "/usr/include/device", "/usr/include/dispatch", "/usr/include/libkern/arm", "/usr/include/mach/arm",
            "/usr/include/mach", "/usr/include/mach/machine", "/usr/include/machine", "/usr/include/net",
            "/usr/include/netinet", "/usr/include/netinet6", "/usr/include/uuid"});
  AddMasks(L, ptLibraryPath, "/usr/lib",
           {"libiconv.dylib", "libobjc.A.dylib", "libpcre.dylib", "libstdc++.dylib", "libSystem.dylib",
            "libSystem.B.dylib", "libSystem.2.dylib", "libz.dylib"});
  AddMasks(L, ptLibraryPath, "/usr/lib/system",
           {"libcache.dylib",
            "libcommonCrypto.dylib",
            "libcompiler_rt.dylib",
            "libcopyfile.dylib",
            "libdispatch.dylib",
            "libdnsinfo.dylib",
            "libdyld.dylib",
            "libkeymgr.dylib",
            "liblaunch.dylib",
            "libmacho.dylib",
            "libmathCommon.A.dylib",
            "libnotify.dylib",
            "libquarantine.dylib",
            "libremovefile.dylib",
            "libsystem_blocks.dylib",
            "libsystem_c.dylib",
            "libsystem_dnssd.dylib",
            "libsystem_info.dylib",
            "libsystem_kernel.dylib",
            "libsystem_network.dylib",
            "libsystem_notify.dylib",
            "libsystem_sandbox.dylib",
            "libunc.dylib",
            "libunwind.dylib",
            "libxpc.dylib"});
  AddMasks(L, ptLibraryPath, "/usr/lib", {"libc++abi.dylib", "libobjc.dylib"});
  // Entry 52 stands here, after the two "/usr/lib" entries and apart from the other
  // "/usr/lib/system" ones: the list's order is kept exactly.
  AddMasks(L, ptLibraryPath, "/usr/lib/system", {"libsystem_m.dylib"});
  AddMasks(L, ptFramework, "/System/Library/Frameworks",
           {"UIKit", "CoreFoundation", "Foundation", "QuartzCore", "GLKit", "CoreText", "CoreGraphics"});
  AddMasks(L, ptFramework, "/System/Library/PrivateFrameworks", {"UIFoundation"});
  AddMasks(L, ptFramework, "/System/Library/Frameworks",
           {"OpenGLES", "AVFoundation", "CoreLocation", "CoreMedia", "CoreVideo", "MediaPlayer"});
  return L;
}

}  // namespace

TOTARemoteProfilePathArray BuiltInDefaultPaths(const std::string& PlatformName) {
  // Exact, case-sensitive comparison.
  if (PlatformName == "OSX32") return TOTARemoteProfilePathArray(OSX32Defaults());
  if (PlatformName == "iOSDevice") return TOTARemoteProfilePathArray(IOSDeviceDefaults());
  if (PlatformName == "iOSSimulator") return TOTARemoteProfilePathArray({{"/usr/include", "*", false, ptIncludePath}});
  return {};
}

std::string GetDefaultPathsFileName(const std::string& PlatformName) {
  // A platform identifier becomes a file name only when it is one (docs/DECISIONS.md).
  const std::string Dir = AppDataDirectory();
  if (Dir.empty() || !IsValidProfileFileName(PlatformName)) return {};
  return Dir + PlatformName + kDefaultPathsExtension;
}

TOTARemoteProfilePathArray GetDefaultPaths(const std::string& PlatformName) {
  const std::string FileName = GetDefaultPathsFileName(PlatformName);
  std::string ProfileName, Platform, HostName, LocalRoot;
  std::int32_t Port = 0;
  TOTARemoteProfileCredential Credential;
  TOTARemoteProfilePathArray Paths;
  // A readable file answers its path list, which is always empty: a profile file never gives
  // path items back, and a saved default-path file means "no defaults" from then on.
  if (!FileName.empty() && RemoteProfileMgr()->LoadProfileFile(FileName, ProfileName, Platform, HostName, Port,
                                                               Credential, LocalRoot, Paths, true))
    return Paths;
  return BuiltInDefaultPaths(PlatformName);
}

void SetDefaultPaths(const std::string& PlatformName, const TOTARemoteProfilePathArray& Paths) {
  const std::string FileName = GetDefaultPathsFileName(PlatformName);
  if (FileName.empty())
    throw EProfileFileError("Cannot save the default paths of '" + PlatformName +
                            "': it is not a valid file name, or there is no application-data directory");
  const TPathItemLists Lists = SortPathItemsByType(Paths);
  const TRACredential Empty{"", false, false};  // the host's empty (zeroed) credential record
  RemoteProfileMgr()->SaveProfileFile(FileName, sNotApplicableForDefaultPaths, PlatformName,
                                      sNotApplicableForDefaultPaths, 0, Empty, sNotApplicableForDefaultPaths,
                                      Lists.IncludePaths, Lists.LibraryPaths, Lists.OtherPaths, Lists.FrameworkPaths);
  if (const auto& Messages = HostServices().Messages)
    Messages->MessageDlg(Format(sSavedDefaultPaths, {FileName}), TMsgDlgType::mtInformation, {TMsgDlgBtn::mbOK});
}

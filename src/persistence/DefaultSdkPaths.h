// Default SDK path sets (free functions of the manager's unit). Platform display names and
// ReplacePathPart are declared in core/PathFunctions.h, included here.
#pragma once

#include <string>

#include "core/PathFunctions.h"  // GetPlatformDisplayName, ReplacePathPart (defined in core)
#include "host/RemoteProfileTypes.h"

/// The platform's default path items: the default-path file when it can be read (then
/// always empty, since a profile file gives no path items back), else the built-in list of
/// "OSX32", "iOSDevice" or "iOSSimulator", else nothing.
TOTARemoteProfilePathArray GetDefaultPaths(const std::string& PlatformName);
/// Saves Paths as the platform's default-path file and says so in a message box.
void SetDefaultPaths(const std::string& PlatformName, const TOTARemoteProfilePathArray& Paths);
/// The built-in list of a platform (empty for platforms without one).
TOTARemoteProfilePathArray BuiltInDefaultPaths(const std::string& PlatformName);
/// The default-path file of a platform: application-data directory, P, ".defaultprofilepaths".
std::string GetDefaultPathsFileName(const std::string& PlatformName);

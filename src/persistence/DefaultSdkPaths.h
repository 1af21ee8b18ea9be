// Part 2.3: Default SDK path sets, platform display names and ReplacePathPart
// (free functions of the manager's unit).
#pragma once

#include <string>

#include "host/RemoteProfileTypes.h"

/// The platform's default path items: the default-path file when it can be read (then
/// always empty, Part 2.3 step 1), else the built-in list of "OSX32", "iOSDevice" or
/// "iOSSimulator", else nothing.
TOTARemoteProfilePathArray GetDefaultPaths(const std::string& PlatformName);
/// Saves Paths as the platform's default-path file and says so in a message box.
void SetDefaultPaths(const std::string& PlatformName, const TOTARemoteProfilePathArray& Paths);
/// The built-in list of a platform (empty for platforms without one).
TOTARemoteProfilePathArray BuiltInDefaultPaths(const std::string& PlatformName);
/// The default-path file of a platform: application-data directory, P, ".defaultprofilepaths".
std::string GetDefaultPathsFileName(const std::string& PlatformName);

/// The host's display name of a platform identifier, or "" (unknown, empty, no host).
std::string GetPlatformDisplayName(const std::string& PlatformName);

/// Replaces every backslash-separated component of Path that names the same file as
/// OldPart (ignoring case) by NewPart; Path unchanged when nothing matched.
std::string ReplacePathPart(const std::string& Path, const std::string& OldPart, const std::string& NewPart);

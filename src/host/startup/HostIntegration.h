// Host integration: what the plug-in registers with its host at start-up and takes down at
// shut-down, as calls into the installed host's registry and environment. Each unit has a
// start-up and a shut-down section, guarded by a counter; the package runs the sections
// in unit order at start-up and in the reverse order at shut-down.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/EnvFileWriter.h"

/// The add-in page class of the environment options that the manager's unit registers.
inline constexpr const char kAddInOptionsClass[] = "TRemoteProfileAddInEnvironmentOptions";

/// The default profile-file directory declared as ZEPHPROFILESDIR: the host's base
/// documents directory with a trailing delimiter, then "Profiles".
std::string DefaultProfilesDir();

/// Start-up of the profile manager's unit: registers the add-in options, declares
/// ZEPHPROFILESDIR, registers the build-environment routine (SaveEnvFileDefaults) and
/// creates the one TRemoteProfileMonitor. A second call only counts.
void RemoteProfileManagerStartup();
/// Shut-down: unregisters the add-in options and the routine, frees the monitor and clears
/// FSelectedProfile, once as many shut-downs as start-ups have run.
void RemoteProfileManagerShutdown();
/// Whether the monitor is alive (start-up ran and shut-down did not).
bool RemoteProfileMonitorActive();

/// The build-environment routine registered with the host: for every platform the host
/// reports, in its order, selects the group "'$(Platform)'=='%s'" and writes
/// "DefaultProfile" = the store's "Default_%s" of section "RemoteProfiles".
void SaveEnvFileDefaults(IOTAEnvFileWriter& Writer);

/// One unit's start-up and shut-down sections.
struct TUnitSections {
  void (*Startup)();
  void (*Shutdown)();
};
/// The package's units in unit order: the profile manager's, the new-profile wizard's, the two
/// selection dialogs' and the options page's.
const std::vector<TUnitSections>& PackageUnits();
/// Every unit's start-up section in unit order.
void PackageStartup();
/// Every unit's shut-down section in reverse unit order.
void PackageShutdown();

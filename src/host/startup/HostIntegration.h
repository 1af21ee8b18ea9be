// Part 7.1: Host integration — what the profile manager's unit registers at start-up and
// takes down at shut-down, as calls into the installed host. Page, wizard and command
// registrations belong to the user-interface units and are not made here.
#pragma once

#include <memory>
#include <string>

#include "host/EnvFileWriter.h"

/// The default profile-file directory declared as ZEPHPROFILESDIR: the host's base
/// documents directory with a trailing delimiter, then "Profiles" (Part 7.1 step 3.2).
std::string DefaultProfilesDir();

/// Start-up of the unit RemoteProfileManager (Part 7.1 step 3): declares ZEPHPROFILESDIR
/// and creates the one TRemoteProfileMonitor. Guarded by a counter: a second call has no
/// further effect.
void RemoteProfileManagerStartup();
/// Shut-down (Part 7.1): frees the monitor and clears FSelectedProfile; guarded likewise.
void RemoteProfileManagerShutdown();
/// Whether the monitor is alive (start-up ran and shut-down did not).
bool RemoteProfileMonitorActive();

/// The environment-file save routine registered with the host (Part 7.1): for every platform
/// the host reports, in its order, selects the group "'$(Platform)'=='%s'" and writes
/// "DefaultProfile" = the store's "Default_%s" of section "RemoteProfiles".
void SaveEnvFileDefaults(IOTAEnvFileWriter& Writer);

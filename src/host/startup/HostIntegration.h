// Host integration: what the profile manager registers with its host at start-up and
// takes down at shut-down, as calls into the installed host. Page, wizard and command
// registrations belong to the user-interface units and are not made here.
#pragma once

#include <memory>
#include <string>

#include "host/EnvFileWriter.h"

/// The default profile-file directory declared as ZEPHPROFILESDIR: the host's base
/// documents directory with a trailing delimiter, then "Profiles".
std::string DefaultProfilesDir();

/// Start-up of the profile manager: declares ZEPHPROFILESDIR and creates the one
/// TRemoteProfileMonitor. Guarded by a counter: a second call has no further effect.
void RemoteProfileManagerStartup();
/// Shut-down: frees the monitor and clears FSelectedProfile; guarded likewise.
void RemoteProfileManagerShutdown();
/// Whether the monitor is alive (start-up ran and shut-down did not).
bool RemoteProfileMonitorActive();

/// The environment-file save routine registered with the host: for every platform the
/// host reports, in its order, selects the group "'$(Platform)'=='%s'" and writes
/// "DefaultProfile" = the store's "Default_%s" of section "RemoteProfiles".
void SaveEnvFileDefaults(IOTAEnvFileWriter& Writer);

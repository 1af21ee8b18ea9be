// zephprof: puts the reference Linux host in place for one run of the program.
#pragma once

#include <memory>
#include <string>

#include "host/MessageBox.h"
#include "host/ProgressDisplay.h"
#include "hosts/linux/LinuxHost.h"

/// Installs the reference host with the settings file SettingsFile and the application
/// data directory DataDir (each empty: the XDG default), the given message box and
/// progress display; a command that changes the store first takes the writer lock
/// (LockForWriting). Its SettingsLoadError is set when the file could not be read or locked
/// (the store then refuses to be written); its WriterLock is held until it is dropped.
TLinuxHost InstallHost(const std::string& SettingsFile, const std::string& DataDir, IOTAMessageServicesPtr Messages,
                       IProgressDisplayPtr Progress, bool LockForWriting);

/// Columns of the terminal on standard error (80 when unknown).
int TerminalWidth();

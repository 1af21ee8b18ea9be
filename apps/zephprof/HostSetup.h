// zephprof: puts the reference Linux host in place for one run of the program.
#pragma once

#include <memory>
#include <string>

#include "host/MessageBox.h"
#include "host/ProgressDisplay.h"
#include "host/UserInterface.h"
#include "hosts/linux/LinuxHost.h"

/// Installs the reference host with the settings file SettingsFile and the application
/// data directory DataDir (each empty: the XDG default), the open project group GroupFile
/// (empty: none), the given message box, progress display, user interface and notices, and
/// starts the plug-in's units (the manager's, the wizard's, the selection dialogs', the options
/// page's); a command that changes the store first takes the writer lock (LockForWriting). Its
/// SettingsLoadError is set when the file or the group could not be read, or the lock not be
/// had (the store then refuses to be written); its WriterLock is held until it is dropped.
TLinuxHost InstallHost(const std::string& SettingsFile, const std::string& DataDir, const std::string& GroupFile,
                       IOTAMessageServicesPtr Messages, IProgressDisplayPtr Progress, IOTAUserInterfaceServicesPtr Ui,
                       TNoticeFunc Notice, bool LockForWriting);

/// Columns of the terminal on standard error (80 when unknown).
int TerminalWidth();

// zephprof: puts the reference Linux host in place for one run of the program.
#pragma once

#include <memory>
#include <string>

#include "host/MessageBox.h"
#include "host/ProgressDisplay.h"
#include "host/UserInterface.h"
#include "hosts/linux/IniFile.h"
#include "hosts/linux/LinuxBuild.h"

/// Installs the reference host with the settings file SettingsFile and the application
/// data directory DataDir (each empty: the XDG default), the open project group GroupFile
/// (empty: none), the given message box, progress display, user interface and notices, and
/// starts the plug-in's units (the manager's, the wizard's, the selection dialogs', the options
/// page's). Answers the settings store; LoadError is set when the file or the group could not
/// be read (the store then refuses to be written).
TIniFilePtr InstallHost(const std::string& SettingsFile, const std::string& DataDir, const std::string& GroupFile,
                        IOTAMessageServicesPtr Messages, IProgressDisplayPtr Progress, IOTAUserInterfaceServicesPtr Ui,
                        TNoticeFunc Notice, std::string& LoadError);

/// Columns of the terminal on standard error (80 when unknown).
int TerminalWidth();

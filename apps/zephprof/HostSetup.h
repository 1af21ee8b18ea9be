// zephprof: puts the reference Linux host in place for one run of the program.
#pragma once

#include <memory>
#include <string>

#include "host/MessageBox.h"
#include "host/ProgressDisplay.h"
#include "host/UserInterface.h"
#include "hosts/linux/IniFile.h"

/// Installs the reference host with the settings file SettingsFile and the application
/// data directory DataDir (each empty: the XDG default), the given message box, progress
/// display and user interface, and starts the units the commands use (the manager's, the
/// options page's, the new-profile wizard's). Answers the settings store; LoadError is set
/// when the file could not be read (the store then refuses to be written).
TIniFilePtr InstallHost(const std::string& SettingsFile, const std::string& DataDir, IOTAMessageServicesPtr Messages,
                        IProgressDisplayPtr Progress, IOTAUserInterfaceServicesPtr Ui, std::string& LoadError);

/// Columns of the terminal on standard error (80 when unknown).
int TerminalWidth();

// zephprof: puts the reference Linux host in place for one run of the program.
#pragma once

#include <memory>
#include <string>

#include "host/MessageBox.h"
#include "host/ProgressDisplay.h"
#include "hosts/linux/IniFile.h"

/// Installs the reference host with the settings file SettingsFile and the application
/// data directory DataDir (each empty: the XDG default), the given message box and
/// progress display. Answers the settings store; LoadError is set when the file could not
/// be read (the store then refuses to be written).
TIniFilePtr InstallHost(const std::string& SettingsFile, const std::string& DataDir,
                        IOTAMessageServicesPtr Messages, IProgressDisplayPtr Progress, std::string& LoadError);

/// Columns of the terminal on standard error (80 when unknown).
int TerminalWidth();

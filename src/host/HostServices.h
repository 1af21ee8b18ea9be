// How the system reaches its host: one process-wide set of host interfaces, installed
// by the host at start (the reference Linux host, or a test's doubles). Any member may be
// nullptr; each caller says what happens without it (e.g. no platform services: no display
// name). The system never includes a concrete host.
#pragma once

#include <memory>

#include "host/AgentClient.h"
#include "host/BuildServices.h"
#include "host/CustomIniFile.h"
#include "host/EnvFileWriter.h"
#include "host/Environment.h"
#include "host/HostRegistry.h"
#include "host/MessageBox.h"
#include "host/Platforms.h"
#include "host/ProgressDisplay.h"
#include "host/Projects.h"
#include "host/UserInterface.h"

struct THostServices {
  TCustomIniFilePtr AppIniFile;         ///< the settings store RemoteProfileMgr is created with
  IOTAPlatformServicesPtr Platforms;    ///< platform identifiers and display names
  IOTAMessageServicesPtr Messages;      ///< message boxes
  IOTAProjectServicesPtr Projects;      ///< the open project group
  IOTAEnvFileWriterPtr EnvFileWriter;   ///< the build-environment file
  IOTAEnvironmentPtr Environment;       ///< directories, variables, root macros
  TRAClientFactoryPtr AgentLibrary;     ///< the remote-agent client library
  IProgressDisplayPtr ProgressDisplay;  ///< drawn by UpdateProgressForm
  IOTABuildServicesPtr Build;           ///< the build engine and the global build lock
  IOTAHostRegistryPtr Registry;         ///< start-up registrations, the options dialog
  IOTAUserInterfaceServicesPtr Ui;      ///< input queries, file dialogs, the forms of the pages
};

/// The installed host (empty members before SetHostServices).
const THostServices& HostServices();
/// Installs a host; answers the previous one so a test can put it back.
THostServices SetHostServices(THostServices Services);

/// The installed host's message box; without one nobody can answer, and the answer is the
/// safe one, the last button offered (No, OK).
TMsgDlgBtn ShowMessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons);

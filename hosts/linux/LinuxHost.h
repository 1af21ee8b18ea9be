// The reference Linux host put together, everything the system needs from its host: the
// settings file, XDG directories, platforms, build-environment file, build engine and build
// lock, the registry and the Hestrel agent library, installed as the process's THostServices.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "host/HostServices.h"
#include "hosts/linux/IniFile.h"
#include "hosts/linux/LinuxBuild.h"
#include "hosts/linux/LinuxEnvFileWriter.h"
#include "hosts/linux/LinuxEnvironment.h"
#include "hosts/linux/LinuxHostRegistry.h"
#include "hosts/linux/StoreLock.h"

/// What a front end chooses; an empty or null member takes the default named.
struct TLinuxHostOptions {
  std::string SettingsFileName;         ///< LinuxHost::DefaultSettingsFileName()
  std::string AppDataDir;               ///< LinuxHost::DefaultAppDataDir()
  std::string BaseDocumentsDir;         ///< LinuxHost::DefaultBaseDocumentsDir()
  std::string EnvFileName;              ///< "environment.proj" in the application-data directory
  IOTAMessageServicesPtr Messages;      ///< the front end's message boxes (none: nullptr)
  IProgressDisplayPtr ProgressDisplay;  ///< the front end's progress display
  /// The open project group (a group file listing project files); "" for none. The project
  /// monitor rewrites its projects when a profile is renamed or removed. One that cannot be
  /// read sets SettingsLoadError.
  std::string GroupFile;
  TRAClientFactoryPtr AgentLibrary;     ///< hestrel::THestrelClientFactory(app-data dir)
  TNoticeFunc Notice;                   ///< what needs no answer (waiting for the build lock)
  IOTAUserInterfaceServicesPtr Ui;      ///< the front end's user interface (none: nullptr)
  /// A front end that will change the store: take the writer lock before loading
  /// (StoreLock.h), waiting at most LockTimeout, and remove stale temporaries of earlier writers.
  bool LockForWriting = false;
  std::chrono::milliseconds LockTimeout{5000};
};

/// The installed host and the concrete pieces a front end needs beyond the interfaces.
struct TLinuxHost {
  THostServices Services;  ///< exactly what was installed
  TIniFilePtr Settings;    ///< Services.AppIniFile
  /// Why the settings file could not be loaded ("" when it loaded or did not exist). The
  /// store is then empty and refuses UpdateFile; a front end reports this and stops (as
  /// zephprof does). Going on would not be read-only: the refusal guards only the settings
  /// file, and a change would still write profile files and environment.proj.
  /// Also set when the writer lock could not be had, or when the settings file is blank while
  /// profile files are in the application-data directory (replacing it would drop them).
  std::string SettingsLoadError;
  /// Held, with LockForWriting, until the host is dropped: keep it until the commit is written.
  std::shared_ptr<TStoreLock> WriterLock;
  std::shared_ptr<TLinuxEnvironment> Environment;      ///< Services.Environment
  std::shared_ptr<TLinuxEnvFileWriter> EnvFileWriter;  ///< Services.EnvFileWriter
  std::shared_ptr<TLinuxBuildServices> Build;          ///< Services.Build: lock "build.lock" in app data
  std::shared_ptr<TLinuxHostRegistry> Registry;        ///< Services.Registry
};

/// Loads the settings file (after taking the writer lock, when asked), makes its directory
/// (mode 0700) when missing, builds the host services and installs them with SetHostServices.
/// The build engine's projects see the build-environment file's path as $(ZephEnvFile). The
/// manager is not created here; the
/// first RemoteProfileMgr() does that with Services.AppIniFile. Front ends call
/// Settings->UpdateFile() after an operation that writes (the manager never commits).
TLinuxHost InstallLinuxHost(const TLinuxHostOptions& Options = {});

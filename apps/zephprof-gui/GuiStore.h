// zephprof-gui: the settings store as the windows use it. The store is loaded under its writer
// lock (hosts/linux/StoreLock.h) and the lock is then let go, so zephprof and other writers go
// on while a window is open; a commit takes the lock again and goes ahead only when the
// settings file is still the one loaded. The selection dialogs, whose Add and Import write
// profile files at once, keep the lock from load to exit instead.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "client/ClientOptions.h"
#include "core/RemoteProfileManager.h"
#include "hosts/linux/LinuxHost.h"
#include "hosts/linux/ProfileSdkStore.h"
#include "hosts/qt/QtUserInterface.h"

struct TGuiOptions {
  std::string SettingsFile;  ///< empty: the XDG default
  std::string DataDir;       ///< empty: the XDG default
  std::string GroupFile;     ///< the open project group; empty: none
  bool HoldLock = false;     ///< keep the writer lock until the program ends
  std::chrono::milliseconds LockTimeout{5000};
  /// The Hestrel client's options; while it connects, the windows are drawn and timers run.
  hestrel::THestrelClientOptions Agent{};
};

class TGuiStore {
 public:
  /// Installs the reference host with Qt's message box, user interface and progress window,
  /// starts the plug-in's units and loads the store. False, with Error() naming the file (and
  /// line) or the lock, when it cannot be used; nothing is written then.
  bool Open(const TGuiOptions& Options, std::shared_ptr<QtHost::TQtUserInterface> Ui);
  const std::string& Error() const { return FError; }
  TRemoteProfileManagerPtr Live() const { return FLive; }
  const std::string& SettingsFileName() const { return FSettingsFile; }

  /// Runs Merge (which hands Copy to the live manager) and writes the settings file, under the
  /// writer lock and only while the settings file is as it was loaded; the profile files of
  /// names Copy adds are listed beside it until it is written (hosts/linux/StoreCommit.h).
  /// False, told in an error box, when the lock cannot be had, another program changed the
  /// file, Merge refused or the file could not be written.
  bool Commit(const TRemoteProfileManager& Copy, const std::function<bool()>& Merge);
  /// Writes the settings file as the live manager left it (the lock is held from load on).
  bool WriteSettingsFile();
  /// What the host runs for the system's EditOptions (as EditProfile calls it).
  void SetOptionsDialog(std::function<void(const std::string& PagePath)> Dialog) {
    FHost.Registry->SetOptionsDialog(std::move(Dialog));
  }

 private:
  std::optional<std::string> ReadSettingsFile() const;
  bool Refuse(const std::string& Text);

  TLinuxHost FHost;
  std::string FSettingsFile, FError;
  std::chrono::milliseconds FLockTimeout{5000};
  std::optional<std::string> FLoaded;  ///< the settings file as loaded (nullopt: there was none)
  TRemoteProfileManagerPtr FLive;
  TProfileSdkStorePtr FSdks;
};

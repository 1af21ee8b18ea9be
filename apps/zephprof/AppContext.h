// zephprof: what every command shares — the global options, the reference host put in
// place with the terminal message box and progress display, the live manager, the commit
// of changes, the output streams and the exit statuses.
#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

#include "core/RemoteProfileManager.h"
#include "hosts/linux/IniFile.h"
#include "hosts/linux/ProfileSdkStore.h"
#include "hosts/linux/StoreLock.h"
#include "hosts/linux/TerminalProgress.h"
#include "hosts/linux/TerminalUserInterface.h"
#include "ui/ProfileCommands.h"

/// Exit statuses: success, the operation failed, a usage error.
enum TExitStatus : int { ExitOk = 0, ExitFailed = 1, ExitUsage = 2 };

struct TGlobalOptions {
  std::string SettingsFile;  ///< empty: the XDG default
  std::string DataDir;       ///< empty: the XDG default
  std::string GroupFile;     ///< the open project group; empty: none
  bool Yes = false;
  bool No = false;
  bool Json = false;
};

class TAppContext {
 public:
  /// ProgressErr: the error stream as it is, for the progress display's own drawing.
  TAppContext(const TGlobalOptions& Options, std::istream& In, std::ostream& Out, std::ostream& Err,
              std::ostream& ProgressErr);
  ~TAppContext();

  /// Installs the reference host and loads the settings file; false (reported, naming the
  /// file and line) when the file is damaged or unreadable. Nothing is written then.
  /// Registers the host's SDK store on the live manager, so it follows every change. A
  /// command that changes the store (ForWriting) holds the writer lock from here on; false
  /// (reported) when another writer kept it for the lock's time.
  bool Open(bool ForWriting);

  TRemoteProfileManagerPtr Live() const { return FLive; }
  /// The reference host's SDK path items of each profile (what update-cache pulls).
  TProfileSdkStore& Sdks() { return *FSdks; }
  TProfileSdkStorePtr SdksPtr() const { return FSdks; }
  /// The live profile named Name (any case), or nullptr after "No profile named '%s'".
  IOTARemoteProfilePtr FindProfile(const std::string& Name);

  /// The options page's accept (NotifyRenames, Assign, WriteEnvOptions), then the file is written.
  /// The names it adds are listed in "<settings file>.adding" until then; when the file cannot
  /// be written their profile files are removed again.
  bool Commit(const TRemoteProfileManagerPtr& Copy, const TRenameMap& Renames);
  /// Runs Merge (which hands a working copy to the live manager) and writes the settings file;
  /// the profile files of Copy's names new to the store go again when that fails or the process
  /// is killed before it ends (their names are listed beside the settings file meanwhile).
  bool CommitMerging(const TRemoteProfileManager& Copy, const std::function<bool()>& Merge);
  /// The live manager's own change committed: SaveOptions, then the file is written.
  bool SaveLive();
  /// Writes the settings file as it stands (a change of the SDK store alone).
  bool WriteSettingsFile();

  /// The command's progress display (also the host's, for UpdateProgressForm).
  TTerminalProgress& Progress() { return *FProgress; }
  /// The host's user interface, where a command prepares the answers its arguments give.
  TTerminalUserInterface& Ui() { return *FUi; }

  const TGlobalOptions& Options() const { return FOptions; }
  bool Json() const { return FOptions.Json; }
  std::istream& In() { return FIn; }
  std::ostream& Out() { return FOut; }
  std::ostream& Err() { return FErr; }
  /// Writes "zephprof: " + Text to the error stream (the system's texts unchanged).
  void Error(const std::string& Text);
  /// Whether standard input is a terminal (prompts, questions).
  bool StdinIsTerminal() const;
  const std::string& SettingsFileName() const { return FSettingsFile; }
  std::string AppDataDir() const;

 private:
  TGlobalOptions FOptions;
  std::istream& FIn;
  std::ostream& FOut;
  std::ostream& FErr;
  std::ostream& FProgressErr;
  std::string FSettingsFile;
  TIniFilePtr FIni;
  std::shared_ptr<TStoreLock> FLock;
  std::shared_ptr<TTerminalProgress> FProgress;
  std::shared_ptr<TTerminalUserInterface> FUi;
  TRemoteProfileManagerPtr FLive;
  TProfileSdkStorePtr FSdks;
};

/// Reads a password for a profile: one line from standard input (--password-stdin), or
/// a prompt without echo on a terminal. Answers false when there is none to read.
bool ReadPasswordFromStdin(std::istream& In, std::string& Password);
bool PromptPassword(std::ostream& Err, std::string& Password);

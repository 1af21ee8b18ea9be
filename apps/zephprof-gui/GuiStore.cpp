// zephprof-gui: the settings store as the windows use it (see GuiStore.h).
#include "GuiStore.h"

#include <QCoreApplication>
#include <fstream>
#include <sstream>

#include "client/ClientFactory.h"
#include "core/Text.h"
#include "host/startup/HostIntegration.h"
#include "hosts/linux/LocalRoot.h"
#include "hosts/linux/StoreCommit.h"
#include "ui/ProfileCommands.h"
#include "ui/PullFilesProgressForm.h"

namespace {

const char kChangedMeanwhile[] =
    "The settings file '%s' was changed by another program after this window was opened. Nothing was saved: "
    "choose Cancel, open the window again and repeat your changes.";
const char kNothingSaved[] = "Nothing was saved; the settings file is as it was.";

}  // namespace

bool TGuiStore::Open(const TGuiOptions& Options, std::shared_ptr<QtHost::TQtUserInterface> Ui) {
  TLinuxHostOptions HostOptions;
  HostOptions.SettingsFileName = Options.SettingsFile;
  HostOptions.AppDataDir = Options.DataDir;
  HostOptions.Messages = std::make_shared<QtHost::TQtMessageBox>();
  HostOptions.ProgressDisplay = std::make_shared<TProgressFormDisplay>();
  HostOptions.Ui = std::move(Ui);
  HostOptions.LockForWriting = true;
  HostOptions.LockTimeout = FLockTimeout = Options.LockTimeout;
  HostOptions.GroupFile = Options.GroupFile;
  FHost = InstallLinuxHost(HostOptions);
  if (const auto Agent = std::dynamic_pointer_cast<hestrel::THestrelClientFactory>(FHost.Services.AgentLibrary)) {
    // While a connection is set up the windows are drawn and timers run; the user's clicks and
    // keys wait until it is done, so no second action starts in the middle of one.
    Agent->Options() = Options.Agent;
    Agent->Options().WhileWaiting = [] { QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents); };
  }
  FSettingsFile = FHost.Settings->GetFileName();
  FError = FHost.SettingsLoadError;
  if (!FError.empty()) return false;
  PackageStartup();
  FLive = RemoteProfileMgr();
  LinuxHost::RemoveUncommittedProfileFiles(FSettingsFile, *FLive);
  FSdks = TProfileSdkStore::Attach(FHost.Settings, *FLive);
  FLoaded = ReadSettingsFile();
  if (!Options.HoldLock) FHost.WriterLock.reset();
  return true;
}

std::optional<std::string> TGuiStore::ReadSettingsFile() const {
  std::ifstream File(FSettingsFile, std::ios::binary);
  if (!File) return std::nullopt;
  std::ostringstream Text;
  Text << File.rdbuf();
  return Text.str();
}

bool TGuiStore::Refuse(const std::string& Text) {
  ShowMessageDlg(Text, TMsgDlgType::mtError, {TMsgDlgBtn::mbOK});
  return false;
}

bool TGuiStore::Commit(const TRemoteProfileManager& Copy, const std::function<bool()>& Merge) {
  for (const auto& [Platform, Profiles] : Copy.GetProfiles())
    for (const IOTARemoteProfilePtr& Profile : Profiles)
      if (const std::string Refusal = LinuxHost::LocalRootRefusal(Profile->GetName(), Profile->GetSystemRoot());
          !Refusal.empty())
        return Refuse("The " + Refusal + ".\n\n" + kNothingSaved);
  std::shared_ptr<TStoreLock> Lock = FHost.WriterLock;
  if (!Lock) {
    std::string LockError;
    TWaitCursor Wait;
    Lock = TStoreLock::Acquire(FSettingsFile, FHost.Environment->fnAppDataDir(), FLockTimeout, LockError);
    if (!Lock) return Refuse(LockError + "\n\n" + kNothingSaved);
  }
  if (ReadSettingsFile() != FLoaded) return Refuse(Format(kChangedMeanwhile, {FSettingsFile}));
  LinuxHost::RemoveUncommittedProfileFiles(FSettingsFile, *FLive);
  return LinuxHost::CommitMerging(FSettingsFile, *FLive, Copy, [&] { return Merge() && WriteSettingsFile(); });
}

bool TGuiStore::WriteSettingsFile() {
  const std::string WriteError = FHost.Settings->UpdateFile().Error;
  if (!WriteError.empty()) return Refuse(WriteError + "\n\n" + kNothingSaved);
  FLoaded = ReadSettingsFile();
  return true;
}

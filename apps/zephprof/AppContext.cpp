// zephprof: the shared context of the commands (see AppContext.h).
#include "AppContext.h"

#include <termios.h>
#include <unistd.h>

#include <iostream>

#include "HostSetup.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "hosts/linux/StoreCommit.h"
#include "hosts/linux/TerminalMessageBox.h"

TAppContext::TAppContext(const TGlobalOptions& Options, std::istream& In, std::ostream& Out, std::ostream& Err,
                         std::ostream& ProgressErr)
    : FOptions(Options), FIn(In), FOut(Out), FErr(Err), FProgressErr(ProgressErr) {}

TAppContext::~TAppContext() = default;

bool TAppContext::StdinIsTerminal() const { return isatty(STDIN_FILENO) == 1; }

void TAppContext::Error(const std::string& Text) { FErr << "zephprof: " << Text << '\n' << std::flush; }

std::string TAppContext::AppDataDir() const {
  const IOTAEnvironmentPtr& Environment = HostServices().Environment;
  return Environment ? Environment->fnAppDataDir() : std::string();
}

bool TAppContext::Open(bool ForWriting) {
  const TAnswerMode Mode =
      FOptions.Yes ? TAnswerMode::AlwaysYes : (FOptions.No ? TAnswerMode::AlwaysNo : TAnswerMode::Ask);
  const bool Interactive = isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
  FProgress = std::make_shared<TTerminalProgress>(FProgressErr, isatty(STDERR_FILENO) == 1, TerminalWidth());
  auto Messages = std::make_shared<TTerminalMessageBox>(Mode, Interactive, FIn, FOut, FErr);
  Messages->SetBeforeShow([Progress = FProgress] { Progress->ClearLine(); });
  FUi = std::make_shared<TTerminalUserInterface>(Interactive, FIn, FErr);
  TLinuxHost Host = InstallHost(FOptions.SettingsFile, FOptions.DataDir, FOptions.GroupFile, Messages, FProgress, FUi,
                                [this](const std::string& Text) { Error(Text); }, ForWriting);
  FIni = Host.Settings;
  FLock = Host.WriterLock;
  const std::string& LoadError = Host.SettingsLoadError;
  FSettingsFile = FIni->GetFileName();
  if (!LoadError.empty()) {
    // A damaged, blank or locked settings file: reported and never overwritten (its store
    // refuses UpdateFile).
    Error(LoadError);
    Error("the settings file was not changed");
    return false;
  }
  FLive = RemoteProfileMgr();
  if (!FLive) return false;
  if (ForWriting) LinuxHost::RemoveUncommittedProfileFiles(FSettingsFile, *FLive);
  FSdks = TProfileSdkStore::Attach(FIni, *FLive);
  return true;
}

IOTARemoteProfilePtr TAppContext::FindProfile(const std::string& Name) {
  IOTARemoteProfilePtr Profile = FLive ? FLive->GetProfile(Name) : nullptr;
  if (!Profile) Error(Format("No profile named '%s'", {Name}));
  return Profile;
}

bool TAppContext::WriteSettingsFile() {
  const TIniFileSaveResult Saved = FIni->UpdateFile();
  if (Saved.Ok()) return true;
  Error(Saved.Error);
  Error("nothing was committed; the settings file is as it was");
  return false;
}

bool TAppContext::Commit(const TRemoteProfileManagerPtr& Copy, const TRenameMap& Renames) {
  return CommitMerging(*Copy, [&] {
    CommitWorkingCopy(*FLive, Copy, Renames);
    return true;
  });
}

bool TAppContext::CommitMerging(const TRemoteProfileManager& Copy, const std::function<bool()>& Merge) {
  return LinuxHost::CommitMerging(FSettingsFile, *FLive, Copy, [&] { return Merge() && WriteSettingsFile(); });
}

bool TAppContext::SaveLive() {
  FLive->SaveOptions(*FIni);
  return WriteSettingsFile();
}

bool ReadPasswordFromStdin(std::istream& In, std::string& Password) {
  if (!std::getline(In, Password)) {
    Password.clear();
    return false;
  }
  if (!Password.empty() && Password.back() == '\r') Password.pop_back();
  return true;
}

bool PromptPassword(std::ostream& Err, std::string& Password) {
  if (isatty(STDIN_FILENO) != 1) return false;
  termios Saved{};
  const bool HaveTerminal = tcgetattr(STDIN_FILENO, &Saved) == 0;
  if (HaveTerminal) {
    termios Silent = Saved;
    Silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &Silent);
  }
  Err << "Password: " << std::flush;
  const bool Read = static_cast<bool>(std::getline(std::cin, Password));
  if (HaveTerminal) tcsetattr(STDIN_FILENO, TCSANOW, &Saved);
  Err << '\n';
  if (!Read) Password.clear();
  return Read;
}

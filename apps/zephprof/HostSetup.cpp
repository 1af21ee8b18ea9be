// zephprof: the reference Linux host for one run (see HostSetup.h).
#include "HostSetup.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include "host/startup/HostIntegration.h"
#include "hosts/linux/LinuxHost.h"
#include "ui/RemoteProfileOptions.h"
#include "ui/RemoteProfileWizard.h"

TIniFilePtr InstallHost(const std::string& SettingsFile, const std::string& DataDir, IOTAMessageServicesPtr Messages,
                        IProgressDisplayPtr Progress, IOTAUserInterfaceServicesPtr Ui, std::string& LoadError) {
  TLinuxHostOptions Options;
  Options.SettingsFileName = SettingsFile;
  Options.AppDataDir = DataDir;
  Options.Messages = std::move(Messages);
  Options.ProgressDisplay = std::move(Progress);
  Options.Ui = std::move(Ui);
  const TLinuxHost Host = InstallLinuxHost(Options);
  LoadError = Host.SettingsLoadError;
  // The manager's unit starts (ZEPHPROFILESDIR, the project monitor).
  RemoteProfileManagerStartup();
  // The editing commands run on the options page and the new-profile wizard.
  RemoteProfileOptionsStartup();
  RemoteProfileWizardStartup();
  return Host.Settings;
}

int TerminalWidth() {
  winsize Size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &Size) == 0 && Size.ws_col > 0) return Size.ws_col;
  return 80;
}

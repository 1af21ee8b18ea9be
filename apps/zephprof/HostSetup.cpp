// zephprof: the reference Linux host for one run (see HostSetup.h).
#include "HostSetup.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include "host/startup/HostIntegration.h"
#include "hosts/linux/LinuxHost.h"

TIniFilePtr InstallHost(const std::string& SettingsFile, const std::string& DataDir,
                        IOTAMessageServicesPtr Messages, IProgressDisplayPtr Progress, std::string& LoadError) {
  TLinuxHostOptions Options;
  Options.SettingsFileName = SettingsFile;
  Options.AppDataDir = DataDir;
  Options.Messages = std::move(Messages);
  Options.ProgressDisplay = std::move(Progress);
  const TLinuxHost Host = InstallLinuxHost(Options);
  LoadError = Host.SettingsLoadError;
  // The manager's unit starts (ZEPHPROFILESDIR, the project monitor).
  RemoteProfileManagerStartup();
  return Host.Settings;
}

int TerminalWidth() {
  winsize Size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &Size) == 0 && Size.ws_col > 0) return Size.ws_col;
  return 80;
}

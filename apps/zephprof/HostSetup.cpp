// zephprof: the reference Linux host for one run (see HostSetup.h).
#include "HostSetup.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include "host/startup/HostIntegration.h"

TLinuxHost InstallHost(const std::string& SettingsFile, const std::string& DataDir, IOTAMessageServicesPtr Messages,
                       IProgressDisplayPtr Progress, bool LockForWriting) {
  TLinuxHostOptions Options;
  Options.SettingsFileName = SettingsFile;
  Options.AppDataDir = DataDir;
  Options.Messages = std::move(Messages);
  Options.ProgressDisplay = std::move(Progress);
  Options.LockForWriting = LockForWriting;
  TLinuxHost Host = InstallLinuxHost(Options);
  // The manager's unit starts (ZEPHPROFILESDIR, the project monitor).
  RemoteProfileManagerStartup();
  return Host;
}

int TerminalWidth() {
  winsize Size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &Size) == 0 && Size.ws_col > 0) return Size.ws_col;
  return 80;
}

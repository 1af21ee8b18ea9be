// zephprof: the reference Linux host for one run (see HostSetup.h).
#include "HostSetup.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include "host/startup/HostIntegration.h"

TLinuxHost InstallHost(const std::string& SettingsFile, const std::string& DataDir, const std::string& GroupFile,
                       IOTAMessageServicesPtr Messages, IProgressDisplayPtr Progress, IOTAUserInterfaceServicesPtr Ui,
                       TNoticeFunc Notice, bool LockForWriting) {
  TLinuxHostOptions Options;
  Options.SettingsFileName = SettingsFile;
  Options.AppDataDir = DataDir;
  Options.Messages = std::move(Messages);
  Options.ProgressDisplay = std::move(Progress);
  Options.Ui = std::move(Ui);
  Options.Notice = Notice;
  Options.LockForWriting = LockForWriting;
  Options.GroupFile = GroupFile;
  TLinuxHost Host = InstallLinuxHost(Options);
  // The plug-in's units start: add-in options, ZEPHPROFILESDIR, the build-environment routine
  // and the project monitor; the wizard and selector hooks; the options page.
  PackageStartup();
  return Host;
}

int TerminalWidth() {
  winsize Size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &Size) == 0 && Size.ws_col > 0) return Size.ws_col;
  return 80;
}

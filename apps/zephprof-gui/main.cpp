// zephprof-gui: the desktop front end of the reference host. Opens "Environment Options" with
// the "Connection Profile Manager" page, or with --select PLATFORM the profile selector, whose
// chosen profile's name it prints. Needs a display; zephprof serves the terminal.
#include <CLI/CLI.hpp>
#include <QApplication>
#include <QMessageBox>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <iostream>

#include "GuiStore.h"
#include "Views.h"
#include "host/HostServices.h"

namespace {

enum TExitStatus : int { ExitOk = 0, ExitFailed = 1, ExitUsage = 2 };

bool HaveDisplay() {
  for (const char* Name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
    if (const char* Value = std::getenv(Name); Value && *Value) return true;
  return false;
}

int Main(int argc, char** argv) {
  CLI::App App{
      "zephprof-gui: connection profiles in a window - the \"Connection Profile Manager\" page of "
      "\"Environment Options\", or the profile selector."};
  App.set_version_flag("--version", std::string("zephprof-gui ") + ZEPHPROF_VERSION);
  TGuiOptions Options;
  std::string Platform;
  App.add_option("--settings", Options.SettingsFile, "settings file (default $XDG_CONFIG_HOME/zephprof/settings.ini)")
      ->type_name("FILE");
  App.add_option("--data-dir", Options.DataDir,
                 "application-data directory: profile files, default paths (default $XDG_DATA_HOME/zephprof)")
      ->type_name("DIR");
  App.add_option("--group", Options.GroupFile,
                 "the open project group: renaming or removing a profile rewrites its projects")
      ->type_name("FILE");
  CLI::Option* Select =
      App.add_option(
             "--select", Platform,
             "show the profile selector for PLATFORM (\"\" for every platform) and print the chosen profile's name")
          ->type_name("PLATFORM");
  CLI::Option* Choose =
      App.add_option("--choose", Platform,
                     "show the drop-down profile chooser for PLATFORM and print the chosen profile's name")
          ->type_name("PLATFORM");
  Select->excludes(Choose);
  App.footer(
      "OK writes the settings file; Cancel changes nothing. Another program's change made while the window\n"
      "was open is never written over: OK then says so and saves nothing. Exit status: 0 OK (with\n"
      "--select or --choose: a profile was chosen), 1 cancelled or failed, 2 usage. Needs a display.");
  try {
    App.parse(argc, argv);
  } catch (const CLI::ParseError& Error) {
    return App.exit(Error) == 0 ? ExitOk : ExitUsage;  // --help and --version are no errors
  }
  if (!HaveDisplay()) {
    std::cerr << "zephprof-gui: no display (DISPLAY and WAYLAND_DISPLAY are not set); on a terminal use zephprof\n";
    return ExitFailed;
  }

  QApplication Application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("zephprof-gui"));
  const auto Ui = std::make_shared<QtHost::TQtUserInterface>();
  RegisterViews(*Ui);
  // The installed host keeps the user interface beyond the application object: its windows go first.
  const std::unique_ptr<QtHost::TQtUserInterface, void (*)(QtHost::TQtUserInterface*)> FreeWindows(
      Ui.get(), [](QtHost::TQtUserInterface* Windows) { Windows->FreeWindows(); });
  const bool Selecting = Select->count() > 0 || Choose->count() > 0;
  Options.HoldLock = Selecting;
  TGuiStore Store;
  if (!Store.Open(Options, Ui)) {
    std::cerr << "zephprof-gui: " << Store.Error() << '\n';
    QMessageBox::critical(nullptr, QStringLiteral("zephprof-gui"),
                          QtHost::ToQString(Store.Error() + "\n\nNothing was changed."));
    return ExitFailed;
  }
  if (Selecting) {
    const std::vector<std::string> Known = HostServices().Platforms->GetAllPlatforms();
    if ((!Platform.empty() || Choose->count() > 0) && std::find(Known.begin(), Known.end(), Platform) == Known.end()) {
      std::string Names;
      for (const std::string& Name : Known) Names += (Names.empty() ? "" : ", ") + Name;
      std::cerr << "zephprof-gui: unknown platform '" << Platform << "' (one of " << Names << ")\n";
      return ExitUsage;
    }
    return Choose->count() > 0 ? RunProfileChooser(Store, Platform, std::cout)
                               : RunProfileSelector(Store, Platform, std::cout);
  }
  InstallOptionsDialog(Store);
  TOptionsWindow Window(Store);
  return Window.exec() == QDialog::Accepted ? ExitOk : ExitFailed;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Main(argc, argv);
  } catch (const std::exception& Error) {
    std::cerr << "zephprof-gui: " << Error.what() << '\n';
    return ExitFailed;
  }
}

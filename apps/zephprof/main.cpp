// zephprof: the command-line front end of the reference host. Parses the command line
// (CLI11), puts the reference Linux host in place and runs one command; exit status 0 on
// success, 1 when the operation failed, 2 for a usage error.
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <iostream>
#include <optional>

#include "Commands.h"
#include "hosts/linux/TerminalProgress.h"
#include "hosts/linux/TerminalText.h"

namespace {

/// Whether the parsed command changes the store: such a command takes the writer lock
/// before it loads the store and holds it until its change is written.
bool ChangesTheStore(CLI::App& App) {
  for (const char* Name : {"add", "copy", "rename", "remove", "set", "default", "import"})
    if (App.got_subcommand(Name)) return true;
  if (CLI::App* Paths = App.get_subcommand("paths"); Paths->parsed())
    return !Paths->get_subcommands().empty() && !Paths->got_subcommand("list");
  CLI::App* DefaultPaths = App.get_subcommand("default-paths");
  return DefaultPaths->parsed() && DefaultPaths->get_option("--save-from")->count() > 0;
}

int Main(int argc, char** argv) {
  // On a terminal, names and host names are shown with their control characters escaped,
  // never sent to it as commands; the progress bar alone draws on the raw stream.
  std::ostream RawErr(std::cerr.rdbuf());
  std::optional<LinuxHost::TTerminalSafeStream> SafeOut, SafeErr;
  if (isatty(STDOUT_FILENO) == 1) SafeOut.emplace(std::cout);
  if (isatty(STDERR_FILENO) == 1) SafeErr.emplace(std::cerr);

  CLI::App App{"zephprof: connection profiles (remote machines running Hestrel) - add, change, test, "
               "pull the remote SDK, copy files, query and run remotely."};
  App.set_version_flag("--version", std::string("zephprof ") + ZEPHPROF_VERSION);
  App.require_subcommand(1);
  App.fallthrough();  // global options may also follow the command
  TGlobalOptions Options;
  App.add_option("--settings", Options.SettingsFile, "settings file (default $XDG_CONFIG_HOME/zephprof/settings.ini)");
  App.add_option("--data-dir", Options.DataDir,
                 "application-data directory: profile files, default paths (default $XDG_DATA_HOME/zephprof)");
  auto* Yes = App.add_flag("--yes,-y", Options.Yes, "answer every question Yes");
  auto* No = App.add_flag("--no,-n", Options.No, "answer every question No (or Cancel)");
  Yes->excludes(No);
  App.add_flag("--json", Options.Json, "machine-readable output where it makes sense");
  App.add_option("--group", Options.GroupFile,
                 "the open project group: renaming or removing a profile rewrites its projects");
  App.footer("Questions are asked on a terminal; without one (and without --yes/--no) the safe answer\n"
             "(No, Cancel) is taken and said on standard error. Exit status: 0 success, 1 failed, 2 usage.");

  TAction Action;
  AddProfileCommands(App, Action);
  AddPathCommands(App, Action);
  AddFileCommands(App, Action);
  AddRemoteCommands(App, Action);
  AddRunCommand(App, Action);
  AddDeployCommands(App, Action);
  try {
    if (argc > 0) App.name(argv[0]);  // as parse(argc, argv) names it in the usage line
    std::vector<std::string> Args = WithProgramArgumentsApart(App, std::vector<std::string>(argv + 1, argv + argc));
    std::reverse(Args.begin(), Args.end());  // the order CLI11 reads them in
    App.parse(Args);
  } catch (const CLI::CallForHelp& Help) {
    return App.exit(Help);
  } catch (const CLI::CallForAllHelp& Help) {
    return App.exit(Help);
  } catch (const CLI::CallForVersion& Version) {
    return App.exit(Version);
  } catch (const CLI::ParseError& Error) {
    App.exit(Error);
    return ExitUsage;
  }
  if (!Action) return ExitUsage;

  TTerminalProgress::InstallInterruptHandler();
  TAppContext Context(Options, std::cin, std::cout, std::cerr, RawErr);
  if (!Context.Open(ChangesTheStore(App))) return ExitFailed;
  return Action(Context);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Main(argc, argv);
  } catch (const std::exception& Error) {
    std::cerr << "zephprof: " << Error.what() << '\n';
    return ExitFailed;
  }
}

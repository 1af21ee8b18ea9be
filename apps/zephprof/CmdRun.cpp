// zephprof: run — start a program on the remote machine of a profile.
#include <memory>
#include <ostream>

#include "Commands.h"
#include "core/Text.h"

namespace {

struct TRunArgs {
  std::string Name, Program, Cwd, Output, Input;
  std::vector<std::string> Arguments;
  std::vector<std::string> Environment;
};

/// One POSIX shell word: kept as it is when it is plain, else in single quotes.
std::string ShellWord(const std::string& Word) {
  if (!Word.empty() && Word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                              "_-./=:,+@%") == std::string::npos)
    return Word;
  std::string Quoted = "'";
  for (char C : Word) Quoted += C == '\'' ? std::string("'\\''") : std::string(1, C);
  return Quoted + "'";
}

int Run(TAppContext& C, const TRunArgs& A) {
  const IOTARemoteProfilePtr P = C.FindProfile(A.Name);
  if (!P) return ExitFailed;
  for (const std::string& Variable : A.Environment) {
    if (Variable.find('=') == std::string::npos || Variable.front() == '=') {
      C.Error(Format("'%s' is not NAME=VALUE", {Variable}));
      return ExitUsage;
    }
  }
  std::string Parameters;
  for (const std::string& Argument : A.Arguments) Parameters += (Parameters.empty() ? "" : " ") + ShellWord(Argument);
  std::string ErrorText;
  std::int32_t ProcessNumber = 0;
  // Program, parameters, working directory, output file, launcher (none), input file: the
  // manager hands them on in the agent's order.
  const bool Started = C.Live()->Run(P, A.Program, Parameters, A.Cwd, A.Output, "",
                                     A.Environment.empty() ? nullptr : &A.Environment, A.Input, ErrorText,
                                     ProcessNumber, nullptr);
  if (!Started) {
    C.Error(TerminalText(ErrorText));
    return ExitFailed;
  }
  C.Out() << "Started " << A.Program << " on '" << P->GetName() << "' (process " << ProcessNumber << ")\n";
  return ExitOk;
}

}  // namespace

std::vector<std::string> WithProgramArgumentsApart(CLI::App& App, std::vector<std::string> Args) {
  CLI::App* Run = App.get_subcommand("run");
  CLI::App* Scope = &App;
  int Positionals = 0;
  for (std::size_t I = 0; I < Args.size(); ++I) {
    const std::string& Arg = Args[I];
    if (Arg == "--") return Args;  // the rest is positional already
    if (Arg.size() > 1 && Arg[0] == '-') {
      // An option of run or of the program: its value, unless given after '=', is the next argument.
      const std::string Name = Arg.substr(0, Arg.find('='));
      const CLI::Option* Option = Scope->get_option_no_throw(Name);
      if (!Option) Option = App.get_option_no_throw(Name);
      if (Option && Name.size() == Arg.size() && Option->get_items_expected_min() > 0) ++I;
      continue;
    }
    if (Scope == &App) {
      if (!Run->check_name(Arg)) return Args;  // another command
      Scope = Run;
    } else if (++Positionals == 2) {  // NAME, then PROGRAM: what follows is the program's
      Args.insert(Args.begin() + static_cast<std::ptrdiff_t>(I) + 1, "--");
      return Args;
    }
  }
  return Args;
}

void AddRunCommand(CLI::App& App, TAction& Action) {
  auto A = std::make_shared<TRunArgs>();
  auto* RunCmd = App.add_subcommand("run", "Start a program on the remote machine");
  RunCmd->add_option("NAME", A->Name, "profile")->required();
  RunCmd->add_option("PROGRAM", A->Program, "program on the remote machine")->required();
  RunCmd->add_option("ARG", A->Arguments, "its arguments: everything after PROGRAM, options included");
  RunCmd->add_option("--cwd", A->Cwd, "remote working directory");
  RunCmd->add_option("--env", A->Environment, "NAME=VALUE for the program's environment (repeatable)")
      ->allow_extra_args(false);
  RunCmd->add_option("--output", A->Output, "remote file that receives the program's output");
  RunCmd->add_option("--input", A->Input, "remote file the program reads as its input");
  RunCmd->footer(
      "The options of run come before PROGRAM: every argument after it is the program's, as with\n"
      "ssh host command.\nExample:\n  zephprof run \"Build Mac\" --cwd /tmp --env LC_ALL=C /bin/ls -l /usr/include");
  RunCmd->callback([&Action, A] { Action = [A](TAppContext& C) { return Run(C, *A); }; });
}

// Hestrel client: remote launch (see Launch.h).
#include "client/Launch.h"

#include <cstdlib>

#include "client/ClientErrors.h"
#include "client/RemoteShell.h"
#include "client/ShellQuote.h"
#include "core/Text.h"

namespace hestrel {

namespace {

// Exit statuses of the checks in the scripts below (outside the range programs use).
constexpr int ExitWorkingDir = 90, ExitNotFound = 91, ExitNotExecutable = 92, ExitOutput = 93, ExitInput = 94,
              ExitNoGdbServer = 95, ExitGdbServerDied = 96;

std::string CheckProgram(const std::string& Word) {
  return "p=" + Word + "\ncase \"$p\" in */*) [ -e \"$p\" ] || exit 91; { [ -f \"$p\" ] && [ -x \"$p\" ]; } || exit 92;;" +
         " *) command -v \"$p\" >/dev/null 2>&1 || exit 91;; esac\n";
}

std::string Redirections(const std::string& Input, const std::string& Output) {
  return " <" + (Input.empty() ? std::string("/dev/null") : ShellExpandableWord(Input)) + " >" +
         (Output.empty() ? std::string("/dev/null") : ShellExpandableWord(Output)) + " 2>&1";
}

}  // namespace

std::string RunScript(const TRunRequest& R) {
  std::string Script;
  if (!R.WorkingDir.empty()) Script += "cd " + ShellExpandableWord(R.WorkingDir) + " 2>/dev/null || exit 90\n";
  Script += CheckProgram(ShellExpandableWord(R.Launcher.empty() ? R.Program : R.Launcher));
  if (!R.InputFile.empty()) Script += "[ -r " + ShellExpandableWord(R.InputFile) + " ] || exit 94\n";
  if (!R.OutputFile.empty()) Script += "( : >>" + ShellExpandableWord(R.OutputFile) + " ) 2>/dev/null || exit 93\n";
  Script += "nohup";
  bool HasEnvironment = false;
  for (const auto& Entry : R.Environment) {
    const auto Equal = Entry.find('=');
    if (Equal == std::string::npos || Equal == 0) continue;
    if (!HasEnvironment) Script += " env";
    HasEnvironment = true;
    Script += " " + ShellQuote(Entry);
  }
  if (!R.Launcher.empty()) Script += " \"$p\" " + ShellExpandableWord(R.Program);
  else Script += " \"$p\"";
  for (const auto& Word : SplitCommandLine(R.Parameters)) Script += " " + ShellQuote(Word);
  Script += Redirections(R.InputFile, R.OutputFile) + " &\necho $!\n";
  return Script;
}

bool RunDetached(ssh_session Ssh, const TRunRequest& Request, std::int32_t& ProcessNumber, std::string& Error) {
  const TCommandResult Result = RunCommand(Ssh, RunScript(Request));
  const std::string Checked = Request.Launcher.empty() ? Request.Program : Request.Launcher;
  if (!Result.Started) Error = Result.Error;
  else if (Result.ExitStatus == ExitWorkingDir) Error = Format(sErrWorkingDirMissing, {Request.WorkingDir});
  else if (Result.ExitStatus == ExitNotFound) Error = Format(sErrProgramNotFound, {Checked});
  else if (Result.ExitStatus == ExitNotExecutable) Error = Format(sErrProgramNotExecutable, {Checked});
  else if (Result.ExitStatus == ExitOutput) Error = Format(sErrOutputFile, {Request.OutputFile});
  else if (Result.ExitStatus == ExitInput) Error = Format(sErrInputFile, {Request.InputFile});
  else if (Result.ExitStatus != 0 || Result.Out.empty())
    Error = Format(sErrCommandFailed, {static_cast<std::int64_t>(Result.ExitStatus), Result.Err});
  else {
    ProcessNumber = static_cast<std::int32_t>(std::strtol(Result.Out.c_str(), nullptr, 10));
    Error.clear();
    return ProcessNumber > 0;
  }
  return false;
}

bool StartGdbServer(ssh_session Ssh, const std::string& Program, bool Attach, std::int32_t N1, std::int32_t& Port,
                    std::int32_t& ProcessNumber, std::string& Error) {
  const std::string Listen = ShellQuote(":" + std::to_string(Port < 0 ? 0 : Port));
  const std::string What =
      Attach ? "--attach " + Listen + " " + ShellQuote(std::to_string(N1)) : Listen + " " + ShellExpandableWord(Program);
  const std::string Script =
      "command -v gdbserver >/dev/null 2>&1 || exit 95\n"
      "log=$(mktemp) || exit 96\n"
      "nohup gdbserver " + What + " </dev/null >\"$log\" 2>&1 &\n"
      "pid=$!; i=0\n"
      "while [ $i -lt 50 ] && ! grep -q 'Listening on port' \"$log\" && kill -0 $pid 2>/dev/null; do"
      " sleep 0.1; i=$((i+1)); done\n"
      "echo \"$pid\"; cat \"$log\"; rm -f \"$log\"\n"
      "kill -0 $pid 2>/dev/null || exit 96\n";
  const TCommandResult Result = RunCommand(Ssh, Script);
  if (!Result.Started) Error = Result.Error;
  else if (Result.ExitStatus == ExitNoGdbServer) Error = sErrGdbServerMissing;
  else if (Result.ExitStatus != 0) {
    const auto Eol = Result.Out.find('\n');  // the first line is the process id
    Error = Format(sErrGdbServerFailed, {(Eol == std::string::npos ? "" : Result.Out.substr(Eol + 1)) + Result.Err});
  }
  else {
    ProcessNumber = static_cast<std::int32_t>(std::strtol(Result.Out.c_str(), nullptr, 10));
    const auto At = Result.Out.find("Listening on port ");
    if (At != std::string::npos) Port = static_cast<std::int32_t>(std::strtol(Result.Out.c_str() + At + 18, nullptr, 10));
    Error.clear();
    return true;
  }
  return false;
}

}  // namespace hestrel

// Hestrel client: remote queries (see Queries.h).
#include "client/Queries.h"

#include "client/ClientErrors.h"
#include "client/LocalPaths.h"
#include "client/RemoteListing.h"
#include "client/RemoteShell.h"
#include "client/ShellQuote.h"
#include "core/Text.h"

namespace hestrel {

namespace {

/// Runs Command; true when it exited 0. Otherwise Error names the failure.
bool Succeeds(ssh_session Ssh, const std::string& Command, TCommandResult& Result, std::string& Error) {
  Result = RunCommand(Ssh, Command);
  if (!Result.Started) {
    Error = Result.Error;
    return false;
  }
  if (Result.ExitStatus == 0) return true;
  Error = Format(sErrCommandFailed, {static_cast<std::int64_t>(Result.ExitStatus), Result.Err});
  return false;
}

std::string TrimLineEnd(std::string Text) {
  while (!Text.empty() && (Text.back() == '\n' || Text.back() == '\r')) Text.pop_back();
  return Text;
}

}  // namespace

bool QueryExpandPath(ssh_session Ssh, const std::string& Path, std::string& Expanded, std::string& Error) {
  TCommandResult Result;
  if (!Succeeds(Ssh, "printf '%s' " + ShellExpandableWord(Path), Result, Error)) return false;
  Expanded = Result.Out;
  return true;
}

bool QueryExpandAllPaths(ssh_session Ssh, const std::string& Paths, std::string& Expanded, std::string& Error) {
  std::vector<std::string> Elements{""};
  std::string Separators;
  for (char C : Paths) {
    if (C == ':' || C == ';') {
      Separators += C;
      Elements.emplace_back();
    } else {
      Elements.back() += C;
    }
  }
  std::string Command = "printf '%s\\0'";
  for (const auto& Element : Elements) Command += " " + ShellExpandableWord(Element);
  TCommandResult Result;
  if (!Succeeds(Ssh, Command, Result, Error)) return false;
  std::string Joined;
  std::size_t Pos = 0;
  for (std::size_t I = 0; I < Elements.size(); ++I) {
    const std::size_t End = Result.Out.find('\0', Pos);
    if (End == std::string::npos) {
      Error = "unexpected answer of the remote shell";
      return false;
    }
    Joined += Result.Out.substr(Pos, End - Pos);
    if (I < Separators.size()) Joined += Separators[I];
    Pos = End + 1;
  }
  Expanded = Joined;
  return true;
}

bool QueryDirExists(ssh_session Ssh, const std::string& Path, std::string& Error) {
  const TCommandResult Result = RunCommand(Ssh, "test -d " + ShellExpandableWord(Path));
  Error = Result.Started ? "" : Result.Error;
  return Result.Started && Result.ExitStatus == 0;
}

namespace {

void ListLevel(sftp_session Sftp, const std::string& Dir, const std::string& Prefix, int DepthLeft,
               bool DirectoriesOnly, TRARemoteFileList& List) {
  std::vector<TRemoteEntry> Entries;
  std::string Ignored;
  if (!ListRemoteDirectory(Sftp, Dir, Entries, Ignored)) return;  // unreadable subdirectory: left out
  for (const auto& E : Entries) {
    if (!IsSafeEntryName(E.Name)) continue;
    const std::string Remote = JoinRemote(Dir, E.Name);
    TRARemoteFile File{Prefix + E.Name, E.Type == TRemoteType::Directory, E.Type == TRemoteType::SymLink, E.Size,
                       FromUnixSeconds(E.Modified)};
    if (File.IsSymLink) {
      TRemoteEntry Target;
      File.IsDirectory = StatRemote(Sftp, Remote, true, Target, Ignored) && Target.Type == TRemoteType::Directory;
    }
    if (!DirectoriesOnly || File.IsDirectory) List.push_back(File);
    if (E.Type == TRemoteType::Directory && DepthLeft > 0)
      ListLevel(Sftp, Remote, Prefix + E.Name + "/", DepthLeft - 1, DirectoriesOnly, List);
  }
}

}  // namespace

std::unique_ptr<TRARemoteFileList> QueryListFiles(sftp_session Sftp, const std::string& Path, int Depth,
                                                  bool DirectoriesOnly, std::string& Error) {
  std::string Dir = Path;
  if (Dir == "~" || Dir.empty()) Dir = ".";
  else if (Dir.compare(0, 2, "~/") == 0) Dir = Dir.size() == 2 ? "." : Dir.substr(2);
  TRemoteEntry Root;
  if (!StatRemote(Sftp, Dir, true, Root, Error)) return nullptr;
  if (Root.Type != TRemoteType::Directory) {
    Error = Format(sErrRemoteIo, {Path, std::string("not a directory")});
    return nullptr;
  }
  auto List = std::make_unique<TRARemoteFileList>();
  ListLevel(Sftp, Dir, "", std::max(0, Depth), DirectoriesOnly, *List);
  return List;
}

bool QueryCreateSymLink(ssh_session Ssh, const std::string& Target, const std::string& LinkName, std::string& Error) {
  TCommandResult Result;
  return Succeeds(Ssh, "ln -s -- " + ShellQuote(Target) + " " + ShellQuote(LinkName), Result, Error);
}

std::string QueryLauncher(ssh_session Ssh, const std::string& Name, std::string& Error) {
  Error.clear();
  if (Name.empty() || Name.front() == '-') return "";
  const TCommandResult Result = RunCommand(Ssh, "command -v " + ShellQuote(Name));
  if (!Result.Started) Error = Result.Error;
  const std::string Found = TrimLineEnd(Result.Out);
  // Only a program file counts: "command -v" also answers builtins and aliases by name.
  return Result.Started && Result.ExitStatus == 0 && !Found.empty() && Found.front() == '/' ? Found : "";
}

std::unique_ptr<std::map<std::string, std::string>> QueryEnvironment(ssh_session Ssh, std::string& Error) {
  TCommandResult Result;
  if (!Succeeds(Ssh, "env -0 2>/dev/null || printenv -0 2>/dev/null || env", Result, Error)) return nullptr;
  const char Separator = Result.Out.find('\0') != std::string::npos ? '\0' : '\n';
  auto Table = std::make_unique<std::map<std::string, std::string>>();
  std::size_t Pos = 0;
  while (Pos < Result.Out.size()) {
    std::size_t End = Result.Out.find(Separator, Pos);
    if (End == std::string::npos) End = Result.Out.size();
    const std::string Line = Result.Out.substr(Pos, End - Pos);
    const std::size_t Equal = Line.find('=');
    if (Equal != std::string::npos && Equal > 0) (*Table)[Line.substr(0, Equal)] = Line.substr(Equal + 1);
    Pos = End + 1;
  }
  return Table;
}

}  // namespace hestrel

// zephprof: the remote operations of a profile — test, update-cache, put and rm, the queries
// env, expand, exists, ls and symlink, and run — each one call of the manager.
#include <memory>
#include <ostream>

#include "Commands.h"
#include "Json.h"
#include "client/ClientFactory.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "hosts/linux/ProfilePlatformSDK.h"

namespace {

/// Why a remote query got nothing: its shared client was not connected afterwards
/// (then the agent's text, or the connection-failed text), or the agent's last error.
struct TQueryState {
  bool Connected = false;
  std::string LastError;
};

/// Runs Query between BeginOperation and EndOperation, so that the profile's
/// shared client is still there to be asked afterwards whether it connected.
template <class TQuery>
TQueryState Bracketed(TAppContext& C, const IOTARemoteProfilePtr& P, TQuery&& Query) {
  TRemoteProfileManager& Live = *C.Live();
  Live.BeginOperation(P);
  TQueryState State;
  try {
    Query();
    if (const TRAClientPtr Client = Live.ClientFromProfile(P, false)) {
      State.Connected = Client->IsConnected();
      State.LastError = Client->GetLastError();
      Live.ReleaseProfileClient(P);
    }
  } catch (...) {
    Live.EndOperation(P);
    throw;
  }
  Live.EndOperation(P);
  if (!State.Connected && State.LastError.empty())
    State.LastError = ConnectionFailedText(P->GetHostName(), P->GetPortNumber());
  return State;
}

int ReportFailure(TAppContext& C, const std::string& Text) {
  C.Error(TerminalText(Text));
  return ExitFailed;
}

int Test(TAppContext& C, const std::string& Name) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  std::string ErrorMessage;
  if (!C.Live()->TestConnection(P, ErrorMessage, nullptr)) return ReportFailure(C, ErrorMessage);
  C.Out() << Format(sConnectionSucceeded, {P->GetHostName(), std::int64_t{P->GetPortNumber()}}) << '\n';
  return ExitOk;
}

/// The end of a long operation: errors listed, and the status they make.
int Finished(TAppContext& C, bool Succeeded) {
  C.Progress().Finish();
  if (C.Progress().Cancelled()) {
    C.Error("cancelled");
    return ExitFailed;
  }
  return Succeeded && C.Progress().Errors().empty() ? ExitOk : ExitFailed;
}

/// "PATH,MASK,TYPE[,subdirs]" (the path may hold commas itself).
bool ParseItem(const std::string& Text, TOTARemoteProfilePathItem& Item) {
  std::vector<std::string> Fields;
  std::size_t Start = 0;
  for (std::size_t Comma; (Comma = Text.find(',', Start)) != std::string::npos; Start = Comma + 1)
    Fields.push_back(Text.substr(Start, Comma - Start));
  Fields.push_back(Text.substr(Start));
  Item = {};
  if (Fields.size() >= 4 && SameText(Fields.back(), "subdirs")) {
    Item.IncludeSubDir = true;
    Fields.pop_back();
  }
  if (Fields.size() < 3 || !ParsePathType(Fields.back(), Item.Type)) return false;
  Fields.pop_back();
  Item.Mask = Fields.back();
  Fields.pop_back();
  for (std::size_t I = 0; I < Fields.size(); ++I) Item.Path += (I ? "," : "") + Fields[I];
  return true;
}

int UpdateCache(TAppContext& C, const std::string& Name, const std::vector<std::string>& ItemTexts, bool Checksum) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  if (auto* Hestrel = dynamic_cast<hestrel::THestrelClientFactory*>(TRAClientFactory::GetInstance()))
    Hestrel->Options().CompareContent = Checksum;
  // A cache pull takes the items of the host's platform SDK: on the reference host the profile's
  // entry in the SDK store (hosts/linux/ProfileSdkStore.h), or the --item ones of this run.
  IOTAPlatformSDKPtr SDK = std::make_shared<TProfilePlatformSDK>(P, C.SdksPtr());
  if (!ItemTexts.empty()) {
    std::vector<TOTARemoteProfilePathItem> Items;
    for (const std::string& Text : ItemTexts) {
      TOTARemoteProfilePathItem Item;
      if (!ParseItem(Text, Item)) {
        C.Error(Format("'%s' is not PATH,MASK,TYPE[,subdirs]", {Text}));
        return ExitUsage;
      }
      if (!CheckPathItem(Item)) return ExitUsage;
      Items.push_back(Item);
    }
    SDK = std::make_shared<TProfilePlatformSDK>(P, TOTARemoteProfilePathArray(std::move(Items)));
  }
  C.Live()->SetPlatformSDK(SDK);
  const bool Succeeded = C.Live()->GetProfileFilesWithProgress(P);
  const int Status = Finished(C, Succeeded);
  if (Status == ExitOk) C.Out() << "Local file cache of '" << P->GetName() << "': " << P->GetSystemRoot() << '\n';
  return Status;
}

int Put(TAppContext& C, const std::string& Name, const std::vector<std::string>& Files, const std::string& To) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  // Every item goes to the batch: one that fails (a missing local file too) is reported by
  // its own error notice and the rest still go (Conventions: only the user's cancel ends a batch).
  std::vector<TOTAPutFileItem> Items;
  for (const std::string& File : Files) Items.push_back({File, To, "", 0});
  return Finished(C, C.Live()->PutFilesWithProgress(P, Items));
}

int Rm(TAppContext& C, const std::string& Name, const std::vector<std::string>& Files) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  return Finished(C, C.Live()->RemoveRemoteFilesWithProgress(P, Files));
}

int Env(TAppContext& C, const std::string& Name) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  const std::vector<std::string> Variables = C.Live()->GetEnvironmentVariables(P, nullptr);
  // A failed connection comes back as the one variable "_" holding the error.
  if (Variables.size() == 1 && Variables[0].rfind("_=", 0) == 0)
    return ReportFailure(C, Variables[0].substr(2));
  TJsonObject Object;
  for (const std::string& Variable : Variables) {
    if (!C.Json()) {
      C.Out() << Variable << '\n';
      continue;
    }
    const std::size_t Equals = Variable.find('=');
    Object.Add(Variable.substr(0, Equals), Equals == std::string::npos ? "" : Variable.substr(Equals + 1));
  }
  if (C.Json()) C.Out() << Object.Text() << '\n';
  return ExitOk;
}

int Expand(TAppContext& C, const std::string& Name, const std::string& Path) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  std::string Expanded;
  const TQueryState State = Bracketed(C, P, [&] { Expanded = C.Live()->ExpandPath(P, Path, nullptr); });
  if (!State.Connected) return ReportFailure(C, State.LastError);
  C.Out() << Expanded << '\n';
  return ExitOk;
}

int Exists(TAppContext& C, const std::string& Name, const std::string& Path) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  bool Found = false;
  const TQueryState State = Bracketed(C, P, [&] { Found = C.Live()->RemoteDirectoryExists(P, Path, nullptr); });
  if (!State.Connected) return ReportFailure(C, State.LastError);
  C.Out() << (C.Json() ? (Found ? "true" : "false") : (Found ? "yes" : "no")) << '\n';
  return Found ? ExitOk : ExitFailed;
}

int Ls(TAppContext& C, const std::string& Name, const std::string& Path, int Depth, bool DirsOnly) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  std::unique_ptr<TRARemoteFileList> Listing;
  const TQueryState State =
      Bracketed(C, P, [&] { Listing = C.Live()->BrowseRemoteFileSystem(P, Path, Depth, DirsOnly, nullptr); });
  if (!State.Connected) return ReportFailure(C, State.LastError);
  if (!Listing) return ReportFailure(C, State.LastError.empty() ? "the remote directory could not be listed"
                                                                : State.LastError);
  std::vector<std::string> Items;
  for (const TRARemoteFile& File : *Listing) {
    if (C.Json()) {
      Items.push_back(TJsonObject()
                          .Add("name", File.Name)
                          .Add("directory", File.IsDirectory)
                          .Add("symlink", File.IsSymLink)
                          .Add("size", static_cast<std::int64_t>(File.Size))
                          .Text());
    } else {
      // As ls -F marks them: "/" a directory, "@" a symbolic link; files with their size.
      C.Out() << File.Name << (File.IsDirectory ? "/" : "") << (File.IsSymLink ? "@" : "")
              << (File.IsDirectory ? "" : "  " + std::to_string(File.Size)) << '\n';
    }
  }
  if (C.Json()) C.Out() << JsonArray(Items) << '\n';
  return ExitOk;
}

int Symlink(TAppContext& C, const std::string& Name, const std::string& Target, const std::string& Link) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  bool Made = false;
  const TQueryState State = Bracketed(C, P, [&] { Made = C.Live()->CreateSymLink(P, Target, Link, nullptr); });
  if (!State.Connected) return ReportFailure(C, State.LastError);
  if (!Made) return ReportFailure(C, State.LastError.empty() ? "the link could not be made" : State.LastError);
  C.Out() << Link << " -> " << Target << '\n';
  return ExitOk;
}

void AddTransferCommands(CLI::App& App, TAction& Action) {
  auto Name = std::make_shared<std::string>();
  auto* TestCmd = App.add_subcommand("test", "Test the connection to a profile's Hestrel server");
  TestCmd->add_option("NAME", *Name, "profile")->required();
  TestCmd->footer("Example:\n  zephprof test \"Build Mac\"");
  TestCmd->callback([&Action, Name] { Action = [Name](TAppContext& C) { return Test(C, *Name); }; });

  auto* CacheCmd = App.add_subcommand("update-cache", "Pull the remote SDK's path items into the local root");
  auto Items = std::make_shared<std::vector<std::string>>();
  auto Checksum = std::make_shared<bool>(false);
  CacheCmd->add_option("NAME", *Name, "profile")->required();
  CacheCmd->add_flag("--checksum", *Checksum,
                     "compare the content (SHA-256; needs sha256sum remotely) of files whose size and time match");
  CacheCmd->add_option("--item", *Items,
                       "PATH,MASK,TYPE[,subdirs]: pull this item instead of the stored ones (repeatable; not stored)")
      ->allow_extra_args(false);
  CacheCmd->footer(
      "Pulls the profile's path items ('zephprof paths NAME'; or the --item ones) below its local\n"
      "root: a remote file PATH/F lands at LOCALROOT/PATH/F. Shows progress;\n"
      "Ctrl-C cancels. A file whose size and modification time match the local copy is taken as\n"
      "unchanged and skipped without a question; times are compared to the fraction of a second\n"
      "when the server lists them so (GNU find) and the local copy has one, else in whole seconds.\n"
      "--checksum compares such files by content instead. An existing local file that differs is\n"
      "replaced only when the question is answered Yes (--yes answers every one).\n"
      "Example:\n  zephprof --yes update-cache \"Build Mac\"\n"
      "  zephprof update-cache \"Build Mac\" --item '/usr/include,*.h,include,subdirs'");
  CacheCmd->callback([&Action, Name, Items, Checksum] {
    Action = [Name, Items, Checksum](TAppContext& C) { return UpdateCache(C, *Name, *Items, *Checksum); };
  });

  auto Files = std::make_shared<std::vector<std::string>>();
  auto To = std::make_shared<std::string>();
  auto* PutCmd = App.add_subcommand("put", "Copy local files to a directory of the remote machine");
  PutCmd->add_option("NAME", *Name, "profile")->required();
  PutCmd->add_option("FILE", *Files, "local files")->required();
  PutCmd->add_option("--to", *To, "remote directory")->required();
  PutCmd->footer(
      "Shows progress; Ctrl-C cancels. Existing remote files are replaced. A file that cannot be\n"
      "sent is listed at the end (exit status 1) and the others are still sent. A relative --to\n"
      "starts in ~/.hestrel/agent/work on the remote machine (~/DIR: in the home) and may not climb\n"
      "out of the home.\n"
      "Example:\n  zephprof put \"Build Mac\" app.bin README --to /tmp/deploy");
  PutCmd->callback([&Action, Name, Files, To] {
    Action = [Name, Files, To](TAppContext& C) { return Put(C, *Name, *Files, *To); };
  });

  auto* RmCmd = App.add_subcommand("rm", "Remove files on the remote machine");
  RmCmd->add_option("NAME", *Name, "profile")->required();
  RmCmd->add_option("REMOTE_FILE", *Files, "remote files")->required();
  RmCmd->footer("Example:\n  zephprof rm \"Build Mac\" /tmp/deploy/app.bin");
  RmCmd->callback([&Action, Name, Files] { Action = [Name, Files](TAppContext& C) { return Rm(C, *Name, *Files); }; });

}

void AddQueryCommands(CLI::App& App, TAction& Action) {
  auto Name = std::make_shared<std::string>();
  auto* EnvCmd = App.add_subcommand("env", "The remote machine's environment variables");
  EnvCmd->add_option("NAME", *Name, "profile")->required();
  EnvCmd->footer("Example:\n  zephprof env \"Build Mac\" --json");
  EnvCmd->callback([&Action, Name] { Action = [Name](TAppContext& C) { return Env(C, *Name); }; });

  auto Path = std::make_shared<std::string>();
  auto* ExpandCmd = App.add_subcommand("expand", "Expand a path on the remote machine (~, $VARIABLES)");
  ExpandCmd->add_option("NAME", *Name, "profile")->required();
  ExpandCmd->add_option("PATH", *Path, "remote path")->required();
  ExpandCmd->footer("Example:\n  zephprof expand \"Build Mac\" '~/sdk'");
  ExpandCmd->callback([&Action, Name, Path] { Action = [Name, Path](TAppContext& C) { return Expand(C, *Name, *Path); }; });

  auto* ExistsCmd = App.add_subcommand("exists", "Whether a remote directory exists (exit 0 yes, 1 no)");
  ExistsCmd->add_option("NAME", *Name, "profile")->required();
  ExistsCmd->add_option("PATH", *Path, "remote directory")->required();
  ExistsCmd->footer("Example:\n  zephprof exists \"Build Mac\" /usr/include && echo present");
  ExistsCmd->callback([&Action, Name, Path] { Action = [Name, Path](TAppContext& C) { return Exists(C, *Name, *Path); }; });

  auto Depth = std::make_shared<int>(0);
  auto DirsOnly = std::make_shared<bool>(false);
  auto* LsCmd = App.add_subcommand("ls", "List a remote directory");
  LsCmd->add_option("NAME", *Name, "profile")->required();
  LsCmd->add_option("PATH", *Path, "remote directory")->required();
  LsCmd->add_option("--depth", *Depth, "levels of subdirectories to list too (default 0)");
  LsCmd->add_flag("--dirs-only", *DirsOnly, "list directories only");
  LsCmd->footer("Example:\n  zephprof ls \"Build Mac\" /usr/include --depth 1");
  LsCmd->callback([&Action, Name, Path, Depth, DirsOnly] {
    Action = [Name, Path, Depth, DirsOnly](TAppContext& C) { return Ls(C, *Name, *Path, *Depth, *DirsOnly); };
  });

  auto Link = std::make_shared<std::pair<std::string, std::string>>();
  auto* LinkCmd = App.add_subcommand("symlink", "Create a symbolic link LINK -> TARGET on the remote machine");
  LinkCmd->add_option("NAME", *Name, "profile")->required();
  LinkCmd->add_option("TARGET", Link->first, "what the link points to")->required();
  LinkCmd->add_option("LINK", Link->second, "the link to create")->required();
  LinkCmd->footer("Example:\n  zephprof symlink \"Build Mac\" /opt/sdk-2 /opt/sdk");
  LinkCmd->callback([&Action, Name, Link] {
    Action = [Name, Link](TAppContext& C) { return Symlink(C, *Name, Link->first, Link->second); };
  });
}

}  // namespace

void AddRemoteCommands(CLI::App& App, TAction& Action) {
  AddTransferCommands(App, Action);
  AddQueryCommands(App, Action);
}

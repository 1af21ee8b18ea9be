// zephprof: list, show, add, copy, rename, remove, set, default — add, set and default on the
// options page and its new-profile wizard (OptionsSession.h), copy, rename and remove through
// the page's own commands (src/ui/ProfileCommands); committed to the store.
#include <filesystem>
#include <memory>
#include <ostream>

#include "Commands.h"
#include "Json.h"
#include "OptionsSession.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "persistence/DefaultSdkPaths.h"
#include "ui/RemoteProfileWizard.h"

namespace {

/// The platforms in the host's order, then any other the manager holds profiles for.
std::vector<std::string> PlatformOrder(const TRemoteProfileManager& Manager) {
  std::vector<std::string> Order;
  if (const auto& Platforms = HostServices().Platforms) Order = Platforms->GetAllPlatforms();
  for (const auto& Entry : Manager.GetProfiles())
    if (std::find(Order.begin(), Order.end(), Entry.first) == Order.end()) Order.push_back(Entry.first);
  return Order;
}

int List(TAppContext& C, const std::string& Filter) {
  if (!Filter.empty() && !CheckKnownPlatform(C, Filter)) return ExitUsage;
  const TRemoteProfileManager& Live = *C.Live();
  std::vector<std::string> Groups;
  for (const std::string& Platform : PlatformOrder(Live)) {
    if (!Filter.empty() && Platform != ParentPlatform(Filter)) continue;
    const auto Found = Live.GetProfiles().find(Platform);
    if (Found == Live.GetProfiles().end() || Found->second.empty()) continue;
    const IOTARemoteProfilePtr Default = Live.GetDefaultForPlatform(Platform);
    std::vector<std::string> Items;
    if (!C.Json()) C.Out() << PlatformLabel(Platform) << '\n';
    for (const IOTARemoteProfilePtr& Profile : Found->second) {
      const bool IsDefault = Profile == Default;
      if (C.Json()) {
        Items.push_back(TJsonObject()
                            .Add("name", Profile->GetName())
                            .Add("default", IsDefault)
                            .Add("hostName", Profile->GetHostName())
                            .Add("portNumber", Profile->GetPortNumber())
                            .Text());
      } else {
        C.Out() << (IsDefault ? "  * " : "    ") << Profile->GetName() << "  " << Profile->GetHostName() << ':'
                << Profile->GetPortNumber() << '\n';
      }
    }
    Groups.push_back(TJsonObject()
                         .Add("platform", Platform)
                         .Add("displayName", GetPlatformDisplayName(Platform))
                         .AddRaw("profiles", JsonArray(Items))
                         .Text());
  }
  if (C.Json()) C.Out() << JsonArray(Groups) << '\n';
  return ExitOk;
}

int Show(TAppContext& C, const std::string& Name) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  const TOTARemoteProfileCredential Credential = P->GetCredential();
  const bool IsDefault = C.Live()->GetDefaultForPlatform(P->GetPlatformName()) == P;
  // Never the password itself, nor its stored form: only whether there is one.
  const bool PasswordSet = Credential.IsPassword && !Credential.PasswordOrFile.empty();
  // The items a cache update pulls: the profile's SDK in the host's store.
  const TOTARemoteProfilePathArray Paths = C.Sdks().PathItemsOf(P);
  if (C.Json()) {
    TJsonObject Object;
    Object.Add("name", P->GetName()).Add("platform", P->GetPlatformName());
    Object.Add("displayName", GetPlatformDisplayName(P->GetPlatformName()));
    Object.Add("hostName", P->GetHostName()).Add("portNumber", P->GetPortNumber());
    Object.Add("credential", Credential.IsPassword ? "password" : "passfile");
    if (Credential.IsPassword) Object.Add("passwordSet", PasswordSet);
    else Object.Add("passFile", Credential.PasswordOrFile);
    Object.Add("localRoot", P->GetSystemRoot()).Add("default", IsDefault);
    Object.AddRaw("pathItems", PathItemsJson(Paths));
    C.Out() << Object.Text() << '\n';
    return ExitOk;
  }
  std::ostream& Out = C.Out();
  Out << "Name:        " << P->GetName() << '\n'
      << "Platform:    " << PlatformLabel(P->GetPlatformName()) << '\n'
      << "Host name:   " << P->GetHostName() << '\n'
      << "Port number: " << P->GetPortNumber() << '\n';
  if (Credential.IsPassword)
    Out << "Password:    " << (PasswordSet ? "set (stored enciphered)" : "not set") << '\n';
  else
    Out << "Password file: " << Credential.PasswordOrFile << '\n';
  Out << "Local root:  " << P->GetSystemRoot() << '\n'
      << "Default:     " << (IsDefault ? "yes" : "no") << '\n'
      << "Path items:  " << Paths.size() << '\n';
  PrintPathItems(C, Paths);
  return ExitOk;
}

struct TAddArgs {
  std::string Name, Platform, Host, Port = "64211", LocalRoot;
  bool AsDefault = false;
  TCredentialArgs Credential;
};

int Add(TAppContext& C, const TAddArgs& A) {
  if (!CheckPlatformArgument(C, A.Platform)) return ExitUsage;
  std::int32_t Port = 0;
  if (!CheckHostName(A.Host) || !CheckPortNumber(A.Port, Port)) return ExitUsage;
  TOTARemoteProfileCredential Credential;
  bool Given = false;
  if (!ReadCredential(C, A.Credential, true, Credential, Given)) return ExitFailed;
  // The wizard keeps Next disabled for a blank name: the manager's check says why.
  if (!C.Live()->ValidateProfileName(TrimText(A.Name))) return ExitFailed;
  TOptionsSession Session(C);
  TRemoteProfilePage& Page = Session.Page();
  // The new-profile wizard, filled in as a user would; a page that refuses its entries keeps
  // the wizard open, and the wizard is then cancelled.
  C.Ui().PresetForm([&](TForm& Form) {
    auto& W = dynamic_cast<TRemoteProfileWizard&>(Form);
    W.NewPage.ProfileNameEdit.EditText(A.Name);
    W.NewPage.PlatformCombo.Select(W.NewPage.PlatformCombo.IndexOf(A.Platform));
    if (A.AsDefault && !W.NewPage.DefaultCheckBox.Checked()) W.NewPage.DefaultCheckBox.Click();
    W.NextButton.Click();
    W.HostPage.HostNameCombo.EditText(A.Host);
    W.HostPage.PortNumberCombo.EditText(A.Port);
    if (Given) Session.EnterCredential(W.HostPage.RemoteProfilePasswordFrame, Credential);
    W.FinishButton.Click();
  });
  const std::size_t Listed = Page.ProfileList.ListItems().size();
  Page.AddButton.Click();
  const IOTARemoteProfilePtr P = Page.ProfileList.Selected();
  if (Page.ProfileList.ListItems().size() == Listed || !P) return ExitFailed;
  // Without --local-root the cache goes below the application-data directory (docs/DECISIONS.md).
  const std::string Root =
      A.LocalRoot.empty() ? C.AppDataDir() + "/SDKs/" + P->GetName() : std::filesystem::absolute(A.LocalRoot).string();
  if (!CheckLocalRoot(C, P->GetName(), Root)) return ExitFailed;
  Page.PropertyEditor.LocalRootEdit.EditText(Root);
  if (!Session.Accept()) return ExitFailed;
  const IOTARemoteProfilePtr Default = C.Live()->GetDefaultForPlatform(P->GetPlatformName());
  const bool IsDefault = Default && SameText(Default->GetName(), P->GetName());
  // The SDK store took the new profile's items when the live manager added it.
  TOTARemoteProfilePathArray Stored;
  C.Sdks().Read(P->GetName(), Stored);
  C.Out() << "Added profile '" << P->GetName() << "' for " << PlatformLabel(P->GetPlatformName())
          << (IsDefault ? ", the platform's default," : "") << " with " << Stored.size() << " path items\n";
  if (!Given)
    C.Error("no password given: the profile has none (use --password-stdin or --passfile; an empty password "
            "uses your SSH agent and keys)");
  return ExitOk;
}

int CopyCommand(TAppContext& C, const std::string& Name, const std::string& NewName) {
  const IOTARemoteProfilePtr Source = C.FindProfile(Name);
  if (!Source) return ExitFailed;
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(C.Live());
  const IOTARemoteProfilePtr P = CopyProfile(*Copy, Copy->GetProfile(Name), NewName);
  if (!P || !CheckLocalRoot(C, P->GetName(), P->GetSystemRoot())) return ExitFailed;
  // The copy's SDK is the source's: its entry is there before the live manager adds the
  // copy, so the SDK store keeps it (it fills only a profile without an entry).
  C.Sdks().Write(P->GetName(), C.Sdks().PathItemsOf(Source));
  if (!C.Commit(Copy, {})) return ExitFailed;
  C.Out() << "Copied '" << Copy->GetProfile(Name)->GetName() << "' to '" << P->GetName() << "'\n";
  return ExitOk;
}

int Rename(TAppContext& C, const std::string& Name, const std::string& NewName) {
  if (!C.FindProfile(Name)) return ExitFailed;
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(C.Live());
  const IOTARemoteProfilePtr P = Copy->GetProfile(Name);
  const std::string Old = P->GetName();
  TRenameMap Renames;
  switch (RenameProfile(*Copy, P, NewName, Renames)) {
    case TRenameResult::Refused: return ExitFailed;
    case TRenameResult::Unchanged:
      C.Err() << "zephprof: '" << Old << "' kept its name (a change of letter case only is ignored)\n";
      return ExitOk;
    case TRenameResult::Renamed: break;
  }
  if (!CheckLocalRoot(C, P->GetName(), P->GetSystemRoot())) return ExitFailed;
  if (!C.Commit(Copy, Renames)) return ExitFailed;
  C.Out() << "Renamed '" << Old << "' to '" << P->GetName() << "'\n";
  return ExitOk;
}

int Remove(TAppContext& C, const std::string& Name) {
  if (!C.FindProfile(Name)) return ExitFailed;
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(C.Live());
  const IOTARemoteProfilePtr P = Copy->GetProfile(Name);
  TRenameMap Renames;
  if (!DeleteProfile(*Copy, P, Renames)) {
    C.Error(Format("profile '%s' was not removed", {P->GetName()}));
    return ExitFailed;
  }
  if (!C.Commit(Copy, Renames)) return ExitFailed;
  C.Out() << "Removed profile '" << P->GetName() << "'\n";
  return ExitOk;
}

struct TSetArgs {
  std::string Name, Platform, Host, Port, LocalRoot;
  TCredentialArgs Credential;
};

int Set(TAppContext& C, const TSetArgs& A, bool HostGiven, bool PortGiven) {
  if (!C.FindProfile(A.Name)) return ExitFailed;
  if (!A.Platform.empty() && !CheckPlatformArgument(C, A.Platform)) return ExitUsage;
  std::int32_t Port = 0;
  if (HostGiven && !CheckHostName(A.Host)) return ExitUsage;
  if (PortGiven && !CheckPortNumber(A.Port, Port)) return ExitUsage;
  TOTARemoteProfileCredential Credential;
  bool CredentialGiven = false;
  if (!ReadCredential(C, A.Credential, false, Credential, CredentialGiven)) return ExitFailed;
  if (A.Platform.empty() && !HostGiven && !PortGiven && !CredentialGiven && A.LocalRoot.empty()) {
    C.Error("nothing to change (see zephprof set --help)");
    return ExitUsage;
  }
  // The page's editors, in the order a user meets them; the page commits them on OK.
  TOptionsSession Session(C);
  TRemoteProfilePage& Page = Session.Page();
  if (!Session.Select(A.Name)) return ExitFailed;
  const IOTARemoteProfilePtr P = Page.ProfileList.Selected();
  const std::string Root =
      A.LocalRoot.empty() ? P->GetSystemRoot() : std::filesystem::absolute(A.LocalRoot).string();
  if (!CheckLocalRoot(C, P->GetName(), Root)) return ExitFailed;
  bool Taken = true;
  if (!A.Platform.empty()) Taken = Page.PlatformCombo.Select(Page.PlatformCombo.IndexOf(A.Platform)) && Taken;
  if (HostGiven) Taken = Page.HostNameCombo.EditText(A.Host) && Taken;
  if (PortGiven) Taken = Page.PortNumberCombo.EditText(A.Port) && Taken;
  if (CredentialGiven) Session.EnterCredential(Page.RemoteProfilePasswordFrame, Credential);
  if (!A.LocalRoot.empty()) Page.PropertyEditor.LocalRootEdit.EditText(Root);
  if (!Taken) return ExitUsage;  // the page reported
  if (!Session.Accept()) return ExitFailed;
  C.Out() << "Changed profile '" << P->GetName() << "'\n";
  return ExitOk;
}

int Default(TAppContext& C, const std::string& Name) {
  if (!C.FindProfile(Name)) return ExitFailed;
  TOptionsSession Session(C);
  TRemoteProfilePage& Page = Session.Page();
  if (!Session.Select(Name)) return ExitFailed;
  const IOTARemoteProfilePtr P = Page.ProfileList.Selected();
  if (!Page.SetAsDefaultItem.Enabled()) {
    if (Page.WorkingCopy()->GetDefaultForPlatform(P->GetPlatformName()) == P) {
      C.Out() << "'" << P->GetName() << "' is already the default profile of " << P->GetPlatformName() << '\n';
      return ExitOk;
    }
    C.Error(Format("'%s' is a profile of %s, which has no default profile", {P->GetName(), P->GetPlatformName()}));
    return ExitFailed;
  }
  Page.SetAsDefaultItem.Click();
  if (!Session.Accept()) return ExitFailed;
  C.Out() << "'" << P->GetName() << "' is now the default profile of " << P->GetPlatformName() << '\n';
  return ExitOk;
}

void Then(CLI::App* Command, TAction& Action, TAction Run) {
  Command->callback([&Action, Run = std::move(Run)] { Action = Run; });
}

void AddReadCommands(CLI::App& App, TAction& Action) {
  auto Filter = std::make_shared<std::string>();
  auto* ListCmd = App.add_subcommand("list", "List the profiles by platform; '*' marks a platform's default");
  ListCmd->add_option("PLATFORM", *Filter, "only this platform (iOS targets show their Mac's, OSX32)");
  ListCmd->footer("Example:\n  zephprof list\n  zephprof list OSX32 --json");
  Then(ListCmd, Action, [Filter](TAppContext& C) { return List(C, *Filter); });

  auto Name = std::make_shared<std::string>();
  auto* ShowCmd = App.add_subcommand("show", "Every field of a profile (whether a password is set, never the password)");
  ShowCmd->add_option("NAME", *Name, "profile name (any case)")->required();
  ShowCmd->footer("Example:\n  zephprof show \"Build Mac\"");
  Then(ShowCmd, Action, [Name](TAppContext& C) { return Show(C, *Name); });

}

void AddCreateCommands(CLI::App& App, TAction& Action) {
  auto AddArgs = std::make_shared<TAddArgs>();
  auto* AddCmd = App.add_subcommand("add", "Create a profile as the new-profile wizard does");
  AddCmd->add_option("NAME", AddArgs->Name, "profile name: trimmed, must be a valid file name, unique")->required();
  AddCmd->add_option("--platform", AddArgs->Platform, "platform identifier, e.g. OSX32, Linux64")->required();
  AddCmd->add_option("--host", AddArgs->Host, "remote machine (name or IP address, user@host)")->required();
  AddCmd->add_option("--port", AddArgs->Port, "port of the Hestrel server (default 64211)");
  AddCredentialOptions(*AddCmd, AddArgs->Credential, false);
  AddCmd->add_option("--local-root", AddArgs->LocalRoot,
                     "local cache of the remote SDK (default: DATA/SDKs/NAME; never DATA or a folder above it)");
  AddCmd->add_flag("--default", AddArgs->AsDefault, "make it the platform's default (the first one always is)");
  AddCmd->footer(
      "The first profile of a platform becomes its default; Win32 and Win64 profiles never do.\n"
      "Path items start from the platform's default set. Without --password-stdin or --passfile\n"
      "the password is asked for on a terminal (not echoed); it is stored only enciphered. With\n"
      "neither and no terminal the profile gets no password (your SSH agent and keys are used).\n"
      "Example:\n  printf '%s\\n' \"$PW\" | zephprof add \"Build Mac\" --platform OSX32 --host mac.local "
      "--password-stdin");
  Then(AddCmd, Action, [AddArgs](TAppContext& C) { return Add(C, *AddArgs); });

  auto Pair = std::make_shared<std::pair<std::string, std::string>>();
  auto* CopyCmd =
      App.add_subcommand("copy", "Copy a profile and its path items under a new name (local root follows the name)");
  CopyCmd->add_option("NAME", Pair->first, "profile to copy")->required();
  CopyCmd->add_option("NEW", Pair->second, "name of the copy")->required();
  CopyCmd->footer("Example:\n  zephprof copy \"Build Mac\" \"Build Mac 2\"");
  Then(CopyCmd, Action, [Pair](TAppContext& C) { return CopyCommand(C, Pair->first, Pair->second); });

  auto* RenameCmd = App.add_subcommand("rename", "Rename a profile (a change of letter case only is ignored)");
  RenameCmd->add_option("NAME", Pair->first, "profile to rename")->required();
  RenameCmd->add_option("NEW", Pair->second, "new name")->required();
  RenameCmd->footer("Example:\n  zephprof rename \"Build Mac\" Mac");
  Then(RenameCmd, Action, [Pair](TAppContext& C) { return Rename(C, Pair->first, Pair->second); });

}

void AddChangeCommands(CLI::App& App, TAction& Action) {
  auto Name = std::make_shared<std::string>();
  auto* RemoveCmd = App.add_subcommand("remove", "Delete a profile (asks; --yes answers) and its profile file");
  RemoveCmd->add_option("NAME", *Name, "profile to delete")->required();
  RemoveCmd->footer("Example:\n  zephprof --yes remove \"Build Mac\"");
  Then(RemoveCmd, Action, [Name](TAppContext& C) { return Remove(C, *Name); });

  auto SetArgs = std::make_shared<TSetArgs>();
  auto* SetCmd = App.add_subcommand("set", "Change fields of a profile");
  SetCmd->add_option("NAME", SetArgs->Name, "profile to change")->required();
  SetCmd->add_option("--platform", SetArgs->Platform, "new platform identifier");
  auto* HostOpt = SetCmd->add_option("--host", SetArgs->Host, "new remote machine");
  auto* PortOpt = SetCmd->add_option("--port", SetArgs->Port, "new port number (0 to 65535)");
  AddCredentialOptions(*SetCmd, SetArgs->Credential, true);
  SetCmd->add_option("--local-root", SetArgs->LocalRoot,
                     "new local cache directory (never the data directory or a folder above it)");
  SetCmd->footer("Example:\n  zephprof set \"Build Mac\" --host 10.0.0.7 --port 64212\n"
                 "  zephprof set \"Build Mac\" --password-stdin < new-password.txt");
  Then(SetCmd, Action, [SetArgs, HostOpt, PortOpt](TAppContext& C) {
    return Set(C, *SetArgs, HostOpt->count() > 0, PortOpt->count() > 0);
  });

  auto* DefaultCmd = App.add_subcommand("default", "Make a profile its platform's default");
  DefaultCmd->add_option("NAME", *Name, "profile")->required();
  DefaultCmd->footer("Win32 and Win64 profiles cannot be made default.\nExample:\n  zephprof default \"Build Mac\"");
  Then(DefaultCmd, Action, [Name](TAppContext& C) { return Default(C, *Name); });
}

}  // namespace

void AddProfileCommands(CLI::App& App, TAction& Action) {
  AddReadCommands(App, Action);
  AddCreateCommands(App, Action);
  AddChangeCommands(App, Action);
}

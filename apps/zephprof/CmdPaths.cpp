// zephprof: paths (a profile's remote SDK path items, kept in the reference host's SDK store,
// hosts/linux/ProfileSdkStore.h) and default-paths (the set a platform's new profiles start
// with); export and import of profile files.
#include <filesystem>
#include <memory>
#include <ostream>

#include "Commands.h"
#include "client/PasswordCipher.h"
#include "core/Text.h"
#include "host/AgentClient.h"
#include "persistence/DefaultSdkPaths.h"

namespace {

struct TPathArgs {
  std::string Name;
  std::string Path, Mask, Type;
  bool SubDirs = false;
  int Index = -1;
};

enum class TPathAction { List, Add, Remove, Reset };

/// Changes the profile's SDK path items in the host's SDK store and writes the settings file.
int ChangePaths(TAppContext& C, const IOTARemoteProfilePtr& P, const TPathArgs& A, TPathAction What) {
  std::vector<TOTARemoteProfilePathItem> Items = C.Sdks().PathItemsOf(P).ToVector();
  if (What == TPathAction::Add) {
    TOTARemoteProfilePathItem Item{A.Path, A.Mask, A.SubDirs, ptIncludePath};
    if (!ParsePathType(A.Type, Item.Type)) {
      C.Error(Format("'%s' is not a path type (include, library, framework, other or 0 to 3)", {A.Type}));
      return ExitUsage;
    }
    if (!CheckPathItem(Item)) return ExitUsage;
    Items.push_back(Item);
  } else if (What == TPathAction::Remove) {
    if (A.Index < 0 || static_cast<std::size_t>(A.Index) >= Items.size()) {
      C.Error(Format("'%s' has no path item %d (it has %d)",
                     {P->GetName(), std::int64_t{A.Index}, static_cast<std::int64_t>(Items.size())}));
      return ExitFailed;
    }
    Items.erase(Items.begin() + A.Index);
  } else {
    Items = GetDefaultPaths(P->GetPlatformName()).ToVector();
  }
  C.Sdks().Write(P->GetName(), TOTARemoteProfilePathArray(std::move(Items)));
  if (!C.WriteSettingsFile()) return ExitFailed;
  // What was stored, read back.
  TOTARemoteProfilePathArray Stored;
  C.Sdks().Read(P->GetName(), Stored);
  if (!C.Json()) C.Out() << "Path items of '" << P->GetName() << "': " << Stored.size() << '\n';
  PrintPathItems(C, Stored);
  return ExitOk;
}

int Paths(TAppContext& C, const TPathArgs& A, TPathAction What) {
  const IOTARemoteProfilePtr P = C.FindProfile(A.Name);
  if (!P) return ExitFailed;
  if (What != TPathAction::List) return ChangePaths(C, P, A, What);
  PrintPathItems(C, C.Sdks().PathItemsOf(P));
  return ExitOk;
}

int DefaultPaths(TAppContext& C, const std::string& Platform, const std::string& SaveFrom) {
  if (!CheckKnownPlatform(C, Platform)) return ExitUsage;
  if (SaveFrom.empty()) {
    PrintPathItems(C, GetDefaultPaths(Platform));
    return ExitOk;
  }
  const IOTARemoteProfilePtr P = C.FindProfile(SaveFrom);
  if (!P) return ExitFailed;
  SetDefaultPaths(Platform, C.Sdks().PathItemsOf(P));  // says "Saved default paths to %s" itself
  // Path items are never read back from the default-path file, so from now on the platform's
  // default set is empty.
  C.Error(Format("note: new profiles of %s will now start with no path items, not with this set: a platform "
                 "whose default-path file exists has an empty default set; that lasts until %s "
                 "is removed",
                 {Platform, GetDefaultPathsFileName(Platform)}));
  return ExitOk;
}

int Export(TAppContext& C, const std::string& Name, const std::string& File) {
  const IOTARemoteProfilePtr P = C.FindProfile(Name);
  if (!P) return ExitFailed;
  std::string FileName = File;
  if (!ExportProfile(*C.Live(), P, FileName)) {
    C.Error(Format("'%s' was not exported", {P->GetName()}));
    return ExitFailed;
  }
  C.Out() << "Exported '" << P->GetName() << "' to " << FileName << '\n';
  return ExitOk;
}

/// Why the agent library's profile object cannot read File ("" when it can: the file was
/// then declined, or held a name the manager refuses, and that was reported already).
std::string ReaderError(const std::string& File) {
  TRAClientFactory* Library = TRAClientFactory::GetInstance();
  std::unique_ptr<TRAClientProfile> Reader = Library ? Library->CreateProfile() : nullptr;
  if (!Reader || Reader->ReadProfileSettings(File)) return {};
  return Reader->GetLastError();
}

/// Whether this user can decipher a stored password (one stored by another user, or under
/// another machine's key, cannot be).
bool CanDecipher(TAppContext& C, const std::string& Stored) {
  hestrel::TSecretText Clear;
  return hestrel::TPasswordCipher(C.AppDataDir()).Decrypt(Stored, Clear);
}

int Import(TAppContext& C, const std::string& File) {
  if (const std::string What = NotARegularFile(File); !What.empty()) {
    C.Error(Format("File '%s' %s", {File, What}));
    return ExitFailed;
  }
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(C.Live());
  IOTARemoteProfilePtr P;
  switch (ImportProfile(*Copy, File, P)) {
    case TImportResult::NotTaken: {
      const std::string Reason = ReaderError(File);
      C.Error(Format(Reason.empty() ? "nothing was imported from %s" : "nothing was imported from %s: %s",
                     {File, Reason}));
      return ExitFailed;
    }
    case TImportResult::InvalidPlatform: return ExitFailed;  // reported; nothing is committed
    case TImportResult::Imported: break;
  }
  // A password this user cannot decipher would only fail the first connection: it is not
  // taken, the rest of the profile is, and the user is told to enter it again.
  const TOTARemoteProfileCredential Read = P->GetCredential();
  const bool Undecipherable =
      Read.IsPassword && Read.IsEncrypted && !Read.PasswordOrFile.empty() && !CanDecipher(C, Read.PasswordOrFile);
  const IOTARemoteProfilePtr Held = C.Live()->GetProfile(P->GetName());
  if (Undecipherable) P->SetCredential(Held ? Held->GetCredential() : TOTARemoteProfileCredential{"", true, false});
  if (!CheckLocalRoot(C, P->GetName(), P->GetSystemRoot()) || !C.Commit(Copy, {})) return ExitFailed;
  C.Out() << "Imported profile '" << P->GetName() << "' for " << PlatformLabel(P->GetPlatformName()) << '\n';
  if (Undecipherable)
    C.Error(
        Format("the password in '%s' cannot be deciphered here (it was stored by another user or on another "
               "machine), so it was not imported%s; enter it again: zephprof set \"%s\" --password-stdin",
               {File, std::string(Held ? " (the profile keeps the one it had)" : ""), P->GetName()}));
  return ExitOk;
}

}  // namespace

void AddPathCommands(CLI::App& App, TAction& Action) {
  auto A = std::make_shared<TPathArgs>();
  auto* PathsCmd = App.add_subcommand("paths", "A profile's remote SDK path items: list (default), add, remove, reset");
  PathsCmd->add_option("NAME", A->Name, "profile")->required();
  PathsCmd->require_subcommand(0, 1);
  PathsCmd->footer(
      "TYPE is include, library, framework or other (0 to 3). For a framework, MASK is the framework\n"
      "name and --subdirs fetches its non-essential files too. Indices are those 'list' shows.\n"
      "The items are the profile's SDK, kept in the settings file (section ProfileSDKs\\NAME);\n"
      "update-cache pulls them. A new profile starts from its platform's default set.\n"
      "Example:\n  zephprof paths \"Build Mac\" add /usr/include '*' include --subdirs\n"
      "  zephprof paths \"Build Mac\" remove 0\n  zephprof paths \"Build Mac\" reset");
  auto* ListCmd = PathsCmd->add_subcommand("list", "list the path items with their indices");
  auto* AddCmd = PathsCmd->add_subcommand("add", "append a path item");
  AddCmd->add_option("PATH", A->Path, "directory on the remote machine")->required();
  AddCmd->add_option("MASK", A->Mask, "file mask, or framework name")->required();
  AddCmd->add_option("TYPE", A->Type, "include, library, framework or other")->required();
  AddCmd->add_flag("--subdirs", A->SubDirs, "include subdirectories (non-essential framework files)");
  auto* RemoveCmd = PathsCmd->add_subcommand("remove", "remove the path item at INDEX");
  RemoveCmd->add_option("INDEX", A->Index, "index as listed (from 0)")->required();
  auto* ResetCmd = PathsCmd->add_subcommand("reset", "replace the items by the platform's default set");
  PathsCmd->callback([&Action, A, ListCmd, AddCmd, RemoveCmd, ResetCmd] {
    TPathAction What = TPathAction::List;
    if (AddCmd->parsed()) What = TPathAction::Add;
    if (RemoveCmd->parsed()) What = TPathAction::Remove;
    if (ResetCmd->parsed()) What = TPathAction::Reset;
    (void)ListCmd;
    Action = [A, What](TAppContext& C) { return Paths(C, *A, What); };
  });

  auto Platform = std::make_shared<std::string>();
  auto SaveFrom = std::make_shared<std::string>();
  auto* DefaultsCmd = App.add_subcommand("default-paths", "Show, or save, a platform's default path set");
  DefaultsCmd->add_option("PLATFORM", *Platform, "platform identifier")->required();
  DefaultsCmd->add_option("--save-from", *SaveFrom,
                          "write this profile's path items to the platform's default-path file");
  DefaultsCmd->footer(
      "The set new profiles of the platform start with: the built-in list (OSX32, iOSDevice and\n"
      "iOSSimulator have one), or an EMPTY set once the platform's default-path file\n"
      "(DATA/PLATFORM.defaultprofilepaths) exists, because path items are never read back from\n"
      "that file. So --save-from writes the profile's items to that file, and\n"
      "new profiles of the platform then start with no path items until the file is removed.\n"
      "Example:\n  zephprof default-paths OSX32\n  zephprof default-paths OSX32 --save-from \"Build Mac\"");
  DefaultsCmd->callback([&Action, Platform, SaveFrom] {
    Action = [Platform, SaveFrom](TAppContext& C) { return DefaultPaths(C, *Platform, *SaveFrom); };
  });
}

void AddFileCommands(CLI::App& App, TAction& Action) {
  auto Name = std::make_shared<std::string>();
  auto File = std::make_shared<std::string>();
  auto* ExportCmd = App.add_subcommand("export", "Write a profile to a profile file");
  ExportCmd->add_option("NAME", *Name, "profile")->required();
  ExportCmd->add_option("FILE", *File, "file to write (\".profile\" added when it has no extension)")->required();
  ExportCmd->footer("An existing file is replaced only when the question is answered Yes (--yes).\n"
                    "Example:\n  zephprof export \"Build Mac\" ~/mac.profile");
  ExportCmd->callback([&Action, Name, File] {
    Action = [Name, File](TAppContext& C) { return Export(C, *Name, *File); };
  });
  auto* ImportCmd = App.add_subcommand("import", "Read a profile file into the profiles");
  ImportCmd->add_option("FILE", *File, "profile file")->required();
  ImportCmd->footer(
      "A profile of the same name is replaced (its path items kept) only when the question is\n"
      "answered Yes (--yes). A password enciphered by another user or machine is not imported:\n"
      "enter it again with zephprof set NAME --password-stdin.\nExample:\n  zephprof import ~/mac.profile");
  ImportCmd->callback([&Action, File] { Action = [File](TAppContext& C) { return Import(C, *File); }; });
}

// The settings-store layout: LoadOptions, SaveOptions and the two SaveProfile. The order of
// store calls is fixed, value by value: a store written by one build is read by another, and
// tests assert the logged sequence.
#include <vector>

#include "core/RemoteProfileManager.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "persistence/DefaultSdkPaths.h"
#include "persistence/ProfileFiles.h"
#include "persistence/SettingsStoreLayout.h"
#include "persistence/StoredPathItems.h"

namespace {

namespace L = StoreLayout;

/// What one profile is loaded as, from its profile file or its sub-section.
struct TLoadedProfile {
  std::string Name, Platform, HostName, LocalRoot;
  std::int32_t Port = L::DefaultPortNumber;
  TOTARemoteProfileCredential Credential;
  TOTARemoteProfilePathArray Paths;
};

/// The values of the sub-section "RemoteProfiles\" + name but its path items, one by one in
/// the store's fixed order.
void ReadSubSectionValues(TCustomIniFile& Settings, TLoadedProfile& P) {
  const std::string Section = L::ProfileSection(P.Name);
  P.Platform = Settings.ReadString(Section, L::Platform, "");
  P.HostName = Settings.ReadString(Section, L::HostName, "");
  P.Port = Settings.ReadInteger(Section, L::PortNumber, L::DefaultPortNumber);
  const std::string Password = Settings.ReadString(Section, L::Password, "");
  const std::string PassFile = Settings.ReadString(Section, L::PassFile, "");
  P.LocalRoot = Settings.ReadString(Section, L::LocalRoot, "");
  // A password file takes precedence; a password stays in its stored (enciphered) form.
  P.Credential.IsEncrypted = true;
  P.Credential.IsPassword = PassFile.empty();
  P.Credential.PasswordOrFile = PassFile.empty() ? Password : PassFile;
}

/// The whole sub-section: its values, then its path items.
void ReadSubSection(TCustomIniFile& Settings, TLoadedProfile& P) {
  ReadSubSectionValues(Settings, P);
  const std::string Section = L::ProfileSection(P.Name);
  P.Paths = ReadStoredPathItems(Settings, Section, Settings.ReadInteger(Section, L::PathCount, 0));
}

/// Whether a profile read from its profile file holds what the store's sub-section of that
/// name holds (path items aside: a profile file has none). A sub-section without a platform was
/// never written by a save (which always writes it), so there is nothing to disagree with.
bool AgreesWithSubSection(TCustomIniFile& Settings, const TLoadedProfile& FromFile) {
  TLoadedProfile Stored;
  Stored.Name = FromFile.Name;
  ReadSubSectionValues(Settings, Stored);
  if (Stored.Platform.empty()) return true;
  return Stored.Platform == FromFile.Platform && Stored.HostName == FromFile.HostName && Stored.Port == FromFile.Port &&
         Stored.Credential.IsPassword == FromFile.Credential.IsPassword &&
         Stored.Credential.PasswordOrFile == FromFile.Credential.PasswordOrFile &&
         Stored.LocalRoot == FromFile.LocalRoot;
}

}  // namespace

void TRemoteProfileManager::LoadOptions(TCustomIniFile& Settings) {
  std::vector<std::string> Names;
  Settings.ReadSections(L::RemoteProfiles, Names);
  for (const std::string& Listed : Names) {
    TLoadedProfile P;  // nothing carries over from the previous name
    P.Name = Listed;
    // A name becomes a file name only once it is known to be one (docs/DECISIONS.md).
    bool FromFile = IsValidProfileFileName(P.Name) && LoadProfileFile("", P.Name, P.Platform, P.HostName, P.Port,
                                                                      P.Credential, P.LocalRoot, P.Paths, true);
    if (FromFile && SameText(P.Name, Listed) && !AgreesWithSubSection(Settings, P)) {
      // Profile files are written before the settings file is committed: a file that disagrees
      // with the sub-section its commit wrote is left from a commit that did not complete, so
      // the sub-section, what was committed, is taken (docs/DECISIONS.md).
      FromFile = false;
      P = TLoadedProfile{};
      P.Name = Listed;
    }
    if (FromFile) {
      P.Paths = TOTARemoteProfilePathArray();  // the file supplies no path items
    } else {
      if (!IsValidProfileFileName(P.Name)) continue;  // listed, or found in the file: not a usable name
      ReadSubSection(Settings, P);
    }
    if (const IOTARemoteProfilePtr Held = GetProfile(P.Name)) RemoveProfile(Held);
    const bool IsDefault = Settings.ReadString(L::RemoteProfiles, Format(L::DefaultFmt, {P.Platform}), "") == P.Name;
    if (GetPlatformDisplayName(P.Platform).empty()) continue;  // unknown or empty platform: skipped silently
    AddProfile(P.Name, P.Platform, P.HostName, P.Port, P.Credential, P.LocalRoot, P.Paths, IsDefault);
  }
}

void TRemoteProfileManager::SaveOptions(TCustomIniFile& Settings) {
  const TProfileDictionary Profiles = FProfiles;  // saving changes no list; a copy keeps the walk safe
  // Enciphering fails for all passwords or for none (the agent library's key): one probe before
  // the section is erased, so a failing save raises with the store still whole.
  const IOTARemoteProfilePtr FirstTyped = [&]() -> IOTARemoteProfilePtr {
    for (const auto& [Platform, List] : Profiles)
      for (const IOTARemoteProfilePtr& P : List)
        if (const auto C = P->GetCredential(); C.IsPassword && !C.IsEncrypted && !C.PasswordOrFile.empty()) return P;
    return nullptr;
  }();
  if (FirstTyped && Encrypt(FirstTyped->GetCredential().PasswordOrFile).empty())
    throw EProfileFileError(Format(sCannotEncipherPassword, {FirstTyped->GetName()}));
  std::vector<std::string> Stored;
  Settings.ReadSections(L::RemoteProfiles, Stored);
  Settings.EraseSection(L::RemoteProfiles);
  for (const auto& [Platform, List] : Profiles) {
    for (std::size_t I = 0; I < List.size(); ++I) {
      SaveProfile(List[I], &Settings, "");
      // The first profile of each list is the platform's default.
      if (I == 0) Settings.WriteString(L::RemoteProfiles, Format(L::DefaultFmt, {Platform}), List[0]->GetName());
    }
  }
  // A profile the store held and no longer does (skipped at load, dropped meanwhile) takes its
  // profile file along, so none is left as an orphan. Should the store not be committed, its
  // sub-section still holds the profile.
  for (const std::string& Name : Stored)
    if (!GetProfile(Name)) RemoveProfileFile(GetProfileFileName(Name));
}

void TRemoteProfileManager::SaveProfile(const IOTARemoteProfilePtr& Profile, TCustomIniFile* Ini,
                                        const std::string& FileName) {
  const std::string Name = Profile->GetName();
  const TOTARemoteProfilePathArray Paths = Profile->GetPaths();
  const TOTARemoteProfileCredential Credential = Profile->GetCredential();
  const std::string Section = L::ProfileSection(Name);
  // Enciphered once, so the store and the profile file hold the same stored form and a
  // typed password never reaches either in clear (docs/DECISIONS.md).
  TRACredential Stored = ToTRACredential(Credential);
  if (Credential.IsPassword && !Credential.IsEncrypted) {
    Stored.PasswordOrFile = Encrypt(Credential.PasswordOrFile);
    Stored.IsEncrypted = true;
    // Encrypt answers "" when it cannot encipher (or no agent library is installed): an empty
    // password must not be stored as if it were the user's. Raised before anything is written.
    if (Stored.PasswordOrFile.empty() && !Credential.PasswordOrFile.empty())
      throw EProfileFileError(Format(sCannotEncipherPassword, {Name}));
  }
  if (Ini) {
    Ini->WriteString(Section, L::Platform, Profile->GetPlatformName());
    Ini->WriteString(Section, L::HostName, Profile->GetHostName());
    Ini->WriteInteger(Section, L::PortNumber, Profile->GetPortNumber());
    if (Credential.IsPassword)
      Ini->WriteString(Section, L::Password, Stored.PasswordOrFile);
    else
      Ini->WriteString(Section, L::PassFile, Credential.PasswordOrFile);
    Ini->WriteString(Section, L::LocalRoot, Profile->GetSystemRoot());
    Ini->WriteInteger(Section, L::PathCount, static_cast<std::int32_t>(Paths.size()));
  }
  // Each item sorted into the profile file's lists (no store call) and written.
  TPathItemLists Lists;
  for (std::size_t I = 0; I < Paths.size(); ++I) Lists.Add(Paths[I]);
  if (Ini) WriteStoredPathItems(*Ini, Section, Paths);
  SaveProfileFile(FileName, Name, Profile->GetPlatformName(), Profile->GetHostName(), Profile->GetPortNumber(), Stored,
                  Profile->GetSystemRoot(), Lists.IncludePaths, Lists.LibraryPaths, Lists.OtherPaths,
                  Lists.FrameworkPaths);
}

void TRemoteProfileManager::SaveProfile(const IOTARemoteProfilePtr& Profile, const std::string& FileName) {
  if (!FileName.empty())
    SaveProfile(Profile, nullptr, FileName);  // export: only the profile file
  else
    SaveProfile(Profile, FSettings.get(), "");
}

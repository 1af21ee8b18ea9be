// Profile manager: per-platform lists, parent platforms, defaults, name
// validation, Assign, the profile callbacks and the process-wide instance.
#include "core/RemoteProfileManager.h"

#include <algorithm>
#include <filesystem>

#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/HostServices.h"

namespace {

const char kEnvProfileGroup[] = "'$(Profile)'=='' And '$(Platform)'=='%s'";
const char kEnvPlatformGroup[] = "'$(Platform)'=='%s'";

/// The default of a platform in a dictionary, as GetDefaultForPlatform answers it.
IOTARemoteProfilePtr DefaultIn(const TProfileDictionary& Profiles, const std::string& PlatformName) {
  if (PlatformName == "Win32" || PlatformName == "Win64") return nullptr;
  auto It = Profiles.find(ParentPlatform(PlatformName));
  return (It == Profiles.end() || It->second.empty()) ? nullptr : It->second.front();
}

/// The first profile named Name ignoring case, walking the lists in dictionary order.
IOTARemoteProfilePtr FindIn(const TProfileDictionary& Profiles, const std::string& Name) {
  for (const auto& [Platform, List] : Profiles)
    for (const auto& Profile : List)
      if (SameText(Profile->GetName(), Name)) return Profile;
  return nullptr;
}

}  // namespace

void RemoveProfileFile(const std::string& FileName) {
  std::error_code Ignored;
  if (!FileName.empty()) std::filesystem::remove(FileName, Ignored);
}

// The stricter of the host rules, so a name is a file name everywhere and never a path
// (docs/DECISIONS.md).
bool HasValidFileNameChars(const std::string& Name) {
  static const std::string Invalid = "\"*/:<>?\\|";
  if (Name.size() > MaxProfileNameBytes) return false;
  if (!Name.empty() && Name.find_first_not_of(". ") == std::string::npos) return false;
  return std::none_of(Name.begin(), Name.end(), [](char C) {
    return static_cast<unsigned char>(C) < 0x20 || Invalid.find(C) != std::string::npos;
  });
}

std::string ParentPlatform(const std::string& PlatformName) {
  if (SameText(PlatformName, "iOSSimulator") || SameText(PlatformName, "iOSDevice")) return "OSX32";
  return PlatformName;
}

TRemoteProfileManager::TRemoteProfileManager(TCustomIniFilePtr Settings) : FSettings(std::move(Settings)) {
  FCreated = true;
}

TRemoteProfileManagerPtr TRemoteProfileManager::Create(const TCustomIniFilePtr& Settings) {
  TRemoteProfileManagerPtr Manager(new TRemoteProfileManager(Settings));
  if (Settings) Manager->LoadOptions(*Settings);
  return Manager;
}

TRemoteProfileManager::~TRemoteProfileManager() = default;

IOTARemoteProfilePtr TRemoteProfileManager::AddProfile(const std::string& Name, const std::string& PlatformName,
                                                       const std::string& HostName, std::int32_t PortNumber,
                                                       const TOTARemoteProfileCredential& Credential,
                                                       const std::string& SystemRoot,
                                                       const TOTARemoteProfilePathArray& Paths, bool AsDefault) {
  std::string Message;
  if (InternalValidateProfileName(Name, Message) != pnveNone) throw ENonAIRException(Message);
  const std::string Parent = ParentPlatform(PlatformName);
  TProfileList& List = FProfiles[Parent];
  const std::size_t Index = AsDefault ? 0 : List.size();

  // Profiles may outlive their manager (an editable copy), so callbacks hold it weakly.
  std::weak_ptr<TRemoteProfileManager> Self = weak_from_this();
  auto Profile = std::make_shared<TRemoteProfile>(
      Name, Parent, HostName, PortNumber, Credential, SystemRoot, Paths,
      [Self](TRemoteProfile& Sender) {
        if (auto M = Self.lock()) M->ProfileChanged(Sender);
      },
      [Self](TRemoteProfile& Sender, const std::string& OldName) {
        if (auto M = Self.lock()) M->ProfileNameChanged(Sender, OldName);
      },
      [Self](TRemoteProfile& Sender, const std::string& OldPlatform) {
        if (auto M = Self.lock()) M->PlatformNameChanged(Sender, OldPlatform);
      });
  List.insert(List.begin() + static_cast<std::ptrdiff_t>(Index), Profile);
  FNameIndex.Add(Profile);
  SendNotify(Profile, pnaAdded, false, "");
  return Profile;
}

void TRemoteProfileManager::AddProfile(const IOTARemoteProfilePtr& Profile) {
  const std::string Name = Profile->GetName();
  Profile->SetPlatformName(ParentPlatform(Profile->GetPlatformName()));  // may re-enter PlatformNameChanged
  const std::string Platform = Profile->GetPlatformName();
  TProfileList& List = FProfiles[Platform];  // created before the check: a failed call may leave it empty
  // A child platform's profile was filed under its parent by that nested re-filing already; it
  // is not filed twice, nor refused as its own duplicate (docs/DECISIONS.md).
  if (std::find(List.begin(), List.end(), Profile) != List.end()) return;
  std::string Message;
  if (InternalValidateProfileName(Name, Message) != pnveNone) throw ENonAIRException(Message);
  List.push_back(Profile);
  FNameIndex.Add(Profile);
}

void TRemoteProfileManager::RemoveProfile(const IOTARemoteProfilePtr& Profile) {
  if (!Profile) return;
  auto It = FProfiles.find(Profile->GetPlatformName());  // the profile's own platform, no parent mapping
  if (It == FProfiles.end()) return;
  SendNotify(Profile, pnaRemoved, false, "");
  It = FProfiles.find(Profile->GetPlatformName());  // a subscriber may have changed the lists
  if (It == FProfiles.end()) return;
  auto& List = It->second;
  auto Found = std::find(List.begin(), List.end(), Profile);
  if (Found == List.end()) return;
  const IOTARemoteProfilePtr Keep = Profile;
  List.erase(Found);
  FNameIndex.Remove(Keep.get());
}

IOTARemoteProfilePtr TRemoteProfileManager::GetProfile(const std::string& Name) const {
  const auto* Filed = FNameIndex.Find(Name);
  if (!Filed) return nullptr;
  if (Filed->size() == 1 && SameText(Filed->front()->GetName(), Name)) return Filed->front();
  return FindIn(FProfiles, Name);  // held more than once: the lists' order decides
}

IOTARemoteProfilePtr TRemoteProfileManager::GetProfile(const std::string& PlatformName, std::int32_t Index) const {
  auto It = FProfiles.find(ParentPlatform(PlatformName));
  if (Index < 0 || It == FProfiles.end() || static_cast<std::size_t>(Index) >= It->second.size()) return nullptr;
  return It->second[static_cast<std::size_t>(Index)];
}

std::int32_t TRemoteProfileManager::GetProfileCount(const std::string& PlatformName) const {
  auto It = FProfiles.find(ParentPlatform(PlatformName));
  return It == FProfiles.end() ? 0 : static_cast<std::int32_t>(It->second.size());
}

IOTARemoteProfilePtr TRemoteProfileManager::GetDefaultForPlatform(const std::string& PlatformName) const {
  // Local targets never have a remote default; the comparison is case-sensitive.
  if (PlatformName == "Win32" || PlatformName == "Win64") return nullptr;
  return GetProfile(PlatformName, 0);
}

void TRemoteProfileManager::SetAsDefaultForPlatform(const IOTARemoteProfilePtr& Profile) {
  if (!Profile) return;
  auto It = FProfiles.find(Profile->GetPlatformName());
  if (It == FProfiles.end()) return;
  auto& List = It->second;
  auto Found = std::find(List.begin(), List.end(), Profile);
  if (Found == List.end() || Found == List.begin()) return;
  const std::size_t Index = static_cast<std::size_t>(Found - List.begin());
  List.insert(List.begin(), Profile);
  List.erase(List.begin() + static_cast<std::ptrdiff_t>(Index + 1));
}

std::string TRemoteProfileManager::GetProfilePlatformName(const std::string& FileName) {
  std::string ProfileName, Platform, HostName, LocalRoot;
  std::int32_t Port = 0;
  TOTARemoteProfileCredential Credential;
  TOTARemoteProfilePathArray Paths;
  if (!LoadProfileFile(FileName, ProfileName, Platform, HostName, Port, Credential, LocalRoot, Paths, false))
    return {};
  return Platform;
}

void TRemoteProfileManager::WriteEnvOptions() {
  const auto& Writer = HostServices().EnvFileWriter;
  const auto& Platforms = HostServices().Platforms;
  if (!Writer || !Platforms) return;
  Writer->BeginEnvFileSave();
  try {
    for (const std::string& Platform : Platforms->GetAllPlatforms()) {
      if (const IOTARemoteProfilePtr Default = GetDefaultForPlatform(Platform)) {
        Writer->SetCurrentPropertyGroup(Format(kEnvProfileGroup, {Platform}));
        Writer->UpdateEnvFile("Profile", Default->GetName());
      } else {
        // No default: the property is emptied, which the reference writer takes as
        // removing it.
        Writer->SetCurrentPropertyGroup(Format(kEnvPlatformGroup, {Platform}));
        Writer->UpdateEnvFile("DefaultProfile", "");
      }
    }
  } catch (...) {
    Writer->EndEnvFileSave();
    throw;
  }
  Writer->EndEnvFileSave();
}

TProfileNameValidationError TRemoteProfileManager::InternalValidateProfileName(const std::string& Name,
                                                                               std::string& Message) const {
  if (Name.empty()) {
    Message = sProfileNameBlank;
    return pnveBadFileName;
  }
  if (!HasValidFileNameChars(Name)) {
    Message = Format(sInvalidProfileName, {Name});
    return pnveBadFileName;
  }
  if (GetProfile(Name)) {
    Message = Format(sDuplicateProfileName, {Name});
    return pnveDuplicate;
  }
  return pnveNone;
}

bool TRemoteProfileManager::ValidateProfileName(const std::string& Name) {
  std::string Message;
  if (InternalValidateProfileName(Name, Message) == pnveNone) return true;
  if (const auto& Messages = HostServices().Messages)
    Messages->MessageDlg(Message, TMsgDlgType::mtError, {TMsgDlgBtn::mbOK});
  return false;
}

void TRemoteProfileManager::Assign(const IRemoteProfileManagerPtr& Source) {
  const TProfileDictionary SourceProfiles = Source->GetProfiles();  // a copy: this loop changes live lists only
  for (const auto& [Platform, List] : SourceProfiles) {
    for (const IOTARemoteProfilePtr& SourceProfile : List) {
      const bool IsDefault = DefaultIn(SourceProfiles, SourceProfile->GetPlatformName()) == SourceProfile;
      if (const IOTARemoteProfilePtr Live = GetProfile(SourceProfile->GetName())) {
        Live->BeginUpdate();
        try {
          Live->SetPlatformName(SourceProfile->GetPlatformName());  // re-files at once
          Live->SetHostName(SourceProfile->GetHostName());
          Live->SetPortNumber(SourceProfile->GetPortNumber());
          Live->SetCredential(SourceProfile->GetCredential());
          Live->SetSystemRoot(SourceProfile->GetSystemRoot());
          Live->SetPaths(SourceProfile->GetPaths());
          if (IsDefault) SetAsDefaultForPlatform(Live);
        } catch (...) {
          Live->EndUpdate();
          throw;
        }
        Live->EndUpdate();
      } else {
        AddProfile(SourceProfile->GetName(), SourceProfile->GetPlatformName(), SourceProfile->GetHostName(),
                   SourceProfile->GetPortNumber(), SourceProfile->GetCredential(), SourceProfile->GetSystemRoot(),
                   SourceProfile->GetPaths(), IsDefault);
      }
    }
  }

  std::vector<std::string> Platforms;
  for (const auto& Entry : FProfiles) Platforms.push_back(Entry.first);
  for (const std::string& Platform : Platforms) {
    auto It = FProfiles.find(Platform);
    for (std::size_t I = It == FProfiles.end() ? 0 : It->second.size(); I-- > 0;) {
      It = FProfiles.find(Platform);
      if (It == FProfiles.end() || I >= It->second.size()) continue;
      const IOTARemoteProfilePtr Live = It->second[I];
      const std::string Name = Live->GetName();
      if (FindIn(SourceProfiles, Name)) continue;
      RemoveProfile(Live);
      if (FSettings) RemoveProfileFile(GetProfileFileName(Name));
    }
  }

  if (FSettings) SaveOptions(*FSettings);
}

void TRemoteProfileManager::ProfileChanged(TRemoteProfile& Sender) {
  const IOTARemoteProfilePtr Profile = Sender.weak_from_this().lock();
  if (!Profile) return;
  FNameIndex.Sync(Profile.get());
  SendNotify(Profile, pnaChanged, false, "");
}

void TRemoteProfileManager::ProfileNameChanged(TRemoteProfile& Sender, const std::string& OldName) {
  const IOTARemoteProfilePtr Profile = Sender.weak_from_this().lock();
  if (!Profile) return;
  FNameIndex.Sync(Profile.get());
  SendNotify(Profile, pnaNameChanged, false, OldName);
}

void TRemoteProfileManager::PlatformNameChanged(TRemoteProfile& Sender, const std::string& OldPlatform) {
  const IOTARemoteProfilePtr Profile = Sender.weak_from_this().lock();
  if (!Profile) return;
  if (auto It = FProfiles.find(OldPlatform); It != FProfiles.end()) {
    auto& List = It->second;
    if (auto Found = std::find(List.begin(), List.end(), Profile); Found != List.end()) {
      List.erase(Found);
      FNameIndex.Remove(Profile.get());
    }
  }
  AddProfile(Profile);
}

namespace {
TRemoteProfileManagerPtr& ProcessManager() {
  static TRemoteProfileManagerPtr Manager;
  return Manager;
}
}  // namespace

TRemoteProfileManagerPtr RemoteProfileMgr() {
  TRemoteProfileManagerPtr& Manager = ProcessManager();
  if (!Manager) Manager = TRemoteProfileManager::Create(HostServices().AppIniFile);
  return Manager;
}

void ResetRemoteProfileMgrForTesting() { ProcessManager().reset(); }

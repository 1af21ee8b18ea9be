// Profile files: GetProfileFileName, SaveProfileFile, LoadProfileFile, LoadProfile (import)
// and MergeRemoteProfile. The file format belongs to the agent library's profile object
// (docs/profile-file-format.md for the Hestrel library).
#include "persistence/ProfileFiles.h"

#include <filesystem>

#include "core/RemoteProfileManager.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/HostServices.h"

namespace {

const char kProfileFileExtension[] = ".profile";

/// The file's name without directory and without its last extension ("office.mac").
std::string NameFromFileName(const std::string& FileName) {
  const std::string Name = std::filesystem::path(FileName).filename().string();
  const std::size_t Dot = Name.rfind('.');
  return Dot == std::string::npos ? Name : Name.substr(0, Dot);
}

}  // namespace

std::string TRemoteProfileManager::GetProfileFileName(const std::string& ProfileName) {
  // Only a valid file name becomes a path, so no name reaches outside the directory; an
  // invalid name has no profile file (docs/DECISIONS.md).
  const std::string Dir = ProfilesDirectory();
  if (Dir.empty() || !IsValidProfileFileName(ProfileName)) return {};
  return Dir + ProfileName + kProfileFileExtension;
}

void TRemoteProfileManager::SaveProfileFile(const std::string& FileName, const std::string& ProfileName,
                                            const std::string& Platform, const std::string& HostName, std::int32_t Port,
                                            const TRACredential& Credential, const std::string& LocalRoot,
                                            const TRAPathItems& IncludePaths, const TRAPathItems& LibraryPaths,
                                            const TRAPathItems& OtherPaths, const TRAPathItems& FrameworkPaths) {
  TRAClientFactory* Library = TRAClientFactory::GetInstance();
  if (!Library) throw EProfileFileError("Cannot save a profile file: no remote-agent client library is installed");
  const std::unique_ptr<TRAClientProfile> Profile = Library->CreateProfile();
  const std::string Target = FileName.empty() ? GetProfileFileName(ProfileName) : FileName;
  Profile->SetProfileName(ProfileName);
  Profile->SetPlatform(Platform);
  Profile->SetHost(HostName);
  Profile->SetPort(Port);
  Profile->SetCredential(Credential);
  Profile->SetSysRoot(LocalRoot);
  Profile->SetIncludePath(IncludePaths, TIncludePathKind::Include);
  Profile->SetIncludePath(LibraryPaths, TIncludePathKind::Library);
  Profile->SetIncludePath(OtherPaths, TIncludePathKind::Other);
  Profile->SetIncludePath(FrameworkPaths, TIncludePathKind::Framework);
  if (Target.empty())
    throw EProfileFileError("Cannot save the profile file of '" + ProfileName +
                            "': the name is not a valid file name, or there is no application-data directory");
  if (!Profile->SaveProfileSettings(Target)) throw EProfileFileError(Profile->GetLastError());
}

bool TRemoteProfileManager::LoadProfileFile(const std::string& FileName, std::string& ProfileName,
                                            std::string& Platform, std::string& HostName, std::int32_t& Port,
                                            TOTARemoteProfileCredential& Credential, std::string& LocalRoot,
                                            TOTARemoteProfilePathArray& Paths, bool Confirm) {
  TRAClientFactory* Library = TRAClientFactory::GetInstance();
  const std::unique_ptr<TRAClientProfile> Profile = Library ? Library->CreateProfile() : nullptr;
  if (!Profile) return false;  // no agent library: no file can be read
  std::string Target = FileName.empty() ? GetProfileFileName(ProfileName) : FileName;
  std::error_code Ignored;
  // A profile saved before ZEPHPROFILESDIR was set is still read from the application-data
  // directory, so setting the variable never hides it; its next save moves it.
  if (FileName.empty() && !Target.empty() && !std::filesystem::exists(Target, Ignored)) {
    const std::string AppData = AppDataDirectory();  // "": no directory, so no file to fall back on
    if (!AppData.empty()) Target = AppData + ProfileName + kProfileFileExtension;
  }
  if (Target.empty() || !std::filesystem::exists(Target, Ignored)) return false;
  if (!Profile->ReadProfileSettings(Target)) return false;

  Platform = Profile->GetPlatform();
  ProfileName = Profile->GetProfileName();
  if (ProfileName.empty()) ProfileName = NameFromFileName(Target);
  std::string Message;
  switch (InternalValidateProfileName(ProfileName, Message)) {
    case pnveBadFileName: ShowMessageDlg(Message, TMsgDlgType::mtError, {TMsgDlgBtn::mbOK}); return false;
    case pnveDuplicate:
      // Without a host to ask, nothing is overwritten (docs/DECISIONS.md).
      if (Confirm && ShowMessageDlg(Format(sConfirmImportOverwrite, {Message}), TMsgDlgType::mtConfirmation,
                                    {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo}) == TMsgDlgBtn::mbNo)
        return false;
      break;
    case pnveNone: break;
  }
  Paths = TOTARemoteProfilePathArray();  // path items are never taken from a profile file
  HostName = Profile->GetHost();
  Port = Profile->GetPort();
  LocalRoot = Profile->GetSysRoot(false);
  Credential = ToOTACredential(Profile->GetCredential());
  return true;
}

IOTARemoteProfilePtr TRemoteProfileManager::LoadProfile(const std::string& FileName) {
  std::string Name, Platform, HostName, LocalRoot;
  std::int32_t Port = 0;
  TOTARemoteProfileCredential Credential;
  TOTARemoteProfilePathArray Paths;
  if (!LoadProfileFile(FileName, Name, Platform, HostName, Port, Credential, LocalRoot, Paths, true)) return nullptr;
  if (const IOTARemoteProfilePtr Held = GetProfile(Name)) {
    // The held profile's path items stay as they were.
    Held->SetName(Name);
    Held->SetPlatformName(Platform);
    Held->SetHostName(HostName);
    Held->SetPortNumber(Port);
    Held->SetCredential(Credential);
    Held->SetSystemRoot(LocalRoot);
    return Held;
  }
  return AddProfile(Name, Platform, HostName, Port, Credential, LocalRoot, TOTARemoteProfilePathArray(), false);
}

void TRemoteProfileManager::MergeRemoteProfile(const IOTARemoteProfilePtr& Profile) {
  if (!Profile) return;
  const std::string Name = Profile->GetName();
  if (const IOTARemoteProfilePtr Held = GetProfile(Name)) RemoveProfile(Held);
  AddProfile(Name, Profile->GetPlatformName(), Profile->GetHostName(), Profile->GetPortNumber(),
             Profile->GetCredential(), Profile->GetSystemRoot(), Profile->GetPaths(), false);
  if (FSettings) SaveOptions(*FSettings);
}

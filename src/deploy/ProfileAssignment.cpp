// Profile assignment for projects: whether a project has a usable profile for a platform,
// and the ways a user gets one from there (the new-profile wizard, the selection dialog,
// the options page), each reached through a hook or the host so the core needs no user
// interface.
#include "core/ProfileHooks.h"
#include "core/RemoteProfileManager.h"
#include "core/ResourceStrings.h"
#include "deploy/SelectProfileHook.h"
#include "host/HostServices.h"
#include "host/NewRemoteProfile.h"

TSelectRemoteProfileDialogFunc SelectRemoteProfileDialogFunc;

std::uint8_t TRemoteProfileManager::EnsureProfile(const IOTAProjectPtr& Project, const std::string& PlatformName,
                                                  bool ForCompile, std::string& ErrorMessage) {
  const auto& Platforms = HostServices().Platforms;
  const IOTAPlatformPtr Platform = Platforms ? Platforms->GetPlatform(PlatformName) : nullptr;
  if (!Platform || !Project) return 0;  // a platform the host does not know needs nothing
  const IOTAProjectPlatformsPtr ProjectPlatforms = Project->GetProjectPlatforms();
  if (!ProjectPlatforms) return 0;
  const std::string ProjectType = Project->GetProjectType();
  const bool ToCompile = Platform->ProfileRequiredToCompile(ProjectType);
  const bool ToRun = Platform->ProfileRequiredToRun(ProjectType);
  if (!(ForCompile ? ToCompile : ToRun)) return 0;
  const std::string Assigned = ProjectPlatforms->GetProfile(PlatformName);
  if (!Assigned.empty() && GetProfile(Assigned)) return 0;
  ErrorMessage = sProfileRequired;
  return 2;
}

std::uint8_t TRemoteProfileManager::EnsureProfileForCompile(const IOTAProjectPtr& Project,
                                                            const std::string& PlatformName,
                                                            std::string& ErrorMessage) {
  return EnsureProfile(Project, PlatformName, true, ErrorMessage);
}

std::uint8_t TRemoteProfileManager::EnsureProfileForRun(const IOTAProjectPtr& Project, std::string& ErrorMessage) {
  if (!Project || !Project->GetProjectPlatforms()) return 0;
  return EnsureProfile(Project, Project->GetCurrentPlatform(), false, ErrorMessage);
}

IOTARemoteProfilePtr TRemoteProfileManager::ExecuteNewProfileWizard(const std::string& PlatformName, bool FixPlatform) {
  if (!ExecuteRemoteProfileWizardFunc) return nullptr;
  // Without a platform there is nothing to fix the wizard to.
  const IOTARemoteProfilePtr Made =
      ExecuteRemoteProfileWizardFunc(shared_from_this(), PlatformName, FixPlatform && !PlatformName.empty());
  if (!Made) return nullptr;  // cancelled: nothing added, nothing saved
  // The wizard's "Set as default" travels with the profile it answers.
  const auto New = std::dynamic_pointer_cast<IOTANewRemoteProfile>(Made);
  const IOTARemoteProfilePtr Added =
      AddProfile(Made->GetName(), Made->GetPlatformName(), Made->GetHostName(), Made->GetPortNumber(),
                 Made->GetCredential(), Made->GetSystemRoot(), Made->GetPaths(), New && New->GetAsDefault());
  if (FSettings) SaveOptions(*FSettings);
  return Added;
}

std::string TRemoteProfileManager::ShowSelectProfileDialog(const std::string& PlatformName) {
  const std::string Chosen = SelectRemoteProfileDialogFunc ? SelectRemoteProfileDialogFunc(PlatformName, *this) : "";
  if (!Chosen.empty()) WriteEnvOptions();  // the choice may have changed a platform's default
  return Chosen;
}

void TRemoteProfileManager::EditProfile(const std::string& ProfileName) {
  // The options page selects FSelectedProfile when it opens; the name is kept only while the
  // dialog is open, whichever way it closes.
  struct TClearSelected {
    ~TClearSelected() { FSelectedProfile.clear(); }
  } ClearSelected;
  FSelectedProfile = ProfileName;
  if (const auto& Registry = HostServices().Registry)
    Registry->EditOptions(std::string("Environment Options") + "." + "Connection Profile Manager");
}

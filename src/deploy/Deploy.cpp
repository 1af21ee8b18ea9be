// Deploy: whether a project can be deployed with a profile, and the deploy itself — the
// project's compile state asked first, then the host's build engine run on the project with
// the target "Deploy" under the host's build lock; the outcome is announced either way.
#include "core/RemoteProfileManager.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/HostServices.h"

namespace {

void ShowError(const char* Text) { ShowMessageDlg(Text, TMsgDlgType::mtError, {TMsgDlgBtn::mbOK}); }

/// Whether the project is compiled for (Config, Platform), or was compiled now because the
/// user agreed; the reasons it is not are shown.
bool CompiledForDeploy(IOTAProjectDeployment& Deployment, const std::string& Config, const std::string& Platform) {
  switch (Deployment.GetCompileState(Config, Platform)) {
    case 1:
    case 2: {
      // Without a host to ask, nothing is compiled unasked.
      const bool Compiled = ShowMessageDlg(sDeployMustCompile, TMsgDlgType::mtConfirmation,
                                           {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo}) == TMsgDlgBtn::mbYes &&
                            Deployment.GetCompileState("", "") == 0;
      if (!Compiled) ShowError(sDeployCompileFailed);
      return Compiled;
    }
    case 3: ShowError(sDeployUnknownError); return false;
    case 4: ShowError(sDeployNotSupported); return false;
    default: return true;
  }
}

/// The host's global build lock, held for the lifetime of this object.
class TBuildLock {
 public:
  explicit TBuildLock(IOTABuildServices& Build) : FBuild(Build) { FBuild.Lock(); }
  ~TBuildLock() { FBuild.UnLock(); }
  TBuildLock(const TBuildLock&) = delete;
  TBuildLock& operator=(const TBuildLock&) = delete;

 private:
  IOTABuildServices& FBuild;
};

}  // namespace

bool TRemoteProfileManager::CanDeployProject(const IOTAProjectPtr& Project, const IOTARemoteProfilePtr& Profile) const {
  if (!Project) return false;
  const bool Deployable = dynamic_cast<IOTAProjectDeployment*>(Project.get()) != nullptr;
  const std::string Current = Project->GetCurrentPlatform();
  // Apple device and simulator targets are deployed through a Mac profile.
  if (ParentPlatform(Current) != Current) return Profile && Deployable && Profile->GetPlatformName() == "OSX32";
  if (!Profile) return false;
  const IOTAProjectPlatformsPtr Platforms = Project->GetProjectPlatforms();
  const std::string ProfilePlatform = Profile->GetPlatformName();
  return Platforms && Platforms->GetSupported(ProfilePlatform) && ProfilePlatform == Current && Deployable;
}

bool TRemoteProfileManager::DeployProject(const IOTAProjectPtr& Project, const IOTARemoteProfilePtr& Profile,
                                          const std::string& Config, const std::string& Platform, bool Flag) {
  bool Ok = false;
  try {
    // A project that cannot be deployed with the profile is refused silently: the user
    // interface does not offer the command then.
    if (CanDeployProject(Project, Profile)) {
      const std::string ConfigName = Config.empty() ? Project->GetActiveConfigurationName() : Config;
      const std::string PlatformName = Platform.empty() ? Project->GetCurrentPlatform() : Platform;
      auto& Deployment = dynamic_cast<IOTAProjectDeployment&>(*Project);
      if (CompiledForDeploy(Deployment, ConfigName, PlatformName)) {
        Deployment.PrepareForDeploy();
        TBuildControl Control;
        Control.UserFlag = Flag;
        auto* Custom = dynamic_cast<IOTACustomProject*>(Project.get());
        if (Custom && Custom->GetModified()) Custom->Save();  // the engine reads the file
        const auto& Build = HostServices().Build;
        if (Custom && Build) {
          TBuildLock Lock(*Build);
          Ok = Build->InvokeMSBuild(
              *Custom, "Deploy",
              Format("Profile=%s;Config=%s;Platform=%s", {Profile->GetName(), ConfigName, PlatformName}), Control);
        }
      }
      if (Ok) FEvProjectDeployed.Send(Project, Profile);
    }
  } catch (...) {
    SendNotify(Profile, pnaAfterDeploy, false, "");
    throw;
  }
  SendNotify(Profile, pnaAfterDeploy, Ok, "");
  return Ok;
}

#include "core/RemoteProfileMonitor.h"

#include "core/RemoteProfileManager.h"
#include "core/Text.h"
#include "host/HostServices.h"

TRemoteProfileMonitor::TRemoteProfileMonitor() {
  FRemovedHandler = TRemoteProfileManager::FEvRemoteProfileRemoved.Add(
      [this](const IOTARemoteProfilePtr& Profile) { RemoteProfileRemoved(Profile); });
  FRenamedHandler = TRemoteProfileManager::FEvRemoteProfileRenamed.Add(
      [this](const IOTARemoteProfilePtr& Profile, const std::string& OldName) {
        RemoteProfileRenamed(Profile, OldName);
      });
}

TRemoteProfileMonitor::~TRemoteProfileMonitor() {
  TRemoteProfileManager::FEvRemoteProfileRemoved.Remove(FRemovedHandler);
  TRemoteProfileManager::FEvRemoteProfileRenamed.Remove(FRenamedHandler);
}

void TRemoteProfileMonitor::RemoteProfileRenamed(const IOTARemoteProfilePtr& Profile, const std::string& OldName) {
  ReplaceInProjects(Profile, OldName, Profile->GetName());
}

void TRemoteProfileMonitor::RemoteProfileRemoved(const IOTARemoteProfilePtr& Profile) {
  ReplaceInProjects(Profile, Profile->GetName(), "");
}

void TRemoteProfileMonitor::ReplaceInProjects(const IOTARemoteProfilePtr& Profile, const std::string& Match,
                                              const std::string& NewValue) {
  const auto& Projects = HostServices().Projects;
  if (!Projects || !Profile) return;
  const IOTAProjectGroupPtr Group = Projects->GetMainProjectGroup();
  if (!Group) return;  // runs only when a main project group is open
  const std::string Platform = Profile->GetPlatformName();
  Projects->BeginUpdate();
  try {
    for (int I = 0; I < Group->GetProjectCount(); ++I) {
      const IOTAProjectPtr Project = Group->GetProject(I);
      const IOTAProjectPlatformsPtr Settings = Project ? Project->GetProjectPlatforms() : nullptr;
      if (!Settings) continue;
      if (SameText(Settings->GetProfile(Platform), Match)) Settings->SetProfile(Platform, NewValue);
    }
  } catch (...) {
    Projects->EndUpdate();
    throw;
  }
  Projects->EndUpdate();
}

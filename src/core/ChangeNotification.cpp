// Change notification: the notifier registry, SendNotify and NotifyRenames.
#include <filesystem>

#include "core/RemoteProfileManager.h"

TRemoteProfileManagerPtr TRemoteProfileManager::CreateWorkingCopy() {
  TRemoteProfileManagerPtr Copy = Create(nullptr);
  Copy->FWorkingCopy = true;
  return Copy;
}

std::int32_t TRemoteProfileManager::AddNotifier(const IOTARemoteProfileNotifierPtr& Notifier) {
  // Always appends, and removal only empties a slot: every index handed out stays valid.
  FNotifiers.push_back(Notifier);
  return static_cast<std::int32_t>(FNotifiers.size() - 1);
}

void TRemoteProfileManager::RemoveNotifier(std::int32_t Index) {
  if (Index >= 0 && static_cast<std::size_t>(Index) < FNotifiers.size())
    FNotifiers[static_cast<std::size_t>(Index)] = nullptr;  // slots are never compacted
}

void TRemoteProfileManager::SendNotify(const IOTARemoteProfilePtr& Profile, TProfileNotifyAction Action,
                                       bool Success, const std::string& OldName) {
  if (FDisableNotifications || Action < pnaAdded || Action > pnaAfterDeploy) return;

  // Registered notifiers always hear first. Index walk: a notifier may register another.
  for (std::size_t I = 0; I < FNotifiers.size(); ++I) {
    const IOTARemoteProfileNotifierPtr Notifier = FNotifiers[I];
    if (!Notifier) continue;
    switch (Action) {
      case pnaNameChanged: Notifier->ProfileRenamed(Profile, OldName); break;
      case pnaChanged: Notifier->ProfileChanged(Profile); break;
      case pnaAdded: Notifier->ProfileAdded(Profile); break;
      case pnaRemoved: Notifier->ProfileRemoved(Profile); break;
      case pnaAfterRun:
      case pnaAfterDeploy: {
        const auto Extended = std::dynamic_pointer_cast<IOTARemoteProfileNotifier2>(Notifier);
        if (!Extended) break;
        if (Action == pnaAfterRun)
          Extended->AfterRun(Success, Profile);
        else
          Extended->AfterDeploy(Success, Profile);
        break;
      }
    }
  }

  // A working copy's edits reach the program's subscribers (the project monitor among them)
  // only when the copy is committed: NotifyRenames, Assign and RemoveProfile of the live manager.
  if (FWorkingCopy) return;
  switch (Action) {
    case pnaAdded: FEvRemoteProfileAdded.Send(Profile); break;
    case pnaRemoved: FEvRemoteProfileRemoved.Send(Profile); break;
    case pnaNameChanged: FEvRemoteProfileRenamed.Send(Profile, OldName); break;
    case pnaChanged: FEvRemoteProfileChanged.Send(Profile); break;
    case pnaAfterRun: FEvAfterRun.Send(Success, Profile); break;
    case pnaAfterDeploy: FEvAfterDeploy.Send(Success, Profile); break;
  }
}

void TRemoteProfileManager::NotifyRenames(const std::vector<std::pair<std::string, std::string>>& Renames) {
  for (const auto& [OldName, NewName] : Renames) {
    const IOTARemoteProfilePtr Profile = GetProfile(OldName);
    if (!Profile) continue;
    // Another profile under the new name is being replaced — or, for a case-only rename,
    // the profile itself, which then leaves the manager.
    if (const IOTARemoteProfilePtr Existing = GetProfile(NewName)) {
      RemoveProfile(Existing);
      if (FSettings) {
        std::error_code Ignored;
        std::filesystem::remove(GetProfileFileName(Existing->GetName()), Ignored);
      }
    }
    if (FSettings) {
      std::error_code Ignored;  // written again under the new name when the options are saved
      std::filesystem::remove(GetProfileFileName(Profile->GetName()), Ignored);
    }
    Profile->SetName(NewName);
  }
}

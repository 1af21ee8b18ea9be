// The reference host's platform SDKs in the settings store (ProfileSdkStore.h).
#include "hosts/linux/ProfileSdkStore.h"

#include <utility>

#include "persistence/DefaultSdkPaths.h"
#include "persistence/SettingsStoreLayout.h"
#include "persistence/StoredPathItems.h"

namespace {

const char SectionRoot[] = "ProfileSDKs\\";

}  // namespace

TProfileSdkStore::TProfileSdkStore(TCustomIniFilePtr Settings) : FSettings(std::move(Settings)) {}

TProfileSdkStorePtr TProfileSdkStore::Attach(TCustomIniFilePtr Settings, TRemoteProfileManager& Live) {
  auto Store = std::make_shared<TProfileSdkStore>(std::move(Settings));
  TOTARemoteProfilePathArray Items;
  for (const auto& [Platform, Profiles] : Live.GetProfiles())
    for (const IOTARemoteProfilePtr& Profile : Profiles)
      if (Store->Read(Profile->GetName(), Items)) Profile->SetPaths(Items);
  Live.AddNotifier(Store);
  return Store;
}

std::string TProfileSdkStore::SectionName(const std::string& ProfileName) { return SectionRoot + ProfileName; }

bool TProfileSdkStore::HasEntry(const std::string& ProfileName) const {
  return FSettings && FSettings->ReadInteger(SectionName(ProfileName), StoreLayout::PathCount, -1) >= 0;
}

bool TProfileSdkStore::Read(const std::string& ProfileName, TOTARemoteProfilePathArray& Items) const {
  Items = {};
  if (!FSettings) return false;
  const std::string Section = SectionName(ProfileName);
  const std::int32_t Count = FSettings->ReadInteger(Section, StoreLayout::PathCount, -1);
  if (Count < 0) return false;
  Items = ReadStoredPathItems(*FSettings, Section, Count);
  return true;
}

void TProfileSdkStore::Write(const std::string& ProfileName, const TOTARemoteProfilePathArray& Items) {
  if (!FSettings) return;
  const std::string Section = SectionName(ProfileName);
  FSettings->EraseSection(Section);
  FSettings->WriteInteger(Section, StoreLayout::PathCount, static_cast<std::int32_t>(Items.size()));
  WriteStoredPathItems(*FSettings, Section, Items);
}

void TProfileSdkStore::Erase(const std::string& ProfileName) {
  if (FSettings) FSettings->EraseSection(SectionName(ProfileName));
}

TOTARemoteProfilePathArray TProfileSdkStore::PathItemsOf(const IOTARemoteProfilePtr& Profile) const {
  if (!Profile) return {};
  TOTARemoteProfilePathArray Items;
  if (Read(Profile->GetName(), Items)) return Items;
  return Profile->GetPaths();
}

void TProfileSdkStore::ProfileRenamed(const IOTARemoteProfilePtr& Profile, const std::string& OldName) {
  if (!Profile) return;
  const std::string NewName = Profile->GetName();
  // Read first, then erase, then write: section names compare ignoring case, so for a
  // change of letter case only the old and the new entry are the same section.
  TOTARemoteProfilePathArray Items;
  const bool Had = Read(OldName, Items);
  Erase(OldName);
  if (Had)
    Write(NewName, Items);
  else
    Erase(NewName);  // the entry moves, also its absence: no stale entry of the new name stays
}

void TProfileSdkStore::ProfileChanged(const IOTARemoteProfilePtr& Profile) {
  if (Profile) Write(Profile->GetName(), Profile->GetPaths());
}

void TProfileSdkStore::ProfileAdded(const IOTARemoteProfilePtr& Profile) {
  if (!Profile || HasEntry(Profile->GetName())) return;
  TOTARemoteProfilePathArray Items = Profile->GetPaths();
  if (Items.empty()) Items = GetDefaultPaths(Profile->GetPlatformName());
  Write(Profile->GetName(), Items);
}

void TProfileSdkStore::ProfileRemoved(const IOTARemoteProfilePtr& Profile) {
  if (Profile) Erase(Profile->GetName());
}

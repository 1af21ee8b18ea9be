// The reference host's platform SDKs in the settings store (ProfileSdkStore.h).
#include "host/linux/ProfileSdkStore.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "persistence/DefaultSdkPaths.h"

namespace {

const char SectionRoot[] = "ProfileSDKs\\";
/// As Part 2.1's loader: a damaged count cannot make the reader allocate billions of items.
constexpr std::int32_t MaxPathCount = 65536;

std::string Numbered(const char* Name, std::size_t Index) { return Name + std::to_string(Index); }

}  // namespace

TProfileSdkStore::TProfileSdkStore(TCustomIniFilePtr Settings) : FSettings(std::move(Settings)) {}

std::string TProfileSdkStore::SectionName(const std::string& ProfileName) { return SectionRoot + ProfileName; }

bool TProfileSdkStore::HasEntry(const std::string& ProfileName) const {
  return FSettings && FSettings->ReadInteger(SectionName(ProfileName), "PathCount", -1) >= 0;
}

bool TProfileSdkStore::Read(const std::string& ProfileName, TOTARemoteProfilePathArray& Items) const {
  Items = {};
  if (!FSettings) return false;
  const std::string Section = SectionName(ProfileName);
  const std::int32_t Count = FSettings->ReadInteger(Section, "PathCount", -1);
  if (Count < 0) return false;
  std::vector<TOTARemoteProfilePathItem> Read(static_cast<std::size_t>(std::min(Count, MaxPathCount)));
  for (std::size_t I = 0; I < Read.size(); ++I) {
    TOTARemoteProfilePathItem& Item = Read[I];
    Item.Path = FSettings->ReadString(Section, Numbered("Path", I), "");
    Item.Mask = FSettings->ReadString(Section, Numbered("Mask", I), "");
    Item.IncludeSubDir = FSettings->ReadBool(Section, Numbered("IncludeSubDir", I), false);
    // The type integer keeps its low 8 bits, as Part 2.1 reads it.
    Item.Type = static_cast<TOTAPathItemType>(FSettings->ReadInteger(Section, Numbered("Type", I), 0) & 0xFF);
  }
  Items = TOTARemoteProfilePathArray(std::move(Read));
  return true;
}

void TProfileSdkStore::Write(const std::string& ProfileName, const TOTARemoteProfilePathArray& Items) {
  if (!FSettings) return;
  const std::string Section = SectionName(ProfileName);
  FSettings->EraseSection(Section);
  FSettings->WriteInteger(Section, "PathCount", static_cast<std::int32_t>(Items.size()));
  for (std::size_t I = 0; I < Items.size(); ++I) {
    FSettings->WriteString(Section, Numbered("Path", I), Items[I].Path);
    FSettings->WriteString(Section, Numbered("Mask", I), Items[I].Mask);
    FSettings->WriteBool(Section, Numbered("IncludeSubDir", I), Items[I].IncludeSubDir);
    FSettings->WriteInteger(Section, Numbered("Type", I), static_cast<std::int32_t>(Items[I].Type));
  }
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

void TProfileSdkStore::ProfileChanged(const IOTARemoteProfilePtr&) {}

void TProfileSdkStore::ProfileAdded(const IOTARemoteProfilePtr& Profile) {
  if (!Profile || HasEntry(Profile->GetName())) return;
  TOTARemoteProfilePathArray Items = Profile->GetPaths();
  if (Items.empty()) Items = GetDefaultPaths(Profile->GetPlatformName());
  Write(Profile->GetName(), Items);
}

void TProfileSdkStore::ProfileRemoved(const IOTARemoteProfilePtr& Profile) {
  if (Profile) Erase(Profile->GetName());
}

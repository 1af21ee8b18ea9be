#include "core/ProfileNameIndex.h"

#include <algorithm>

#include "core/Text.h"

void TProfileNameIndex::Add(const IOTARemoteProfilePtr& Profile) {
  TFiling& Filing = FFilings[Profile.get()];
  if (Filing.Count == 0) Filing.Name = Profile->GetName();
  ++Filing.Count;
  FByName[LowerCase(Filing.Name)].push_back(Profile);
}

void TProfileNameIndex::Unfile(const std::string& Name, const IOTARemoteProfile* Profile,
                               IOTARemoteProfilePtr* Taken) {
  auto It = FByName.find(LowerCase(Name));
  if (It == FByName.end()) return;
  auto& Filed = It->second;
  auto Found = std::find_if(Filed.begin(), Filed.end(), [&](const auto& P) { return P.get() == Profile; });
  if (Found == Filed.end()) return;
  if (Taken) *Taken = *Found;
  Filed.erase(Found);
  if (Filed.empty()) FByName.erase(It);
}

void TProfileNameIndex::Remove(const IOTARemoteProfile* Profile) {
  auto It = FFilings.find(Profile);
  if (It == FFilings.end()) return;
  Unfile(It->second.Name, Profile, nullptr);
  if (--It->second.Count == 0) FFilings.erase(It);
}

void TProfileNameIndex::Sync(const IOTARemoteProfile* Profile) {
  auto It = FFilings.find(Profile);
  if (It == FFilings.end()) return;
  const std::string Current = Profile->GetName();
  if (It->second.Name == Current) return;
  std::vector<IOTARemoteProfilePtr> Moved;
  for (int I = 0; I < It->second.Count; ++I) {
    IOTARemoteProfilePtr Taken;
    Unfile(It->second.Name, Profile, &Taken);
    if (Taken) Moved.push_back(std::move(Taken));
  }
  It->second.Name = Current;
  auto& Filed = FByName[LowerCase(Current)];
  Filed.insert(Filed.end(), Moved.begin(), Moved.end());
}

const std::vector<IOTARemoteProfilePtr>* TProfileNameIndex::Find(const std::string& Name) const {
  auto It = FByName.find(LowerCase(Name));
  return It == FByName.end() ? nullptr : &It->second;
}

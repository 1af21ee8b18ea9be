// A writer's commit to a settings store (see StoreCommit.h).
#include "hosts/linux/StoreCommit.h"

#include <filesystem>
#include <fstream>
#include <vector>

#include "persistence/ProfileFiles.h"

namespace LinuxHost {

std::string AddingListFileName(const std::string& SettingsFileName) { return SettingsFileName + ".adding"; }

void RemoveUncommittedProfileFiles(const std::string& SettingsFileName, const TRemoteProfileManager& Live) {
  std::ifstream List(AddingListFileName(SettingsFileName));
  if (!List) return;
  for (std::string Name; std::getline(List, Name);)
    if (!Live.GetProfile(Name)) RemoveProfileFile(Live.GetProfileFileName(Name));
  std::error_code Ignored;
  std::filesystem::remove(AddingListFileName(SettingsFileName), Ignored);
}

bool CommitMerging(const std::string& SettingsFileName, const TRemoteProfileManager& Live,
                   const TRemoteProfileManager& Copy, const std::function<bool()>& MergeAndWrite) {
  std::vector<std::string> Adding;
  for (const auto& [Platform, List] : Copy.GetProfiles())
    for (const IOTARemoteProfilePtr& P : List)
      if (!Live.GetProfile(P->GetName())) Adding.push_back(P->GetName());
  if (!Adding.empty()) {
    std::ofstream List(AddingListFileName(SettingsFileName), std::ios::trunc);
    for (const std::string& Name : Adding) List << Name << '\n';
  }
  const bool Written = MergeAndWrite();
  if (!Written)
    for (const std::string& Name : Adding) RemoveProfileFile(Live.GetProfileFileName(Name));
  std::error_code Ignored;
  std::filesystem::remove(AddingListFileName(SettingsFileName), Ignored);
  return Written;
}

}  // namespace LinuxHost

// A writer's commit to a settings store (under its writer lock, StoreLock.h). The profile files
// of names new to the store are written before the settings file, so those names are listed in
// "<settings file>.adding" until it is written: a commit that fails removes their files itself,
// and the next writer removes those a killed one left (names the committed store does not hold).
// Files of other names are never touched, since another store may share the data folder.
#pragma once

#include <functional>
#include <string>

#include "core/RemoteProfileManager.h"

namespace LinuxHost {

/// The list of names a commit adds: the settings file's own name + ".adding".
std::string AddingListFileName(const std::string& SettingsFileName);

/// Removes the profile files a killed writer listed as adding that Live does not hold, then
/// the list.
void RemoveUncommittedProfileFiles(const std::string& SettingsFileName, const TRemoteProfileManager& Live);

/// Lists the names of Copy that Live does not hold, runs MergeAndWrite (which hands Copy to
/// Live and writes the settings file), removes their profile files again when it fails, and
/// removes the list. Answers MergeAndWrite's result.
bool CommitMerging(const std::string& SettingsFileName, const TRemoteProfileManager& Live,
                   const TRemoteProfileManager& Copy, const std::function<bool()>& MergeAndWrite);

}  // namespace LinuxHost

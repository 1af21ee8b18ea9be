// The hook through which ShowSelectProfileDialog opens the profile selection dialog without
// the core depending on user interface. The dialog's unit fills it at start-up; until then
// it is empty and no profile is chosen.
#pragma once

#include <functional>
#include <string>

#include "core/RemoteProfileFwd.h"

/// Lets the user choose a profile for a platform; answers its name, "" when none was chosen.
using TSelectRemoteProfileDialogFunc =
    std::function<std::string(const std::string& PlatformName, TRemoteProfileManager& Manager)>;

extern TSelectRemoteProfileDialogFunc SelectRemoteProfileDialogFunc;

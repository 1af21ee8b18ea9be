// The two hooks through which the core opens user interface without depending on it: the
// new-profile wizard and the profile selector. The user-interface units fill them at start-up;
// until then they are empty and their callers do nothing.
#pragma once

#include <functional>
#include <string>

#include "core/RemoteProfileFwd.h"
#include "host/RemoteProfileServices.h"

/// Runs the new-profile wizard for a platform (fixed when FixPlatform); answers the profile the
/// user finished, or nullptr when the user cancelled.
using TExecuteRemoteProfileWizardFunc = std::function<IOTARemoteProfilePtr(
    const IOTARemoteProfileServicesPtr& Services, const std::string& PlatformName, bool FixPlatform)>;

/// Lets the user choose a profile of a platform (any platform when empty); answers the chosen
/// profile, or nullptr when none was chosen.
using TShowProfileSelectorFunc =
    std::function<IOTARemoteProfilePtr(const std::string& PlatformName, TRemoteProfileManager& Manager)>;

extern TExecuteRemoteProfileWizardFunc ExecuteRemoteProfileWizardFunc;
extern TShowProfileSelectorFunc ShowProfileSelectorFunc;

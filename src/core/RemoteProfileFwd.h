// Pointer aliases of the profile core, so that no caller spells the pointer types.
#pragma once

#include <memory>

class TRemoteProfile;
class IRemoteProfile;
class TRemoteProfileManager;
class IRemoteProfileManager;
class TRemoteProfileMonitor;

using TRemoteProfilePtr = std::shared_ptr<TRemoteProfile>;
using IRemoteProfilePtr = std::shared_ptr<IRemoteProfile>;
using TRemoteProfileManagerPtr = std::shared_ptr<TRemoteProfileManager>;
using IRemoteProfileManagerPtr = std::shared_ptr<IRemoteProfileManager>;

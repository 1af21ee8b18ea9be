// TRemoteProfileMonitor keeps the projects of the open project group pointing at
// the right profiles when profiles are renamed or removed.
#pragma once

#include <string>

#include "core/Events.h"
#include "host/ToolsApi.h"

class TRemoteProfileMonitor {
 public:
  TRemoteProfileMonitor();   // subscribes to FEvRemoteProfileRemoved and FEvRemoteProfileRenamed
  ~TRemoteProfileMonitor();  // unsubscribes both
  TRemoteProfileMonitor(const TRemoteProfileMonitor&) = delete;
  TRemoteProfileMonitor& operator=(const TRemoteProfileMonitor&) = delete;

  void RemoteProfileRenamed(const IOTARemoteProfilePtr& Profile, const std::string& OldName);
  void RemoteProfileRemoved(const IOTARemoteProfilePtr& Profile);

 private:
  /// Sets, in every project of the open group, the profile for Profile's platform to
  /// NewValue where it names Match (ignoring case), inside the project manager's update.
  void ReplaceInProjects(const IOTARemoteProfilePtr& Profile, const std::string& Match,
                         const std::string& NewValue);
  THandlerId FRemovedHandler = 0;
  THandlerId FRenamedHandler = 0;
};

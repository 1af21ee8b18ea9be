// The host's build engine and its global build lock: a deploy runs the engine on the
// project with the target "Deploy" while it holds the lock.
#pragma once

#include <memory>
#include <string>

#include "host/Projects.h"

/// Made fresh for each run of the build engine, every flag cleared; the deploy's caller
/// hands its Boolean on in UserFlag.
struct TBuildControl {
  bool UserFlag = false;
  bool Cancelled = false;  ///< set by the engine when the build was stopped
};

class IOTABuildServices {
 public:
  virtual ~IOTABuildServices() = default;
  /// Takes the host's global build lock, waiting while another build holds it.
  virtual void Lock() = 0;
  virtual void UnLock() = 0;
  /// Runs the build engine on the project with Target and Properties ("Name=Value;..."),
  /// its output shown as it runs; answers whether the engine reported success.
  virtual bool InvokeMSBuild(IOTACustomProject& Project, const std::string& Target, const std::string& Properties,
                             TBuildControl& Control) = 0;
};
using IOTABuildServicesPtr = std::shared_ptr<IOTABuildServices>;

// The host's platform services (Parts 2.3 GetPlatformDisplayName, 1.2 WriteEnvOptions, 4.1).
#pragma once

#include <memory>
#include <string>
#include <vector>

/// One of the host's platforms.
class IOTAPlatform {
 public:
  virtual ~IOTAPlatform() = default;
  virtual std::string GetName() const = 0;
  virtual std::string GetDisplayName() const = 0;
  /// Part 4.1 step 4: whether a project of ProjectType needs a profile to compile (A) / to run (B).
  virtual bool ProfileRequiredToCompile(const std::string& ProjectType) const = 0;
  virtual bool ProfileRequiredToRun(const std::string& ProjectType) const = 0;
};
using IOTAPlatformPtr = std::shared_ptr<IOTAPlatform>;

/// The host's platform manager.
class IOTAPlatformServices {
 public:
  virtual ~IOTAPlatformServices() = default;
  /// Every platform identifier the host knows, in the host's order.
  virtual std::vector<std::string> GetAllPlatforms() const = 0;
  /// The platform object of an identifier (exact comparison), or nullptr.
  virtual IOTAPlatformPtr GetPlatform(const std::string& PlatformName) const = 0;
};
using IOTAPlatformServicesPtr = std::shared_ptr<IOTAPlatformServices>;

// The host's platform services: identifiers in the host's order, display names, and whether
// a project needs a profile.
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
  /// Whether a project of ProjectType needs a profile to compile / to run.
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

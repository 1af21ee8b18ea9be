// The host's project services: the open project group and each project's profiles.
#pragma once

#include <memory>
#include <string>

/// The host's per-platform project interface: which profile a project uses per platform.
class IOTAProjectPlatforms {
 public:
  virtual ~IOTAProjectPlatforms() = default;
  virtual std::string GetProfile(const std::string& PlatformName) const = 0;
  virtual void SetProfile(const std::string& PlatformName, const std::string& ProfileName) = 0;
};
using IOTAProjectPlatformsPtr = std::shared_ptr<IOTAProjectPlatforms>;

class IOTAProject {
 public:
  virtual ~IOTAProject() = default;
  virtual std::string GetFileName() const = 0;
  /// The project's type as IOTAPlatform's profile questions take it.
  virtual std::string GetProjectType() const = 0;
  virtual std::string GetCurrentPlatform() const = 0;
  virtual std::string GetActiveConfigurationName() const = 0;
  /// The per-platform project interface, or nullptr when the project does not offer it.
  virtual IOTAProjectPlatformsPtr GetProjectPlatforms() = 0;
};
using IOTAProjectPtr = std::shared_ptr<IOTAProject>;

class IOTAProjectGroup {
 public:
  virtual ~IOTAProjectGroup() = default;
  virtual int GetProjectCount() const = 0;
  virtual IOTAProjectPtr GetProject(int Index) const = 0;
};
using IOTAProjectGroupPtr = std::shared_ptr<IOTAProjectGroup>;

class IOTAProjectServices {
 public:
  virtual ~IOTAProjectServices() = default;
  /// The open main project group, or nullptr when none is open.
  virtual IOTAProjectGroupPtr GetMainProjectGroup() const = 0;
  /// Update bracket of the host's project manager (the monitor edits projects inside it).
  virtual void BeginUpdate() = 0;
  virtual void EndUpdate() = 0;
};
using IOTAProjectServicesPtr = std::shared_ptr<IOTAProjectServices>;

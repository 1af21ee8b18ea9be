// The host's project services: the open project group, each project's profiles, and what
// a deploy asks of a project (its compile state, its preparation, the file the build
// engine runs).
#pragma once

#include <memory>
#include <string>

/// The host's per-platform project interface: which profile a project uses per platform.
class IOTAProjectPlatforms {
 public:
  virtual ~IOTAProjectPlatforms() = default;
  virtual std::string GetProfile(const std::string& PlatformName) const = 0;
  virtual void SetProfile(const std::string& PlatformName, const std::string& ProfileName) = 0;
  /// Whether PlatformName is one of the platforms the project is built for (exact comparison).
  virtual bool GetSupported(const std::string& PlatformName) const = 0;
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

/// The project's deployment interface; a project offers it by deriving from it.
class IOTAProjectDeployment {
 public:
  virtual ~IOTAProjectDeployment() = default;
  /// The compile state of (Config, Platform): 0 up to date, 1 never compiled, 2 out of date,
  /// 3 cannot tell, 4 the project cannot be deployed for that platform. With both empty the
  /// host first compiles the active configuration for the current platform (the user agreed
  /// to compile) and answers for them.
  virtual int GetCompileState(const std::string& Config, const std::string& Platform) = 0;
  /// Called once the deploy goes ahead, before the build engine runs.
  virtual void PrepareForDeploy() = 0;
};

/// The project as the build engine runs it; a project offers it by deriving from it.
class IOTACustomProject {
 public:
  virtual ~IOTACustomProject() = default;
  /// The project file the build engine is given.
  virtual std::string GetProjectFileName() const = 0;
  /// Whether the project holds changes its file does not have yet; Save writes them.
  virtual bool GetModified() const = 0;
  virtual void Save() = 0;
};

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

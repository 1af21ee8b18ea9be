// The reference host's projects: an MSBuild project file (TMSBuildProjectFile) offering
// every project interface the system asks for, and the open project group, a group file
// that lists project files (docs/project-file-format.md).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/Projects.h"
#include "hosts/linux/LinuxBuild.h"
#include "hosts/linux/MSBuildProject.h"

class TLinuxProject : public IOTAProject,
                      public IOTAProjectPlatforms,
                      public IOTAProjectDeployment,
                      public IOTACustomProject,
                      public std::enable_shared_from_this<TLinuxProject> {
 public:
  /// Reads the project file (made absolute); nullptr with Error naming it when it cannot be
  /// read. Engine answers compile states; without one they are "cannot tell" (3).
  static std::shared_ptr<TLinuxProject> Open(const std::string& FileName, std::shared_ptr<TLinuxBuildServices> Engine,
                                             std::string& Error);

  std::string GetFileName() const override { return FFile.GetFileName(); }
  std::string GetProjectType() const override { return FFile.ProjectType; }
  /// The platform and configuration chosen for this session, else the file's defaults.
  std::string GetCurrentPlatform() const override;
  std::string GetActiveConfigurationName() const override;
  void SetCurrentPlatform(const std::string& Platform) { FPlatform = Platform; }
  void SetActiveConfigurationName(const std::string& Config) { FConfig = Config; }
  IOTAProjectPlatformsPtr GetProjectPlatforms() override { return shared_from_this(); }

  std::string GetProfile(const std::string& PlatformName) const override { return FFile.GetProfile(PlatformName); }
  /// Changes the text in memory (Save writes it); ignored for a platform the file does not list.
  void SetProfile(const std::string& PlatformName, const std::string& ProfileName) override;
  bool GetSupported(const std::string& PlatformName) const override;
  const std::vector<std::string>& GetPlatforms() const { return FFile.Platforms; }

  /// From the "Build" target's Inputs and Outputs, expanded by the engine for (Config,
  /// Platform): 0 when every output is newer than every input (or nothing is declared), 1
  /// when no output exists, 2 when one is missing or older than an input, 3 when the engine
  /// cannot tell, 4 for a platform the project does not list. Both empty: the engine runs
  /// "Build" for the current configuration and platform first.
  int GetCompileState(const std::string& Config, const std::string& Platform) override;
  /// Nothing to prepare: the engine reads the project file itself.
  void PrepareForDeploy() override {}

  std::string GetProjectFileName() const override { return FFile.GetFileName(); }
  bool GetModified() const override { return FModified; }
  /// Writes the file atomically (its mode kept); throws std::runtime_error naming it on failure.
  void Save() override;
  /// Save's write: false with Error instead of an exception.
  bool SaveFile(std::string& Error);

 private:
  LinuxHost::TMSBuildProjectFile FFile;
  std::shared_ptr<TLinuxBuildServices> FEngine;
  std::string FPlatform, FConfig;
  bool FModified = false;
};
using TLinuxProjectPtr = std::shared_ptr<TLinuxProject>;

/// The open project group. Inside the project manager's update (the monitor's rewrite of
/// profile names) the projects changed are written when the outermost update ends; a write
/// that fails is told through the notice and the file is left as it was.
class TLinuxProjectServices : public IOTAProjectServices,
                              public IOTAProjectGroup,
                              public std::enable_shared_from_this<TLinuxProjectServices> {
 public:
  /// Reads the group file and every project it lists (relative to the group's folder);
  /// nullptr with Error naming the file that could not be read.
  static std::shared_ptr<TLinuxProjectServices> OpenGroup(const std::string& FileName,
                                                          std::shared_ptr<TLinuxBuildServices> Engine,
                                                          TNoticeFunc Notice, std::string& Error);
  IOTAProjectGroupPtr GetMainProjectGroup() const override;
  void BeginUpdate() override { ++FUpdates; }
  void EndUpdate() override;
  int GetProjectCount() const override { return static_cast<int>(FProjects.size()); }
  IOTAProjectPtr GetProject(int Index) const override;

 private:
  std::vector<TLinuxProjectPtr> FProjects;
  TNoticeFunc FNotice;
  int FUpdates = 0;
};

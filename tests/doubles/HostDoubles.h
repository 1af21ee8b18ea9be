// Test doubles of the host interfaces (src/host), and a fixture that installs them.
#pragma once

#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/MemIniFile.h"
#include "host/HostServices.h"

/// Records every message box (text, kind, buttons) and answers from a script. With the
/// script empty it answers the first button offered and records that it had to.
class TMessageBoxDouble : public IOTAMessageServices {
 public:
  struct TShown {
    std::string Text;
    TMsgDlgType Kind;
    TMsgDlgButtons Buttons;
  };
  TMsgDlgBtn MessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons) override;
  std::vector<TShown> Shown;
  std::deque<TMsgDlgBtn> Answers;
  int UnscriptedAnswers = 0;
};

/// Platforms of the reference host's kind, with display names and profile requirements.
class TPlatformServicesDouble : public IOTAPlatformServices {
 public:
  struct TPlatformInfo {
    std::string Name;
    std::string DisplayName;
    bool NeedsProfileToCompile = false;
    bool NeedsProfileToRun = false;
  };
  TPlatformServicesDouble();  // "Win32", "Win64", "OSX32", "iOSDevice", "iOSSimulator", "Android", "Linux64"
  std::vector<std::string> GetAllPlatforms() const override;
  IOTAPlatformPtr GetPlatform(const std::string& PlatformName) const override;
  std::vector<TPlatformInfo> Platforms;
  mutable int Calls = 0;  ///< how often the host was asked anything
};

/// Directories in a fresh temporary folder, variables from a map, root macros "$(NAME)".
class TEnvironmentDouble : public IOTAEnvironment {
 public:
  explicit TEnvironmentDouble(std::filesystem::path Root);
  std::string fnAppDataDir() const override { return AppDataDir; }
  std::string fnBaseDocumentsDir() const override { return DocumentsDir; }
  std::string GetVariable(const std::string& Name) const override;
  void AddVariable(const std::string& Name, const std::string& DefaultValue) override;
  std::string ExpandRootMacro(const std::string& Text) const override;
  std::string AppDataDir;
  std::string DocumentsDir;
  std::map<std::string, std::string> Variables;
  std::vector<std::pair<std::string, std::string>> Declared;  ///< AddVariable calls
};

/// Records the build-environment file writes as text lines.
class TEnvFileWriterDouble : public IOTAEnvFileWriter {
 public:
  void BeginEnvFileSave() override { Log.push_back("Begin"); }
  void EndEnvFileSave() override { Log.push_back("End"); }
  void SetCurrentPropertyGroup(const std::string& Condition) override { Log.push_back("Group " + Condition); }
  void UpdateEnvFile(const std::string& Name, const std::string& Value) override {
    Log.push_back("Set " + Name + "=" + Value);
  }
  std::vector<std::string> Log;
};

/// A project with per-platform profile names (nullptr platforms: the project lacks them).
class TProjectDouble : public IOTAProject, public IOTAProjectPlatforms {
 public:
  explicit TProjectDouble(std::string FileName, bool OffersPlatforms = true)
      : FileName(std::move(FileName)), OffersPlatforms(OffersPlatforms) {}
  std::string GetFileName() const override { return FileName; }
  std::string GetProjectType() const override { return ProjectType; }
  std::string GetCurrentPlatform() const override { return CurrentPlatform; }
  std::string GetActiveConfigurationName() const override { return Configuration; }
  IOTAProjectPlatformsPtr GetProjectPlatforms() override;
  std::string GetProfile(const std::string& PlatformName) const override;
  void SetProfile(const std::string& PlatformName, const std::string& ProfileName) override;
  std::string FileName;
  bool OffersPlatforms;
  std::string ProjectType = "Application";
  std::string CurrentPlatform = "OSX32";
  std::string Configuration = "Debug";
  std::map<std::string, std::string> Profiles;
  std::shared_ptr<TProjectDouble> Self;  ///< set by TProjectServicesDouble::AddProject
};

class TProjectServicesDouble : public IOTAProjectServices, public IOTAProjectGroup {
 public:
  IOTAProjectGroupPtr GetMainProjectGroup() const override;
  void BeginUpdate() override { Log.push_back("BeginUpdate"); }
  void EndUpdate() override { Log.push_back("EndUpdate"); }
  int GetProjectCount() const override { return static_cast<int>(Projects.size()); }
  IOTAProjectPtr GetProject(int Index) const override { return Projects.at(Index); }
  std::shared_ptr<TProjectDouble> AddProject(const std::string& FileName, bool OffersPlatforms = true);
  bool GroupOpen = true;
  std::vector<std::shared_ptr<TProjectDouble>> Projects;
  std::vector<std::string> Log;
  std::weak_ptr<TProjectServicesDouble> Self;
};

/// Installs the doubles as the host for one test, in a fresh temporary folder, and puts
/// the previous host back afterwards. The process-wide manager is reset both ways.
class THostFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  /// Installs Services (after changing members of Host) again.
  void Reinstall();

  std::filesystem::path TempDir;
  std::shared_ptr<TMemIniFile> Ini;
  std::shared_ptr<TMessageBoxDouble> Messages;
  std::shared_ptr<TPlatformServicesDouble> Platforms;
  std::shared_ptr<TEnvironmentDouble> Environment;
  std::shared_ptr<TEnvFileWriterDouble> EnvFile;
  std::shared_ptr<TProjectServicesDouble> Projects;
  THostServices Host;

 private:
  THostServices FPrevious;
};

/// A fresh, empty temporary directory (removed by the fixture).
std::filesystem::path MakeTempDir(const std::string& Tag);

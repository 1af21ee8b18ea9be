// Test doubles of the host interfaces (src/host), and a fixture that installs them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "doubles/MemIniFile.h"
#include "host/HostServices.h"

class TRemoteProfileManager;

using TNames = std::vector<std::string>;

/// Head followed by More.
inline TNames Then(TNames Head, const TNames& More) {
  Head.insert(Head.end(), More.begin(), More.end());
  return Head;
}

/// Names of a platform's list, in order.
TNames NamesOf(const TRemoteProfileManager& Manager, const std::string& Platform);

/// Records every message box (text, kind, buttons) and answers from a script; with the
/// script empty it answers the first button offered.
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
};

/// The reference host's kind of platforms (identifier, display name) in the host's order;
/// none needs a profile.
class TPlatformServicesDouble : public IOTAPlatformServices {
 public:
  std::vector<std::string> GetAllPlatforms() const override;
  IOTAPlatformPtr GetPlatform(const std::string& PlatformName) const override;
  std::vector<std::pair<std::string, std::string>> Platforms{
      {"Win32", "32-bit Windows"}, {"Win64", "64-bit Windows"},       {"OSX32", "32-bit OS X"},
      {"iOSDevice", "iOS Device"}, {"iOSSimulator", "iOS Simulator"}, {"Android", "Android"},
      {"Linux64", "64-bit Linux"}};
};

/// Directories in a fresh temporary folder, variables from a map, root macros "$(NAME)".
class TEnvironmentDouble : public IOTAEnvironment {
 public:
  explicit TEnvironmentDouble(const std::filesystem::path& Root);
  std::string fnAppDataDir() const override { return AppDataDir; }
  std::string fnBaseDocumentsDir() const override { return DocumentsDir; }
  std::string GetVariable(const std::string& N) const override { return Variables.contains(N) ? Variables.at(N) : ""; }
  void AddVariable(const std::string& Name, const std::string& DefaultValue) override {
    Declared.emplace_back(Name, DefaultValue);
    Variables.try_emplace(Name, DefaultValue);
  }
  bool IsVariableSet(const std::string& N) const override {
    return Variables.contains(N) &&
           std::find(Declared.begin(), Declared.end(), std::pair(N, Variables.at(N))) == Declared.end();
  }
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
  void UpdateEnvFile(const std::string& N, const std::string& V) override { Log.push_back("Set " + N + "=" + V); }
  std::vector<std::string> Log;
};

/// A project with per-platform profile names; one that does not offer platforms has no
/// per-platform interface at all.
class TProjectDouble : public IOTAProject,
                       public IOTAProjectPlatforms,
                       public std::enable_shared_from_this<TProjectDouble> {
 public:
  explicit TProjectDouble(bool OffersPlatforms) : Offers(OffersPlatforms) {}
  std::string GetFileName() const override { return "app.dproj"; }
  std::string GetProjectType() const override { return "Application"; }
  std::string GetCurrentPlatform() const override { return "OSX32"; }
  std::string GetActiveConfigurationName() const override { return "Debug"; }
  IOTAProjectPlatformsPtr GetProjectPlatforms() override { return Offers ? shared_from_this() : nullptr; }
  std::string GetProfile(const std::string& P) const override { return Profiles.contains(P) ? Profiles.at(P) : ""; }
  void SetProfile(const std::string& Platform, const std::string& Name) override { Profiles[Platform] = Name; }
  bool GetSupported(const std::string&) const override { return true; }
  bool Offers;
  std::map<std::string, std::string> Profiles;
};

/// The open project group (none while GroupOpen is false) and its projects; logs the
/// project manager's update bracket.
class TProjectServicesDouble : public IOTAProjectServices,
                               public IOTAProjectGroup,
                               public std::enable_shared_from_this<TProjectServicesDouble> {
 public:
  IOTAProjectGroupPtr GetMainProjectGroup() const override {
    return GroupOpen ? std::const_pointer_cast<TProjectServicesDouble>(shared_from_this()) : nullptr;
  }
  void BeginUpdate() override { Log.push_back("BeginUpdate"); }
  void EndUpdate() override { Log.push_back("EndUpdate"); }
  int GetProjectCount() const override { return static_cast<int>(Projects.size()); }
  IOTAProjectPtr GetProject(int Index) const override { return Projects.at(static_cast<std::size_t>(Index)); }
  std::shared_ptr<TProjectDouble> AddProject(bool OffersPlatforms = true) {
    return Projects.emplace_back(std::make_shared<TProjectDouble>(OffersPlatforms));
  }
  bool GroupOpen = true;
  std::vector<std::shared_ptr<TProjectDouble>> Projects;
  std::vector<std::string> Log;
};

/// Installs the doubles as the host for one test, in a fresh temporary folder, and puts
/// the previous host back afterwards. The process-wide manager is reset both ways.
class THostFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  /// Installs Host again, after a test changed its members.
  void Reinstall() { SetHostServices(Host); }
  /// The one message shown so far is Text, of kind Kind; forgets it.
  void ExpectOneMessage(const std::string& Text, TMsgDlgType Kind = TMsgDlgType::mtError);

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

/// A fresh, empty temporary directory.
std::filesystem::path MakeTempDir(const std::string& Tag);

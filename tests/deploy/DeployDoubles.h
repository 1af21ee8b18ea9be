// Host doubles for profile assignment and deploy: platforms with profile rules, a project
// offering every project interface, the build engine and the host registry, each logging
// what the system asked of it into one shared log.
#pragma once

#include <deque>
#include <map>
#include <set>
#include <stdexcept>

#include "core/CoreTestSupport.h"
#include "doubles/ProfileFileLibrary.h"

/// Platforms by name with (needs a profile to compile, to run); the questions are logged.
class TRulePlatforms : public IOTAPlatformServices {
 public:
  std::map<std::string, std::pair<bool, bool>> Rules{
      {"Win32", {false, false}}, {"Android", {false, true}}, {"Linux64", {true, true}}, {"OSX32", {true, true}}};
  std::vector<std::string> GetAllPlatforms() const override { return {"Win32", "OSX32", "Android", "Linux64"}; }
  IOTAPlatformPtr GetPlatform(const std::string& Name) const override {
    struct TPlatform : IOTAPlatform {
      std::string Name;
      std::pair<bool, bool> Rule;
      std::string GetName() const override { return Name; }
      std::string GetDisplayName() const override { return Name; }
      bool ProfileRequiredToCompile(const std::string&) const override { return Rule.first; }
      bool ProfileRequiredToRun(const std::string&) const override { return Rule.second; }
    };
    if (!Rules.contains(Name)) return nullptr;
    auto Platform = std::make_shared<TPlatform>();
    Platform->Name = Name;
    Platform->Rule = Rules.at(Name);
    return Platform;
  }
};

/// A project of the current platform Platform, deployable (compile states answered from
/// States, 0 once they run out) and run by the build engine.
class TDeployProject : public TProjectDouble, public IOTAProjectDeployment, public IOTACustomProject {
 public:
  TDeployProject(TNames& Log, std::string Platform) : TProjectDouble(true), Platform(std::move(Platform)), Log(Log) {}
  std::string GetCurrentPlatform() const override { return Platform; }
  bool GetSupported(const std::string& Name) const override { return Supported.contains(Name); }
  int GetCompileState(const std::string& Config, const std::string& ForPlatform) override {
    Log.push_back("CompileState(" + Config + "," + ForPlatform + ")");
    if (States.empty()) return 0;
    const int State = States.front();
    States.pop_front();
    return State;
  }
  void PrepareForDeploy() override { Log.push_back("Prepare"); }
  std::string GetProjectFileName() const override { return "app.proj"; }
  bool GetModified() const override { return Modified; }
  void Save() override { Log.push_back("Save"); }
  std::string Platform;
  std::set<std::string> Supported{"Linux64", "Android"};
  std::deque<int> States;
  bool Modified = false;
  TNames& Log;
};

class TBuildDouble : public IOTABuildServices {
 public:
  explicit TBuildDouble(TNames& Log) : Log(Log) {}
  void Lock() override { Log.push_back("Lock"); }
  void UnLock() override { Log.push_back("UnLock"); }
  bool InvokeMSBuild(IOTACustomProject& Project, const std::string& Target, const std::string& Properties,
                     TBuildControl& Control) override {
    Log.push_back("MSBuild(" + Project.GetProjectFileName() + "," + Target + "," + Properties + "," +
                  (Control.UserFlag ? "true" : "false") + ")");
    if (Throws) throw std::runtime_error("engine failed to start");
    return Succeeds;
  }
  bool Succeeds = true, Throws = false;
  TNames& Log;
};

class TRegistryDouble : public IOTAHostRegistry {
 public:
  explicit TRegistryDouble(TNames& Log) : Log(Log) {}
  void RegisterAddInOptions(const std::string& Name) override { Log.push_back("RegisterAddInOptions " + Name); }
  void UnregisterAddInOptions(const std::string& Name) override { Log.push_back("UnregisterAddInOptions " + Name); }
  void RegisterPropertySheetClass(const std::string& Name) override { Log.push_back("RegisterPage " + Name); }
  void UnregisterPropertySheetClass(const std::string& Name) override { Log.push_back("UnregisterPage " + Name); }
  std::int32_t RegisterEnvSave(TEnvSaveRoutine Routine) override {
    Routines.push_back(std::move(Routine));
    Log.push_back("RegisterEnvSave " + std::to_string(Routines.size() + 6));
    return static_cast<std::int32_t>(Routines.size() + 6);
  }
  void UnregisterEnvSave(std::int32_t Id) override { Log.push_back("UnregisterEnvSave " + std::to_string(Id)); }
  void EditOptions(const std::string& PagePath) override {
    Log.push_back("EditOptions " + PagePath + " selecting " + TRemoteProfileManager::FSelectedProfile);
    if (Throws) throw std::runtime_error("dialog failed");
  }
  std::vector<TEnvSaveRoutine> Routines;
  bool Throws = false;
  TNames& Log;
};

/// The host doubles with these installed, and a manager over the in-memory store.
class TDeployFixture : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Host.Platforms = Rules;
    Host.Build = Build;
    Host.Registry = Registry;
    Host.AgentLibrary = std::make_shared<TProfileFileLibrary>();
    Reinstall();
    Manager = TRemoteProfileManager::Create(Ini);
  }
  TNames Log;
  std::shared_ptr<TRulePlatforms> Rules = std::make_shared<TRulePlatforms>();
  std::shared_ptr<TBuildDouble> Build = std::make_shared<TBuildDouble>(Log);
  std::shared_ptr<TRegistryDouble> Registry = std::make_shared<TRegistryDouble>(Log);
  TRemoteProfileManagerPtr Manager;
};

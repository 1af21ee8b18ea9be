// Profile assignment, deploy, and the plug-in's start-up and shut-down against host doubles:
// platforms with profile rules, a deployable project, the build engine and the host registry,
// each logging what the system asked of it into one shared log.
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <set>
#include <stdexcept>

#include "core/CoreTestSupport.h"
#include "core/ProfileHooks.h"
#include "core/ResourceStrings.h"
#include "deploy/SelectProfileHook.h"
#include "doubles/ProfileFileLibrary.h"
#include "host/startup/HostIntegration.h"

namespace {

/// Platforms by name with (needs a profile to compile, to run).
class TRulePlatforms : public IOTAPlatformServices {
 public:
  std::map<std::string, std::pair<bool, bool>> Rules{
      {"Win32", {false, false}}, {"Android", {false, true}}, {"Linux64", {true, true}}, {"OSX32", {true, true}}};
  std::vector<std::string> GetAllPlatforms() const override { return {"Win32", "OSX32", "Android", "Linux64"}; }
  IOTAPlatformPtr GetPlatform(const std::string& Name) const override {
    struct TPlatform : IOTAPlatform {
      TPlatform(std::string Name, std::pair<bool, bool> Rule) : Name(std::move(Name)), Rule(Rule) {}
      std::string GetName() const override { return Name; }
      std::string GetDisplayName() const override { return Name; }
      bool ProfileRequiredToCompile(const std::string&) const override { return Rule.first; }
      bool ProfileRequiredToRun(const std::string&) const override { return Rule.second; }
      std::string Name;
      std::pair<bool, bool> Rule;
    };
    return Rules.contains(Name) ? std::make_shared<TPlatform>(Name, Rules.at(Name)) : nullptr;
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

/// The host doubles with these installed, a manager over the in-memory store holding Box
/// (Linux64) and Mac (OSX32), a deployable Linux64 project, and the deploy notices recorded.
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
    Box = Add(*Manager, "Box", "Linux64");
    Mac = Add(*Manager, "Mac", "OSX32");
    Events.Log.clear();
  }
  void TearDown() override {
    TRemoteProfileManager::FEvProjectDeployed.Remove(Deployed);
    THostFixture::TearDown();
  }
  TNames Log;
  std::shared_ptr<TRulePlatforms> Rules = std::make_shared<TRulePlatforms>();
  std::shared_ptr<TBuildDouble> Build = std::make_shared<TBuildDouble>(Log);
  std::shared_ptr<TRegistryDouble> Registry = std::make_shared<TRegistryDouble>(Log);
  TRemoteProfileManagerPtr Manager;
  IOTARemoteProfilePtr Box, Mac;
  std::shared_ptr<TDeployProject> Project = std::make_shared<TDeployProject>(Log, "Linux64");
  TEventRecorder Events;
  THandlerId Deployed =
      TRemoteProfileManager::FEvProjectDeployed.Add([this](const IOTAProjectPtr& P, const IOTARemoteProfilePtr& R) {
        Events.Log.push_back("Deployed(" + P->GetFileName() + "," + NameOf(R) + ")");
      });
};
using ProfileAssignment = TDeployFixture;
using Deploy = TDeployFixture;
using Startup = TDeployFixture;

TEST_F(ProfileAssignment, AProfileIsMissingOnlyWhereThePlatformNeedsOneAndTheAssignedNameFindsNone) {
  const auto Offering = std::make_shared<TDeployProject>(Log, "Android");
  const auto Plain = std::make_shared<TProjectDouble>(false);
  Offering->Profiles = {{"Linux64", "box"}, {"OSX32", "Gone"}, {"Win32", ""}};
  // "Nowhere": a platform the host does not know; Plain: no per-platform interface; OSX32: the
  // assigned profile was deleted.
  using TCase = std::tuple<IOTAProjectPtr, std::string, bool, std::uint8_t>;
  const TCase Cases[] = {
      {Offering, "Nowhere", true, 0}, {Plain, "Linux64", true, 0},     {Offering, "Win32", false, 0},
      {Offering, "Android", true, 0}, {Offering, "Android", false, 2}, {Offering, "Linux64", true, 0},
      {Offering, "OSX32", false, 2},  {nullptr, "Linux64", true, 0},
  };
  for (const auto& [Tried, Platform, ForCompile, Expected] : Cases) {
    std::string Message = "untouched";
    EXPECT_EQ(Manager->EnsureProfile(Tried, Platform, ForCompile, Message), Expected) << Platform;
    EXPECT_EQ(Message, Expected ? sProfileRequired : "untouched") << Platform;
  }
  std::string Message;
  EXPECT_EQ(Manager->EnsureProfileForCompile(Offering, "Android", Message), 0);
  EXPECT_EQ(Manager->EnsureProfileForRun(Offering, Message), 2);
  EXPECT_EQ(Manager->EnsureProfileForRun(Plain, Message), 0);
}

TEST_F(ProfileAssignment, TheWizardsProfileIsAddedAndSavedACancelAddsNothing) {
  EXPECT_EQ(Manager->ExecuteNewProfileWizard("Linux64", true), nullptr);  // no hook
  const auto Editable = TRemoteProfileManager::Create(nullptr);
  ExecuteRemoteProfileWizardFunc = [&](const IOTARemoteProfileServicesPtr& Services, const std::string& Platform,
                                       bool Fix) {
    Log.push_back("Wizard(" + Platform + "," + (Fix ? "fixed" : "free") + ")");
    EXPECT_EQ(Services, Manager);
    return Platform.empty() ? nullptr  // cancelled
                            : Editable->AddProfile("New", Platform, "box.local", 2222, {"pw", true, false}, "/sdk",
                                                   {{"/usr/include", "*.h", true, ptIncludePath}}, false);
  };
  EXPECT_EQ(Manager->ExecuteNewProfileWizard("", true), nullptr);
  EXPECT_TRUE(Ini->Values("RemoteProfiles").empty());
  const IOTARemoteProfilePtr Added = Manager->ExecuteNewProfileWizard("Linux64", true);
  ExecuteRemoteProfileWizardFunc = nullptr;
  ASSERT_TRUE(Added && Added != Editable->GetProfile("New") && Added == Manager->GetProfile("New"));
  EXPECT_EQ(Added->GetHostName() + ":" + std::to_string(Added->GetPortNumber()) + Added->GetSystemRoot() + " " +
                Added->GetPaths()[0].Path,
            "box.local:2222/sdk /usr/include");
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\New", "HostName", ""), "box.local");
  EXPECT_EQ(Log, (TNames{"Wizard(,free)", "Wizard(Linux64,fixed)"}));
}

TEST_F(ProfileAssignment, AChosenProfileRewritesTheEnvFileAndEditProfileSelectsItOnlyWhileTheDialogIsOpen) {
  EXPECT_EQ(Manager->ShowSelectProfileDialog("Linux64"), "");  // no hook
  std::string Answer;
  SelectRemoteProfileDialogFunc = [&](const std::string& Platform, TRemoteProfileManager& M) {
    Log.push_back("Select " + Platform);
    EXPECT_EQ(&M, Manager.get());
    return Answer;
  };
  EXPECT_EQ(Manager->ShowSelectProfileDialog("Linux64"), "");
  EXPECT_TRUE(EnvFile->Log.empty());
  Answer = "Box";
  EXPECT_EQ(Manager->ShowSelectProfileDialog("OSX32"), "Box");
  SelectRemoteProfileDialogFunc = nullptr;
  EXPECT_EQ(EnvFile->Log.front() + EnvFile->Log.back(), "BeginEnd");
  Manager->EditProfile("Box");
  Registry->Throws = true;
  EXPECT_THROW(Manager->EditProfile("Mac"), std::runtime_error);
  EXPECT_EQ(TRemoteProfileManager::FSelectedProfile, "");
  EXPECT_EQ(Log, (TNames{"Select Linux64", "Select OSX32",
                         "EditOptions Environment Options.Connection Profile Manager selecting Box",
                         "EditOptions Environment Options.Connection Profile Manager selecting Mac"}));
}

TEST_F(Deploy, AProjectIsDeployedWithAProfileOfItsPlatformAndAppleTargetsWithTheMacsExactly) {
  const auto Lower = Add(*Manager, "mac2", "osx32");
  const auto Plain = std::make_shared<TProjectDouble>(true);  // no deployment interface
  using TCase = std::tuple<std::string, IOTARemoteProfilePtr, bool>;
  const TCase Cases[] = {
      {"iOSDevice", Mac, true},      {"IOSDEVICE", Mac, true}, {"iOSSimulator", Lower, false},
      {"iOSDevice", nullptr, false}, {"Linux64", Box, true},   {"Linux64", nullptr, false},
      {"Android", Box, false},       {"OSX32", Mac, false},  // the project is not built for OSX32
  };
  for (const auto& [Platform, Profile, Expected] : Cases) {
    Project->Platform = Platform;
    EXPECT_EQ(Manager->CanDeployProject(Project, Profile), Expected) << Platform << " " << NameOf(Profile);
  }
  EXPECT_FALSE(Manager->CanDeployProject(Plain, Mac));
  EXPECT_FALSE(Manager->CanDeployProject(nullptr, Box));
}

TEST_F(Deploy, TheCompileStateDecidesWhetherTheEngineRunsUnderTheLockAndTheOutcomeIsAlwaysAnnounced) {
  using B = TMsgDlgBtn;
  const std::string Engine = "MSBuild(app.proj,Deploy,Profile=Box;Config=Debug;Platform=Linux64,true)";
  const std::string Confirm = std::string("Confirm: ") + sDeployMustCompile;
  const std::string Failed = std::string("Error: ") + sDeployCompileFailed;
  using TCase = std::tuple<std::deque<int>, std::deque<B>, bool, bool, TNames, TNames>;
  const std::string State = "CompileState(Debug,Linux64)", Again = "CompileState(,)";
  const TNames Built{State, "Prepare", "Lock", Engine, "UnLock"};
  const TCase Cases[] = {
      {{0}, {}, true, true, {}, Built},
      {{7}, {}, true, true, {}, Built},
      {{0}, {}, false, false, {}, Built},
      {{1, 0}, {B::mbYes}, true, true, {Confirm}, {State, Again, "Prepare", "Lock", Engine, "UnLock"}},
      {{2, 1}, {B::mbYes}, true, false, {Confirm, Failed}, {State, Again}},
      {{1}, {B::mbNo}, true, false, {Confirm, Failed}, {State}},
      {{3}, {}, true, false, {std::string("Error: ") + sDeployUnknownError}, {State}},
      {{4}, {}, true, false, {std::string("Error: ") + sDeployNotSupported}, {State}},
  };
  for (const auto& [States, Answers, EngineSucceeds, Expected, Shown, Steps] : Cases) {
    Log.clear();
    Events.Log.clear();
    Messages->Shown.clear();
    Messages->Answers = Answers;
    Project->States = States;
    Build->Succeeds = EngineSucceeds;
    EXPECT_EQ(Manager->DeployProject(Project, Box, "", "", true), Expected);
    TNames Texts;
    for (const auto& M : Messages->Shown) Texts.push_back(std::string(MsgDlgTypeName(M.Kind)) + ": " + M.Text);
    EXPECT_EQ(Texts, Shown);
    EXPECT_EQ(Log, Steps);
    const std::string After = std::string("AfterDeploy(Box,") + (Expected ? "true)" : "false)");
    EXPECT_EQ(Events.Log, Expected ? TNames({"Deployed(app.dproj,Box)", After}) : TNames({After}));
  }
}

TEST_F(Deploy, ARefusedDeployIsSilentAndAFailingEngineStillReleasesTheLock) {
  EXPECT_FALSE(Manager->DeployProject(Project, nullptr, "", "", false));
  EXPECT_FALSE(Manager->DeployProject(Project, Mac, "", "", false));
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_TRUE(Log.empty());
  Project->Modified = true;
  Build->Throws = true;
  EXPECT_THROW(Manager->DeployProject(Project, Box, "Release", "Linux64", false), std::runtime_error);
  EXPECT_EQ(Log, (TNames{"CompileState(Release,Linux64)", "Prepare", "Save", "Lock",
                         "MSBuild(app.proj,Deploy,Profile=Box;Config=Release;Platform=Linux64,false)", "UnLock"}));
  EXPECT_EQ(Events.Log, (TNames{"AfterDeploy(nil,false)", "AfterDeploy(Mac,false)", "AfterDeploy(Box,false)"}));
}

TEST_F(Startup, EachUnitRegistersOnceAndShutDownUndoesItInReverseAfterTheLastOne) {
  PackageStartup();
  PackageStartup();  // counted: nothing registered twice
  EXPECT_TRUE(ExecuteRemoteProfileWizardFunc && ShowProfileSelectorFunc && SelectRemoteProfileDialogFunc);
  ASSERT_EQ(Registry->Routines.size(), 1u);
  Registry->Routines.front()(*EnvFile);  // the routine writes each platform's stored default
  EXPECT_EQ(EnvFile->Log.size(), 2 * Rules->GetAllPlatforms().size());
  EXPECT_EQ(Environment->Declared,
            (TMemIniFile::TValues{{"ZEPHPROFILESDIR", Environment->DocumentsDir + "/Profiles"}}));
  PackageShutdown();
  EXPECT_TRUE(RemoteProfileMonitorActive());
  TRemoteProfileManager::FSelectedProfile = "Box";
  PackageShutdown();
  PackageShutdown();  // one more than start-ups: nothing
  EXPECT_FALSE(RemoteProfileMonitorActive());
  EXPECT_EQ(TRemoteProfileManager::FSelectedProfile, "");
  EXPECT_FALSE(ExecuteRemoteProfileWizardFunc || ShowProfileSelectorFunc || SelectRemoteProfileDialogFunc);
  EXPECT_EQ(Log, (TNames{"RegisterAddInOptions TRemoteProfileAddInEnvironmentOptions", "RegisterEnvSave 7",
                         "RegisterPage TRemoteProfilePage", "UnregisterPage TRemoteProfilePage",
                         "UnregisterAddInOptions TRemoteProfileAddInEnvironmentOptions", "UnregisterEnvSave 7"}));
}

}  // namespace

// Profile assignment, deploy, and the plug-in's start-up and shut-down against host doubles.
#include <gtest/gtest.h>

#include "DeployDoubles.h"
#include "core/ProfileHooks.h"
#include "core/ResourceStrings.h"
#include "deploy/SelectProfileHook.h"
#include "host/startup/HostIntegration.h"

namespace {

class ProfileAssignment : public TDeployFixture {};

TEST_F(ProfileAssignment, AProfileIsMissingOnlyWhereThePlatformNeedsOneAndTheAssignedNameFindsNone) {
  Add(*Manager, "Box", "Linux64");
  Add(*Manager, "Mac", "iOSDevice");
  const auto Offering = std::make_shared<TDeployProject>(Log, "Android");
  const auto Plain = std::make_shared<TProjectDouble>(false);
  Offering->Profiles = {{"Linux64", "box"}, {"OSX32", "Gone"}, {"Win32", ""}};
  struct TCase {
    IOTAProjectPtr Project;
    std::string Platform;
    bool ForCompile;
    std::uint8_t Expected;
  };
  const TCase Cases[] = {
      {Offering, "Nowhere", true, 0},  // a platform the host does not know
      {Plain, "Linux64", true, 0},     // no per-platform interface
      {Offering, "Win32", false, 0},  {Offering, "Android", true, 0}, {Offering, "Android", false, 2},
      {Offering, "Linux64", true, 0}, {Offering, "OSX32", false, 2},  // the assigned profile was deleted
      {nullptr, "Linux64", true, 0},
  };
  for (const TCase& C : Cases) {
    std::string Message = "untouched";
    EXPECT_EQ(Manager->EnsureProfile(C.Project, C.Platform, C.ForCompile, Message), C.Expected) << C.Platform;
    EXPECT_EQ(Message, C.Expected ? sProfileRequired : "untouched") << C.Platform;
  }
  std::string Message;
  EXPECT_EQ(Manager->EnsureProfileForCompile(Offering, "Android", Message), 0);
  EXPECT_EQ(Manager->EnsureProfileForRun(Offering, Message), 2);
  EXPECT_EQ(Manager->EnsureProfileForRun(Plain, Message), 0);
}

TEST_F(ProfileAssignment, TheWizardsProfileIsAddedAndSavedACancelAddsNothing) {
  EXPECT_EQ(Manager->ExecuteNewProfileWizard("Linux64", true), nullptr);  // no hook
  IOTARemoteProfilePtr Made;
  ExecuteRemoteProfileWizardFunc = [&](const IOTARemoteProfileServicesPtr& Services, const std::string& Platform,
                                       bool Fix) {
    Log.push_back("Wizard(" + Platform + "," + (Fix ? "fixed" : "free") + ")");
    EXPECT_EQ(Services, Manager);
    return Made;
  };
  EXPECT_EQ(Manager->ExecuteNewProfileWizard("", true), nullptr);
  EXPECT_TRUE(Ini->Values("RemoteProfiles").empty());
  const auto Editable = TRemoteProfileManager::Create(nullptr);
  Made = Editable->AddProfile("New", "Linux64", "box.local", 2222, {"pw", true, false}, "/sdk",
                              {{"/usr/include", "*.h", true, ptIncludePath}}, false);
  const IOTARemoteProfilePtr Added = Manager->ExecuteNewProfileWizard("Linux64", true);
  ExecuteRemoteProfileWizardFunc = nullptr;
  ASSERT_NE(Added, nullptr);
  EXPECT_NE(Added, Made);
  EXPECT_EQ(Manager->GetProfile("New"), Added);
  EXPECT_EQ(Added->GetHostName() + ":" + std::to_string(Added->GetPortNumber()) + Added->GetSystemRoot(),
            "box.local:2222/sdk");
  EXPECT_EQ(Added->GetPaths().ToVector(), Made->GetPaths().ToVector());
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

class Deploy : public TDeployFixture {
 protected:
  void SetUp() override {
    TDeployFixture::SetUp();
    Box = Add(*Manager, "Box", "Linux64");
    Mac = Add(*Manager, "Mac", "OSX32");
    Events.Log.clear();
  }
  IOTARemoteProfilePtr Box, Mac;
  std::shared_ptr<TDeployProject> Project = std::make_shared<TDeployProject>(Log, "Linux64");
  TEventRecorder Events;
  THandlerId Deployed =
      TRemoteProfileManager::FEvProjectDeployed.Add([this](const IOTAProjectPtr& P, const IOTARemoteProfilePtr& R) {
        Events.Log.push_back("Deployed(" + P->GetFileName() + "," + NameOf(R) + ")");
      });
  void TearDown() override {
    TRemoteProfileManager::FEvProjectDeployed.Remove(Deployed);
    TDeployFixture::TearDown();
  }
};

TEST_F(Deploy, AProjectIsDeployedWithAProfileOfItsPlatformAndAppleTargetsWithTheMacsExactly) {
  const auto Lower = Add(*Manager, "mac2", "osx32");
  const auto Plain = std::make_shared<TProjectDouble>(true);  // no deployment interface
  struct TCase {
    std::string Platform;
    IOTARemoteProfilePtr Profile;
    bool Expected;
  };
  const TCase Cases[] = {
      {"iOSDevice", Mac, true},      {"IOSDEVICE", Mac, true}, {"iOSSimulator", Lower, false},
      {"iOSDevice", nullptr, false}, {"Linux64", Box, true},   {"Linux64", nullptr, false},
      {"Android", Box, false},       {"OSX32", Mac, false},  // the project is not built for OSX32
  };
  for (const TCase& C : Cases) {
    Project->Platform = C.Platform;
    EXPECT_EQ(Manager->CanDeployProject(Project, C.Profile), C.Expected) << C.Platform << " " << NameOf(C.Profile);
  }
  EXPECT_FALSE(Manager->CanDeployProject(Plain, Mac));
  EXPECT_FALSE(Manager->CanDeployProject(nullptr, Box));
}

TEST_F(Deploy, TheCompileStateDecidesWhetherTheEngineRunsUnderTheLockAndTheOutcomeIsAlwaysAnnounced) {
  using B = TMsgDlgBtn;
  const std::string Engine = "MSBuild(app.proj,Deploy,Profile=Box;Config=Debug;Platform=Linux64,true)";
  const std::string Confirm = std::string("Confirm: ") + sDeployMustCompile;
  const std::string Failed = std::string("Error: ") + sDeployCompileFailed;
  struct TCase {
    std::deque<int> States;
    std::deque<B> Answers;
    bool EngineSucceeds;
    bool Expected;
    TNames Shown, Steps;
  };
  const TNames Built{"CompileState(Debug,Linux64)", "Prepare", "Lock", Engine, "UnLock"};
  const TCase Cases[] = {
      {{0}, {}, true, true, {}, Built},
      {{7}, {}, true, true, {}, Built},
      {{0}, {}, false, false, {}, Built},
      {{1, 0},
       {B::mbYes},
       true,
       true,
       {Confirm},
       {"CompileState(Debug,Linux64)", "CompileState(,)", "Prepare", "Lock", Engine, "UnLock"}},
      {{2, 1}, {B::mbYes}, true, false, {Confirm, Failed}, {"CompileState(Debug,Linux64)", "CompileState(,)"}},
      {{1}, {B::mbNo}, true, false, {Confirm, Failed}, {"CompileState(Debug,Linux64)"}},
      {{3}, {}, true, false, {std::string("Error: ") + sDeployUnknownError}, {"CompileState(Debug,Linux64)"}},
      {{4}, {}, true, false, {std::string("Error: ") + sDeployNotSupported}, {"CompileState(Debug,Linux64)"}},
  };
  for (const TCase& C : Cases) {
    Log.clear();
    Events.Log.clear();
    Messages->Shown.clear();
    Messages->Answers = C.Answers;
    Project->States = C.States;
    Build->Succeeds = C.EngineSucceeds;
    EXPECT_EQ(Manager->DeployProject(Project, Box, "", "", true), C.Expected);
    TNames Shown;
    for (const auto& M : Messages->Shown) Shown.push_back(std::string(MsgDlgTypeName(M.Kind)) + ": " + M.Text);
    EXPECT_EQ(Shown, C.Shown);
    EXPECT_EQ(Log, C.Steps);
    const std::string After = std::string("AfterDeploy(Box,") + (C.Expected ? "true)" : "false)");
    EXPECT_EQ(Events.Log, C.Expected ? TNames({"Deployed(app.dproj,Box)", After}) : TNames({After}));
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

class Startup : public TDeployFixture {};

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

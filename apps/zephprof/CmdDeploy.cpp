// zephprof: the project commands over the reference host's MSBuild projects — ensure (does
// the project have the profile it needs), assign (record one), deploy (the build engine's
// "Deploy" target under the build lock) — and env-file, which writes the build-environment
// file that builds started from a terminal import.
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <memory>
#include <ostream>

#include "Commands.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "hosts/linux/LinuxEnvFileWriter.h"
#include "hosts/linux/LinuxProjects.h"

namespace {

struct TProjectArgs {
  std::string Project, Platform, Profile, Config;
  bool ForCompile = false, ForRun = false;
};

std::shared_ptr<TLinuxBuildServices> BuildServices() {
  return std::dynamic_pointer_cast<TLinuxBuildServices>(HostServices().Build);
}

TLinuxProjectPtr OpenProject(TAppContext& C, const std::string& FileName) {
  std::string Error;
  TLinuxProjectPtr Project = TLinuxProject::Open(FileName, BuildServices(), Error);
  if (!Project) C.Error(Error);
  return Project;
}

/// False, after saying which platforms the project has, when it is not built for Platform.
bool CheckProjectPlatform(TAppContext& C, const TLinuxProject& Project, const std::string& Platform) {
  if (Project.GetSupported(Platform)) return true;
  std::string Platforms;
  for (const std::string& Name : Project.GetPlatforms()) Platforms += (Platforms.empty() ? "" : ", ") + Name;
  C.Error(Format("Project '%s' is not built for platform '%s' (its platforms: %s)",
                 {Project.GetFileName(), Platform, Platforms}));
  return false;
}

int Ensure(TAppContext& C, const TProjectArgs& A) {
  const TLinuxProjectPtr P = OpenProject(C, A.Project);
  if (!P) return ExitFailed;
  const std::string Platform = A.Platform.empty() ? P->GetCurrentPlatform() : A.Platform;
  std::string Message;
  TRemoteProfileManager& Live = *C.Live();
  const std::uint8_t Missing = Live.EnsureProfile(P, Platform, A.ForCompile, Message);
  if (Missing != 0) {
    C.Error(TerminalText(Message));
    return ExitFailed;
  }
  const IOTARemoteProfilePtr Assigned = Live.GetProfile(P->GetProfile(Platform));
  C.Out() << Platform << ": " << (Assigned ? "profile '" + Assigned->GetName() + "'" : "no profile needed") << '\n';
  return ExitOk;
}

int Assign(TAppContext& C, const TProjectArgs& A) {
  const TLinuxProjectPtr P = OpenProject(C, A.Project);
  if (!P || !CheckProjectPlatform(C, *P, A.Platform)) return ExitFailed;
  std::string Name;  // "" clears the assignment
  if (!A.Profile.empty()) {
    const IOTARemoteProfilePtr Profile = C.FindProfile(A.Profile);
    if (!Profile) return ExitFailed;
    if (Profile->GetPlatformName() != ParentPlatform(A.Platform)) {
      C.Error(Format("Profile '%s' is a profile of platform '%s', not of '%s'",
                     {Profile->GetName(), Profile->GetPlatformName(), A.Platform}));
      return ExitFailed;
    }
    Name = Profile->GetName();
  }
  P->SetProfile(A.Platform, Name);
  std::string Error;
  if (P->GetModified() && !P->SaveFile(Error)) {
    C.Error(Error);
    return ExitFailed;
  }
  C.Out() << A.Platform << ": " << (Name.empty() ? "no profile" : "profile '" + Name + "'") << '\n';
  return ExitOk;
}

int Deploy(TAppContext& C, const TProjectArgs& A) {
  const TLinuxProjectPtr P = OpenProject(C, A.Project);
  if (!P) return ExitFailed;
  if (!A.Platform.empty()) P->SetCurrentPlatform(A.Platform);
  if (!A.Config.empty()) P->SetActiveConfigurationName(A.Config);
  const std::string Platform = P->GetCurrentPlatform();
  if (!CheckProjectPlatform(C, *P, Platform)) return ExitFailed;
  TRemoteProfileManager& Live = *C.Live();
  IOTARemoteProfilePtr Profile;
  if (!A.Profile.empty()) {
    if (!(Profile = C.FindProfile(A.Profile))) return ExitFailed;
  } else {
    std::string Message;
    if (Live.EnsureProfileForRun(P, Message) != 0) {
      C.Error(TerminalText(Message));
      return ExitFailed;
    }
    if (!(Profile = Live.GetProfile(P->GetProfile(Platform)))) {
      C.Error(Format("Project '%s' has no profile for platform '%s' (zephprof assign PROJECT %s PROFILE)",
                     {P->GetFileName(), Platform, Platform}));
      return ExitFailed;
    }
  }
  if (!Live.CanDeployProject(P, Profile)) {
    C.Error(Format("Profile '%s' (platform '%s') cannot deploy project '%s' for platform '%s'",
                   {Profile->GetName(), Profile->GetPlatformName(), P->GetFileName(), Platform}));
    return ExitFailed;
  }
  // The Deploy target calls this zephprof back with the same settings file and data folder.
  if (const auto Build = BuildServices()) {
    char Self[PATH_MAX] = {};
    if (::readlink("/proc/self/exe", Self, sizeof Self - 1) > 0) Build->Engine().SetVariable("ZEPHPROF", Self);
    Build->Engine().SetVariable("ZEPHPROF_SETTINGS", C.SettingsFileName());
    Build->Engine().SetVariable("ZEPHPROF_DATA_DIR", C.AppDataDir());
  }
  const THandlerId Announced =
      TRemoteProfileManager::FEvAfterDeploy.Add([&](const bool& Success, const IOTARemoteProfilePtr& To) {
        if (Success)
          C.Out() << "Deployed '" << P->GetFileName() << "' with profile '" << To->GetName() << "'\n";
        else
          C.Error(Format("Deploying '%s' with profile '%s' failed", {P->GetFileName(), To ? To->GetName() : ""}));
      });
  bool Deployed = false;
  try {
    Deployed = Live.DeployProject(P, Profile, "", "", false);
  } catch (...) {
    TRemoteProfileManager::FEvAfterDeploy.Remove(Announced);
    throw;
  }
  TRemoteProfileManager::FEvAfterDeploy.Remove(Announced);
  return Deployed ? ExitOk : ExitFailed;
}

int EnvFile(TAppContext& C) {
  const auto Writer = std::dynamic_pointer_cast<TLinuxEnvFileWriter>(HostServices().EnvFileWriter);
  if (!Writer) return ExitFailed;
  C.Live()->WriteEnvOptions();
  if (!Writer->GetLastError().empty()) {
    C.Error(Writer->GetLastError());
    return ExitFailed;
  }
  std::error_code Missing;
  if (!std::filesystem::exists(Writer->GetFileName(), Missing))
    C.Error("no platform has a default profile yet, so there was nothing to write");
  C.Out() << Writer->GetFileName() << '\n';
  return ExitOk;
}

}  // namespace

void AddDeployCommands(CLI::App& App, TAction& Action) {
  auto A = std::make_shared<TProjectArgs>();
  auto* EnsureCmd =
      App.add_subcommand("ensure", "Whether a project has the profile its platform needs (exit 1 when it is missing)");
  EnsureCmd->add_option("PROJECT", A->Project, "MSBuild project file")->required();
  EnsureCmd->add_option("PLATFORM", A->Platform, "platform (default: the project's current platform)");
  auto* ForCompile = EnsureCmd->add_flag("--for-compile", A->ForCompile, "a profile needed to compile");
  EnsureCmd->add_flag("--for-run", A->ForRun, "a profile needed to run (the default)")->excludes(ForCompile);
  EnsureCmd->callback([&Action, A] { Action = [A](TAppContext& C) { return Ensure(C, *A); }; });

  auto* AssignCmd = App.add_subcommand("assign", "Record in a project the profile it uses for a platform");
  AssignCmd->add_option("PROJECT", A->Project, "MSBuild project file")->required();
  AssignCmd->add_option("PLATFORM", A->Platform, "one of the project's platforms")->required();
  AssignCmd->add_option("PROFILE", A->Profile, "a profile of that platform (\"\" clears the assignment)")->required();
  AssignCmd->callback([&Action, A] { Action = [A](TAppContext& C) { return Assign(C, *A); }; });

  auto* DeployCmd = App.add_subcommand("deploy", "Run the project's Deploy target with the build engine");
  DeployCmd->add_option("PROJECT", A->Project, "MSBuild project file")->required();
  DeployCmd->add_option("--profile", A->Profile, "profile (default: the one assigned for the platform)");
  DeployCmd->add_option("--config", A->Config, "configuration (default: the project's)");
  DeployCmd->add_option("--platform", A->Platform, "platform (default: the project's current platform)");
  DeployCmd->footer(
      "Asks before compiling a project that is not up to date (--yes compiles); one deploy at a time\n"
      "per user: a second one waits for the build lock. The engine is msbuild, dotnet msbuild or xbuild.");
  DeployCmd->callback([&Action, A] { Action = [A](TAppContext& C) { return Deploy(C, *A); }; });

  auto* EnvCmd = App.add_subcommand("env-file", "Write the build-environment file and print its path");
  EnvCmd->footer("Projects import it as $(ZephEnvFile); a build that names no Profile gets the platform's default.");
  EnvCmd->callback([&Action] { Action = [](TAppContext& C) { return EnvFile(C); }; });
}

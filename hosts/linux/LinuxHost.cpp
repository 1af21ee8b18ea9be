#include "hosts/linux/LinuxHost.h"

#include <filesystem>

#include "client/ClientFactory.h"
#include "hosts/linux/LinuxPlatforms.h"
#include "hosts/linux/LinuxProjects.h"

namespace {

/// Whether Dir holds a profile file ("*.profile").
bool HoldsProfileFiles(const std::string& Dir) {
  std::error_code Ec;
  for (const auto& Entry : std::filesystem::directory_iterator(Dir, Ec))
    if (Entry.path().extension() == ".profile" && Entry.is_regular_file(Ec)) return true;
  return false;
}

/// The temporaries of settings-file and profile-file writes that earlier writers, killed
/// before their rename, left in the two folders.
void RemoveLeftTemporaries(const std::string& SettingsFileName, const std::string& DataDir, const timespec& Before) {
  const std::filesystem::path Settings(SettingsFileName);
  const std::string Name = Settings.filename().string();
  LinuxHost::RemoveStaleTemporaries(
      Settings.has_parent_path() ? Settings.parent_path().string() : std::string("."),
      [&](std::string_view Target) { return Target == Name; }, Before);
  LinuxHost::RemoveStaleTemporaries(
      DataDir,
      [](std::string_view Target) { return Target.ends_with(".profile") || Target.ends_with(".defaultprofilepaths"); },
      Before);
}

}  // namespace

TLinuxHost InstallLinuxHost(const TLinuxHostOptions& Options) {
  TLinuxHost Host;
  const std::string SettingsFileName =
      Options.SettingsFileName.empty() ? LinuxHost::DefaultSettingsFileName() : Options.SettingsFileName;
  const std::string SettingsDir = std::filesystem::path(SettingsFileName).parent_path().string();
  LinuxHost::MakeDirectories(SettingsDir, 0700);

  Host.Environment = std::make_shared<TLinuxEnvironment>(
      TLinuxEnvironmentOptions{Options.AppDataDir, Options.BaseDocumentsDir});
  const std::string DataDir = Host.Environment->fnAppDataDir();

  if (Options.LockForWriting) {
    std::string LockError;
    Host.WriterLock = TStoreLock::Acquire(SettingsFileName, DataDir, Options.LockTimeout, LockError);
    if (!Host.WriterLock) {
      Host.Settings = std::make_shared<TIniFile>(SettingsFileName);
      Host.Settings->Refuse(LockError);
      Host.SettingsLoadError = LockError;
    } else {
      RemoveLeftTemporaries(SettingsFileName, DataDir, Host.WriterLock->AcquiredAt());
    }
  }
  if (!Host.Settings) {
    TIniFileLoadResult Loaded = TIniFile::Load(SettingsFileName);
    Host.Settings = Loaded.File;
    Host.SettingsLoadError = Loaded.Error;
    if (Loaded.Blank && HoldsProfileFiles(DataDir)) {
      Host.SettingsLoadError = "Settings file '" + SettingsFileName + "' is empty, but profile files are in '" +
                               DataDir +
                               "'; it was not replaced, so their profiles are not dropped. To keep them, move the "
                               "empty file away and import each profile file; to start afresh, remove the file and "
                               "those profile files";
      Host.Settings->Refuse(Host.SettingsLoadError);
    }
  }
  const std::filesystem::path AppDataDir = DataDir;
  const std::string EnvFileName =
      Options.EnvFileName.empty() ? (AppDataDir / "environment.proj").string() : Options.EnvFileName;
  Host.EnvFileWriter = std::make_shared<TLinuxEnvFileWriter>(EnvFileName);
  Host.Registry = std::make_shared<TLinuxHostRegistry>();
  Host.EnvFileWriter->SetSaveRoutines(
      [Registry = Host.Registry](IOTAEnvFileWriter& Writer) { Registry->RunEnvSaveRoutines(Writer); });
  Host.Build = std::make_shared<TLinuxBuildServices>((AppDataDir / "build.lock").string(), Options.Notice);
  Host.Build->Engine().SetVariable("ZephEnvFile", EnvFileName);

  THostServices& Services = Host.Services;
  Services.AppIniFile = Host.Settings;
  Services.Platforms = std::make_shared<TLinuxPlatformServices>();
  Services.Messages = Options.Messages;
  if (!Options.GroupFile.empty() && Host.SettingsLoadError.empty())
    Services.Projects =
        TLinuxProjectServices::OpenGroup(Options.GroupFile, Host.Build, Options.Notice, Host.SettingsLoadError);
  Services.EnvFileWriter = Host.EnvFileWriter;
  Services.Environment = Host.Environment;
  Services.AgentLibrary = Options.AgentLibrary ? Options.AgentLibrary
                                               : std::make_shared<hestrel::THestrelClientFactory>(
                                                     Host.Environment->fnAppDataDir());
  Services.ProgressDisplay = Options.ProgressDisplay;
  Services.Build = Host.Build;
  Services.Registry = Host.Registry;
  Services.Ui = Options.Ui;
  SetHostServices(Services);
  return Host;
}

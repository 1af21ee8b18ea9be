#include "hosts/linux/LinuxHost.h"

#include <filesystem>

#include "client/ClientFactory.h"
#include "hosts/linux/LinuxPlatforms.h"

TLinuxHost InstallLinuxHost(const TLinuxHostOptions& Options) {
  TLinuxHost Host;
  const std::string SettingsFileName =
      Options.SettingsFileName.empty() ? LinuxHost::DefaultSettingsFileName() : Options.SettingsFileName;
  const std::string SettingsDir = std::filesystem::path(SettingsFileName).parent_path().string();
  LinuxHost::MakeDirectories(SettingsDir, 0700);

  TIniFileLoadResult Loaded = TIniFile::Load(SettingsFileName);
  Host.Settings = Loaded.File;
  Host.SettingsLoadError = Loaded.Error;

  Host.Environment =
      std::make_shared<TLinuxEnvironment>(TLinuxEnvironmentOptions{Options.AppDataDir, Options.BaseDocumentsDir});
  const std::filesystem::path AppDataDir = Host.Environment->fnAppDataDir();
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
  Services.Projects = Options.Projects;
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

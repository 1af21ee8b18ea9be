#include "host/startup/HostIntegration.h"

#include "core/RemoteProfileManager.h"
#include "core/RemoteProfileMonitor.h"
#include "core/Text.h"
#include "host/HostServices.h"

namespace {
int StartupCount = 0;
std::unique_ptr<TRemoteProfileMonitor>& Monitor() {
  static std::unique_ptr<TRemoteProfileMonitor> Instance;
  return Instance;
}
}  // namespace

std::string DefaultProfilesDir() {
  const auto& Environment = HostServices().Environment;
  std::string Dir = Environment ? Environment->fnBaseDocumentsDir() : std::string();
  if (!Dir.empty() && Dir.back() != '/') Dir += '/';
  return Dir + "Profiles";
}

void RemoteProfileManagerStartup() {
  if (StartupCount++ > 0) return;
  if (const auto& Environment = HostServices().Environment)
    Environment->AddVariable("ZEPHPROFILESDIR", DefaultProfilesDir());
  Monitor() = std::make_unique<TRemoteProfileMonitor>();
}

void RemoteProfileManagerShutdown() {
  if (StartupCount == 0 || --StartupCount > 0) return;
  Monitor().reset();
  TRemoteProfileManager::FSelectedProfile.clear();
}

bool RemoteProfileMonitorActive() { return Monitor() != nullptr; }

void SaveEnvFileDefaults(IOTAEnvFileWriter& Writer) {
  const auto& Platforms = HostServices().Platforms;
  const auto& Settings = HostServices().AppIniFile;
  if (!Platforms || !Settings) return;
  for (const std::string& Platform : Platforms->GetAllPlatforms()) {
    Writer.SetCurrentPropertyGroup(Format("'$(Platform)'=='%s'", {Platform}));
    Writer.UpdateEnvFile("DefaultProfile", Settings->ReadString("RemoteProfiles", Format("Default_%s", {Platform}), ""));
  }
}

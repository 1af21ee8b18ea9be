#include "host/startup/HostIntegration.h"

#include "core/RemoteProfileManager.h"
#include "core/RemoteProfileMonitor.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "ui/RemoteProfileOptions.h"
#include "ui/RemoteProfileWizard.h"
#include "ui/SelectProfileDlg.h"
#include "ui/SelectRemoteProfileDlg.h"

namespace {
/// What the manager's unit registered, so that shut-down undoes it with the same host.
struct TManagerUnit {
  int StartupCount = 0;
  IOTAHostRegistryPtr Registry;
  std::int32_t EnvSaveId = -1;
  std::unique_ptr<TRemoteProfileMonitor> Monitor;
};
TManagerUnit& ManagerUnit() {
  static TManagerUnit Unit;
  return Unit;
}
}  // namespace

std::string DefaultProfilesDir() {
  const auto& Environment = HostServices().Environment;
  std::string Dir = Environment ? Environment->fnBaseDocumentsDir() : std::string();
  if (!Dir.empty() && Dir.back() != '/') Dir += '/';
  return Dir + "Profiles";
}

void RemoteProfileManagerStartup() {
  TManagerUnit& Unit = ManagerUnit();
  if (Unit.StartupCount++ > 0) return;
  Unit.Registry = HostServices().Registry;
  if (Unit.Registry) Unit.Registry->RegisterAddInOptions(kAddInOptionsClass);
  if (const auto& Environment = HostServices().Environment)
    Environment->AddVariable("ZEPHPROFILESDIR", DefaultProfilesDir());
  if (Unit.Registry) Unit.EnvSaveId = Unit.Registry->RegisterEnvSave(SaveEnvFileDefaults);
  Unit.Monitor = std::make_unique<TRemoteProfileMonitor>();
}

void RemoteProfileManagerShutdown() {
  TManagerUnit& Unit = ManagerUnit();
  if (Unit.StartupCount == 0 || --Unit.StartupCount > 0) return;
  if (Unit.Registry) {
    Unit.Registry->UnregisterAddInOptions(kAddInOptionsClass);
    // The host must not call a routine of a plug-in that has stopped.
    Unit.Registry->UnregisterEnvSave(Unit.EnvSaveId);
  }
  Unit.Registry.reset();
  Unit.EnvSaveId = -1;
  Unit.Monitor.reset();
  TRemoteProfileManager::FSelectedProfile.clear();
}

bool RemoteProfileMonitorActive() { return ManagerUnit().Monitor != nullptr; }

void SaveEnvFileDefaults(IOTAEnvFileWriter& Writer) {
  const auto& Platforms = HostServices().Platforms;
  const auto& Settings = HostServices().AppIniFile;
  if (!Platforms || !Settings) return;
  for (const std::string& Platform : Platforms->GetAllPlatforms()) {
    Writer.SetCurrentPropertyGroup(Format("'$(Platform)'=='%s'", {Platform}));
    Writer.UpdateEnvFile("DefaultProfile",
                         Settings->ReadString("RemoteProfiles", Format("Default_%s", {Platform}), ""));
  }
}

const std::vector<TUnitSections>& PackageUnits() {
  // The manager's class events need no section: they are static members, alive before
  // the first unit starts and after the last one stops. The wizard and the two selection
  // dialogs fill their hooks; the options page registers its page class.
  static const std::vector<TUnitSections> Units = {
      {RemoteProfileManagerStartup, RemoteProfileManagerShutdown},
      {RemoteProfileWizardStartup, RemoteProfileWizardShutdown},
      {SelectRemoteProfileDlgStartup, SelectRemoteProfileDlgShutdown},
      {SelectProfileDlgStartup, SelectProfileDlgShutdown},
      {RemoteProfileOptionsStartup, RemoteProfileOptionsShutdown},
  };
  return Units;
}

void PackageStartup() {
  for (const TUnitSections& Unit : PackageUnits()) Unit.Startup();
}

void PackageShutdown() {
  const auto& Units = PackageUnits();
  for (auto It = Units.rbegin(); It != Units.rend(); ++It) It->Shutdown();
}

// zephprof-consumer: lists the connection profiles of a settings file and tests the
// connection of one of them, through the installed profile service and reference host.
//
//   zephprof-consumer [--settings FILE] [--data-dir DIR] [PROFILE]
#include <iostream>
#include <string>

#include "core/RemoteProfileManager.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/startup/HostIntegration.h"
#include "hosts/linux/LinuxHost.h"

int main(int argc, char** argv) {
  TLinuxHostOptions Options;
  std::string ProfileName;
  for (int I = 1; I < argc; ++I) {
    const std::string Arg = argv[I];
    if ((Arg == "--settings" || Arg == "--data-dir") && I + 1 < argc)
      (Arg == "--settings" ? Options.SettingsFileName : Options.AppDataDir) = argv[++I];
    else
      ProfileName = Arg;
  }
  const TLinuxHost Host = InstallLinuxHost(Options);
  if (!Host.SettingsLoadError.empty()) {
    std::cerr << Host.SettingsLoadError << '\n';
    return 1;
  }
  PackageStartup();
  const TRemoteProfileManagerPtr Manager = RemoteProfileMgr();
  for (const auto& [Platform, Profiles] : Manager->GetProfiles())
    for (const IOTARemoteProfilePtr& Profile : Profiles)
      std::cout << Platform << "  " << Profile->GetName() << "  " << Profile->GetHostName() << ':'
                << Profile->GetPortNumber() << '\n';
  int Status = 0;
  if (!ProfileName.empty()) {
    const IOTARemoteProfilePtr Profile = Manager->GetProfile(ProfileName);
    std::string Error = "No profile named '" + ProfileName + "'";
    if (Profile && Manager->TestConnection(Profile, Error, nullptr)) {
      std::cout << Format(sConnectionSucceeded, {Profile->GetHostName(), std::int64_t{Profile->GetPortNumber()}})
                << '\n';
    } else {
      std::cerr << Error << '\n';
      Status = 1;
    }
  }
  PackageShutdown();
  return Status;
}

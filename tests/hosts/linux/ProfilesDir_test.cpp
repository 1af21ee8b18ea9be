// ZEPHPROFILESDIR on the reference host: profile files go where the user set it, and the
// ones saved before it was set are still read from the application-data directory.
#include "HostTestSupport.h"
#include "core/RemoteProfileManager.h"
#include "doubles/ProfileFileLibrary.h"
#include "host/startup/HostIntegration.h"
#include "hosts/linux/LinuxEnvironment.h"
#include "hosts/linux/LinuxPlatforms.h"

TEST_F(THostFilesTest, SettingZephProfilesDirMovesProfileFilesOnTheirNextSaveAndHidesNone) {
  THostServices Host;
  Host.AppIniFile = std::make_shared<TMemIniFile>();
  Host.Environment = std::make_shared<TLinuxEnvironment>(TLinuxEnvironmentOptions{At("data"), At("docs")});
  Host.AgentLibrary = std::make_shared<TProfileFileLibrary>();
  Host.Platforms = std::make_shared<TLinuxPlatformServices>();
  SetHostServices(Host);
  RemoteProfileManagerStartup();  // declares the default, which alone changes nothing
  const auto Saved = TRemoteProfileManager::Create(Host.AppIniFile);
  Saved->AddProfile("Box", "Linux64", "from.file", 64211, {}, "/sdk", {}, false);
  Saved->SaveOptions(*Host.AppIniFile);
  EXPECT_TRUE(std::filesystem::exists(At("data/Box.profile")));

  SetEnv("ZEPHPROFILESDIR", At("profiles"));
  std::filesystem::create_directory(At("profiles"));
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName("Box"), At("profiles/Box.profile"));
  const auto Loaded = TRemoteProfileManager::Create(Host.AppIniFile);
  ASSERT_NE(Loaded->GetProfile("Box"), nullptr);
  std::string Name = "Box", Platform, HostName, Root;
  std::int32_t Port = 0;
  TOTARemoteProfileCredential Credential;
  TOTARemoteProfilePathArray Paths;
  // The file saved before the variable was set is still found, then moves on the next save.
  EXPECT_TRUE(Loaded->LoadProfileFile("", Name, Platform, HostName, Port, Credential, Root, Paths, false));
  EXPECT_EQ(HostName, "from.file");
  Loaded->SaveOptions(*Host.AppIniFile);
  std::filesystem::remove(At("data/Box.profile"));
  HostName.clear();
  EXPECT_TRUE(Loaded->LoadProfileFile("", Name, Platform, HostName, Port, Credential, Root, Paths, false));
  EXPECT_EQ(HostName, "from.file");
  EXPECT_TRUE(std::filesystem::exists(At("profiles/Box.profile")));
  RemoteProfileManagerShutdown();
}

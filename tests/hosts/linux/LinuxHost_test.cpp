#include "hosts/linux/LinuxHost.h"

#include "HostTestSupport.h"
#include "client/ClientFactory.h"
#include "core/RemoteProfileManager.h"
#include "host/startup/HostIntegration.h"

using LinuxHostTest = THostFilesTest;

TEST_F(LinuxHostTest, DirectoriesFollowAbsoluteXdgSettingsElseTheHomeFolder) {
  const struct {
    std::optional<std::string> Config, Data, Documents;
    bool UserDirs;                        // user-dirs.dirs names "$HOME/Dok" as the documents folder
    std::string Settings, AppData, Base;  // each followed by "/zephprof"; "~" is the home folder
  } Cases[] = {
      {{}, {}, {}, false, "~/.config", "~/.local/share", "~/Documents"},
      {"/cfg", "/data", "/docs", false, "/cfg", "/data", "/docs"},
      {"cfg", "", "docs", false, "~/.config", "~/.local/share", "~/Documents"},
      {{}, {}, {}, true, "~/.config", "~/.local/share", "~/Dok"},
      {{}, {}, "/explicit", true, "~/.config", "~/.local/share", "/explicit"},
  };
  auto Home = [&](const std::string& Text) {
    return (Text[0] == '~' ? Dir.string() + Text.substr(1) : Text) + "/zephprof";
  };
  std::filesystem::create_directories(At(".config"));
  for (const auto& C : Cases) {
    SetEnv("XDG_CONFIG_HOME", C.Config);
    SetEnv("XDG_DATA_HOME", C.Data);
    SetEnv("XDG_DOCUMENTS_DIR", C.Documents);
    WriteFileText(At(".config/user-dirs.dirs"), std::string("# by hand\nXDG_DESKTOP_DIR=\"$HOME/Desk\"\n") +
                                                    (C.UserDirs ? "XDG_DOCUMENTS_DIR=\"$HOME/Dok\"" : ""));
    EXPECT_EQ(LinuxHost::DefaultSettingsFileName(), Home(C.Settings) + "/settings.ini");
    EXPECT_EQ(LinuxHost::DefaultAppDataDir(), Home(C.AppData));
    EXPECT_EQ(LinuxHost::DefaultBaseDocumentsDir(), Home(C.Base)) << C.UserDirs;
  }
}

TEST_F(LinuxHostTest, DeclaredVariablesYieldToTheProcessEnvironmentAndExpandAsMacros) {
  TLinuxEnvironment Environment({At("d"), At("docs")});
  EXPECT_EQ(Environment.GetVariable("ZEPHPROFILESDIR"), "");
  Environment.AddVariable("ZEPHPROFILESDIR", "/default/Profiles");
  EXPECT_EQ(Environment.GetVariable("ZEPHPROFILESDIR"), "/default/Profiles");
  SetEnv("ZEPHPROFILESDIR", "/set/by/user");
  EXPECT_EQ(Environment.GetVariable("ZEPHPROFILESDIR"), "/set/by/user");
  EXPECT_EQ(Environment.GetDeclaredVariables().at("ZEPHPROFILESDIR"), "/default/Profiles");
  SetEnv("ZEPH_TEST_UNKNOWN", std::nullopt);
  const std::pair<std::string, std::string> Macros[] = {
      {"$(ZEPHPROFILESDIR)/a/$(HOME)/b", "/set/by/user/a/" + Dir.string() + "/b"},
      {"$(ZEPH_TEST_UNKNOWN)/x", "$(ZEPH_TEST_UNKNOWN)/x"},
      {"$()/$(HOME", "$()/$(HOME"},
      {"no macros", "no macros"},
  };
  for (const auto& [Text, Expanded] : Macros) EXPECT_EQ(Environment.ExpandRootMacro(Text), Expanded);
}

TEST_F(LinuxHostTest, TheDefaultsAreInstalledWithTheHestrelAgentLibrary) {
  const TLinuxHost Host = InstallLinuxHost();
  EXPECT_EQ(Host.SettingsLoadError, "");
  EXPECT_EQ(Host.Settings->GetFileName(), At(".config/zephprof/settings.ini"));
  EXPECT_EQ(ModeOf(At(".config/zephprof")), 0700u);  // made so that UpdateFile can write
  EXPECT_EQ(Host.EnvFileWriter->GetFileName(), At(".local/share/zephprof/environment.proj"));
  EXPECT_EQ(ModeOf(At(".local/share/zephprof")), 0700u);  // made for the agent library
  EXPECT_EQ(Host.Environment->fnBaseDocumentsDir(), At("Documents/zephprof"));
  EXPECT_FALSE(std::filesystem::exists(At("Documents")));
  const THostServices& Installed = HostServices();
  EXPECT_EQ(Installed.Platforms->GetAllPlatforms().size(), 11u);
  for (const char* Unknown : {"win32", "", "WinARM"}) EXPECT_EQ(Installed.Platforms->GetPlatform(Unknown), nullptr);
  EXPECT_EQ(Installed.Platforms->GetPlatform("OSXARM64")->GetDisplayName(), "macOS ARM 64-bit");
  auto* Agent = dynamic_cast<hestrel::THestrelClientFactory*>(Installed.AgentLibrary.get());
  ASSERT_NE(Agent, nullptr);
  EXPECT_EQ(Agent->GetAppDataDir(), At(".local/share/zephprof"));
  EXPECT_EQ(TRAClientFactory::GetInstance(), Agent);
}

TEST_F(LinuxHostTest, AWriterWaitsForTheStoresLockAndThenRefusesTheStore) {
  TLinuxHostOptions Options;
  Options.LockForWriting = true;
  Options.LockTimeout = std::chrono::milliseconds(50);
  const TLinuxHost First = InstallLinuxHost(Options);
  ASSERT_NE(First.WriterLock, nullptr);
  const TLinuxHost Second = InstallLinuxHost(Options);
  EXPECT_EQ(Second.WriterLock, nullptr);
  const std::string Settings = At(".config/zephprof/settings.ini");
  EXPECT_EQ(Second.SettingsLoadError, "Settings file '" + Settings +
                                          "' is being changed by another program (it holds '" + Settings +
                                          ".lock' locked); nothing was changed, try again when it has finished");
  EXPECT_FALSE(Second.Settings->UpdateFile().Ok());
}

// Profile files go where ZEPHPROFILESDIR says; the ones saved before it was set are still read
// from the application-data directory, and move there on their next save.
TEST_F(LinuxHostTest, SettingZephProfilesDirMovesProfileFilesOnTheirNextSaveAndHidesNone) {
  TLinuxHostOptions Options;
  Options.SettingsFileName = At("settings.ini");
  Options.AppDataDir = At("data");
  const TIniFilePtr Settings = InstallLinuxHost(Options).Settings;
  RemoteProfileManagerStartup();  // declares the default, which alone changes nothing
  const auto Saved = TRemoteProfileManager::Create(Settings);
  Saved->AddProfile("Box", "Linux64", "from.file", 64211, {}, "/sdk", {}, false);
  Saved->SaveOptions(*Settings);
  EXPECT_TRUE(std::filesystem::exists(At("data/Box.profile")));
  SetEnv("ZEPHPROFILESDIR", At("profiles"));
  std::filesystem::create_directory(At("profiles"));
  EXPECT_EQ(TRemoteProfileManager::GetProfileFileName("Box"), At("profiles/Box.profile"));
  const auto Loaded = TRemoteProfileManager::Create(Settings);
  ASSERT_NE(Loaded->GetProfile("Box"), nullptr);
  const auto HostNameInFile = [&] {
    std::string Name = "Box", Platform, HostName = "none", Root;
    std::int32_t Port = 0;
    TOTARemoteProfileCredential Credential;
    TOTARemoteProfilePathArray Paths;
    Loaded->LoadProfileFile("", Name, Platform, HostName, Port, Credential, Root, Paths, false);
    return HostName;
  };
  EXPECT_EQ(HostNameInFile(), "from.file");
  Loaded->SaveOptions(*Settings);
  std::filesystem::remove(At("data/Box.profile"));
  EXPECT_EQ(HostNameInFile(), "from.file");
  EXPECT_TRUE(std::filesystem::exists(At("profiles/Box.profile")));
  RemoteProfileManagerShutdown();
}

TEST_F(LinuxHostTest, TheBuildEngineIsMsbuildThenADotnetWithAnSdkThenXbuild) {
  const std::tuple<std::vector<std::string>, bool, std::vector<std::string>> Cases[] = {
      {{"msbuild", "dotnet", "xbuild"}, true, {"msbuild"}},
      {{"dotnet", "xbuild"}, true, {"dotnet", "msbuild"}},
      {{"dotnet", "xbuild"}, false, {"xbuild"}},  // a runtime alone cannot build
      {{"dotnet"}, false, {}},
  };
  int Run = 0;
  for (const auto& [Programs, Sdk, Engine] : Cases) {
    const std::filesystem::path Bin = At("bin" + std::to_string(++Run));
    std::filesystem::create_directories(Sdk ? Bin / "sdk/8.0.100" : Bin);
    for (const std::string& Program : Programs) {
      WriteFileText(Bin / Program, "#!/bin/sh\n");
      std::filesystem::permissions(Bin / Program, std::filesystem::perms::owner_all);
    }
    SetEnv("PATH", Bin.string());
    EXPECT_EQ(TLinuxBuildEngine::FindEngine(), Engine) << Run;
  }
}

#include "hosts/linux/LinuxHost.h"

#include "HostTestSupport.h"
#include "client/ClientFactory.h"

using LinuxHostTest = THostFilesTest;

TEST_F(LinuxHostTest, DirectoriesFollowAbsoluteXdgSettingsElseTheHomeFolder) {
  const struct {
    std::optional<std::string> Config, Data, Documents;
    std::string UserDirs;                          // the documents line of user-dirs.dirs
    std::string Settings, AppData, BaseDocuments;  // "~" is the home folder
  } Cases[] = {
      {{}, {}, {}, "", "~/.config/zephprof/settings.ini", "~/.local/share/zephprof", "~/Documents/zephprof"},
      {"/cfg", "/data", "/docs", "", "/cfg/zephprof/settings.ini", "/data/zephprof", "/docs/zephprof"},
      {"cfg", "", "docs", "", "~/.config/zephprof/settings.ini", "~/.local/share/zephprof", "~/Documents/zephprof"},
      {{},
       {},
       {},
       "XDG_DOCUMENTS_DIR=\"$HOME/Dok\"",
       "~/.config/zephprof/settings.ini",
       "~/.local/share/zephprof",
       "~/Dok/zephprof"},
      {{},
       {},
       "/explicit",
       "XDG_DOCUMENTS_DIR=\"$HOME/Dok\"",
       "~/.config/zephprof/settings.ini",
       "~/.local/share/zephprof",
       "/explicit/zephprof"},
  };
  auto Home = [&](const std::string& Text) { return Text[0] == '~' ? Dir.string() + Text.substr(1) : Text; };
  std::filesystem::create_directories(At(".config"));
  for (const auto& C : Cases) {
    SetEnv("XDG_CONFIG_HOME", C.Config);
    SetEnv("XDG_DATA_HOME", C.Data);
    SetEnv("XDG_DOCUMENTS_DIR", C.Documents);
    WriteFileText(At(".config/user-dirs.dirs"), "# by hand\nXDG_DESKTOP_DIR=\"$HOME/Desk\"\n" + C.UserDirs);
    EXPECT_EQ(LinuxHost::DefaultSettingsFileName(), Home(C.Settings));
    EXPECT_EQ(LinuxHost::DefaultAppDataDir(), Home(C.AppData));
    EXPECT_EQ(LinuxHost::DefaultBaseDocumentsDir(), Home(C.BaseDocuments)) << C.UserDirs;
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
  EXPECT_EQ(Installed.AppIniFile, Host.Settings);
  EXPECT_EQ(Installed.Environment, Host.Environment);
  EXPECT_EQ(Installed.EnvFileWriter, Host.EnvFileWriter);
  EXPECT_EQ(Installed.Platforms->GetAllPlatforms().size(), 11u);
  for (const char* Unknown : {"win32", "", "WinARM"}) EXPECT_EQ(Installed.Platforms->GetPlatform(Unknown), nullptr);
  EXPECT_EQ(Installed.Platforms->GetPlatform("OSXARM64")->GetDisplayName(), "macOS ARM 64-bit");
  auto* Agent = dynamic_cast<hestrel::THestrelClientFactory*>(Installed.AgentLibrary.get());
  ASSERT_NE(Agent, nullptr);
  EXPECT_EQ(Agent->GetAppDataDir(), At(".local/share/zephprof"));
  EXPECT_EQ(TRAClientFactory::GetInstance(), Agent);
  EXPECT_EQ(Installed.Messages, nullptr);
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

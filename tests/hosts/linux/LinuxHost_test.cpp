#include "hosts/linux/LinuxHost.h"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "EnvGuard.h"
#include "TempDir.h"
#include "client/ClientFactory.h"
#include "core/RemoteProfileManager.h"

namespace {
/// A fresh HOME and XDG directories; the previous host is put back afterwards.
struct LinuxHostTest : ::testing::Test {
  TTempDir Home{"home"};
  TEnvGuard Env;
  THostServices Previous = HostServices();
  void SetUp() override {
    Env.Set("HOME", Home.Path.string());
    Env.Set("XDG_CONFIG_HOME", H("/cfg"));
    Env.Set("XDG_DATA_HOME", H("/data"));
    Env.Set("XDG_DOCUMENTS_DIR", H("/docs"));
  }
  void TearDown() override { SetHostServices(Previous); }
  std::string H(const std::string& Rest) const { return Home.Path.string() + Rest; }
};

mode_t ModeOf(const std::string& Path) {
  struct stat Info {};
  EXPECT_EQ(::stat(Path.c_str(), &Info), 0);
  return Info.st_mode & 07777;
}
}  // namespace

TEST_F(LinuxHostTest, DefaultsFollowXdgAndAreInstalled) {
  TLinuxHost Host = InstallLinuxHost();
  EXPECT_EQ(Host.SettingsLoadError, "");
  ASSERT_TRUE(Host.Settings);
  EXPECT_EQ(Host.Settings->GetFileName(), H("/cfg/zephprof/settings.ini"));
  EXPECT_EQ(ModeOf(H("/cfg/zephprof")), 0700u);  // made so that UpdateFile can write
  EXPECT_EQ(Host.EnvFileWriter->GetFileName(), H("/cfg/zephprof/environment.proj"));
  EXPECT_EQ(Host.Environment->fnAppDataDir(), H("/data/zephprof"));
  EXPECT_EQ(Host.Environment->fnBaseDocumentsDir(), H("/docs/zephprof"));

  const THostServices& Installed = HostServices();
  EXPECT_EQ(Installed.AppIniFile, Host.Settings);
  EXPECT_EQ(Installed.Environment, Host.Environment);
  EXPECT_EQ(Installed.EnvFileWriter, Host.EnvFileWriter);
  ASSERT_TRUE(Installed.Platforms);
  EXPECT_EQ(Installed.Platforms->GetAllPlatforms().size(), 11u);
  auto* Agent = dynamic_cast<hestrel::THestrelClientFactory*>(Installed.AgentLibrary.get());
  ASSERT_NE(Agent, nullptr);
  EXPECT_EQ(Agent->GetAppDataDir(), H("/data/zephprof"));
  EXPECT_EQ(TRAClientFactory::GetInstance(), Agent);
  EXPECT_EQ(Installed.Messages, nullptr);
  EXPECT_EQ(Installed.ProgressDisplay, nullptr);
}

TEST_F(LinuxHostTest, OptionsOverrideEveryLocationAndService) {
  class TNoAgent : public TRAClientFactory {
    TRAClientPtr CreateClient(const std::string&, const std::string&) override { return nullptr; }
    std::unique_ptr<TRAClientProfile> CreateProfile() override { return nullptr; }
    std::string Encrypt(const std::string& P) override { return "enc:" + P; }
  };
  TLinuxHostOptions Options;
  Options.SettingsFileName = H("/my/settings.ini");
  Options.AppDataDir = H("/my/data");
  Options.BaseDocumentsDir = H("/my/docs");
  Options.EnvFileName = H("/my/env/build.proj");
  Options.AgentLibrary = std::make_shared<TNoAgent>();
  TLinuxHost Host = InstallLinuxHost(Options);
  EXPECT_EQ(Host.Settings->GetFileName(), H("/my/settings.ini"));
  EXPECT_EQ(Host.EnvFileWriter->GetFileName(), H("/my/env/build.proj"));
  EXPECT_EQ(Host.Environment->fnAppDataDir(), H("/my/data"));
  EXPECT_EQ(Host.Environment->fnBaseDocumentsDir(), H("/my/docs"));
  EXPECT_EQ(HostServices().AgentLibrary, Options.AgentLibrary);
  EXPECT_EQ(Encrypt("pw"), "enc:pw");
  EXPECT_FALSE(std::filesystem::exists(H("/cfg")));
}

TEST_F(LinuxHostTest, SettingsWrittenThroughTheHostReachTheFile) {
  TLinuxHost Host = InstallLinuxHost();
  HostServices().AppIniFile->WriteString("RemoteProfiles", "Default_OSX32", "Mac");
  ASSERT_TRUE(Host.Settings->UpdateFile().Ok());
  EXPECT_EQ(ModeOf(H("/cfg/zephprof/settings.ini")), 0600u);
  SetHostServices(Previous);
  TLinuxHost Again = InstallLinuxHost();
  EXPECT_EQ(Again.Settings->ReadString("RemoteProfiles", "Default_OSX32", ""), "Mac");
}

TEST_F(LinuxHostTest, DamagedSettingsFileIsAnsweredAndKept) {
  std::filesystem::create_directories(H("/cfg/zephprof"));
  const std::string File = H("/cfg/zephprof/settings.ini");
  WriteFileText(File, "[RemoteProfiles]\nbroken line\n");
  TLinuxHost Host = InstallLinuxHost();
  EXPECT_EQ(Host.SettingsLoadError,
            "Settings file '" + File + "' is damaged: line 2: a line must be a [section], a name=value pair or a comment");
  EXPECT_EQ(HostServices().AppIniFile, Host.Settings);  // an empty store, installed all the same
  EXPECT_FALSE(Host.Settings->UpdateFile().Ok());
  EXPECT_EQ(ReadFileText(File), "[RemoteProfiles]\nbroken line\n");
}

TEST_F(LinuxHostTest, ProfilesSurviveASaveAndANewHost) {
  const std::string SettingsFile = H("/cfg/zephprof/settings.ini");
  {
    TLinuxHost Host = InstallLinuxHost();
    TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(Host.Settings);
    Manager->AddProfile("Mac Mini", "iOSDevice", "mac.local", 64211, {"secret", true, false}, "/sdk/mac",
                        {{"/usr/include", "*.h", true, ptIncludePath}}, false);
    Manager->AddProfile("Box", "Linux64", "box", 22, {"/keys/box.passfile", false, false}, "", {}, false);
    Manager->SaveOptions(*Host.Settings);
    ASSERT_TRUE(Host.Settings->UpdateFile().Ok());
  }
  EXPECT_TRUE(std::filesystem::exists(TRemoteProfileManager::GetProfileFileName("Mac Mini")));
  const std::string Text = ReadFileText(SettingsFile);
  EXPECT_NE(Text.find("[RemoteProfiles\\Mac Mini]\nPlatform=OSX32\nHostName=mac.local\n"), std::string::npos) << Text;
  EXPECT_EQ(Text.find("secret"), std::string::npos);  // only the enciphered form is stored

  SetHostServices(Previous);
  TLinuxHost Again = InstallLinuxHost();
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(Again.Settings);
  IOTARemoteProfilePtr Mac = Manager->GetProfile("mac mini");
  ASSERT_TRUE(Mac);
  EXPECT_EQ(Mac->GetPlatformName(), "OSX32");
  EXPECT_EQ(Mac->GetHostName(), "mac.local");
  EXPECT_EQ(Manager->GetDefaultForPlatform("OSX32"), Mac);
  IOTARemoteProfilePtr Box = Manager->GetProfile("Box");
  ASSERT_TRUE(Box);
  EXPECT_EQ(Box->GetPortNumber(), 22);
  EXPECT_EQ(Box->GetCredential().PasswordOrFile, "/keys/box.passfile");
}

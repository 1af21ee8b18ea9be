// One scripted session through the options page, with the connection test and the cache update
// against a real `hestrel` on loopback: what the user did reaches the live manager, the settings
// store, the build-environment file and the open projects when the dialog is accepted, and
// nothing of it when the dialog is cancelled.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Support.h"
#include "UiTestSupport.h"
#include "client/ClientFactory.h"
#include "ui/PullFilesProgressForm.h"
#include "ui/RemoteProfilePathEditDlg.h"

namespace {

namespace fs = std::filesystem;
using TUi = TUserInterfaceDouble;

class Session : public TPageFixture {
 protected:
  void SetUp() override {
    TPageFixture::SetUp();
    ASSERT_TRUE(Server.Start()) << Server.Log();
    Host.AgentLibrary = std::make_shared<hestrel::THestrelClientFactory>(Environment->AppDataDir);
    Reinstall();
    (App = Projects->AddProject())->Profiles = {{"Linux64", "Box"}, {"OSX32", "Mac"}};
    (Tool = Projects->AddProject())->Profiles = {{"Linux64", "old"}};
  }
  std::string Names(const std::string& Platform) const {
    std::string Text;
    for (std::int32_t I = 0; I < Live()->GetProfileCount(Platform); ++I)
      Text += Live()->GetProfile(Platform, I)->GetName() + " ";
    return Text;
  }
  hestrel_test::TTestServer Server;
  std::shared_ptr<TProjectDouble> App, Tool;
};

TEST_F(Session, TheUsersEditsReachLiveManagerStoresAndProjectsOnlyWhenAccepted) {
  TRemoteProfilePage* P = &Open({{"OSX32", "Mac"}, {"Linux64", "Box"}, {"Linux64", "Old"}});
  const IOTARemoteProfilePtr Box = Live()->GetProfile("Box");
  Ini->Log.clear();
  Ui->Inputs = {"Server"};
  P->ProfileList.Select(1);
  P->RenameButton.Click();
  Messages->Answers = {TMsgDlgBtn::mbYes};
  P->ProfileList.Select(2);
  P->DeleteButton.Click();
  EXPECT_EQ(App->Profiles.at("Linux64") + "|" + Tool->Profiles.at("Linux64"), "Box|old");  // not before OK
  Dialog->Cancel();
  EXPECT_TRUE(Ini->Log.empty() && EnvFile->Log.empty());
  EXPECT_EQ(Names("Linux64") + App->Profiles.at("Linux64") + "|" + Tool->Profiles.at("Linux64"), "Box Old Box|old");

  P = &Open({});
  const fs::path Sdk = Server.Dir.Path / "sdk", Cache = TempDir / "cache";
  fs::create_directories(Sdk);
  std::ofstream(Sdk / "a.h") << "int a;\n";
  Ui->Steps = {TUi::On<TRemoteProfileWizard>([&](TRemoteProfileWizard& W) {
    W.NewPage.ProfileNameEdit.EditText(" Hest ");
    W.NewPage.PlatformCombo.Select(W.NewPage.PlatformCombo.IndexOf("Linux64"));
    W.NextButton.Click();
    W.HostPage.HostNameCombo.EditText("127.0.0.1");
    W.HostPage.PortNumberCombo.EditText(std::to_string(Server.Port));
    W.HostPage.RemoteProfilePasswordFrame.PasswordEdit.KeyPress('c');
    W.HostPage.RemoteProfilePasswordFrame.PasswordEdit.EditText(Server.Password);
    W.FinishButton.Click();
  })};
  P->AddButton.Click();
  P->PropertyEditor.LocalRootEdit.EditText(Cache.string());
  Ui->Steps = {TUi::On<TPathEditDlg>([&](TPathEditDlg& D) {
    D.RemotePathCombo.EditText(Sdk.string());
    D.FileMaskCombo.EditText("*.h");
    D.OKButton.Click();
  })};
  P->PropertyEditor.AddPathButton.Click();
  P->TestButton.Click();
  EXPECT_EQ(LastMessage(), "Connection to '127.0.0.1' on port " + std::to_string(Server.Port) + " succeeded");
  P->PullRemoteFilesItem.Click();
  EXPECT_TRUE(fs::exists(Cache.string() + Sdk.string() + "/a.h"));
  EXPECT_FALSE(TProgressForm::ProgressFormOpen());  // closed by itself: no error
  P->ProfileList.Select(0);
  Ui->Inputs = {"Mac Copy", "Mac X", "Mac", "Build", "Server"};
  P->CopyButton.Click();
  P->ProfileList.Select(0);
  P->RenameButton.Click();
  P->RenameButton.Click();  // and back
  P->ProfileList.Select(1);
  P->RenameButton.Click();
  P->RenameButton.Click();
  P->ProfileList.Select(2);
  Messages->Answers = {TMsgDlgBtn::mbYes};
  P->DeleteButton.Click();
  P->ProfileList.Select(static_cast<int>(P->ProfileList.ListItems().size()) - 2);  // Hest
  P->SetAsDefaultItem.Click();
  const auto Other = TRemoteProfileManager::Create(nullptr);
  for (const auto& [Name, Platform] : {std::pair{"Imported", "Linux64"}, std::pair{"Mac", "Android"}})
    Other->SaveProfile(Other->AddProfile(Name, Platform, "i", 7, {}, "", {}, false), (TempDir / Name).string());
  Ui->Files = {(TempDir / "Mac").string(), (TempDir / "Imported").string(), (TempDir / "server").string()};
  P->ImportButton.Click();  // a platform the page does not list: refused, the held "Mac" untouched
  EXPECT_EQ(LastMessage(), "The imported profile has an invalid platform");
  P->ImportButton.Click();
  P->ProfileList.Select(1);
  P->ExportButton.Click();
  EXPECT_EQ(CaptionsOf(*P) + "| " + RenamesOf(*P), "Mac Server Hest Mac Copy Imported | Box>Server");
  EXPECT_NE(std::ranges::find(Ui->Log, "Input(Rename Profile|Enter the new name for this profile|Mac X)"),
            Ui->Log.end());
  ASSERT_TRUE(Dialog->Accept());

  EXPECT_EQ(Names("Linux64") + "| " + Names("OSX32"), "Hest Server Imported | Mac Mac Copy ");
  EXPECT_EQ(Live()->GetProfile("Server"), Box);  // renamed, not replaced
  EXPECT_EQ(App->Profiles.at("Linux64") + "|" + App->Profiles.at("OSX32") + "|" + Tool->Profiles.at("Linux64"),
            "Server|Mac|");
  EXPECT_TRUE(Ini->HasSection("RemoteProfiles\\Server") && !Ini->HasSection("RemoteProfiles\\Box") &&
              !Ini->HasSection("RemoteProfiles\\Old"));
  EXPECT_EQ(Ini->ReadString("RemoteProfiles", "Default_Linux64", ""), "Hest");
  const std::string Stored = Ini->ReadString("RemoteProfiles\\Hest", "Password", "");
  EXPECT_TRUE(Stored.starts_with("hes1:") && Stored.find(Server.Password) == std::string::npos) << Stored;
  EXPECT_EQ(Ini->ReadString("RemoteProfiles\\Hest", "LocalRoot", ""), Cache.string());
  const auto Group =
      std::find(EnvFile->Log.begin(), EnvFile->Log.end(), "Group '$(Profile)'=='' And '$(Platform)'=='Linux64'");
  ASSERT_NE(Group, EnvFile->Log.end());
  EXPECT_EQ(*(Group + 1), "Set Profile=Hest");
  EXPECT_TRUE(fs::exists(TempDir / "server.profile"));
  EXPECT_FALSE(fs::exists(Environment->AppDataDir + "/Old.profile"));
}

}  // namespace

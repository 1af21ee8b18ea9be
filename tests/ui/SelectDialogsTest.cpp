// The profile selection dialogs: the drop-down chooser with "Add New...", and the searchable
// pick list of the profile selector with its add and import buttons.
#include <gtest/gtest.h>

#include "UiTestSupport.h"
#include "core/ProfileHooks.h"
#include "ui/SelectProfileDlg.h"
#include "ui/SelectRemoteProfileDlg.h"

namespace {

using TUi = TUserInterfaceDouble;

class SelectDialogs : public TPageFixture {
 protected:
  void SetUp() override {
    TPageFixture::SetUp();
    Host.Projects = Projects = ProjectServices;
    Reinstall();
    SelectProfileDlgStartup();
  }
  void TearDown() override {
    SelectProfileDlgShutdown();
    TPageFixture::TearDown();
  }
  /// A wizard run that adds Name (host "h").
  static std::function<void(TForm&)> Adds(const std::string& Name) {
    return TUi::On<TRemoteProfileWizard>([Name](TRemoteProfileWizard& W) {
      W.NewPage.ProfileNameEdit.EditText(Name);
      W.NextButton.Click();
      W.HostPage.HostNameCombo.EditText("h");
      W.FinishButton.Click();
    });
  }
  static std::string Listed(const TChooseProfileDialog& D) {
    std::string Text;
    for (const auto* Item : D.VisibleItems()) Text += Item->GetTitle() + " ";
    return Text;
  }
  std::shared_ptr<TActiveProjectServicesDouble> ProjectServices = std::make_shared<TActiveProjectServicesDouble>();
};

TEST_F(SelectDialogs, AddNewCancelledGoesBackToTheEntryChosenBefore) {
  TSelectRemoteProfileDialog Empty("Linux64");
  EXPECT_EQ(Empty.cbRemote.Items(), std::vector<std::string>{"Add New..."});
  Empty.cbRemote.Select(0);  // the wizard is cancelled
  EXPECT_FALSE(Empty.cbRemote.ItemIndex() != -1 || Empty.okButton.Enabled());
  Ui->Steps = {Adds("Box")};
  Empty.cbRemote.Select(0);
  EXPECT_EQ(Empty.cbRemote.Items(), (std::vector<std::string>{"Box, (Host: 'h', Port Number: '64211')", "Add New..."}));
  EXPECT_TRUE(Empty.okButton.Enabled());
  EXPECT_TRUE(Ini->HasSection("RemoteProfiles\\Box"));  // added to the live manager and saved

  Live()->AddProfile("Box2", "Linux64", "h2", 1, {}, "", {}, false);
  (ProjectServices->Active = ProjectServices->AddProject())->GetProjectPlatforms()->SetProfile("Linux64", "Box2");
  Ui->Steps = {TUi::On<TSelectRemoteProfileDialog>([](TSelectRemoteProfileDialog& D) {
    EXPECT_EQ(D.Caption(), "Select Connection Profile for the '64-bit Linux' Platform");
    EXPECT_EQ(D.cbRemote.ItemIndex(), 1);  // the active project's profile
    D.cbRemote.Select(2);                  // "Add New...", and the wizard is cancelled
    EXPECT_EQ(D.cbRemote.ItemIndex(), 1);
    D.okButton.Click();
  })};
  EXPECT_EQ(SelectRemoteProfileDialog("Linux64"), Live()->GetProfile("Box2"));
}

TEST_F(SelectDialogs, ThePickListFiltersAsTheUserTypesAndReturnsExactlyOneChoice) {
  const auto Mac = Live()->AddProfile("Mac", "OSX32", "mac.local", 1, {}, "", {}, false);
  Live()->AddProfile("Box", "Linux64", "h", 2, {}, "", {}, false);
  Live()->AddProfile("Box2", "Linux64", "h", 3, {}, "", {}, false);
  TChooseProfileDialog D("", *Live());
  for (const auto& P : {Mac, Live()->GetProfile("Box"), Live()->GetProfile("Box2")})
    D.AddItem(std::make_unique<TProfileInsightItem>(P, ""));
  EXPECT_EQ(D.VisibleItems()[0]->GetDescription(), "Platform: '32-bit OS X', Host: 'mac.local', Port Number: '1'");
  for (const auto& [Typed, Shown] : std::vector<std::pair<std::string, std::string>>{
           {"box", "Box Box2 "}, {"64-BIT", "Box Box2 "}, {"'3'", "Box2 "}, {"", "Mac Box Box2 "}})
    EXPECT_EQ((D.SearchEdit.EditText(Typed), Listed(D)), Shown) << Typed;
  D.ItemList.Select(0);
  D.SearchEdit.EditText("box");  // the choice is filtered away
  EXPECT_EQ(D.SelectedProfile(), nullptr);
  Ui->Steps = {TUi::On<TChooseProfileDialog>([](TChooseProfileDialog& D) {
    EXPECT_EQ(Listed(D), "Mac Box Box2 ");  // every platform once, in the host's order
    D.SearchEdit.EditText("mac");
    D.ItemList.Select(0);
    D.OKButton.Click();
  })};
  EXPECT_EQ(ShowProfileSelectorFunc("", *Live()), Mac);
}

TEST_F(SelectDialogs, TheImportRefusesAnotherPlatformAndAnAddToAnEmptyListWritesTheDefaults) {
  const auto Other = TRemoteProfileManager::Create(nullptr);
  const std::string MacFile = (TempDir / "mac.profile").string(), BoxFile = (TempDir / "box.profile").string();
  Other->SaveProfile(Other->AddProfile("Mac", "OSX32", "h", 1, {}, "", {}, false), MacFile);
  Other->SaveProfile(Other->AddProfile("Box", "Linux64", "h", 2, {}, "", {}, false), BoxFile);
  TChooseProfileDialog ForLinux("Linux64", *Live()), ForDevice("iOSDevice", *Live());
  Ui->Files = {MacFile, BoxFile, MacFile};
  ForLinux.ImportButton.Click();
  EXPECT_EQ(LastMessage(),
            "The selected profile is for '32-bit OS X' platform, expecting profile for '64-bit Linux' "
            "platform");
  ForDevice.ImportButton.Click();  // a Mac's profile serves the iOS targets
  EXPECT_EQ(Listed(ForLinux) + "| " + Listed(ForDevice), "Box | Mac ");
  EXPECT_EQ(ForLinux.SelectedProfile(), Live()->GetProfile("Box"));  // the list was empty: the first is chosen
  EXPECT_TRUE(Ini->HasSection("RemoteProfiles\\Mac"));
  EnvFile->Log.clear();
  TChooseProfileDialog ForDroid("Android", *Live());
  Ui->Steps = {Adds("Droid")};
  ForDroid.AddButton.Click();
  EXPECT_EQ(ForDroid.SelectedProfile(), Live()->GetProfile("Droid"));
  EXPECT_EQ(EnvFile->Log.front(), "Begin");
}

}  // namespace

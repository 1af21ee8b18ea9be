// The new-profile wizard and its credential frame: the default check box, the page sequence
// with its checks, and the placeholder of a kept password.
#include <gtest/gtest.h>

#include "UiTestSupport.h"

namespace {

using TUi = TUserInterfaceDouble;

class Wizard : public TPageFixture {
 protected:
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::CreateWorkingCopy();
};

TEST_F(Wizard, TheFirstProfileOfAPlatformIsItsDefaultAndWindowsProfilesNever) {
  Manager->AddProfile("L", "Linux64", "h", 1, {}, "", {}, false);
  TRemoteProfileWizard W(Manager, "", false);
  W.NewPage.Show();
  for (const auto& [Platform, State] : std::vector<std::pair<std::string, std::string>>{
           {"Win32", "hidden"}, {"Linux64", "may be checked"}, {"Win64", "hidden"}, {"OSX32", "checked, fixed"}}) {
    W.NewPage.PlatformCombo.Select(W.NewPage.PlatformCombo.IndexOf(Platform));
    const TControl& Box = W.NewPage.DefaultCheckBox;
    EXPECT_EQ(!Box.Visible() ? "hidden" : Box.Enabled() ? "may be checked" : "checked, fixed", State) << Platform;
    EXPECT_EQ(Box.Checked(), State == "checked, fixed") << Platform;
  }
}

TEST_F(Wizard, AFixedPlatformIsTakenEvenWhenThePlatformComboDoesNotOfferIt) {
  for (const auto& [Given, Filed] :
       std::vector<std::pair<std::string, std::string>>{{"Android", "Android"}, {"iOSDevice", "OSX32"}}) {
    Ui->Steps = {TUi::On<TRemoteProfileWizard>([](TRemoteProfileWizard& W) {
      EXPECT_EQ(W.NewPage.InfoLabel.Caption(), "Please specify a profile name.");
      EXPECT_FALSE(W.NewPage.PlatformCombo.Visible() || W.NewPage.DefaultCheckBox.Visible());
      W.NewPage.ProfileNameEdit.EditText("P" + W.CallerPlatform());
      W.NextButton.Click();
      W.HostPage.HostNameCombo.EditText("h");
      W.FinishButton.Click();
    })};
    const auto Added = Manager->ExecuteNewProfileWizard(Given, true);
    ASSERT_TRUE(Added) << Given;
    EXPECT_EQ(Added->GetPlatformName(), Filed);
    EXPECT_EQ(Manager->GetDefaultForPlatform(Filed), Added);  // the first of its platform
  }
}

TEST_F(Wizard, EachPageKeepsTheUserUntilItsEntriesPassAndFinishAddsTheProfile) {
  Manager->AddProfile("Mac", "OSX32", "h", 1, {}, "", {}, false);
  Ui->Steps = {TUi::On<TRemoteProfileWizard>([&](TRemoteProfileWizard& W) {
    auto& New = W.NewPage;
    auto& Next = W.NextButton;
    New.ProfileNameEdit.EditText("  ");
    New.PlatformCombo.Select(New.PlatformCombo.IndexOf("OSX32"));
    EXPECT_FALSE(Next.Enabled());  // a blank name
    New.ProfileNameEdit.EditText(" mac ");
    Next.Click();  // the name is held already
    EXPECT_EQ(W.ActiveControl(), "RemoteProfileWizardNew.ProfileNameEdit");
    New.ProfileNameEdit.EditText(" Mac2 ");
    New.DefaultCheckBox.Click();
    Next.Click();
    auto& Host = W.HostPage;
    EXPECT_EQ(W.TitleLabel.Caption() + "|" + Host.PortNumberCombo.Text(), "Remote machine information|64211");
    EXPECT_FALSE(W.FinishButton.Enabled() || Host.TestButton.Enabled());  // no host yet
    Host.HostNameCombo.EditText(" box ");
    Host.PortNumberCombo.EditText("70000");
    W.FinishButton.Click();
    EXPECT_EQ(W.PageIndex(), 1);
    W.BackButton.Click();
    EXPECT_EQ(New.ProfileNameEdit.Text(), "Mac2");
    Next.Click();
    Host.HostNameCombo.EditText(" box ");
    Host.PortNumberCombo.EditText("7000");
    W.FinishButton.Click();
  })};
  const auto Added = Manager->ExecuteNewProfileWizard("", false);
  ASSERT_TRUE(Added);
  EXPECT_EQ(Added->GetName() + "|" + Added->GetHostName() + ":" + std::to_string(Added->GetPortNumber()) + "|" +
                std::to_string(Added->GetPaths().size()),
            "Mac2|box:7000|66");  // the platform's default path items
  EXPECT_EQ(Manager->GetDefaultForPlatform("OSX32"), Added);
  EXPECT_EQ(Ui->History["hlRemoteProfileHostName"], std::vector<std::string>{" box "});
  EXPECT_EQ(Messages->Shown.at(0).Text + "|" + Messages->Shown.at(1).Text,
            "A profile named 'mac' already exists|'70000' is not a valid port number (a whole number from 0 to 65535)");
  EXPECT_FALSE(Manager->ExecuteNewProfileWizard("", false));  // cancelled: nothing added
  EXPECT_EQ(Manager->GetProfileCount("OSX32"), 2);
}

TEST_F(Wizard, AKeptPasswordShowsAsEightBlanksAndComesBackUnlessTheUserTypes) {
  TForm Form("Form");
  TRemoteProfilePasswordFrame Frame(Form);
  // Typed: keys pressed, then the edit's text; File: a password file chosen.
  using TRow = std::tuple<TOTARemoteProfileCredential, std::string, std::string, TOTARemoteProfileCredential>;
  const TOTARemoteProfileCredential Stored{"enc", true, true}, PassFile{"/k.passfile", false, true};
  for (const auto& [Set, Typed, File, Expected] :
       std::vector<TRow>{{Stored, "", "", Stored},
                         {Stored, kPasswordPlaceholder, "", {kPasswordPlaceholder, true, false}},  // eight blanks typed
                         {Stored, "new", "", {"new", true, false}},
                         {{"typed", true, false}, "", "", {"typed", true, false}},  // not shown again, not stored yet
                         {PassFile, "", "", PassFile},
                         {{"", true, false}, "", "", {"", true, false}},
                         {{"", true, false}, "x", "/p.passfile", {"/p.passfile", false, true}}}) {
    Frame.SetData(Set);
    const bool Kept = Set.IsEncrypted || !Set.PasswordOrFile.empty();
    EXPECT_EQ(Frame.PasswordEdit.Text(), Kept ? kPasswordPlaceholder : "") << Set.PasswordOrFile;
    if (!Typed.empty()) Frame.PasswordEdit.KeyPress(Typed[0]), Frame.PasswordEdit.EditText(Typed);
    if (!File.empty()) Ui->Files = {File}, Frame.SelectPassFileButton.Click();
    TOTARemoteProfileCredential Got;
    Frame.GetData(Got);
    EXPECT_EQ(Got, Expected) << Set.PasswordOrFile << " typed '" << Typed << "'";
  }
  Frame.SetData(Stored);  // a password after a password file: the file is not kept
  TOTARemoteProfileCredential Got;
  Frame.GetData(Got);
  EXPECT_EQ(Got, Stored);
}

}  // namespace

// The new-profile wizard (see RemoteProfileWizard.h).
#include "ui/RemoteProfileWizard.h"

#include "core/ProfileHooks.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "persistence/DefaultSdkPaths.h"

namespace {

const char kNewPageDescription[] =
    "This wizard will assist you in creating a connection profile.  Connection profiles are required in order to "
    "deploy and run a project on a remote machine.";
const char kHostPageDescription[] =
    "Please specify either the remote machine name or the remote machine's IP address. A connection profile enables "
    "you to connect to the target platform only when Hestrel is installed and running on the remote machine.";
const char kHelpLink[] = " More information on installing Hestrel";

int StartupCount = 0;

}  // namespace

// ---- TWizardPage / TWizardForm ------------------------------------------------------------

TWizardPage::TWizardPage(TWizardForm& Wizard, std::string Name) : TFrame(Wizard, std::move(Name)), Wizard(Wizard) {
  SetVisible(false);
  Wizard.FPages.push_back(this);
}

void TWizardPage::Show() { SetVisible(true); }

void TWizardPage::Hide() { SetVisible(false); }

TWizardForm::TWizardForm(std::string Name) : TForm(std::move(Name)) {
  BackButton.OnClick = [this] { BackButtonClick(); };
  NextButton.OnClick = [this] { NextButtonClick(); };
  FinishButton.OnClick = [this] { FinishButtonClick(); };
  CancelButton.ModalResult = mrCancel;
  HelpLinkLabel.OnClick = [this] {
    if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->ShowHelp(HelpLinkContext);
  };
}

bool TWizardForm::Execute() {
  if (FPages.empty()) return false;
  MoveTo(0);
  return ShowModal() == mrOk;
}

void TWizardForm::ShowPageTexts() {
  TitleLabel.SetCaption(CurrentPage().GetTitle());
  DescriptionLabel.SetCaption(CurrentPage().GetDescription());
  HelpLinkLabel.SetCaption(CurrentPage().GetHelpLink());
}

void TWizardForm::MoveTo(int Index) {
  if (FPageIndex >= 0) CurrentPage().Hide();
  FPageIndex = Index;
  CurrentPage().Show();
  ShowPageTexts();
}

void TWizardForm::BackButtonClick() {
  if (FPageIndex > 0) MoveTo(FPageIndex - 1);
}

void TWizardForm::NextButtonClick() {
  if (HasNextPage() && CurrentPage().ValidateAndSave()) MoveTo(FPageIndex + 1);
}

void TWizardForm::FinishButtonClick() {
  if (CurrentPage().ValidateAndSave()) CloseModal(mrOk);
}

// ---- TRemoteProfileWizardNew --------------------------------------------------------------

TRemoteProfileWizardNew::TRemoteProfileWizardNew(TRemoteProfileWizard& Wizard)
    : TWizardPage(Wizard, "RemoteProfileWizardNew"), Profile(Wizard) {
  ProfileNameEdit.OnChange = [this] { ProfileNameEditChange(); };
  PlatformCombo.OnChange = [this] { PlatformComboSelect(); };
}

std::string TRemoteProfileWizardNew::GetTitle() const { return "Profile information"; }
std::string TRemoteProfileWizardNew::GetDescription() const { return kNewPageDescription; }
std::string TRemoteProfileWizardNew::GetHelpLink() const { return kHelpLink; }

void TRemoteProfileWizardNew::Show() {
  TWizardPage::Show();
  ProfileNameEdit.SetText(Profile.GetName());
  PlatformCombo.SetItemIndex(PlatformCombo.IndexOf(Profile.GetPlatformName()));
  PlatformComboSelect();
  // Back from the next page: the user's choice stands where the choice is free.
  if (DefaultCheckBox.Enabled()) DefaultCheckBox.SetChecked(Profile.GetAsDefault());
  const bool Fixed = Profile.PlatformFixed();
  InfoLabel.SetCaption(Fixed ? "Please specify a profile name."
                             : "Please specify a profile name and select a platform for this profile.");
  for (TControl* Control :
       {static_cast<TControl*>(&PlatformLabel), static_cast<TControl*>(&PlatformCombo), &DefaultCheckBox})
    if (Fixed) Control->SetVisible(false);
  UpdateButtons();
}

std::string TRemoteProfileWizardNew::ChosenPlatform() const {
  return Profile.PlatformFixed() ? ParentPlatform(Profile.CallerPlatform()) : PlatformCombo.SelectedPlatform();
}

void TRemoteProfileWizardNew::PlatformComboSelect() {
  const std::string Platform = ChosenPlatform();
  if (!Platform.empty()) {
    switch (DefaultCheckFor(*Profile.Services(), Platform)) {
      case TDefaultCheck::Hidden:
        DefaultCheckBox.SetChecked(false);
        DefaultCheckBox.SetEnabled(false);
        DefaultCheckBox.SetVisible(false);
        break;
      case TDefaultCheck::Optional:  // the user may choose
        DefaultCheckBox.SetVisible(true);
        DefaultCheckBox.SetChecked(false);
        DefaultCheckBox.SetEnabled(true);
        break;
      case TDefaultCheck::ForcedOn:  // the first profile of a platform is its default
        DefaultCheckBox.SetVisible(true);
        DefaultCheckBox.SetChecked(true);
        DefaultCheckBox.SetEnabled(false);
        break;
    }
  }
  UpdateButtons();
  Wizard.DescriptionLabel.SetCaption(GetDescription());
}

void TRemoteProfileWizardNew::ProfileNameEditChange() { UpdateButtons(); }

void TRemoteProfileWizardNew::UpdateButtons() {
  Wizard.NextButton.SetEnabled(!TrimText(ProfileNameEdit.Text()).empty() && !ChosenPlatform().empty());
  Wizard.BackButton.SetEnabled(false);
  Wizard.FinishButton.SetEnabled(false);
  Wizard.CancelButton.SetEnabled(true);
}

bool TRemoteProfileWizardNew::ValidateAndSave() {
  const std::string New = TrimText(ProfileNameEdit.Text());
  if (!Profile.Services()->ValidateProfileName(New)) {
    ProfileNameEdit.SetFocus();
    return false;
  }
  const std::string Platform = ChosenPlatform();
  if (Platform.empty()) {
    PlatformCombo.SetFocus();
    return false;
  }
  const std::string Old = Profile.GetName();
  Profile.SetName(New);
  // A local root derived from the provisional name follows the name.
  Profile.SetSystemRoot(ReplacePathPart(Profile.GetSystemRoot(), Old, New));
  if (Platform != Profile.GetPlatformName() || Profile.GetPaths().empty())
    Profile.SetPaths(GetDefaultPaths(Platform));  // a new profile starts from its platform's set
  Profile.SetPlatformName(Platform);
  Profile.SetAsDefault(DefaultCheckBox.Checked());
  return true;
}

// ---- TRemoteProfileWizardHost -------------------------------------------------------------

TRemoteProfileWizardHost::TRemoteProfileWizardHost(TRemoteProfileWizard& Wizard)
    : TWizardPage(Wizard, "RemoteProfileWizardHost"), Profile(Wizard) {
  HostNameCombo.HistoryList = "hlRemoteProfileHostName";
  PortNumberCombo.HistoryList = "hlRemoteProfilePortNumber";
  HostNameCombo.OnChange = [this] { HostNameComboChange(); };
  PortNumberCombo.OnChange = [this] { HostNameComboChange(); };
  TestButton.OnClick = [this] { TestButtonClick(); };
}

std::string TRemoteProfileWizardHost::GetTitle() const { return "Remote machine information"; }
std::string TRemoteProfileWizardHost::GetDescription() const { return kHostPageDescription; }
std::string TRemoteProfileWizardHost::GetHelpLink() const { return kHelpLink; }

void TRemoteProfileWizardHost::Show() {
  TWizardPage::Show();
  LoadHistory(HostNameCombo);
  LoadHistory(PortNumberCombo);
  HostNameCombo.SetText(Profile.GetHostName());
  PortNumberCombo.SetText(std::to_string(Profile.GetPortNumber()));
  RemoteProfilePasswordFrame.SetData(Profile.GetCredential());
  UpdateButtons();
  HostNameCombo.SetFocus();
}

void TRemoteProfileWizardHost::HostNameComboChange() { UpdateButtons(); }

void TRemoteProfileWizardHost::UpdateButtons() {
  const bool Ok = !TrimText(HostNameCombo.Text()).empty() && !TrimText(PortNumberCombo.Text()).empty();
  Wizard.NextButton.SetEnabled(Wizard.HasNextPage() && Ok);
  Wizard.FinishButton.SetEnabled(!Wizard.HasNextPage() && Ok);
  Wizard.BackButton.SetEnabled(true);
  Wizard.CancelButton.SetEnabled(true);
  TestButton.SetEnabled(Ok);
}

bool TRemoteProfileWizardHost::ValidateAndSave() {
  std::int32_t Port = 0;
  if (!CheckPortNumber(PortNumberCombo.Text(), Port)) return false;
  Profile.SetHostName(TrimText(HostNameCombo.Text()));
  Profile.SetPortNumber(Port);
  TOTARemoteProfileCredential Credential;
  RemoteProfilePasswordFrame.GetData(Credential);
  Profile.SetCredential(Credential);
  AddToHistory(HostNameCombo);
  AddToHistory(PortNumberCombo);
  return true;
}

void TRemoteProfileWizardHost::TestButtonClick() {
  std::int32_t Port = 0;
  if (!CheckPortNumber(PortNumberCombo.Text(), Port)) return;
  const std::string HostName = TrimText(HostNameCombo.Text());
  TOTARemoteProfileCredential Credential;
  RemoteProfilePasswordFrame.GetData(Credential);
  // What is entered now, as a profile of its own: the wizard's fields are stored only on Finish.
  const auto Entered =
      std::make_shared<TRemoteProfile>(Profile.GetName(), Profile.GetPlatformName(), HostName, Port, Credential, "",
                                       TOTARemoteProfilePathArray(), nullptr, nullptr, nullptr);
  ShowConnectionTest(*Profile.Services(), Entered);
}

// ---- TRemoteProfileWizard -----------------------------------------------------------------

TRemoteProfileWizard::TRemoteProfileWizard(IOTARemoteProfileServicesPtr Services, std::string PlatformName,
                                           bool FixPlatform)
    : TWizardForm("RemoteProfileWizard"),
      FServices(std::move(Services)),
      FFixPlatform(FixPlatform),
      FCallerPlatform(PlatformName),
      FPlatform(ParentPlatform(PlatformName)) {
  SetCaption("Create a Connection Profile");
  HelpContext = 15060;
  HelpLinkContext = 15063;
  WizardImage.SetText("REMOTEPROFILEWIZARD");
}

IOTARemoteProfilePtr ExecuteRemoteProfileWizard(const IOTARemoteProfileServicesPtr& Services,
                                                const std::string& PlatformName, bool FixPlatform) {
  if (!Services) return nullptr;
  const auto Wizard = std::make_shared<TRemoteProfileWizard>(Services, PlatformName, FixPlatform);
  return Wizard->Execute() ? Wizard : nullptr;
}

void RemoteProfileWizardStartup() {
  if (StartupCount++ == 0) ExecuteRemoteProfileWizardFunc = ExecuteRemoteProfileWizard;
}

void RemoteProfileWizardShutdown() {
  if (StartupCount == 0 || --StartupCount > 0) return;
  ExecuteRemoteProfileWizardFunc = nullptr;
}


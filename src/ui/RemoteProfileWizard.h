// The new-profile wizard "Create a Connection Profile": a page sequence with Back, Next,
// Finish and Cancel; the page TRemoteProfileWizardNew (name, platform, default) and the page
// TRemoteProfileWizardHost (remote machine, port, credential, connection test). The wizard is
// itself the profile being filled, answered through ExecuteRemoteProfileWizardFunc.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/RemoteProfileManager.h"
#include "host/NewRemoteProfile.h"
#include "ui/ProfileCommands.h"
#include "ui/RemoteProfileOptionsPswdFrame.h"

class TWizardForm;

/// One page of a wizard.
class TWizardPage : public TFrame {
 public:
  TWizardPage(TWizardForm& Wizard, std::string Name);
  virtual std::string GetTitle() const = 0;
  virtual std::string GetDescription() const = 0;
  virtual std::string GetHelpLink() const = 0;
  virtual void Show();
  virtual void Hide();
  /// Sets the wizard's buttons for this page's state.
  virtual void UpdateButtons() = 0;
  /// Called when the user leaves the page forward; false keeps the page.
  virtual bool ValidateAndSave() = 0;

 protected:
  TWizardForm& Wizard;
};

/// The page sequence: the current page's title, description and help link, and the buttons
/// each page enables. Next and Finish leave a page only when its ValidateAndSave agrees.
class TWizardForm : public TForm {
 public:
  explicit TWizardForm(std::string Name);

  TControl TitleLabel{*this, "TitleLabel", TControlKind::Label};
  TControl DescriptionLabel{*this, "DescriptionLabel", TControlKind::Label};
  TControl HelpLinkLabel{*this, "HelpLinkLabel", TControlKind::Label};
  TControl WizardImage{*this, "WizardImage", TControlKind::Image};
  TControl BackButton{*this, "BackButton", TControlKind::Button, "< &Back"};
  TControl NextButton{*this, "NextButton", TControlKind::Button, "&Next >"};
  TControl FinishButton{*this, "FinishButton", TControlKind::Button, "&Finish"};
  TControl CancelButton{*this, "CancelButton", TControlKind::Button, "Cancel"};
  int HelpLinkContext = 0;

  int PageIndex() const { return FPageIndex; }
  TWizardPage& CurrentPage() const { return *FPages.at(static_cast<std::size_t>(FPageIndex)); }
  bool HasNextPage() const { return FPageIndex + 1 < static_cast<int>(FPages.size()); }
  /// Shows the first page and runs the wizard; true when the user finished.
  bool Execute();
  /// The current page's title, description and help link, read again.
  void ShowPageTexts();
  void BackButtonClick();
  void NextButtonClick();
  void FinishButtonClick();

 private:
  friend class TWizardPage;
  void MoveTo(int Index);
  std::vector<TWizardPage*> FPages;
  int FPageIndex = -1;
};

class TRemoteProfileWizard;

class TRemoteProfileWizardNew : public TWizardPage {
 public:
  explicit TRemoteProfileWizardNew(TRemoteProfileWizard& Wizard);

  TControl ProfileNameLabel{*this, "ProfileNameLabel", TControlKind::Label, "&Profile name:"};
  TControl ProfileNameEdit{*this, "ProfileNameEdit", TControlKind::Edit};
  TControl PlatformLabel{*this, "PlatformLabel", TControlKind::Label, "Pl&atform:"};
  TPlatformCombo PlatformCombo{*this, "PlatformCombo"};
  TControl DefaultCheckBox{*this, "DefaultCheckBox", TControlKind::CheckBox,
                           "Set as &default for the selected platform"};
  TControl InfoLabel{*this, "InfoLabel", TControlKind::Label,
                     "Please specify a name and select a platform for this profile."};
  TControl Bevel1{*this, "Bevel1", TControlKind::Bevel};

  std::string GetTitle() const override;
  std::string GetDescription() const override;
  std::string GetHelpLink() const override;
  void Show() override;
  void UpdateButtons() override;
  bool ValidateAndSave() override;
  void ProfileNameEditChange();
  void PlatformComboSelect();

 private:
  /// The combo's platform; with the platform fixed, the caller's (its parent platform), which
  /// the combo may not offer (Android, the iOS targets).
  std::string ChosenPlatform() const;
  TRemoteProfileWizard& Profile;
};

class TRemoteProfileWizardHost : public TWizardPage {
 public:
  explicit TRemoteProfileWizardHost(TRemoteProfileWizard& Wizard);

  TControl HostNameLabel{*this, "HostNameLabel", TControlKind::Label, "&Remote machine (IP address or Machine name):"};
  TControl HostNameCombo{*this, "HostNameCombo", TControlKind::ComboBox};
  TControl PortNumberLabel{*this, "PortNumberLabel", TControlKind::Label, "&Port number:"};
  TControl PortNumberCombo{*this, "PortNumberCombo", TControlKind::ComboBox};
  TControl TestButton{*this, "TestButton", TControlKind::Button, "&Test Connection"};
  TRemoteProfilePasswordFrame RemoteProfilePasswordFrame{*this};

  std::string GetTitle() const override;
  std::string GetDescription() const override;
  std::string GetHelpLink() const override;
  void Show() override;
  void UpdateButtons() override;
  bool ValidateAndSave() override;
  void HostNameComboChange();
  void TestButtonClick();

 private:
  TRemoteProfileWizard& Profile;
};

class TRemoteProfileWizard : public TWizardForm,
                             public IOTARemoteProfile,
                             public IOTANewRemoteProfile,
                             public std::enable_shared_from_this<TRemoteProfileWizard> {
 public:
  TRemoteProfileWizard(IOTARemoteProfileServicesPtr Services, std::string PlatformName, bool FixPlatform);

  TRemoteProfileWizardNew NewPage{*this};
  TRemoteProfileWizardHost HostPage{*this};

  const IOTARemoteProfileServicesPtr& Services() const { return FServices; }
  bool PlatformFixed() const { return FFixPlatform; }
  const std::string& CallerPlatform() const { return FCallerPlatform; }
  void SetAsDefault(bool Value) { FAsDefault = Value; }

  // The profile being filled.
  std::string GetName() const override { return FName; }
  std::string GetPlatformName() const override { return FPlatform; }
  std::string GetHostName() const override { return FHostName; }
  std::int32_t GetPortNumber() const override { return FPortNumber; }
  TOTARemoteProfileCredential GetCredential() const override { return FCredential; }
  std::string GetSystemRoot() const override { return FSystemRoot; }
  TOTARemoteProfilePathArray GetPaths() const override { return FPaths; }
  void SetName(const std::string& Value) override { FName = Value; }
  void SetPlatformName(const std::string& Value) override { FPlatform = Value; }
  void SetHostName(const std::string& Value) override { FHostName = Value; }
  void SetPortNumber(std::int32_t Value) override { FPortNumber = Value; }
  void SetCredential(const TOTARemoteProfileCredential& Value) override { FCredential = Value; }
  void SetSystemRoot(const std::string& Value) override { FSystemRoot = Value; }
  void SetPaths(const TOTARemoteProfilePathArray& Value) override { FPaths = Value; }
  void BeginUpdate() override {}
  void EndUpdate() override {}
  bool GetAsDefault() const override { return FAsDefault; }

 private:
  IOTARemoteProfileServicesPtr FServices;
  bool FFixPlatform;
  std::string FCallerPlatform;
  std::string FName, FPlatform, FHostName, FSystemRoot;
  std::int32_t FPortNumber = 64211;
  TOTARemoteProfileCredential FCredential{"", true, false};  // an empty typed password
  TOTARemoteProfilePathArray FPaths;
  bool FAsDefault = false;
};

/// The wizard entry kept in ExecuteRemoteProfileWizardFunc: runs the wizard modally and
/// answers it as the new profile, or nullptr when the user cancelled.
IOTARemoteProfilePtr ExecuteRemoteProfileWizard(const IOTARemoteProfileServicesPtr& Services,
                                                const std::string& PlatformName, bool FixPlatform);
/// Fills ExecuteRemoteProfileWizardFunc on the first call and empties it on the matching
/// shut-down; further calls are counted and change nothing.
void RemoteProfileWizardStartup();
void RemoteProfileWizardShutdown();


// The small profile chooser: one drop-down list of a platform's profiles and "Add New...",
// which runs the new-profile wizard for the platform.
#pragma once

#include <string>

#include "core/RemoteProfileManager.h"
#include "ui/Controls.h"

class TSelectRemoteProfileDialog : public TForm {
 public:
  explicit TSelectRemoteProfileDialog(std::string PlatformName);

  TControl Label1{*this, "Label1", TControlKind::Label, "Select a Profile:"};
  TControl lbHeaderTitle{*this, "lbHeaderTitle", TControlKind::Label,
                         "Select the remote machine to use for compiling/testing this application, or select 'Add' "
                         "to add another machine to the list."};
  TControl cbRemote{*this, "cbRemote", TControlKind::ComboBox};
  TControl okButton{*this, "okButton", TControlKind::Button, "OK"};
  TControl cancelButton{*this, "cancelButton", TControlKind::Button, "Cancel"};
  TControl HelpButton{*this, "HelpButton", TControlKind::Button, "Help"};

  /// The profile of the chosen entry, or nullptr ("Add New..." or nothing chosen).
  IOTARemoteProfilePtr SelectedProfile() const;
  void PopulateRemoteProfiles(const std::string& NameToSelect);
  void cbRemoteChange();
  void UpdateButtons();
  void HelpButtonClick();

  /// The last chosen entry of cbRemote, kept between uses.
  static inline int LastSelectedIndex = -1;

 private:
  std::string FPlatformName;
  TRemoteProfileManagerPtr FManager;
};

/// Shows the dialog for a platform; the chosen profile when the user pressed OK, else nullptr.
IOTARemoteProfilePtr SelectRemoteProfileDialog(const std::string& PlatformName);

/// Start-up of the dialog's unit: the manager's ShowSelectProfileDialog reaches the dialog
/// through SelectRemoteProfileDialogFunc. A second call only counts.
void SelectRemoteProfileDlgStartup();
/// Shut-down: empties the hook once as many shut-downs as start-ups have run.
void SelectRemoteProfileDlgShutdown();

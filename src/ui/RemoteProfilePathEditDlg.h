// The dialog that edits one remote path item of a profile: the path on the remote machine, a
// file mask (or framework name), whether subdirectories (or non-essential framework files) are
// included, and the kind of path.
#pragma once

#include <functional>
#include <string>

#include "ui/Controls.h"

/// Accepts or refuses an edited path item; false keeps the dialog open.
using TValidatePathItem = std::function<bool(const TOTARemoteProfilePathItem& Item)>;

class TPathEditDlg : public TForm {
 public:
  TPathEditDlg();

  TControl PathLabel{*this, "PathLabel", TControlKind::Label, "&Path on remote machine:"};
  TControl RemotePathCombo{*this, "RemotePathCombo", TControlKind::ComboBox};
  TControl MaskLabel{*this, "MaskLabel", TControlKind::Label, "&File mask:"};
  TControl FileMaskCombo{*this, "FileMaskCombo", TControlKind::ComboBox};
  TControl IncludeSubDirsCheckBox{*this, "IncludeSubDirsCheckBox", TControlKind::CheckBox, "Include &subdirectories"};
  TControl PathTypeGroup{*this, "PathTypeGroup", TControlKind::GroupBox, " Path type "};
  TControl IncludePathRadioButton{*this, "IncludePathRadioButton", TControlKind::RadioButton, "&Include path"};
  TControl LibraryPathRadioButton{*this, "LibraryPathRadioButton", TControlKind::RadioButton, "&Library path"};
  TControl FrameworkRadioButton{*this, "FrameworkRadioButton", TControlKind::RadioButton, "F&ramework"};
  TControl OtherPathRadioButton{*this, "OtherPathRadioButton", TControlKind::RadioButton, "&Other path"};
  TControl OKButton{*this, "OKButton", TControlKind::Button, "OK"};
  TControl CancelButton{*this, "CancelButton", TControlKind::Button, "Cancel"};
  TControl HelpButton{*this, "HelpButton", TControlKind::Button, "Help"};

  /// The item being edited: as opened, and as confirmed once the dialog closes with OK.
  TOTARemoteProfilePathItem Item;
  TValidatePathItem Validate;

  bool FormCloseQuery(TModalResult Result);
  void IncludePathRadioButtonClick();
  void OKButtonClick();
  void HelpButtonClick();
  /// Checks the radio button of a path type (0 to 3 in the order of the buttons).
  void SetPathType(TOTAPathItemType Type);
};

/// Shows the dialog for Item (framework paths offered only when AllowFramework; Caption, when
/// not empty, replaces the dialog's). True when the user confirmed: Item then holds the edited
/// values; false leaves it unchanged.
bool GetRemotePathInfo(TOTARemoteProfilePathItem& Item, bool AllowFramework, const std::string& Caption,
                       const TValidatePathItem& Validate);

// The path item dialog (see RemoteProfilePathEditDlg.h).
#include "ui/RemoteProfilePathEditDlg.h"

#include "ui/ProfileCommands.h"

TPathEditDlg::TPathEditDlg() : TForm("PathEditDlg") {
  SetCaption("Add Remote Path Item");
  HelpContext = 15061;
  SetHeight(260);
  RemotePathCombo.HistoryList = "hlRemoteProfileRemoteIncludePathsPath";
  int Top = 20;
  for (TControl* Radio :
       {&IncludePathRadioButton, &LibraryPathRadioButton, &FrameworkRadioButton, &OtherPathRadioButton}) {
    Radio->Group = "PathType";
    Radio->SetTop(Top);
    Top += 20;
    Radio->OnClick = [this] { IncludePathRadioButtonClick(); };
  }
  OKButton.ModalResult = mrOk;
  OKButton.OnClick = [this] { OKButtonClick(); };
  CancelButton.ModalResult = mrCancel;
  HelpButton.OnClick = [this] { HelpButtonClick(); };
  OnCloseQuery = [this](TModalResult Result) { return FormCloseQuery(Result); };
}

void TPathEditDlg::SetPathType(TOTAPathItemType Type) {
  TControl* const Radios[] = {&IncludePathRadioButton, &LibraryPathRadioButton, &FrameworkRadioButton,
                              &OtherPathRadioButton};
  Radios[Type <= ptOtherPath ? Type : ptIncludePath]->SetChecked(true);
  IncludePathRadioButtonClick();
}

bool TPathEditDlg::FormCloseQuery(TModalResult Result) {
  if (Result != mrOk) return true;
  TOTARemoteProfilePathItem New{RemotePathCombo.Text(), FileMaskCombo.Text(), IncludeSubDirsCheckBox.Checked(),
                                ptIncludePath};
  if (!CheckPathItem(New)) return false;
  if (LibraryPathRadioButton.Checked()) New.Type = ptLibraryPath;
  if (FrameworkRadioButton.Checked()) New.Type = ptFramework;
  if (OtherPathRadioButton.Checked()) New.Type = ptOtherPath;
  if (IncludePathRadioButton.Checked() && Item.Type > ptOtherPath) New.Type = Item.Type;  // a kind of its own is kept
  // An unchanged item is never checked again.
  if (!(New == Item) && Validate && !Validate(New)) return false;
  Item = New;
  return true;
}

void TPathEditDlg::IncludePathRadioButtonClick() {
  const bool Framework = FrameworkRadioButton.Checked();
  MaskLabel.SetCaption(Framework ? "&Framework name:" : "&File mask:");
  IncludeSubDirsCheckBox.SetCaption(Framework ? "Include non-e&ssential framework files" : "Include &subdirectories");
}

void TPathEditDlg::OKButtonClick() {
  AddToHistory(RemotePathCombo);
  AddToHistory(FileMaskCombo);
}

void TPathEditDlg::HelpButtonClick() {
  if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->ShowHelp(HelpContext);
}

bool GetRemotePathInfo(TOTARemoteProfilePathItem& Item, bool AllowFramework, const std::string& Caption,
                       const TValidatePathItem& Validate) {
  TPathEditDlg Dialog;
  LoadHistory(Dialog.RemotePathCombo);
  Dialog.RemotePathCombo.SetText(Item.Path);
  Dialog.FileMaskCombo.SetText(Item.Mask);
  Dialog.IncludeSubDirsCheckBox.SetChecked(Item.IncludeSubDir);
  if (!Caption.empty()) Dialog.SetCaption(Caption);
  Dialog.Validate = Validate;
  if (!AllowFramework) {
    Dialog.FrameworkRadioButton.SetVisible(false);
    Dialog.SetHeight(Dialog.Height() - (Dialog.OtherPathRadioButton.Top() - Dialog.FrameworkRadioButton.Top()));
  }
  Dialog.SetPathType(Item.Type);
  Dialog.Item = Item;
  if (Dialog.ShowModal() != mrOk) return false;
  Item = Dialog.Item;
  return true;
}

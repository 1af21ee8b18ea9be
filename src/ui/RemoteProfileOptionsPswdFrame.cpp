// The credential editor (see RemoteProfileOptionsPswdFrame.h).
#include "ui/RemoteProfileOptionsPswdFrame.h"

TRemoteProfilePasswordFrame::TRemoteProfilePasswordFrame(TContainer& Owner, std::string Name)
    : TFrame(Owner, std::move(Name)) {
  PasswordEdit.PasswordChar = '*';
  PasswordEdit.SetHint("Enter password");
  PasswordEdit.OnKeyPress = [this](char& Key) { PasswordEditOnKeyPress(Key); };
  SelectPassFileButton.SetHint("Select password file");
  SelectPassFileButton.OnClick = [this] { SelectPassFileButtonOnClick(); };
  OpenPassFileDialog.Title = "Password File";
  OpenPassFileDialog.Filter = "Password files (*.passfile)|*.passfile";
  OpenPassFileDialog.FileMustExist = true;
}

void TRemoteProfilePasswordFrame::SetData(const TOTARemoteProfileCredential& Credential) {
  SetData(Credential.PasswordOrFile, Credential.IsPassword, Credential.IsEncrypted);
}

void TRemoteProfilePasswordFrame::SetData(const std::string& Value, bool IsPassword, bool IsStored) {
  if (IsPassword)
    SetPassword(Value, IsStored);
  else
    SetPassFile(Value);
}

void TRemoteProfilePasswordFrame::SetPassword(const std::string& Value, bool IsStored) {
  // A password replaces a password file chosen before (the frame serves one profile after
  // another), and a typed password is kept like a stored one: it is never shown again.
  FPassFile.clear();
  FStoredPassword = Value;
  FStoredIsEncrypted = IsStored;
  FStored = IsStored || !Value.empty();
  PasswordEdit.SetText(FStored ? kPasswordPlaceholder : "");
}

void TRemoteProfilePasswordFrame::SetPassFile(const std::string& FileName) {
  FPassFile = FileName;
  FStored = true;
  PasswordEdit.SetText(kPasswordPlaceholder);
}

void TRemoteProfilePasswordFrame::GetData(TOTARemoteProfileCredential& Credential) const {
  if (!FPassFile.empty()) {
    Credential = {FPassFile, false, true};
  } else if (FStored && PasswordEdit.Text() == kPasswordPlaceholder) {
    Credential = {FStoredPassword, true, FStoredIsEncrypted};
  } else {
    Credential = {PasswordEdit.Text(), true, false};  // typed: enciphered when the profile is saved
  }
}

void TRemoteProfilePasswordFrame::EnableUI(bool Enabled) {
  PasswordLabel.SetEnabled(Enabled);
  PasswordEdit.SetEnabled(Enabled);
  SelectPassFileButton.SetEnabled(Enabled);
}

void TRemoteProfilePasswordFrame::PasswordEditOnKeyPress(char& /*Key*/) { FStored = false; }

void TRemoteProfilePasswordFrame::SelectPassFileButtonOnClick() {
  IOTAUserInterfaceServices* Ui = HostUi();
  if (Ui && Ui->ExecuteFileDialog(OpenPassFileDialog)) SetPassFile(OpenPassFileDialog.FileName);
}

// The credential editor shared by the options page and the new-profile wizard: a masked
// password edit and a password-file chooser. A password already kept (in stored form, or typed
// earlier) or a chosen password file shows as eight blanks; the value itself is never shown
// again.
#pragma once

#include <string>

#include "ui/Controls.h"

/// What the password edit shows for a kept password or a chosen password file.
inline constexpr const char kPasswordPlaceholder[] = "        ";

class TRemoteProfilePasswordFrame : public TFrame {
 public:
  explicit TRemoteProfilePasswordFrame(TContainer& Owner, std::string Name = "RemoteProfilePasswordFrame");

  TControl PasswordLabel{*this, "PasswordLabel", TControlKind::Label, "Pass&word:"};
  TControl PasswordEdit{*this, "PasswordEdit", TControlKind::Edit};
  TControl SelectPassFileButton{*this, "SelectPassFileButton", TControlKind::Button, "..."};
  TOTAFileDialog OpenPassFileDialog;

  void SetData(const TOTARemoteProfileCredential& Credential);
  void SetData(const std::string& Value, bool IsPassword, bool IsStored);
  void GetData(TOTARemoteProfileCredential& Credential) const;
  void SetPassword(const std::string& Value, bool IsStored);
  void SetPassFile(const std::string& FileName);
  void EnableUI(bool Enabled);

  void PasswordEditOnKeyPress(char& Key);
  void SelectPassFileButtonOnClick();

 private:
  std::string FPassFile;        // empty while a password is used
  std::string FStoredPassword;  // the kept password, as the profile holds it
  bool FStoredIsEncrypted = false;
  bool FStored = false;  // the edit shows the placeholder for FStoredPassword or FPassFile
};

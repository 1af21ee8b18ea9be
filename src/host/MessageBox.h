// The host's message box: every user-facing text is shown through it, with a kind (error,
// information, confirmation) and a button set.
#pragma once

#include <memory>
#include <string>
#include <vector>

enum class TMsgDlgType { mtError, mtInformation, mtConfirmation };

enum class TMsgDlgBtn { mbYes, mbNo, mbOK, mbCancel, mbNoToAll, mbYesToAll };

using TMsgDlgButtons = std::vector<TMsgDlgBtn>;

/// Name of a kind and a button as a person reads them ("Yes to All"), for front ends.
const char* MsgDlgTypeName(TMsgDlgType Kind);
const char* MsgDlgBtnCaption(TMsgDlgBtn Button);

class IOTAMessageServices {
 public:
  virtual ~IOTAMessageServices() = default;
  /// Shows Text modally and answers the button pressed (one of Buttons).
  virtual TMsgDlgBtn MessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons) = 0;
};
using IOTAMessageServicesPtr = std::shared_ptr<IOTAMessageServices>;

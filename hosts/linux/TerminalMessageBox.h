// The reference host's message box on a terminal (IOTAMessageServices): shows the text and
// its kind, offers the buttons as choices and reads the answer. --yes / --no answer every
// question without asking; with no terminal and neither, the safe choice is taken (No,
// Cancel, or OK for a plain notice) and said on the error stream.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "host/MessageBox.h"

enum class TAnswerMode {
  Ask,       ///< ask on the terminal (the safe choice when there is none)
  AlwaysYes, ///< --yes: Yes (or Yes to All / OK when Yes is not offered)
  AlwaysNo,  ///< --no: No (or Cancel / OK when No is not offered)
};

class TTerminalMessageBox : public IOTAMessageServices {
 public:
  /// Errors and questions go to Err, information to Out; answers are read from In, and only
  /// when Interactive (In and Err are a terminal).
  TTerminalMessageBox(TAnswerMode Mode, bool Interactive, std::istream& In, std::ostream& Out, std::ostream& Err);
  TMsgDlgBtn MessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons) override;
  /// Called before each message is shown (a progress display clears its line there).
  void SetBeforeShow(std::function<void()> BeforeShow) { FBeforeShow = std::move(BeforeShow); }

  /// The safe choice among Buttons: No, else Cancel, else No to All, else OK, else the last.
  static TMsgDlgBtn SafeChoice(const TMsgDlgButtons& Buttons);
  /// The choice --yes makes: Yes, else Yes to All, else OK, else the first.
  static TMsgDlgBtn YesChoice(const TMsgDlgButtons& Buttons);
  /// The button an answer typed by the user names (caption or shortcut, any case); false if none.
  static bool ParseAnswer(const std::string& Answer, const TMsgDlgButtons& Buttons, TMsgDlgBtn& Button);
  /// The host's "\r\n" line breaks as the terminal's "\n".
  static std::string TerminalText(const std::string& Text);

 private:
  TMsgDlgBtn AskUser(const TMsgDlgButtons& Buttons);

  TAnswerMode FMode;
  bool FInteractive;
  std::istream& FIn;
  std::ostream& FOut;
  std::ostream& FErr;
  std::function<void()> FBeforeShow;
};

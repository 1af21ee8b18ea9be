// The reference host's message box on a terminal (see TerminalMessageBox.h).
#include "hosts/linux/TerminalMessageBox.h"

#include <algorithm>
#include <istream>
#include <ostream>

#include "core/Text.h"

namespace {

bool Offers(const TMsgDlgButtons& Buttons, TMsgDlgBtn Button) {
  return std::find(Buttons.begin(), Buttons.end(), Button) != Buttons.end();
}

TMsgDlgBtn FirstOffered(const TMsgDlgButtons& Buttons, std::initializer_list<TMsgDlgBtn> Preference,
                        TMsgDlgBtn Otherwise) {
  for (TMsgDlgBtn Button : Preference)
    if (Offers(Buttons, Button)) return Button;
  return Otherwise;
}

/// Short answers accepted besides the captions.
const char* Shortcut(TMsgDlgBtn Button) {
  switch (Button) {
    case TMsgDlgBtn::mbYes: return "y";
    case TMsgDlgBtn::mbNo: return "n";
    case TMsgDlgBtn::mbOK: return "o";
    case TMsgDlgBtn::mbCancel: return "c";
    case TMsgDlgBtn::mbNoToAll: return "na";
    case TMsgDlgBtn::mbYesToAll: return "ya";
  }
  return "";
}

std::string Choices(const TMsgDlgButtons& Buttons) {
  std::string Result = "[";
  for (std::size_t I = 0; I < Buttons.size(); ++I) {
    if (I > 0) Result += " / ";
    Result += std::string(MsgDlgBtnCaption(Buttons[I])) + " (" + Shortcut(Buttons[I]) + ")";
  }
  return Result + "]";
}

}  // namespace

TTerminalMessageBox::TTerminalMessageBox(TAnswerMode Mode, bool Interactive, std::istream& In, std::ostream& Out,
                                         std::ostream& Err)
    : FMode(Mode), FInteractive(Interactive), FIn(In), FOut(Out), FErr(Err) {}

TMsgDlgBtn TTerminalMessageBox::SafeChoice(const TMsgDlgButtons& Buttons) {
  return FirstOffered(Buttons, {TMsgDlgBtn::mbNo, TMsgDlgBtn::mbCancel, TMsgDlgBtn::mbNoToAll, TMsgDlgBtn::mbOK},
                      Buttons.empty() ? TMsgDlgBtn::mbOK : Buttons.back());
}

TMsgDlgBtn TTerminalMessageBox::YesChoice(const TMsgDlgButtons& Buttons) {
  return FirstOffered(Buttons, {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbYesToAll, TMsgDlgBtn::mbOK},
                      Buttons.empty() ? TMsgDlgBtn::mbOK : Buttons.front());
}

std::string TTerminalMessageBox::TerminalText(const std::string& Text) {
  std::string Result;
  Result.reserve(Text.size());
  for (std::size_t I = 0; I < Text.size(); ++I) {
    if (Text[I] == '\r' && I + 1 < Text.size() && Text[I + 1] == '\n') continue;
    Result += Text[I];
  }
  return Result;
}

bool TTerminalMessageBox::ParseAnswer(const std::string& Answer, const TMsgDlgButtons& Buttons, TMsgDlgBtn& Button) {
  std::string Given = Answer;
  while (!Given.empty() && static_cast<unsigned char>(Given.back()) <= ' ') Given.pop_back();
  Given.erase(0, std::min(Given.size(), Given.find_first_not_of(" \t")));
  for (TMsgDlgBtn Offered : Buttons) {
    if (SameText(Given, MsgDlgBtnCaption(Offered)) || SameText(Given, Shortcut(Offered))) {
      Button = Offered;
      return true;
    }
  }
  return false;
}

TMsgDlgBtn TTerminalMessageBox::AskUser(const TMsgDlgButtons& Buttons) {
  for (;;) {
    FErr << Choices(Buttons) << "? " << std::flush;
    std::string Line;
    if (!std::getline(FIn, Line)) {
      const TMsgDlgBtn Safe = SafeChoice(Buttons);
      FErr << "\n(no answer: " << MsgDlgBtnCaption(Safe) << ")\n";
      return Safe;
    }
    TMsgDlgBtn Answer;
    if (ParseAnswer(Line, Buttons, Answer)) return Answer;
    FErr << "Please answer one of the choices.\n";
  }
}

TMsgDlgBtn TTerminalMessageBox::MessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons) {
  // The kind as a prefix ("Error: ..."), the system's text after it unchanged.
  const std::string Shown = std::string(MsgDlgTypeName(Kind)) + ": " + TerminalText(Text);
  if (FBeforeShow) FBeforeShow();
  const bool Question = Buttons.size() > 1;
  // A plain notice: information on the output, errors on the error stream, nothing to ask.
  if (!Question) {
    (Kind == TMsgDlgType::mtInformation ? FOut : FErr) << Shown << '\n' << std::flush;
    return Buttons.empty() ? TMsgDlgBtn::mbOK : Buttons.front();
  }
  FErr << Shown << '\n';
  switch (FMode) {
    case TAnswerMode::AlwaysYes: {
      const TMsgDlgBtn Answer = YesChoice(Buttons);
      FErr << Choices(Buttons) << "? " << MsgDlgBtnCaption(Answer) << " (--yes)\n" << std::flush;
      return Answer;
    }
    case TAnswerMode::AlwaysNo: {
      const TMsgDlgBtn Answer = SafeChoice(Buttons);
      FErr << Choices(Buttons) << "? " << MsgDlgBtnCaption(Answer) << " (--no)\n" << std::flush;
      return Answer;
    }
    case TAnswerMode::Ask: break;
  }
  if (FInteractive) return AskUser(Buttons);
  const TMsgDlgBtn Safe = SafeChoice(Buttons);
  FErr << "No terminal to ask; answered " << MsgDlgBtnCaption(Safe) << " (use --yes or --no to answer)\n"
       << std::flush;
  return Safe;
}

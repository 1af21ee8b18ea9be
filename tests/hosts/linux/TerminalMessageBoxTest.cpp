// The reference host's terminal message box: texts, kinds, --yes / --no and the safe choice.
#include <gtest/gtest.h>

#include <sstream>

#include "hosts/linux/TerminalMessageBox.h"

TEST(TerminalMessageBox, NoticesAreShownAndQuestionsAnsweredByModeTerminalOrSafeChoice) {
  using enum TMsgDlgBtn;
  using enum TAnswerMode;
  const TMsgDlgButtons YesNo{mbYes, mbNo}, OkCancel{mbOK, mbCancel}, All{mbYes, mbNo, mbCancel, mbNoToAll, mbYesToAll};
  const std::string Q = "|Confirm: A.\n\nB?\n", YN = "[Yes (y) / No (n)]? ", OC = "[OK (o) / Cancel (c)]? ",
                    Choices = "[Yes (y) / No (n) / Cancel (c) / No to All (na) / Yes to All (ya)]? ";
  const struct {
    TAnswerMode Mode;
    bool Interactive;
    std::string Input;
    TMsgDlgButtons Buttons;
    TMsgDlgBtn Answer;
    std::string Out, Err;  // "|": where the message was about to be shown
  } Cases[] = {
      {Ask, false, "", {mbOK}, mbOK, "", "|Error: A.\n\nB?\n"},
      {AlwaysNo, false, "", {mbOK}, mbOK, "Information: A.\n\nB?\n", "|"},
      {AlwaysYes, true, "n\n", YesNo, mbYes, "", Q + YN + "Yes (--yes)\n"},
      {AlwaysYes, false, "", OkCancel, mbOK, "", Q + OC + "OK (--yes)\n"},
      {AlwaysYes,
       false,
       "",
       {mbNo, mbYesToAll},
       mbYesToAll,
       "",
       Q + "[No (n) / Yes to All (ya)]? Yes to All (--yes)\n"},
      {AlwaysNo, true, "y\n", YesNo, mbNo, "", Q + YN + "No (--no)\n"},
      {AlwaysNo, false, "", OkCancel, mbCancel, "", Q + OC + "Cancel (--no)\n"},
      {Ask, false, "y\n", YesNo, mbNo, "", Q + "No terminal to ask; answered No (use --yes or --no to answer)\n"},
      {Ask, true, "maybe\n Yes to all \n", All, mbYesToAll, "",
       Q + Choices + "Please answer one of the choices.\n" + Choices},
      {Ask, true, " NA \n", All, mbNoToAll, "", Q + Choices},
      {Ask, true, "C\n", OkCancel, mbCancel, "", Q + OC},
      {Ask, true, "c\n", YesNo, mbNo, "", Q + YN + "Please answer one of the choices.\n" + YN + "\n(no answer: No)\n"},
  };
  for (const auto& C : Cases) {
    std::istringstream In(C.Input);
    std::ostringstream Out, Err;
    TTerminalMessageBox Box(C.Mode, C.Interactive, In, Out, Err);
    Box.SetBeforeShow([&] { Err << '|'; });
    const TMsgDlgType Kind = C.Buttons.size() > 1 ? TMsgDlgType::mtConfirmation
                             : C.Out.empty()      ? TMsgDlgType::mtError
                                                  : TMsgDlgType::mtInformation;
    EXPECT_EQ(Box.MessageDlg("A.\r\n\r\nB?", Kind, C.Buttons), C.Answer) << C.Err;
    EXPECT_EQ(Out.str(), C.Out);
    EXPECT_EQ(Err.str(), C.Err);
  }
}

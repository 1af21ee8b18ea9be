// The reference host's terminal message box (texts, kinds, --yes / --no and the safe choice)
// and its progress display (steps, errors at the end, Ctrl-C).
#include <gtest/gtest.h>

#include <sstream>

#include "hosts/linux/TerminalMessageBox.h"
#include "hosts/linux/TerminalProgress.h"

TEST(TerminalMessageBox, NoticesAreShownAndQuestionsAnsweredByModeTerminalOrSafeChoice) {
  using enum TMsgDlgBtn;
  using enum TAnswerMode;
  const TMsgDlgButtons YesNo{mbYes, mbNo}, OkCancel{mbOK, mbCancel}, NoYesAll{mbNo, mbYesToAll},
      All{mbYes, mbNo, mbCancel, mbNoToAll, mbYesToAll};
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
      {AlwaysYes, false, "", NoYesAll, mbYesToAll, "", Q + "[No (n) / Yes to All (ya)]? Yes to All (--yes)\n"},
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

namespace {
class TerminalProgress : public ::testing::Test {
 protected:
  void TearDown() override { TTerminalProgress::SetInterruptedForTesting(false); }
  bool Notice(TOTAProgressType Type, int Index, int Count, const std::string& Text, int Position = -1,
              const std::string& File = "") {
    return P.UpdateProgress(Type, Index, Count, Text, "", File, Position, true);
  }
  std::ostringstream Out;
  TTerminalProgress P{Out, false};
};
}  // namespace

TEST_F(TerminalProgress, WithoutATerminalEachStepIsOneLineAndErrorsAreListedAtTheEnd) {
  EXPECT_TRUE(Notice(ptStart, 0, 2, "Updating Remote Files"));
  EXPECT_TRUE(Notice(ptProgress, 0, 2, "Connecting to remote machine"));
  EXPECT_TRUE(Notice(ptProgress, 1, 2, "Updating files on remote machine"));
  EXPECT_TRUE(Notice(ptProgress, -1, -1, "Copied 10 of 20 bytes", 50, "a.txt"));
  EXPECT_TRUE(Notice(ptError, -1, -1, "no such file\r\nin /x"));
  EXPECT_TRUE(Notice(ptProgress, 1, 2, "Copying 'a.txt' to remote machine"));
  EXPECT_TRUE(Notice(ptProgress, 1, 2, "Copying 'a.txt' to remote machine"));
  EXPECT_TRUE(Notice(ptError, -1, -1, ""));
  EXPECT_TRUE(Notice(ptFinished, -1, -1, ""));
  P.Finish();  // nothing listed twice
  EXPECT_EQ(P.Errors(), (std::vector<std::string>{"no such file\r\nin /x", "Unknown Error"}));
  EXPECT_EQ(Out.str(),
            "Updating Remote Files (2 items)\nConnecting to remote machine\n[1/2] Updating files on remote machine\n"
            "[1/2] Copying 'a.txt' to remote machine\nOperation completed\n2 errors:\n  no such file\n  in /x\n"
            "  Unknown Error\n");
}

TEST_F(TerminalProgress, CtrlCMakesEveryLaterNoticeAnswerFalse) {
  EXPECT_TRUE(Notice(ptStart, 0, 1, "Updating Local File Cache"));
  TTerminalProgress::SetInterruptedForTesting(true);
  EXPECT_FALSE(Notice(ptProgress, -1, -1, "Received 1 of 2 bytes", 50));
  EXPECT_FALSE(Notice(ptProgress, 1, 1, "Updating files from remote machine"));
  EXPECT_TRUE(P.Cancelled());
  P.Finish();
  EXPECT_EQ(Out.str(),
            "Updating Local File Cache (1 item)\nCancelling (Ctrl-C)...\n[1/1] Updating files from remote machine\n"
            "Cancelled.\n");
}

TEST_F(TerminalProgress, OnATerminalOneLineIsRedrawnWithBarItemsPercentAndTheFilesEnd) {
  TTerminalProgress Bar(Out, true, 75);  // too narrow for the whole line: its end is kept
  Bar.UpdateProgress(ptStart, 0, 4, "Updating Local File Cache", "", "", -1, true);
  Bar.UpdateProgress(ptProgress, 2, 4, "Received 5 of 10 bytes", "", "/cache/usr/include/a.h", 50, true);
  Bar.UpdateProgress(ptFinished, -1, -1, "", "", "", -1, true);
  EXPECT_EQ(Out.str(),
            "Updating Local File Cache (4 items)\n"
            "\r\x1b[K...#####..........] 2/4 Received 5 of 10 bytes 50%  /cache/usr/include/a.h"
            "\r\x1b[KOperation completed\n");
}

// The reference host's terminal message box: texts, kinds, --yes / --no and the safe choice.
#include <sstream>

#include <gtest/gtest.h>

#include "hosts/linux/TerminalMessageBox.h"

namespace {

const TMsgDlgButtons YesNo{TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo};
const TMsgDlgButtons OverwriteButtons{TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo, TMsgDlgBtn::mbCancel,
                                      TMsgDlgBtn::mbNoToAll, TMsgDlgBtn::mbYesToAll};

struct TTerminal {
  explicit TTerminal(TAnswerMode Mode, bool Interactive = false, std::string Input = "")
      : In(std::move(Input)), Box(Mode, Interactive, In, Out, Err) {}
  std::istringstream In;
  std::ostringstream Out, Err;
  TTerminalMessageBox Box;
};

TEST(TerminalMessageBox, ErrorNoticeGoesToTheErrorStreamWithItsKind) {
  TTerminal T(TAnswerMode::Ask);
  EXPECT_EQ(T.Box.MessageDlg("Profile name cannot be blank", TMsgDlgType::mtError, {TMsgDlgBtn::mbOK}),
            TMsgDlgBtn::mbOK);
  EXPECT_EQ(T.Err.str(), "Error: Profile name cannot be blank\n");
  EXPECT_EQ(T.Out.str(), "");
}

TEST(TerminalMessageBox, InformationNoticeGoesToTheOutput) {
  TTerminal T(TAnswerMode::AlwaysNo);
  EXPECT_EQ(T.Box.MessageDlg("Saved default paths to /x", TMsgDlgType::mtInformation, {TMsgDlgBtn::mbOK}),
            TMsgDlgBtn::mbOK);
  EXPECT_EQ(T.Out.str(), "Information: Saved default paths to /x\n");
  EXPECT_EQ(T.Err.str(), "");
}

TEST(TerminalMessageBox, HostLineBreaksBecomeTerminalLineBreaks) {
  EXPECT_EQ(TTerminalMessageBox::TerminalText("a.\r\n\r\nb"), "a.\n\nb");
}

TEST(TerminalMessageBox, YesAnswersEveryQuestionWithoutReading) {
  TTerminal T(TAnswerMode::AlwaysYes, true, "n\n");
  EXPECT_EQ(T.Box.MessageDlg("Sure?", TMsgDlgType::mtConfirmation, YesNo), TMsgDlgBtn::mbYes);
  EXPECT_EQ(T.Err.str(), "Confirm: Sure?\n[Yes (y) / No (n)]? Yes (--yes)\n");
  EXPECT_EQ(T.Box.MessageDlg("Replace?", TMsgDlgType::mtConfirmation, OverwriteButtons), TMsgDlgBtn::mbYes);
}

TEST(TerminalMessageBox, NoAnswersEveryQuestionWithTheSafeChoice) {
  TTerminal T(TAnswerMode::AlwaysNo, true, "y\n");
  EXPECT_EQ(T.Box.MessageDlg("Sure?", TMsgDlgType::mtConfirmation, YesNo), TMsgDlgBtn::mbNo);
  EXPECT_EQ(T.Box.MessageDlg("Go?", TMsgDlgType::mtConfirmation, {TMsgDlgBtn::mbOK, TMsgDlgBtn::mbCancel}),
            TMsgDlgBtn::mbCancel);
}

TEST(TerminalMessageBox, WithoutATerminalTheSafeChoiceIsTakenAndSaid) {
  TTerminal T(TAnswerMode::Ask, false, "y\n");
  EXPECT_EQ(T.Box.MessageDlg("Sure?", TMsgDlgType::mtConfirmation, YesNo), TMsgDlgBtn::mbNo);
  EXPECT_EQ(T.Err.str(),
            "Confirm: Sure?\nNo terminal to ask; answered No (use --yes or --no to answer)\n");
}

TEST(TerminalMessageBox, OnATerminalTheAnswerIsReadUntilItNamesAChoice) {
  TTerminal T(TAnswerMode::Ask, true, "maybe\nYes to all\n");
  EXPECT_EQ(T.Box.MessageDlg("Replace?", TMsgDlgType::mtConfirmation, OverwriteButtons), TMsgDlgBtn::mbYesToAll);
  EXPECT_NE(T.Err.str().find("Please answer one of the choices."), std::string::npos);
}

TEST(TerminalMessageBox, ShortcutsNameTheirButtons) {
  TMsgDlgBtn B;
  ASSERT_TRUE(TTerminalMessageBox::ParseAnswer(" NA ", OverwriteButtons, B));
  EXPECT_EQ(B, TMsgDlgBtn::mbNoToAll);
  ASSERT_TRUE(TTerminalMessageBox::ParseAnswer("c", OverwriteButtons, B));
  EXPECT_EQ(B, TMsgDlgBtn::mbCancel);
  EXPECT_FALSE(TTerminalMessageBox::ParseAnswer("c", YesNo, B));
}

TEST(TerminalMessageBox, EndOfInputTakesTheSafeChoice) {
  TTerminal T(TAnswerMode::Ask, true, "");
  EXPECT_EQ(T.Box.MessageDlg("Replace?", TMsgDlgType::mtConfirmation, OverwriteButtons), TMsgDlgBtn::mbNo);
}

}  // namespace

namespace {

TEST(TerminalMessageBox, BeforeShowRunsBeforeEveryMessage) {
  std::istringstream In;
  std::ostringstream Out, Err;
  TTerminalMessageBox Box(TAnswerMode::AlwaysNo, false, In, Out, Err);
  int Calls = 0;
  Box.SetBeforeShow([&] {
    ++Calls;
    Err << "<clear>";
  });
  Box.MessageDlg("Sure?", TMsgDlgType::mtConfirmation, {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo});
  Box.MessageDlg("Oops", TMsgDlgType::mtError, {TMsgDlgBtn::mbOK});
  EXPECT_EQ(Calls, 2);
  EXPECT_EQ(Err.str(), "<clear>Confirm: Sure?\n[Yes (y) / No (n)]? No (--no)\n<clear>Error: Oops\n");
}

}  // namespace

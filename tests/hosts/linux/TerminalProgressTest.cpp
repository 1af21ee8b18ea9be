// The reference host's terminal progress display: steps, errors at the end, Ctrl-C.
#include <gtest/gtest.h>

#include <sstream>

#include "hosts/linux/TerminalProgress.h"

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

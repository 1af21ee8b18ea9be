// The reference host's terminal progress display: steps, errors at the end, Ctrl-C.
#include <sstream>

#include <gtest/gtest.h>

#include "hosts/linux/TerminalProgress.h"

namespace {

class TerminalProgress : public ::testing::Test {
 protected:
  void TearDown() override { TTerminalProgress::SetInterruptedForTesting(false); }
  bool Notice(TTerminalProgress& P, TOTAProgressType Type, int Index, int Count, const std::string& Text,
              int Position = -1, const std::string& File = "") {
    return P.UpdateProgress(Type, Index, Count, Text, "", File, Position, true);
  }
};

TEST_F(TerminalProgress, WithoutATerminalEachStepIsOneLineAndByteCountsAreNot) {
  std::ostringstream Out;
  TTerminalProgress P(Out, false);
  EXPECT_TRUE(Notice(P, ptStart, 0, 2, "Updating Remote Files"));
  EXPECT_TRUE(Notice(P, ptProgress, 0, 2, "Connecting to remote machine"));
  EXPECT_TRUE(Notice(P, ptProgress, 1, 2, "Updating files on remote machine"));
  EXPECT_TRUE(Notice(P, ptProgress, -1, -1, "Copied 10 of 20 bytes", 50, "a.txt"));
  EXPECT_TRUE(Notice(P, ptProgress, 1, 2, "Copying 'a.txt' to remote machine"));
  EXPECT_TRUE(Notice(P, ptFinished, -1, -1, ""));
  EXPECT_EQ(Out.str(),
            "Updating Remote Files (2 items)\nConnecting to remote machine\n[1/2] Updating files on remote machine\n"
            "[1/2] Copying 'a.txt' to remote machine\nOperation completed\n");
}

TEST_F(TerminalProgress, ErrorsAreCollectedAndListedAtTheEnd) {
  std::ostringstream Out;
  TTerminalProgress P(Out, false);
  Notice(P, ptStart, 0, 1, "Removing Remote Files");
  EXPECT_TRUE(Notice(P, ptError, -1, -1, "no such file"));
  EXPECT_TRUE(Notice(P, ptError, -1, -1, ""));
  EXPECT_EQ(Out.str().find("no such file"), std::string::npos);
  Notice(P, ptFinished, -1, -1, "");
  EXPECT_EQ(P.Errors(), (std::vector<std::string>{"no such file", "Unknown Error"}));
  EXPECT_NE(Out.str().find("Operation completed\n2 errors:\n  no such file\n  Unknown Error\n"), std::string::npos);
  P.Finish();  // nothing listed twice
  EXPECT_EQ(Out.str().find("no such file"), Out.str().rfind("no such file"));
}

TEST_F(TerminalProgress, CtrlCMakesTheNextNoticeAnswerFalse) {
  std::ostringstream Out;
  TTerminalProgress P(Out, false);
  EXPECT_TRUE(Notice(P, ptStart, 0, 3, "Updating Local File Cache"));
  TTerminalProgress::SetInterruptedForTesting(true);
  EXPECT_FALSE(Notice(P, ptProgress, -1, -1, "Received 1 of 2 bytes", 50));
  EXPECT_TRUE(P.Cancelled());
  EXPECT_FALSE(Notice(P, ptProgress, 2, 3, "Updating files from remote machine"));
  P.Finish();
  EXPECT_NE(Out.str().find("Cancelling (Ctrl-C)...\n"), std::string::npos);
  EXPECT_NE(Out.str().find("Cancelled.\n"), std::string::npos);
}

TEST_F(TerminalProgress, OnATerminalOneLineIsRedrawnWithBarItemsFileAndPercent) {
  std::ostringstream Out;
  TTerminalProgress P(Out, true, 100);
  Notice(P, ptStart, 0, 4, "Updating Local File Cache");
  Notice(P, ptProgress, 2, 4, "Updating files from remote machine");
  Notice(P, ptProgress, -1, -1, "Received 5 of 10 bytes", 50, "/cache/usr/include/a.h");
  const std::string Text = Out.str();
  EXPECT_NE(Text.find("\r\x1b[K[##########..........] 2/4 Received 5 of 10 bytes 50%  /cache/usr/include/a.h"),
            std::string::npos);
  Notice(P, ptFinished, -1, -1, "");
  EXPECT_NE(Out.str().rfind("\r\x1b[KOperation completed\n"), std::string::npos);
}

}  // namespace

// Part 3.2: the manager's IFileListener callbacks, called directly with the callback
// parameters of an operation in place.
#include "RemoteTestSupport.h"

namespace {

const TDateTime kOld = LocalTime(2026, 11, 22, 21, 31, 4);
const TDateTime kNew = LocalTime(2026, 11, 23, 8, 0, 0);

class FileListener : public RemoteFixture {
 protected:
  void Begin(TOTAFileOverwriteControl Control, const std::string& Format = sCopiedBytes) {
    Manager->SetCallbackParams(nullptr, Progress.Proc(), Control, 1, Format);
  }
  std::uint8_t State() const { return Manager->GetCallbackParams().OperationState; }
  TOTAFileOverwriteControl Control() const { return Manager->GetCallbackParams().OverwriteControl; }
  bool Ask(TMsgDlgBtn Answer) {
    Messages->Answers.push_back(Answer);
    return Manager->Overwrite("/cache/Mac/usr/include/a.h", kOld, 10, kNew, 20);
  }
};

const TMsgDlgButtons kFiveButtons = {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo, TMsgDlgBtn::mbCancel, TMsgDlgBtn::mbNoToAll,
                                     TMsgDlgBtn::mbYesToAll};

}  // namespace

// ---- Overwrite --------------------------------------------------------------------------

TEST_F(FileListener, TheLongQuestionShowsBothSizesAndTimesAsAConfirmationWithFiveButtons) {
  Begin(focAsk);
  EXPECT_TRUE(Ask(TMsgDlgBtn::mbYes));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text,
            "File '/cache/Mac/usr/include/a.h' already exists.\r\nReplace 10 byte(s) file modified on 2026-11-22 "
            "21:31:04\r\nwith 20 byte(s) file modified on 2026-11-23 08:00:00?");
  EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtConfirmation);
  EXPECT_EQ(Messages->Shown[0].Buttons, kFiveButtons);
  std::vector<std::string> Captions;
  for (TMsgDlgBtn Button : Messages->Shown[0].Buttons) Captions.push_back(MsgDlgBtnCaption(Button));
  EXPECT_EQ(Captions, (std::vector<std::string>{"Yes", "No", "Cancel", "No to All", "Yes to All"}));
}

TEST_F(FileListener, TheShortQuestionIsChosenOnlyBySize2) {
  Begin(focAsk);
  Messages->Answers = {TMsgDlgBtn::mbNo, TMsgDlgBtn::mbNo};
  EXPECT_FALSE(Manager->Overwrite("a.h", kOld, 77, kNew, -1));
  EXPECT_FALSE(Manager->Overwrite("a.h", kOld, -1, kNew, 5));
  EXPECT_EQ(Messages->Shown[0].Text,
            "File 'a.h' already exists.\r\nReplace file modified on 2026-11-22 21:31:04\r\nwith file modified on "
            "2026-11-23 08:00:00?");
  EXPECT_EQ(Messages->Shown[1].Text,
            "File 'a.h' already exists.\r\nReplace -1 byte(s) file modified on 2026-11-22 21:31:04\r\nwith 5 byte(s) "
            "file modified on 2026-11-23 08:00:00?");
}

TEST_F(FileListener, YesReplacesAndChangesNothing) {
  Begin(focAsk);
  EXPECT_TRUE(Ask(TMsgDlgBtn::mbYes));
  EXPECT_EQ(Control(), focAsk);
  EXPECT_EQ(State(), 1);
}

TEST_F(FileListener, NoKeepsTheFileAndChangesNothing) {
  Begin(focAsk);
  EXPECT_FALSE(Ask(TMsgDlgBtn::mbNo));
  EXPECT_EQ(Control(), focAsk);
  EXPECT_EQ(State(), 1);
}

TEST_F(FileListener, YesToAllReplacesAndTurnsTheControlToAlwaysReplace) {
  Begin(focAsk);
  EXPECT_TRUE(Ask(TMsgDlgBtn::mbYesToAll));
  EXPECT_EQ(Control(), focAlwaysReplace);
  EXPECT_TRUE(Manager->Overwrite("b.h", kOld, 1, kNew, 2));
  EXPECT_EQ(Messages->Shown.size(), 1u);
}

TEST_F(FileListener, NoToAllKeepsTheFileAndTurnsTheControlToNeverReplace) {
  Begin(focAsk);
  EXPECT_FALSE(Ask(TMsgDlgBtn::mbNoToAll));
  EXPECT_EQ(Control(), focNeverReplace);
  EXPECT_FALSE(Manager->Overwrite("b.h", kOld, 1, kNew, 2));
  EXPECT_EQ(Messages->Shown.size(), 1u);
}

TEST_F(FileListener, CancelKeepsTheFileAndCancelsTheOperation) {
  Begin(focAsk);
  EXPECT_FALSE(Ask(TMsgDlgBtn::mbCancel));
  EXPECT_EQ(State(), 2);
  EXPECT_EQ(Control(), focAsk);
}

TEST_F(FileListener, ControlsZeroOneAndUnknownValuesAnswerWithoutAsking) {
  Begin(focAlwaysReplace);
  EXPECT_TRUE(Manager->Overwrite("a.h", kOld, 1, kNew, 2));
  Begin(focNeverReplace);
  EXPECT_FALSE(Manager->Overwrite("a.h", kOld, 1, kNew, 2));
  Begin(static_cast<TOTAFileOverwriteControl>(7));
  EXPECT_TRUE(Manager->Overwrite("a.h", kOld, 1, kNew, 2));
  EXPECT_TRUE(Messages->Shown.empty());
}

TEST_F(FileListener, ACancelledOperationNeverReplacesAndNeverAsks) {
  Manager->SetCallbackParams(nullptr, nullptr, focAlwaysReplace, 2, "");
  EXPECT_FALSE(Manager->Overwrite("a.h", kOld, 1, kNew, 2));
  Manager->SetCallbackParams(nullptr, nullptr, focAsk, 2, "");
  EXPECT_FALSE(Manager->Overwrite("a.h", kOld, 1, kNew, 2));
  EXPECT_TRUE(Messages->Shown.empty());
}

TEST_F(FileListener, WithoutAMessageBoxTheQuestionKeepsTheFile) {
  Host.Messages = nullptr;
  Reinstall();
  Begin(focAsk);
  EXPECT_FALSE(Manager->Overwrite("a.h", kOld, 1, kNew, 2));
  EXPECT_EQ(State(), 1);
}

// ---- BytesCopied ------------------------------------------------------------------------

TEST_F(FileListener, ByteProgressBelow4096BytesDoneShows100Percent) {
  Begin(focAlwaysReplace);
  EXPECT_EQ(Manager->BytesCopied("r", "src", "dst", 100, 10'000'000, nullptr), 1);
  EXPECT_EQ(Manager->BytesCopied("r", "src", "dst", 4095, 1'000'000, nullptr), 1);
  EXPECT_EQ(Manager->BytesCopied("r", "src", "dst", -5, 1'000'000, nullptr), 1);
  EXPECT_EQ(Manager->BytesCopied("r", "src", "dst", 0, 0, nullptr), 1);
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{"1|-1|-1|Copied 100 of 10000000 bytes|src|dst|100",
                                                        "1|-1|-1|Copied 4095 of 1000000 bytes|src|dst|100",
                                                        "1|-1|-1|Copied -5 of 1000000 bytes|src|dst|100",
                                                        "1|-1|-1|Copied 0 of 0 bytes|src|dst|100"}));
}

TEST_F(FileListener, ByteProgressFrom4096BytesIsTheRoundedPercentOfTheTotal) {
  Begin(focAlwaysReplace, sReceivedBytes);
  Manager->BytesCopied("r", "src", "dst", 4096, 1'000'000, nullptr);  // 0.4096 %
  Manager->BytesCopied("r", "src", "dst", 5000, 10'000, nullptr);     // 50 %
  Manager->BytesCopied("r", "src", "dst", 6667, 10'000, nullptr);     // 66.67 %
  Manager->BytesCopied("r", "src", "dst", 10'000, 10'000, nullptr);   // 100 %
  Manager->BytesCopied("r", "src", "dst", 5000, 0, nullptr);          // no total: 100
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{"1|-1|-1|Received 4096 of 1000000 bytes|src|dst|0",
                                                        "1|-1|-1|Received 5000 of 10000 bytes|src|dst|50",
                                                        "1|-1|-1|Received 6667 of 10000 bytes|src|dst|67",
                                                        "1|-1|-1|Received 10000 of 10000 bytes|src|dst|100",
                                                        "1|-1|-1|Received 5000 of 0 bytes|src|dst|100"}));
}

TEST_F(FileListener, HalfPercentsRoundToEvenAsTheHostsRound) {
  Begin(focAlwaysReplace);
  Manager->BytesCopied("r", "s", "d", 5000, 400'000, nullptr);  // 1.25 -> 1
  Manager->BytesCopied("r", "s", "d", 5000, 200'000, nullptr);  // 2.5 -> 2
  Manager->BytesCopied("r", "s", "d", 7000, 200'000, nullptr);  // 3.5 -> 4
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{"1|-1|-1|Copied 5000 of 400000 bytes|s|d|1",
                                                        "1|-1|-1|Copied 5000 of 200000 bytes|s|d|2",
                                                        "1|-1|-1|Copied 7000 of 200000 bytes|s|d|4"}));
}

TEST_F(FileListener, ARefusedByteNoticeCancelsTheOperation) {
  Begin(focAlwaysReplace);
  Progress.Answer = [](const std::string&, std::size_t) { return false; };
  EXPECT_EQ(Manager->BytesCopied("r", "s", "d", 1, 2, nullptr), 2);
  EXPECT_EQ(State(), 2);
}

TEST_F(FileListener, ACancelledOperationAnswersTwoAtOnceWithoutANotice) {
  Manager->SetCallbackParams(nullptr, Progress.Proc(), focAlwaysReplace, 2, sCopiedBytes);
  EXPECT_EQ(Manager->BytesCopied("r", "s", "d", 1, 2, nullptr), 2);
  EXPECT_TRUE(Progress.Notices.empty());
}

// ---- PreCopy, Accept, ContinueOnError, Deleted, EnterDirectory ----------------------------

TEST_F(FileListener, PreCopySendsCopyingFileWithBothNames) {
  Begin(focAlwaysReplace);
  Manager->PreCopy("r", "src", "dst", 12345);
  EXPECT_EQ(Progress.Notices, std::vector<std::string>{"1|-1|-1|Copying file|src|dst|-1"});
  EXPECT_EQ(State(), 1);
}

TEST_F(FileListener, ARefusedPreCopyNoticeCancelsAndACancelledOperationSendsNoPreCopyNotice) {
  Begin(focAlwaysReplace);
  Progress.Answer = [](const std::string&, std::size_t) { return false; };
  Manager->PreCopy("r", "src", "dst", 1);
  EXPECT_EQ(State(), 2);
  Manager->PreCopy("r", "src", "dst", 1);
  EXPECT_EQ(Progress.Notices.size(), 1u);
}

TEST_F(FileListener, AcceptAnswersOneWhileRunningAndThreeOnceCancelled) {
  std::int32_t Flags = 0;
  Begin(focAlwaysReplace);
  EXPECT_EQ(Manager->Accept("r", "l", false, Flags), 1);
  Manager->SetCallbackParams(nullptr, nullptr, focAlwaysReplace, 2, "");
  EXPECT_EQ(Manager->Accept("r", "l", true, Flags), 3);
}

TEST_F(FileListener, ContinueOnErrorIsTrueExactlyWhenTheStateIsOne) {
  Manager->SetCallbackParams(nullptr, nullptr, focAlwaysReplace, 1, "");
  EXPECT_TRUE(Manager->ContinueOnError("f", "e"));
  Manager->SetCallbackParams(nullptr, nullptr, focAlwaysReplace, 2, "");
  EXPECT_FALSE(Manager->ContinueOnError("f", "e"));
  Manager->SetCallbackParams(nullptr, nullptr, focAlwaysReplace, 0, "");
  EXPECT_FALSE(Manager->ContinueOnError("f", "e"));
}

TEST_F(FileListener, DeletedDoesNothing) {
  Begin(focAsk);
  Manager->Deleted("f", "host");
  EXPECT_TRUE(Progress.Notices.empty());
  EXPECT_EQ(State(), 1);
  EXPECT_EQ(Control(), focAsk);
}

TEST_F(FileListener, EnterDirectoryIsRefusedOnceTheOperationIsCancelled) {
  Manager->SetCallbackParams(nullptr, nullptr, focAlwaysReplace, 1, "");
  EXPECT_TRUE(Manager->EnterDirectory("/usr/include/sys"));
  Manager->SetCallbackParams(nullptr, nullptr, focAlwaysReplace, 2, "");
  EXPECT_FALSE(Manager->EnterDirectory("/usr/include/sys"));
}

// The manager's IFileListener callbacks that decide by themselves, called directly with the
// callback parameters of an operation in place.
#include <iomanip>
#include <sstream>
#include <tuple>

#include "RemoteTestSupport.h"

namespace {

class FileListener : public RemoteFixture {
 protected:
  void Begin(int Control, int State = 1) {
    Manager->SetCallbackParams(nullptr, Progress.Proc(), static_cast<TOTAFileOverwriteControl>(Control),
                               static_cast<std::uint8_t>(State), sCopiedBytes);
  }
  bool Overwrite(std::int64_t Size1 = 10, std::int64_t Size2 = 20) {
    std::tm Local{};  // local time, so that the expected text does not depend on the time zone
    std::istringstream("2026-11-22 21:31:04") >> std::get_time(&Local, "%Y-%m-%d %H:%M:%S");
    Local.tm_isdst = -1;
    const TDateTime Old = std::chrono::system_clock::from_time_t(std::mktime(&Local));
    return Manager->Overwrite("a.h", Old, Size1, Old + std::chrono::hours(1), Size2);
  }
};

}  // namespace

TEST_F(FileListener, TheOverwriteQuestionShowsSizesAndTimesUnlessSize2IsUnknown) {
  Begin(focAsk);
  Messages->Answers = {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNoToAll};
  EXPECT_TRUE(Overwrite(-1, 20));
  EXPECT_FALSE(Overwrite(77, -1));
  EXPECT_EQ(Manager->GetCallbackParams().OverwriteControl, focNeverReplace);  // for the rest of the operation
  Begin(focAsk);
  Messages->Answers = {TMsgDlgBtn::mbCancel};
  EXPECT_FALSE(Overwrite());
  EXPECT_EQ(Manager->GetCallbackParams().OperationState, 2);  // the operation is cancelled
  ASSERT_EQ(Messages->Shown.size(), 3u);
  EXPECT_EQ(Messages->Shown[0].Text,
            "File 'a.h' already exists.\r\nReplace -1 byte(s) file modified on 2026-11-22 21:31:04\r\nwith 20 byte(s) "
            "file modified on 2026-11-22 22:31:04?");
  EXPECT_EQ(Messages->Shown[1].Text,
            "File 'a.h' already exists.\r\nReplace file modified on 2026-11-22 21:31:04\r\nwith file modified on "
            "2026-11-22 22:31:04?");
  EXPECT_EQ(Messages->Shown[0].Kind, TMsgDlgType::mtConfirmation);
  EXPECT_EQ(Messages->Shown[0].Buttons, (TMsgDlgButtons{TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo, TMsgDlgBtn::mbCancel,
                                                        TMsgDlgBtn::mbNoToAll, TMsgDlgBtn::mbYesToAll}));
}

TEST_F(FileListener, ControlsOtherThanAskAnswerAtOnceAndACancelledOperationNeverReplaces) {
  for (const auto& [Control, State, Replaced] : std::vector<std::tuple<int, int, bool>>{
           {focAlwaysReplace, 1, true}, {focNeverReplace, 1, false}, {7, 1, true}, {focAsk, 2, false}}) {
    Begin(Control, State);
    EXPECT_EQ(Overwrite(), Replaced) << Control << " " << State;
  }
  Host.Messages = nullptr;
  Reinstall();
  Begin(focAsk);
  EXPECT_FALSE(Overwrite());  // nobody to ask: the file is kept
  EXPECT_EQ(Manager->GetCallbackParams().OperationState, 1);
}

TEST_F(FileListener, ByteProgressIsTheRoundedPercentFrom4096BytesOn) {
  Begin(focAlwaysReplace);
  const std::vector<std::tuple<std::int64_t, std::int64_t, int>> Cases{
      {100, 10'000'000, 100}, {4095, 1'000'000, 100}, {-5, 1'000'000, 100}, {0, 0, 100},
      {4096, 1'000'000, 0},   {5000, 10'000, 50},     {6667, 10'000, 67},   {5000, 0, 100},
      {5000, 400'000, 1},     {5000, 200'000, 2},     {7000, 200'000, 4}};  // halves round to even
  for (const auto& [Done, Total, Percent] : Cases) {
    EXPECT_EQ(Manager->BytesCopied("r", "src", "dst", Done, Total, nullptr), 1);
    EXPECT_EQ(Progress.Notices.back(), "1|-1|-1|Copied " + std::to_string(Done) + " of " + std::to_string(Total) +
                                           " bytes|src|dst|" + std::to_string(Percent));
  }
  Progress.Answer = [](const std::string&, std::size_t) { return false; };
  EXPECT_EQ(Manager->BytesCopied("r", "src", "dst", 1, 2, nullptr), 2);  // a refused notice cancels
}

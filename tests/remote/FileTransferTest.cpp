// Part 3.2: PutFiles and RemoveRemoteFiles (and their WithProgress forms): notices, agent
// calls and the listener answers given inside them.
#include "RemoteTestSupport.h"

using FileTransfer = RemoteFixture;

namespace {

const TDateTime kOld = LocalTime(2026, 11, 22, 21, 31, 4);
const TDateTime kNew = LocalTime(2026, 11, 23, 8, 0, 0);

std::vector<TOTAPutFileItem> ThreeItems() {
  return {{"/src/a.o", "bin/", "", 0}, {"/src/b.o", "bin/", "b2.o", 0}, {"/src/c.o", "bin/", "", 0}};
}

/// Inside the call: the agent finds Name existing and asks whether to replace it.
TAgentAnswer AsksOverwrite(const std::string& Name) {
  return During([Name](TAgentCallContext& Call) { Call.Overwrite(Name, kOld, 10, kNew, 20); });
}

}  // namespace

// ---- Edge cases of Part 3.2 -------------------------------------------------------------

TEST_F(FileTransfer, AnEmptyItemListSendsTheStartConnectingAndFinishedNoticesOnlyAndAnswersTrue) {
  EXPECT_TRUE(Manager->PutFiles(Profile, {}, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(0, "Updating Remote Files"), ConnectingNotice(0),
                                                        FinishedNotice()}));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "Disconnect()"}));
}

TEST_F(FileTransfer, CancelInTheOverwriteQuestionKeepsTheFileStopsBeforeTheNextItemAndSendsNoFinishedNotice) {
  Agent->Script("PutFile", AsksOverwrite("a.o"));
  Messages->Answers = {TMsgDlgBtn::mbCancel};
  EXPECT_TRUE(Manager->PutFiles(Profile, ThreeItems(), focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->ListenerLog, std::vector<std::string>{"Overwrite(a.o)=false"});
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "PutFile(bin/,/src/a.o,0,)", "Disconnect()"}));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(3, "Updating Remote Files"), ConnectingNotice(3),
                                                        ItemNotice(1, 3, "Updating files on remote machine")}));
  EXPECT_EQ(Manager->GetCallbackParams().OperationState, 1);  // the frame's reset
}

TEST_F(FileTransfer, YesToAllAnswersEveryLaterQuestionOfTheOperationAndTheNextOperationAsksAgain) {
  Agent->Script("PutFile", AsksOverwrite("a.o"));
  Agent->Script("PutFile", AsksOverwrite("b2.o"));
  Agent->Script("PutFile", AsksOverwrite("c.o"));
  Messages->Answers = {TMsgDlgBtn::mbYesToAll};
  EXPECT_TRUE(Manager->PutFiles(Profile, ThreeItems(), focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->ListenerLog,
            (std::vector<std::string>{"Overwrite(a.o)=true", "Overwrite(b2.o)=true", "Overwrite(c.o)=true"}));
  EXPECT_EQ(Messages->Shown.size(), 1u);

  auto Next = std::make_shared<TScriptedAgent>();
  Library->Prepared.push_back(Next);
  Next->Script("PutFile", AsksOverwrite("a.o"));
  Messages->Answers = {TMsgDlgBtn::mbNo};
  EXPECT_TRUE(Manager->PutFiles(Profile, {ThreeItems()[0]}, focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Next->ListenerLog, std::vector<std::string>{"Overwrite(a.o)=false"});
  EXPECT_EQ(Messages->Shown.size(), 2u);
}

TEST_F(FileTransfer, AByteCallbackWithDone100AndTotal10000000Shows100Percent) {
  Agent->Script("PutFile", During([](TAgentCallContext& Call) {
                  Call.BytesCopied("bin/", "/src/a.o", "bin/a.o", 100, 10'000'000);
                }));
  EXPECT_TRUE(Manager->PutFiles(Profile, {ThreeItems()[0]}, focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Progress.Notices[3], "1|-1|-1|Copied 100 of 10000000 bytes|/src/a.o|bin/a.o|100");
  EXPECT_EQ(Agent->ListenerLog, std::vector<std::string>{"BytesCopied(bin/,/src/a.o,bin/a.o,100,10000000)=1"});
}

TEST_F(FileTransfer, Size2OfMinusOneSelectsTheShortQuestionEvenWhenSize1IsKnown) {
  Agent->Script("PutFile",
                During([](TAgentCallContext& Call) { Call.Overwrite("a.o", kOld, 1234, kNew, -1); }));
  Messages->Answers = {TMsgDlgBtn::mbYes};
  EXPECT_TRUE(Manager->PutFiles(Profile, {ThreeItems()[0]}, focAsk, nullptr, Progress.Proc()));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text,
            "File 'a.o' already exists.\r\nReplace file modified on 2026-11-22 21:31:04\r\nwith file modified on "
            "2026-11-23 08:00:00?");
  EXPECT_EQ(Agent->ListenerLog, std::vector<std::string>{"Overwrite(a.o)=true"});
}

TEST_F(FileTransfer, AFailedPutFileOnTheSecondOfThreeItemsMeansThreeAttemptsOneErrorNoticeAndFalse) {
  Agent->Script("PutFile", {});
  Agent->Script("PutFile", Fails("Permission denied: bin/b2.o"));
  EXPECT_FALSE(Manager->PutFiles(Profile, ThreeItems(), focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "PutFile(bin/,/src/a.o,0,)",
                                         "PutFile(bin/,/src/b.o,0,b2.o)", "PutFile(bin/,/src/c.o,0,)",
                                         "Disconnect()"}));
  EXPECT_EQ(Progress.Notices,
            (std::vector<std::string>{StartNotice(3, "Updating Remote Files"), ConnectingNotice(3),
                                      ItemNotice(1, 3, "Updating files on remote machine"),
                                      ItemNotice(1, 3, "Copying '/src/a.o' to remote machine"),
                                      ItemNotice(2, 3, "Updating files on remote machine"),
                                      ErrorNotice("Permission denied: bin/b2.o"),
                                      ItemNotice(3, 3, "Updating files on remote machine"),
                                      ItemNotice(3, 3, "Copying '/src/c.o' to remote machine"), FinishedNotice()}));
}

// ---- Further rules of PutFiles ----------------------------------------------------------

TEST_F(FileTransfer, TheAttributeValueIsAlwaysZeroWhateverTheFlags) {
  // Part 3.2 step 2.3: the conversion masks a running 0, so the agent always receives 0.
  const std::uint8_t All = pffExecutable | pffReadOnly | pffHidden;
  EXPECT_TRUE(Manager->PutFiles(Profile, {{"/x", "d", "", All}, {"/y", "d", "", pffExecutable}}, focAlwaysReplace,
                                nullptr, nullptr));
  EXPECT_EQ(Agent->Actions(),
            SetupThen({"Connect(listener)", "PutFile(d,/x,0,)", "PutFile(d,/y,0,)", "Disconnect()"}));
  EXPECT_EQ(Agent->FileListeners, (std::vector<IFileListener*>{Manager.get(), Manager.get()}));
}

TEST_F(FileTransfer, ARefusedItemNoticeStopsTheLoopWithoutMarkingTheResultFalse) {
  Progress.Answer = [](const std::string& Notice, std::size_t) { return Notice != ItemNotice(2, 3, sUpdatingFilesOnRemote); };
  EXPECT_TRUE(Manager->PutFiles(Profile, ThreeItems(), focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "PutFile(bin/,/src/a.o,0,)", "Disconnect()"}));
  EXPECT_EQ(Progress.Notices.back(), FinishedNotice());  // not a cancel: the finished notice comes
}

TEST_F(FileTransfer, ACancelledByteNoticeStopsAfterTheCurrentFileWithoutFinishedNotice) {
  Agent->Script("PutFile", During([](TAgentCallContext& Call) {
                  Call.BytesCopied("bin/", "/src/a.o", "bin/a.o", 8192, 16384);
                  Call.BytesCopied("bin/", "/src/a.o", "bin/a.o", 16384, 16384);
                }));
  Progress.Answer = [](const std::string& Notice, std::size_t) { return Notice.find("Copied 8192") == std::string::npos; };
  EXPECT_TRUE(Manager->PutFiles(Profile, ThreeItems(), focAlwaysReplace, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->ListenerLog, (std::vector<std::string>{"BytesCopied(bin/,/src/a.o,bin/a.o,8192,16384)=2",
                                                          "BytesCopied(bin/,/src/a.o,bin/a.o,16384,16384)=2"}));
  EXPECT_EQ(Progress.Notices, (std::vector<std::string>{StartNotice(3, "Updating Remote Files"), ConnectingNotice(3),
                                                        ItemNotice(1, 3, "Updating files on remote machine"),
                                                        "1|-1|-1|Copied 8192 of 16384 bytes|/src/a.o|bin/a.o|50"}));
}

TEST_F(FileTransfer, PutFilesWithProgressReplacesAlwaysAndDrawsTheProgressWindow) {
  Agent->Script("PutFile", AsksOverwrite("a.o"));
  EXPECT_TRUE(Manager->PutFilesWithProgress(Profile, {ThreeItems()[0]}));
  EXPECT_EQ(Agent->ListenerLog, std::vector<std::string>{"Overwrite(a.o)=true"});
  EXPECT_TRUE(Messages->Shown.empty());
  EXPECT_EQ(Display->Notices,
            (std::vector<std::string>{StartNotice(1, "Updating Remote Files") + "|close=1",
                                      ConnectingNotice(1) + "|close=1",
                                      ItemNotice(1, 1, "Updating files on remote machine") + "|close=1",
                                      ItemNotice(1, 1, "Copying '/src/a.o' to remote machine") + "|close=1",
                                      FinishedNotice() + "|close=1"}));
}

// ---- RemoveRemoteFiles ----------------------------------------------------------------

TEST_F(FileTransfer, RemoveRemoteFilesAnnouncesEachRemovedFileAndReportsFailures) {
  std::vector<std::string> Removed;
  const THandlerId Id = TRemoteProfileManager::FEvRemoteFileRemoved.Add(
      [&](const IOTARemoteProfilePtr& P, const std::string& File) { Removed.push_back(P->GetName() + ":" + File); });
  Agent->Script("RemoveRemoteFile", {});
  Agent->Script("RemoveRemoteFile", Fails("No such file"));
  const bool Result = Manager->RemoveRemoteFiles(Profile, {"/r/a", "/r/b", "/r/c"}, nullptr, Progress.Proc());
  TRemoteProfileManager::FEvRemoteFileRemoved.Remove(Id);
  EXPECT_FALSE(Result);
  EXPECT_EQ(Removed, (std::vector<std::string>{"Mac:/r/a", "Mac:/r/c"}));
  EXPECT_EQ(Agent->Actions(), SetupThen({"Connect(listener)", "RemoveRemoteFile(/r/a)", "RemoveRemoteFile(/r/b)",
                                         "RemoveRemoteFile(/r/c)", "Disconnect()"}));
  EXPECT_EQ(Progress.Notices,
            (std::vector<std::string>{StartNotice(3, "Removing Remote Files"), ConnectingNotice(3),
                                      ItemNotice(1, 3, "Removing files on remote machine"),
                                      ItemNotice(1, 3, "Removed file '/r/a'"),
                                      ItemNotice(2, 3, "Removing files on remote machine"), ErrorNotice("No such file"),
                                      ItemNotice(3, 3, "Removing files on remote machine"),
                                      ItemNotice(3, 3, "Removed file '/r/c'"), FinishedNotice()}));
}

TEST_F(FileTransfer, RemoveRemoteFilesRunsWithOverwriteControl0AndNoByteFormat) {
  Agent->Script("RemoveRemoteFile", During([this](TAgentCallContext&) {
                  EXPECT_EQ(Manager->GetCallbackParams().OverwriteControl, focAlwaysReplace);
                  EXPECT_EQ(Manager->GetCallbackParams().ByteCountFormat, "");
                }));
  EXPECT_TRUE(Manager->RemoveRemoteFiles(Profile, {"/r/a"}, nullptr, nullptr));
}

TEST_F(FileTransfer, RemoveRemoteFilesWithProgressDrawsTheProgressWindow) {
  EXPECT_TRUE(Manager->RemoveRemoteFilesWithProgress(Profile, {}));
  EXPECT_EQ(Display->Notices, (std::vector<std::string>{StartNotice(0, "Removing Remote Files") + "|close=1",
                                                        ConnectingNotice(0) + "|close=1",
                                                        FinishedNotice() + "|close=1"}));
}

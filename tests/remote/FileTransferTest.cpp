// PutFiles and RemoveRemoteFiles (and their WithProgress forms): notices, agent calls and
// the listener answers given inside them.
#include "RemoteTestSupport.h"

namespace {

// Whatever the flags, the agent is never asked to set attributes (the value sent is 0).
const std::vector<TOTAPutFileItem> kThree{{"/src/a.o", "bin/", "", pffExecutable | pffReadOnly | pffHidden},
                                          {"/src/b.o", "bin/", "b2.o", pffExecutable},
                                          {"/src/c.o", "bin/", "", 0}};
const std::string kUpdating = "Updating files on remote machine";

class FileTransfer : public RemoteFixture {
 protected:
  /// Inside the call: the agent finds the file existing and asks whether to replace it.
  TAgentAnswer AsksOverwrite() {
    return During([this](TAgentCallContext& Call) { Answers.push_back(Call.Files->Overwrite("a.o", {}, 10, {}, 20)); });
  }
};

}  // namespace

TEST_F(FileTransfer, EveryItemIsTriedAFailedOneIsReportedAndYesToAllLastsForTheOperation) {
  Agent->Script("PutFile", AsksOverwrite());
  Agent->Script("PutFile", Fails("Permission denied: bin/b2.o"));
  Agent->Script("PutFile", AsksOverwrite());
  Messages->Answers = {TMsgDlgBtn::mbYesToAll};
  EXPECT_FALSE(Manager->PutFiles(Profile, kThree, focAsk, nullptr, Progress.Proc()));
  EXPECT_EQ(Agent->Log, SetupThen({"Connect(listener)", "PutFile(bin/,/src/a.o,0,)", "PutFile(bin/,/src/b.o,0,b2.o)",
                                   "PutFile(bin/,/src/c.o,0,)", "Disconnect()"}));
  EXPECT_EQ(Progress.Notices,
            Then(Started(3, sUpdatingRemoteFiles),
                 {Notice(ptProgress, 1, 3, kUpdating), Notice(ptProgress, 1, 3, "Copying '/src/a.o' to remote machine"),
                  Notice(ptProgress, 2, 3, kUpdating), Notice(ptError, -1, -1, "Permission denied: bin/b2.o"),
                  Notice(ptProgress, 3, 3, kUpdating), Notice(ptProgress, 3, 3, "Copying '/src/c.o' to remote machine"),
                  kFinished}));
  EXPECT_EQ(Answers, (std::vector<int>{1, 1}));
  EXPECT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Agent->FileListeners, std::vector<IFileListener*>(3, Manager.get()));
  NextAgent()->Script("PutFile", AsksOverwrite());
  NextAgent()->Script("PutFile", AsksOverwrite());
  Messages->Answers = {TMsgDlgBtn::mbNo};
  EXPECT_TRUE(Manager->PutFiles(Profile, {kThree[0]}, focAsk, nullptr, nullptr));
  EXPECT_TRUE(Manager->PutFilesWithProgress(Profile, {kThree[0]}));  // which replaces always
  EXPECT_EQ(Answers, (std::vector<int>{1, 1, 0, 1}));                // the next operation asks again
  EXPECT_EQ(Messages->Shown.size(), 2u);
  EXPECT_EQ(Display->Notices.front(), Notice(ptStart, -1, 1, sUpdatingRemoteFiles) + "|close=1");
}

TEST_F(FileTransfer, RemoveRemoteFilesAnnouncesEachRemovedFileAndReportsFailuresInTheProgressWindow) {
  TNames Removed;
  const THandlerId Id = TRemoteProfileManager::FEvRemoteFileRemoved.Add(
      [&](const IOTARemoteProfilePtr& P, const std::string& File) { Removed.push_back(P->GetName() + ":" + File); });
  Agent->Script("RemoveRemoteFile", Fails("No such file"));
  const bool Result = Manager->RemoveRemoteFilesWithProgress(Profile, {"/r/a", "/r/b"});
  TRemoteProfileManager::FEvRemoteFileRemoved.Remove(Id);
  EXPECT_FALSE(Result);
  EXPECT_EQ(Removed, (TNames{"Mac:/r/b"}));
  EXPECT_EQ(Agent->Log,
            SetupThen({"Connect(listener)", "RemoveRemoteFile(/r/a)", "RemoveRemoteFile(/r/b)", "Disconnect()"}));
  const std::string Removing = "Removing files on remote machine";
  TNames Expected =
      Then(Started(2, "Removing Remote Files"),
           {Notice(ptProgress, 1, 2, Removing), Notice(ptError, -1, -1, "No such file"),
            Notice(ptProgress, 2, 2, Removing), Notice(ptProgress, 2, 2, "Removed file '/r/b'"), kFinished});
  for (std::string& Text : Expected) Text += "|close=1";
  EXPECT_EQ(Display->Notices, Expected);
}

// The path item dialog and the progress window.
#include <gtest/gtest.h>

#include "UiTestSupport.h"
#include "ui/PullFilesProgressForm.h"
#include "ui/RemoteProfilePathEditDlg.h"

namespace {

using TUi = TUserInterfaceDouble;

class PathAndProgress : public TPageFixture {};

TEST_F(PathAndProgress, ThePathDialogChecksOnlyAChangedItemAndKeepsABlankOneOpen) {
  int Validated = 0;
  const TValidatePathItem Validate = [&](const TOTARemoteProfilePathItem&) { return ++Validated > 1; };
  TOTARemoteProfilePathItem Item{"/usr/include", "*.h", true, ptIncludePath};
  Ui->Steps = {TUi::On<TPathEditDlg>([](TPathEditDlg& D) { D.OKButton.Click(); })};
  EXPECT_TRUE(GetRemotePathInfo(Item, true, "", Validate));  // unchanged: never validated
  Ui->Steps = {TUi::On<TPathEditDlg>([](TPathEditDlg& D) {
    EXPECT_EQ(D.Caption() + "|" + std::to_string(D.Height()), "Edit|240");  // no framework: shrunk
    D.FileMaskCombo.EditText(" ");
    D.OKButton.Click();  // refused: blank
    D.FileMaskCombo.EditText("*");
    D.OKButton.Click();  // refused by the callback
    D.OKButton.Click();
  })};
  EXPECT_TRUE(GetRemotePathInfo(Item, false, "Edit", Validate));
  EXPECT_EQ(Item.Mask + std::to_string(Validated), "*2");
  EXPECT_EQ(Messages->Shown.back().Text, "The path and the file mask of a path item cannot be blank");
  Ui->Steps = {TUi::On<TPathEditDlg>([](TPathEditDlg& D) {
    D.FrameworkRadioButton.Click();
    EXPECT_EQ(D.MaskLabel.Caption() + "|" + D.IncludeSubDirsCheckBox.Caption(),
              "&Framework name:|Include non-e&ssential framework files");
    D.CancelButton.Click();
  })};
  EXPECT_FALSE(GetRemotePathInfo(Item, true, "", Validate) || Item.Type != ptIncludePath);
  EXPECT_EQ(Ui->History["hlRemoteProfileRemoteIncludePathsPath"], std::vector<std::string>{"/usr/include"});
}

TEST_F(PathAndProgress, TheProgressWindowOpensOnAStartWithATotalAndCancelStopsTheNextNotice) {
  const auto Notice = [](TOTAProgressType Kind, int Current, int Total, const std::string& Text = "") {
    return UpdateProgress(Kind, Current, Total, Text, "/remote/dir", "a.h", 40, true);
  };
  EXPECT_TRUE(Notice(ptProgress, 1, 2) && Notice(ptError, -1, -1) && Notice(ptFinished, -1, -1));
  EXPECT_FALSE(Notice(ptStart, -1, -1));
  EXPECT_EQ(TProgressForm::Current(), nullptr);
  EXPECT_TRUE(Notice(ptStart, -1, 3, "Updating"));  // the start notice names no item
  TProgressForm& Form = *TProgressForm::Current();
  EXPECT_EQ(Form.Caption() + "|" + std::to_string(Form.Height()), "Updating|240");
  EXPECT_TRUE(Notice(ptProgress, 1, 3, "step"));
  EXPECT_EQ(Form.ProgressLabel.Caption() + "|" + Form.StatusLabel.Caption() + "|" + Form.FileLabel.Caption() + "|" +
                std::to_string(Form.FileProgressBar.Position()),
            "Processing 1 of 3 items|step|a.h|40");
  EXPECT_TRUE(Notice(ptError, -1, -1));
  EXPECT_EQ(Form.ErrorTree.Items().at(0) + "|" + std::to_string(Form.Height()), "Unknown Error|400");  // log shown
  Form.CancelButton.Click();
  EXPECT_FALSE(Notice(ptProgress, 2, 3) || TProgressForm::ProgressFormOpen());
  EXPECT_EQ(Ui->Log, (std::vector<std::string>{"Show(Updating)", "Hide(Updating)"}));

  EXPECT_TRUE(Notice(ptStart, -1, 3));
  TProgressForm::Current()->CancelButton.Click();
  TProgressForm::Current()->CancelButton.Click();                               // again: the window closes at once
  EXPECT_FALSE(TProgressForm::ProgressFormOpen() || Notice(ptProgress, 1, 3));  // the cancel still stands
}

TEST_F(PathAndProgress, AFinishedWindowWithErrorsWaitsForTheUser) {
  UpdateProgress(ptStart, -1, 1, "", "", "", -1, true);
  UpdateProgress(ptError, -1, -1, "boom", "", "", -1, true);
  Ui->Steps = {[](TForm&) {},  // the user reads the log
               TUi::On<TProgressForm>([](TProgressForm& Form) {
                 EXPECT_EQ(Form.CancelButton.Caption() + "|" + Form.ProgressLabel.Caption(),
                           "Close|Operation completed");
                 Form.ErrorTree.Select(0);
                 Form.CopyItem.Click();
                 Form.CancelButton.Click();
               })};
  UpdateProgress(ptFinished, -1, -1, "", "", "", -1, true);
  EXPECT_FALSE(!Ui->Steps.empty() || TProgressForm::ProgressFormOpen());
  EXPECT_EQ(Ui->Clipboard, "boom\n");
}

}  // namespace

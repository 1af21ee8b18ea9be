// The progress window (see PullFilesProgressForm.h).
#include "ui/PullFilesProgressForm.h"

#include <memory>

#include "core/Text.h"

namespace {

constexpr int kFormHeight = 400;
constexpr int kLogHeight = 160;
constexpr int kLogLineHeight = 16;

std::unique_ptr<TProgressForm> CurrentForm;
// A closed window is kept until the next notice: it is closed from inside its own handlers.
std::unique_ptr<TProgressForm> ClosedForm;
bool FormOpen = false;
// Cancel was pressed again, closing the window, before the operation learned of the first
// press: the next notice still answers false.
bool CancelPending = false;

}  // namespace

TProgressForm::TProgressForm() : TForm("ProgressForm") {
  SetCaption("Progress");
  SetHeight(kFormHeight);
  ErrorPanel.SetTop(kFormHeight - kLogHeight);
  ErrorPanel.SetHeight(kLogHeight);
  ErrorPanel.SetVisible(false);
  FileProgressBar.SetMax(100);
  CancelButton.OnClick = [this] { CancelButtonClick(); };
  CopyItem.OnClick = [this] {
    std::string Lines;
    for (const int Index : ErrorTree.Selection()) Lines += ErrorTreeGetText(Index) + "\n";
    if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->SetClipboardText(Lines);
  };
  SelectAllItem.OnClick = [this] {
    std::vector<int> All(FErrors.size());
    for (std::size_t I = 0; I < All.size(); ++I) All[I] = static_cast<int>(I);
    ErrorTree.SetSelection(std::move(All));
  };
  OnClose = [this] { FormClose(); };
  FormCreate();
}

void TProgressForm::FormCreate() {
  FCancelled = false;
  FFullHeight = Height();
  FErrors.clear();
  FormOpen = true;
}

TProgressForm::~TProgressForm() = default;

TProgressForm* TProgressForm::Current() { return CurrentForm.get(); }

bool TProgressForm::ProgressFormOpen() { return FormOpen; }

void TProgressForm::CancelButtonClick() {
  if (!FCancelled && !FFinished && !FWaiting) {
    FCancelled = true;  // the operation learns of it from its next notice
    return;
  }
  if (FCancelled && !FFinished && !FWaiting) CancelPending = true;
  Close();
}

void TProgressForm::WaitForClose() {
  IOTAUserInterfaceServices* Ui = HostUi();
  while (FormOpen && Ui) Ui->HandleMessage();
}

void TProgressForm::Error(const std::string& Message) {
  FHasErrors = true;
  SetHeight(FFullHeight);
  ErrorPanel.SetVisible(true);
  FErrors.push_back(Message);
  ErrorTree.SetItems(FErrors);
  ErrorTree.SetHeight(ErrorTree.Height() + kLogLineHeight);
}

std::string TProgressForm::ErrorTreeGetText(int Index) const {
  return Index >= 0 && static_cast<std::size_t>(Index) < FErrors.size() ? FErrors[static_cast<std::size_t>(Index)]
                                                                        : std::string();
}

void TProgressForm::FormClose() {
  FErrors.clear();
  FormOpen = false;
  if (CurrentForm.get() == this) ClosedForm = std::move(CurrentForm);
}

bool TProgressForm::Report(TOTAProgressType Kind, std::int32_t Current, std::int32_t Total, const std::string& Text,
                           const std::string& Path, const std::string& File, std::int32_t FilePercent) {
  if (Kind == ptStart || Kind == ptProgress) {
    if (Current != -1 && Total != -1) {
      OverallProgressBar.SetPosition(Current);
      if (Current > 0) ProgressLabel.SetCaption(Format("Processing %d of %d items", {Current, Total}));
    }
    FileProgressBar.SetPosition(FilePercent == -1 ? 0 : FilePercent);
    StatusLabel.SetCaption(Text);
    FileLabel.SetCaption(File);
    PathLabel.SetCaption(ShortenPath(Path));
  } else if (Kind == ptError) {
    Error(Text.empty() ? "Unknown Error" : Text);
  }
  return !FCancelled;
}

void TProgressForm::Finish(bool CloseWhenDone) {
  CancelButton.SetFocus();
  ErrorPanel.SetTop(50);
  ErrorPanel.SetHeight(223);
  ProgressLabel.SetCaption("Operation completed");
  for (TControl* Detail : {&StatusLabel, &OverallProgressBar, &FileProgressBar, &InfoGroupBox})
    Detail->SetVisible(false);
  CancelButton.SetCaption("Close");
  if (FHasErrors) {
    FWaiting = true;  // the user reads the log and closes the window
    WaitForClose();
    return;
  }
  FFinished = true;
  if (CloseWhenDone) Close();
}

bool UpdateProgress(TOTAProgressType Kind, std::int32_t Current, std::int32_t Total, const std::string& Text,
                    const std::string& Path, const std::string& File, std::int32_t FilePercent, bool CloseWhenDone) {
  ClosedForm.reset();
  if (Kind == ptStart || Kind == ptFinished) CancelPending = false;
  if (!CurrentForm) {
    if (Kind != ptStart) return !CancelPending;
    // The start notice names no current item: the window needs the total only.
    if (Total == -1) return false;
    CurrentForm = std::make_unique<TProgressForm>();
    CurrentForm->OverallProgressBar.SetMax(Total);
    if (!Text.empty()) CurrentForm->SetCaption(Text);
    CurrentForm->SetHeight(CurrentForm->FullHeight() - CurrentForm->ErrorPanel.Height());
    CurrentForm->Show(TShowMode::ModelessDisablingOthers);
  }
  TProgressForm& Form = *CurrentForm;
  if (Kind == ptFinished) {
    Form.Finish(CloseWhenDone);
    return Current != -1 && Total != -1;
  }
  const bool GoOn = Form.Report(Kind, Current, Total, Text, Path, File, FilePercent);
  if (!GoOn) Form.Close();
  if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->ProcessMessages();
  return GoOn;
}

std::string ShortenPath(const std::string& Path, std::size_t MaxChars) {
  if (Path.size() <= MaxChars || MaxChars < 5) return Path;
  const std::size_t Head = (MaxChars - 3) / 3;
  return Path.substr(0, Head) + "..." + Path.substr(Path.size() - (MaxChars - 3 - Head));
}

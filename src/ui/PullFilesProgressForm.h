// The progress window of the remote operations run from the user interface: the overall and
// the file progress, the current step, a log of the errors, Cancel (later Close). UpdateProgress
// is the progress procedure that drives it; it makes the one window on an operation's start
// notice, and the window frees itself when it is closed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/ProgressDisplay.h"
#include "ui/Controls.h"

class TProgressForm : public TForm {
 public:
  TProgressForm();
  ~TProgressForm() override;

  TControl ProgressPanel{*this, "ProgressPanel", TControlKind::Panel};
  TControl ProgressLabel{*this, "ProgressLabel", TControlKind::Label};
  TControl StatusLabel{*this, "StatusLabel", TControlKind::Label};
  TControl OverallProgressBar{*this, "OverallProgressBar", TControlKind::ProgressBar};
  TControl FileProgressBar{*this, "FileProgressBar", TControlKind::ProgressBar};
  TControl InfoGroupBox{*this, "InfoGroupBox", TControlKind::GroupBox, " Details "};
  TControl FileLabelLabel{*this, "FileLabelLabel", TControlKind::Label, "File:"};
  TControl FileLabel{*this, "FileLabel", TControlKind::Label};
  TControl PathLabelLabel{*this, "PathLabelLabel", TControlKind::Label, "Path:"};
  TControl PathLabel{*this, "PathLabel", TControlKind::Label};
  TControl ButtonPanel{*this, "ButtonPanel", TControlKind::Panel};
  TControl CancelButton{*this, "CancelButton", TControlKind::Button, "Cancel"};
  TControl ErrorPanel{*this, "ErrorPanel", TControlKind::Panel};
  TControl ErrorLabel{*this, "ErrorLabel", TControlKind::Label, "&Log:"};
  TControl ErrorTree{*this, "ErrorTree", TControlKind::ListBox};
  TControl CopyItem{*this, "CopyItem", TControlKind::MenuItem, "&Copy"};                  // Ctrl+C
  TControl SelectAllItem{*this, "SelectAllItem", TControlKind::MenuItem, "Select &All"};  // Ctrl+A

  int FullHeight() const { return FFullHeight; }

  void CancelButtonClick();
  /// Handles the user's events until the window is closed.
  void WaitForClose();
  void Error(const std::string& Message);
  std::string ErrorTreeGetText(int Index) const;
  void FormCreate();
  void FormClose();

  /// Kinds 0, 1 and 2 (start, progress, error) drawn; answers false once the user cancelled.
  bool Report(TOTAProgressType Kind, std::int32_t Current, std::int32_t Total, const std::string& Text,
              const std::string& Path, const std::string& File, std::int32_t FilePercent);
  /// Kind 3: the window shows the end, closes when asked and error-free, else waits for the user.
  void Finish(bool CloseWhenDone);

  /// The one progress window, or nullptr.
  static TProgressForm* Current();
  /// Whether a progress window is open.
  static bool ProgressFormOpen();

 private:
  std::vector<std::string> FErrors;
  int FFullHeight = 0;
  bool FCancelled = false, FFinished = false, FWaiting = false, FHasErrors = false;
};

/// The progress procedure of the user interface. A kind other than 0 without a window answers
/// true and shows nothing; kind 0 without a total answers false and makes no window. Answers
/// false once the user has pressed Cancel (the operation must then stop).
bool UpdateProgress(TOTAProgressType Kind, std::int32_t Current, std::int32_t Total, const std::string& Text,
                    const std::string& Path, const std::string& File, std::int32_t FilePercent, bool CloseWhenDone);

/// The progress window as the host's progress display, which the operations run with progress
/// (the manager's UpdateProgressForm) draw: a front end installs it in THostServices.
class TProgressFormDisplay : public IProgressDisplay {
 public:
  bool UpdateProgress(TOTAProgressType Kind, std::int32_t Index, std::int32_t Count, const std::string& Text,
                      const std::string& Detail1, const std::string& Detail2, std::int32_t Position,
                      bool CloseWhenDone) override {
    return ::UpdateProgress(Kind, Index, Count, Text, Detail1, Detail2, Position, CloseWhenDone);
  }
};

/// Path shortened to at most MaxChars characters, the middle replaced by "...".
std::string ShortenPath(const std::string& Path, std::size_t MaxChars = 60);

// The host's user interface as the system's pages, wizard and dialogs reach it: input
// queries, file dialogs, history lists, the wait cursor, showing forms, message processing,
// help and the clipboard, and the silent abort. A form is the user-interface models' own
// (src/ui/Controls.h); the host draws it and forwards the user's events to its controls.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/RemoteProfileServices.h"

class TForm;

/// How a modal form ended.
enum TModalResult : int { mrNone = 0, mrOk = 1, mrCancel = 2 };

/// The host's silent abort: ends the whole user action that raised it (a selection change, a
/// button, closing a dialog) without a further message.
class EAbort : public std::exception {
 public:
  const char* what() const noexcept override { return "Operation aborted"; }
};
[[noreturn]] inline void Abort() { throw EAbort(); }

/// A file-open or file-save dialog as a form lays it out; the host runs it.
struct TOTAFileDialog {
  bool Save = false;  ///< a file-save dialog, else a file-open dialog
  std::string Title;
  std::string Filter;    ///< "Profile files (*.profile)|*.profile"
  std::string FileName;  ///< proposed before, chosen after a confirmed run
  bool FileMustExist = false;
  bool HideReadOnly = false;
  bool Resizable = true;
  /// Asked for each file the user confirms; false refuses it and the dialog stays open.
  std::function<bool(const std::string& FileName)> CanClose;
};

enum class TShowMode {
  Modal,                    ///< the caller waits (HandleMessage) until the form's ModalResult is set
  Modeless,                 ///< shown beside the other windows
  ModelessDisablingOthers,  ///< shown, every other window of the application disabled until it is hidden
};

class IOTAUserInterfaceServices {
 public:
  virtual ~IOTAUserInterfaceServices() = default;
  /// Asks for one text; Value is the proposal before and the answer after OK. False on Cancel.
  virtual bool InputQuery(const std::string& Caption, const std::string& Prompt, std::string& Value) = 0;
  /// Runs the dialog until the user confirms a file CanClose accepts (true, FileName set) or
  /// cancels (false).
  virtual bool ExecuteFileDialog(TOTAFileDialog& Dialog) = 0;
  /// A combo box's history list by name, most recent first.
  virtual std::vector<std::string> GetHistory(const std::string& ListName) const = 0;
  virtual void AddToHistory(const std::string& ListName, const std::string& Text) = 0;
  virtual void SetWaitCursor(bool Waiting) = 0;
  virtual void ShowForm(TForm& Form, TShowMode Mode) = 0;
  /// The form is gone from the screen (closed or freed); windows disabled for it are enabled.
  virtual void HideForm(TForm& Form) = 0;
  /// Handles the user's pending events, if any, and returns at once.
  virtual void ProcessMessages() = 0;
  /// Waits for the user's next event and handles it. A host that has no user to wait for
  /// closes the topmost form (TForm::Close), so a modal loop always ends.
  virtual void HandleMessage() = 0;
  virtual void ShowHelp(int HelpContext) = 0;
  virtual void SetClipboardText(const std::string& Text) = 0;
  /// The profiles the open options dialog edits (the options page's working copy), for the
  /// dialog's other pages; nullptr when the page is gone.
  virtual void SetEditedProfileServices(const IOTARemoteProfileServicesPtr& Services) = 0;
};
using IOTAUserInterfaceServicesPtr = std::shared_ptr<IOTAUserInterfaceServices>;

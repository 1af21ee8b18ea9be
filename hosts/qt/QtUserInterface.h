// The reference host's user interface on a display (Qt 6 Widgets): message boxes, input
// queries, file dialogs, history lists, the wait cursor, the windows of the forms the models
// show, message processing, help and the clipboard. A front end registers the window of each
// form by the form's name; zephprof keeps the terminal user interface.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/MessageBox.h"
#include "host/UserInterface.h"
#include "hosts/qt/FormView.h"
#include "ui/HistoryLists.h"

class QWidget;

namespace QtHost {

/// Qt's message box: the kind's icon and title, the buttons offered, the text's "\r\n" as line breaks.
class TQtMessageBox : public IOTAMessageServices {
 public:
  TMsgDlgBtn MessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons) override;
};

/// "Profile files (*.profile)|*.profile|All files (*)|*" as a file dialog's name filters.
QStringList FileDialogFilters(const std::string& Filter);

class TQtUserInterface : public IOTAUserInterfaceServices {
 public:
  using TViewFactory = std::function<std::unique_ptr<TFormView>(TForm& Form, QWidget* Parent)>;
  ~TQtUserInterface() override;

  /// The window drawn for forms named FormName.
  void RegisterView(const std::string& FormName, TViewFactory Factory);
  /// Frees every window; called before the application object goes (the host outlives it).
  void FreeWindows();
  /// Told of each window once it is on the screen.
  std::function<void(TFormView& View)> OnShown;

  bool InputQuery(const std::string& Caption, const std::string& Prompt, std::string& Value) override;
  bool ExecuteFileDialog(TOTAFileDialog& Dialog) override;
  std::vector<std::string> GetHistory(const std::string& ListName) const override;
  void AddToHistory(const std::string& ListName, const std::string& Text) override;
  void SetWaitCursor(bool Waiting) override;
  void ShowForm(TForm& Form, TShowMode Mode) override;
  void HideForm(TForm& Form) override;
  void ProcessMessages() override;
  void HandleMessage() override;
  void ShowHelp(int HelpContext) override;
  void SetClipboardText(const std::string& Text) override;
  void SetEditedProfileServices(const IOTARemoteProfileServicesPtr&) override {}

 private:
  std::map<std::string, TViewFactory> FFactories;
  std::vector<std::unique_ptr<TFormView>> FViews;
  /// Windows taken off the screen, freed once no handler of theirs can be running.
  std::vector<std::unique_ptr<TFormView>> FHidden;
  THistoryLists FHistory;
};

}  // namespace QtHost

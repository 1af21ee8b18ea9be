// The reference host's user interface on a display (see QtUserInterface.h).
#include "hosts/qt/QtUserInterface.h"

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <algorithm>
#include <stdexcept>

namespace QtHost {

namespace {

QWidget* ActiveWindow() {
  if (QWidget* Modal = QApplication::activeModalWidget()) return Modal;
  return QApplication::activeWindow();
}

}  // namespace

TMsgDlgBtn TQtMessageBox::MessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons) {
  static const std::pair<TMsgDlgBtn, QMessageBox::StandardButton> Map[] = {
      {TMsgDlgBtn::mbYes, QMessageBox::Yes},         {TMsgDlgBtn::mbNo, QMessageBox::No},
      {TMsgDlgBtn::mbOK, QMessageBox::Ok},           {TMsgDlgBtn::mbCancel, QMessageBox::Cancel},
      {TMsgDlgBtn::mbNoToAll, QMessageBox::NoToAll}, {TMsgDlgBtn::mbYesToAll, QMessageBox::YesToAll}};
  QString Shown = ToQString(Text);
  Shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  QMessageBox Box(ActiveWindow());
  Box.setWindowTitle(Kind == TMsgDlgType::mtError         ? QStringLiteral("Error")
                     : Kind == TMsgDlgType::mtInformation ? QStringLiteral("Information")
                                                          : QStringLiteral("Confirm"));
  Box.setIcon(Kind == TMsgDlgType::mtError         ? QMessageBox::Critical
              : Kind == TMsgDlgType::mtInformation ? QMessageBox::Information
                                                   : QMessageBox::Question);
  Box.setText(Shown);
  QMessageBox::StandardButtons Offered;
  for (const TMsgDlgBtn Button : Buttons)
    for (const auto& [Ours, Theirs] : Map)
      if (Ours == Button) Offered |= Theirs;
  Box.setStandardButtons(Offered ? Offered : QMessageBox::StandardButtons(QMessageBox::Ok));
  const int Pressed = Box.exec();
  for (const auto& [Ours, Theirs] : Map)
    if (Theirs == Pressed && std::find(Buttons.begin(), Buttons.end(), Ours) != Buttons.end()) return Ours;
  // Closed without a button: the safe choice, the last one offered (No, Cancel, OK).
  return Buttons.empty() ? TMsgDlgBtn::mbOK : Buttons.back();
}

QStringList FileDialogFilters(const std::string& Filter) {
  const QStringList Parts = ToQString(Filter).split('|');
  QStringList Filters;
  for (qsizetype I = 0; I + 1 < Parts.size(); I += 2) {
    const QString Patterns = QString(Parts[I + 1]).replace(';', ' ');
    Filters << (Parts[I].contains('(') ? Parts[I] : Parts[I] + " (" + Patterns + ")");
  }
  return Filters;
}

TQtUserInterface::~TQtUserInterface() { FreeWindows(); }

void TQtUserInterface::FreeWindows() {
  FHidden.clear();
  FViews.clear();  // each detaches from its form first
}

void TQtUserInterface::RegisterView(const std::string& FormName, TViewFactory Factory) {
  FFactories[FormName] = std::move(Factory);
}

bool TQtUserInterface::InputQuery(const std::string& Caption, const std::string& Prompt, std::string& Value) {
  QInputDialog Dialog(ActiveWindow());
  Dialog.setWindowTitle(ToQString(Caption));
  Dialog.setLabelText(ToQString(Prompt));
  Dialog.setTextValue(ToQString(Value));
  if (Dialog.exec() != QDialog::Accepted) return false;
  Value = FromQString(Dialog.textValue());
  return true;
}

bool TQtUserInterface::ExecuteFileDialog(TOTAFileDialog& Dialog) {
  QFileDialog Files(ActiveWindow(), ToQString(Dialog.Title));
  // Qt's own dialog: the same on every desktop and under the offscreen platform of the tests.
  Files.setOption(QFileDialog::DontUseNativeDialog);
  Files.setOption(QFileDialog::DontConfirmOverwrite);  // the caller asks its own question
  Files.setAcceptMode(Dialog.Save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  Files.setFileMode(Dialog.FileMustExist ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
  Files.setNameFilters(FileDialogFilters(Dialog.Filter));
  if (!Dialog.Resizable) Files.setSizeGripEnabled(false);
  if (!Dialog.FileName.empty()) Files.selectFile(ToQString(Dialog.FileName));
  while (Files.exec() == QDialog::Accepted && !Files.selectedFiles().isEmpty()) {
    const std::string Chosen = FromQString(Files.selectedFiles().front());
    if (!Dialog.CanClose || Dialog.CanClose(Chosen)) {
      Dialog.FileName = Chosen;
      return true;
    }
  }
  return false;
}

std::vector<std::string> TQtUserInterface::GetHistory(const std::string& ListName) const {
  return FHistory.Get(ListName);
}

void TQtUserInterface::AddToHistory(const std::string& ListName, const std::string& Text) {
  FHistory.Add(ListName, Text);
}

void TQtUserInterface::SetWaitCursor(bool Waiting) {
  if (Waiting) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    // Drawn before the wait starts; the user's input waits with it.
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  } else {
    QApplication::restoreOverrideCursor();
  }
}

void TQtUserInterface::ShowForm(TForm& Form, TShowMode Mode) {
  FHidden.clear();
  const auto Factory = FFactories.find(Form.Name());
  if (Factory == FFactories.end()) throw std::logic_error("no window is registered for the form '" + Form.Name() + "'");
  std::unique_ptr<TFormView> View = Factory->second(Form, ActiveWindow());
  View->setWindowModality(Mode == TShowMode::Modeless ? Qt::NonModal : Qt::ApplicationModal);
  View->Refresh();
  View->show();
  View->raise();
  View->activateWindow();
  FViews.push_back(std::move(View));
  if (OnShown) OnShown(*FViews.back());
}

void TQtUserInterface::HideForm(TForm& Form) {
  const auto Found =
      std::find_if(FViews.begin(), FViews.end(), [&](const auto& View) { return View->Form() == &Form; });
  if (Found == FViews.end()) return;
  std::unique_ptr<TFormView> View = std::move(*Found);
  FViews.erase(Found);
  View->Detach();
  View->hide();
  FHidden.push_back(std::move(View));
}

void TQtUserInterface::ProcessMessages() { QApplication::processEvents(); }

void TQtUserInterface::HandleMessage() { QApplication::processEvents(QEventLoop::WaitForMoreEvents); }

void TQtUserInterface::ShowHelp(int HelpContext) {
  QMessageBox::information(ActiveWindow(), QStringLiteral("Help"),
                           QStringLiteral("No help is installed for this window (topic %1).").arg(HelpContext));
}

void TQtUserInterface::SetClipboardText(const std::string& Text) {
  QApplication::clipboard()->setText(ToQString(Text));
}

}  // namespace QtHost

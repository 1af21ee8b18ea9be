// A window that draws one form of the user-interface models (src/ui/Controls.h). A view lays
// out its widgets and binds each to a control by path; from then on the widget shows the
// control's properties, redrawn whenever the form reports a change, and the user's clicks,
// typing, choices and keys go to the control's user methods. After each of them every bound
// widget is drawn again from its control, so a change the model refused is undone on screen.
#pragma once

#include <QDialog>
#include <QString>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ui/Controls.h"

class QAction;
class QListWidget;
class QTreeWidget;

namespace QtHost {

QString ToQString(const std::string& Text);
std::string FromQString(const QString& Text);
/// A caption without its mnemonic marks ("&Profiles:" gives "Profiles:"; "&&" stays one '&').
std::string StripMnemonic(const std::string& Caption);

class TFormView : public QDialog {
 public:
  /// Parent: the window it is centred on, or the window it is part of (a page).
  explicit TFormView(TForm& Form, QWidget* Parent = nullptr);
  ~TFormView() override;

  /// The form drawn; nullptr once the form is gone from the screen (Detach).
  TForm* Form() const { return FForm; }
  /// Binds a label, button, check box, radio button, edit, combo box, list, progress bar,
  /// group box or any other widget (visibility and enabled state only) to the control at Path.
  template <typename TWidget>
  TWidget* Bind(TWidget* Widget, std::string_view Path) {
    BindObject(Widget, Path);
    return Widget;
  }
  /// Binds a menu item.
  QAction* BindAction(QAction* Action, std::string_view Path);
  /// Binds a list view with groups: one top-level row per group, its items below; Bold tells
  /// which items are drawn in bold.
  QTreeWidget* BindListView(QTreeWidget* Tree, std::string_view Path, std::function<bool(int Index)> Bold);
  /// Binds a list whose lines show more than the control's items: Text gives line Index.
  QListWidget* BindList(QListWidget* List, std::string_view Path, std::function<QString(int Index)> Text);
  /// The widget bound to Path, or nullptr.
  QWidget* WidgetOf(std::string_view Path) const;
  /// Every bound widget drawn again from its control.
  void Refresh();
  /// The form is gone: nothing is drawn or forwarded from now on.
  void Detach();

 protected:
  /// The user closes the window: the form decides (a modal one ends with Cancel).
  void closeEvent(QCloseEvent* Event) override;
  void keyPressEvent(QKeyEvent* Event) override;
  void reject() override;
  void accept() override {}
  bool eventFilter(QObject* Watched, QEvent* Event) override;
  /// After a control was redrawn; views that size themselves to what is visible use it.
  virtual void Redrawn(const std::string& Path, TControlProperty Property);
  /// Runs what the user did on the model, then draws the form again.
  void Forward(const std::function<void()>& Action);

 private:
  struct TBinding {
    TControl* Control;
    QObject* Target;
    std::function<bool(int)> Bold;
    std::function<QString(int)> Text;
  };
  void BindObject(QObject* Target, std::string_view Path, std::function<bool(int)> Bold = nullptr,
                  std::function<QString(int)> Text = nullptr);
  void Connect(TBinding& Binding);
  void Apply(const TBinding& Binding);
  void Changed(const std::string& Path, TControlProperty Property);

  TForm* FForm;
  std::vector<TBinding> FBindings;
  THandlerId FSubscription = 0;
  int FApplying = 0;
};

}  // namespace QtHost

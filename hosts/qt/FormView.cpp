// A window that draws one form of the user-interface models (see FormView.h).
#include "hosts/qt/FormView.h"

#include <QAbstractButton>
#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QProgressBar>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <algorithm>
#include <exception>

namespace QtHost {

QString ToQString(const std::string& Text) {
  return QString::fromUtf8(Text.data(), static_cast<qsizetype>(Text.size()));
}

std::string FromQString(const QString& Text) { return Text.toUtf8().toStdString(); }

std::string StripMnemonic(const std::string& Caption) {
  std::string Text;
  for (std::size_t I = 0; I < Caption.size(); ++I) {
    if (Caption[I] == '&' && I + 1 < Caption.size()) ++I;  // "&x" shows x, "&&" shows &
    Text += Caption[I];
  }
  return Text;
}

namespace {

constexpr int kIndexRole = Qt::UserRole;

QStringList ToQStringList(const std::vector<std::string>& Items) {
  QStringList List;
  for (const std::string& Item : Items) List << ToQString(Item);
  return List;
}

QStringList ItemsOf(const QComboBox& Combo) {
  QStringList List;
  for (int I = 0; I < Combo.count(); ++I) List << Combo.itemText(I);
  return List;
}

QStringList ItemsOf(const QListWidget& List) {
  QStringList Items;
  for (int I = 0; I < List.count(); ++I) Items << List.item(I)->data(kIndexRole).toString();
  return Items;
}

/// The list view's groups and items as the tree shows them; drawn anew only when they changed,
/// so a row the user just clicked is not replaced under the click.
void DrawListView(QTreeWidget& Tree, const TListView& List, const std::function<bool(int)>& Bold) {
  const auto& Items = List.ListItems();
  QString Signature;
  for (const TListView::TGroup& Group : List.Groups()) Signature += ToQString(Group.Header) + '\n';
  for (std::size_t I = 0; I < Items.size(); ++I)
    Signature += QString::number(Items[I].GroupID) + ToQString(Items[I].Caption) +
                 (Bold && Bold(static_cast<int>(I)) ? "*\n" : "\n");
  if (Tree.property("drawn").toString() != Signature || Tree.topLevelItemCount() == 0) {
    Tree.setProperty("drawn", Signature);
    Tree.clear();
    for (const TListView::TGroup& Group : List.Groups()) {
      auto* Header = new QTreeWidgetItem(&Tree, QStringList(ToQString(Group.Header)));
      Header->setFlags(Qt::ItemIsEnabled);
      QFont HeaderFont = Header->font(0);
      HeaderFont.setItalic(true);
      Header->setFont(0, HeaderFont);
      for (std::size_t I = 0; I < Items.size(); ++I) {
        if (Items[I].GroupID != Group.GroupID) continue;
        auto* Row = new QTreeWidgetItem(Header, QStringList(ToQString(Items[I].Caption)));
        Row->setData(0, kIndexRole, static_cast<int>(I));
        QFont Font = Row->font(0);
        Font.setBold(Bold && Bold(static_cast<int>(I)));
        Row->setFont(0, Font);
      }
      Header->setExpanded(true);
    }
  }
  QTreeWidgetItem* Current = nullptr;
  for (QTreeWidgetItemIterator It(&Tree); *It && !Current; ++It)
    if ((*It)->data(0, kIndexRole).isValid() && (*It)->data(0, kIndexRole).toInt() == List.ItemIndex()) Current = *It;
  Tree.setCurrentItem(Current);
}

}  // namespace

TFormView::TFormView(TForm& Form, QWidget* Parent) : QDialog(Parent), FForm(&Form) {
  FSubscription = Form.OnPropertyChanged.Add(
      [this](const std::string& Path, const TControlProperty& Property) { Changed(Path, Property); });
  setWindowTitle(ToQString(Form.Caption()));
}

TFormView::~TFormView() { Detach(); }

void TFormView::Detach() {
  if (!FForm) return;
  FForm->OnPropertyChanged.Remove(FSubscription);
  FForm = nullptr;
  for (const TBinding& Binding : FBindings) Binding.Target->disconnect(this);
  FBindings.clear();
}

QAction* TFormView::BindAction(QAction* Action, std::string_view Path) {
  BindObject(Action, Path);
  return Action;
}

QTreeWidget* TFormView::BindListView(QTreeWidget* Tree, std::string_view Path, std::function<bool(int)> Bold) {
  BindObject(Tree, Path, std::move(Bold));
  return Tree;
}

QWidget* TFormView::WidgetOf(std::string_view Path) const {
  for (const TBinding& Binding : FBindings)
    if (Binding.Control->Path() == Path) return qobject_cast<QWidget*>(Binding.Target);
  return nullptr;
}

QListWidget* TFormView::BindList(QListWidget* List, std::string_view Path, std::function<QString(int)> Text) {
  BindObject(List, Path, nullptr, std::move(Text));
  return List;
}

void TFormView::BindObject(QObject* Target, std::string_view Path, std::function<bool(int)> Bold,
                           std::function<QString(int)> Text) {
  TControl& Control = Path.empty() ? static_cast<TControl&>(*FForm) : (*FForm)[Path];
  FBindings.push_back({&Control, Target, std::move(Bold), std::move(Text)});
  Connect(FBindings.back());
  Apply(FBindings.back());
}

void TFormView::Forward(const std::function<void()>& Action) {
  if (!FForm || FApplying) return;
  try {
    Action();
  } catch (const std::exception& Error) {  // the controls' dispatch shows errors; this is a last guard
    QMessageBox::critical(this, QStringLiteral("Error"), ToQString(Error.what()));
  }
  if (FForm) Refresh();
}

void TFormView::Connect(TBinding& Binding) {
  TControl* Control = Binding.Control;
  QObject* Target = Binding.Target;
  if (auto* Action = qobject_cast<QAction*>(Target)) {
    connect(Action, &QAction::triggered, this, [this, Control] { Forward([Control] { Control->Click(); }); });
  } else if (auto* Button = qobject_cast<QAbstractButton*>(Target)) {
    connect(Button, &QAbstractButton::clicked, this, [this, Control] { Forward([Control] { Control->Click(); }); });
  } else if (auto* Edit = qobject_cast<QLineEdit*>(Target)) {
    Edit->installEventFilter(this);
    connect(Edit, &QLineEdit::textEdited, this, [this, Control](const QString& Text) {
      Forward([Control, Value = FromQString(Text)] { Control->EditText(Value); });
    });
  } else if (auto* Combo = qobject_cast<QComboBox*>(Target)) {
    connect(Combo, &QComboBox::activated, this,
            [this, Control](int Index) { Forward([Control, Index] { Control->Select(Index); }); });
    if (QLineEdit* ComboEdit = Combo->lineEdit()) {
      Combo->setInsertPolicy(QComboBox::NoInsert);
      connect(ComboEdit, &QLineEdit::textEdited, this, [this, Control](const QString& Text) {
        Forward([Control, Value = FromQString(Text)] { Control->EditText(Value); });
      });
    }
  } else if (auto* List = qobject_cast<QListWidget*>(Target)) {
    if (List->selectionMode() == QAbstractItemView::ExtendedSelection) {
      // Lines selected for the list's pop-up menu: a state of the list, not a choice.
      connect(List, &QListWidget::itemSelectionChanged, this, [this, Control, List] {
        std::vector<int> Rows;
        for (const QModelIndex& Index : List->selectionModel()->selectedRows()) Rows.push_back(Index.row());
        std::sort(Rows.begin(), Rows.end());
        Forward([Control, Rows] { Control->SetSelection(Rows); });
      });
    } else {
      connect(List, &QListWidget::currentRowChanged, this,
              [this, Control](int Row) { Forward([Control, Row] { Control->Select(Row); }); });
    }
    connect(List, &QListWidget::itemDoubleClicked, this,
            [this, Control] { Forward([Control] { Control->DblClick(); }); });
  } else if (auto* Tree = qobject_cast<QTreeWidget*>(Target)) {
    Tree->installEventFilter(this);
    connect(Tree, &QTreeWidget::currentItemChanged, this, [this, Control](QTreeWidgetItem* Current) {
      if (!Current || !Current->data(0, kIndexRole).isValid()) return Forward([] {});  // a group's row: drawn back
      const int Index = Current->data(0, kIndexRole).toInt();
      Forward([Control, Index] { Control->Select(Index); });
    });
    connect(Tree, &QTreeWidget::itemDoubleClicked, this, [this, Control](QTreeWidgetItem* Item) {
      if (Item && Item->data(0, kIndexRole).isValid()) Forward([Control] { Control->DblClick(); });
    });
  }
}

bool TFormView::eventFilter(QObject* Watched, QEvent* Event) {
  if (Event->type() != QEvent::KeyPress || !FForm) return QDialog::eventFilter(Watched, Event);
  const auto* Key = static_cast<QKeyEvent*>(Event);
  for (const TBinding& Binding : FBindings) {
    if (Binding.Target != Watched) continue;
    TControl* Control = Binding.Control;
    if (qobject_cast<QTreeWidget*>(Watched)) {
      // The keys a list view's model acts on; the others move through the list as usual.
      TKey Code = 0;
      if (Key->key() == Qt::Key_Space) Code = vkSpace;
      if (Key->key() == Qt::Key_Insert) Code = vkInsert;
      if (Key->key() == Qt::Key_Delete) Code = vkDelete;
      if (Code == 0) break;
      Forward([Control, Code] { Control->KeyDown(Code); });
      return true;
    }
    // An edit hears of each key that changes its text, before the text changes; Tab, Enter and
    // Escape go on to the window.
    const QByteArray Typed = Key->text().toUtf8();
    const bool Edits = !Typed.isEmpty() && (static_cast<unsigned char>(Typed.at(0)) >= 0x20 || Typed.at(0) == '\b' ||
                                            Key->matches(QKeySequence::Paste) || Key->matches(QKeySequence::Cut));
    if (Edits) Forward([Control, Typed] { Control->KeyPress(Typed.at(0)); });
    break;
  }
  return QDialog::eventFilter(Watched, Event);
}

void TFormView::Refresh() {
  for (const TBinding& Binding : FBindings) Apply(Binding);
}

void TFormView::Changed(const std::string& Path, TControlProperty Property) {
  if (!FForm) return;
  if (Property == TControlProperty::Focus) {
    if (QWidget* Focused = WidgetOf(FForm->ActiveControl())) Focused->setFocus();
    return;
  }
  if (Path.empty() && Property == TControlProperty::Caption) setWindowTitle(ToQString(FForm->Caption()));
  for (const TBinding& Binding : FBindings)
    if (Binding.Control->Path() == Path) Apply(Binding);
  Redrawn(Path, Property);
}

void TFormView::Redrawn(const std::string&, TControlProperty) {}

void TFormView::Apply(const TBinding& Binding) {
  const TControl& C = *Binding.Control;
  QObject* Target = Binding.Target;
  const QSignalBlocker Block(Target);
  ++FApplying;
  if (auto* Action = qobject_cast<QAction*>(Target)) {
    Action->setText(ToQString(C.Caption()));
    Action->setEnabled(C.Enabled());
    Action->setVisible(C.Visible());
  } else if (auto* Widget = qobject_cast<QWidget*>(Target); Widget && Widget != this) {
    Widget->setEnabled(C.Enabled());
    // A widget not yet placed in its window is only kept hidden: shown, it would be a window.
    if (!Widget->parentWidget()) {
      if (!C.Visible()) Widget->hide();
    } else if (Widget->isHidden() == C.Visible()) {
      Widget->setVisible(C.Visible());
    }
    if (!C.Hint().empty()) Widget->setToolTip(ToQString(C.Hint()));
  }
  if (auto* Label = qobject_cast<QLabel*>(Target)) {
    Label->setText(ToQString(Label->buddy() ? C.Caption() : StripMnemonic(C.Caption())));
  } else if (auto* Button = qobject_cast<QAbstractButton*>(Target)) {
    Button->setText(ToQString(C.Caption()));
    if (Button->isCheckable()) Button->setChecked(C.Checked());
  } else if (auto* Box = qobject_cast<QGroupBox*>(Target)) {
    Box->setTitle(ToQString(C.Caption()));
  } else if (auto* Edit = qobject_cast<QLineEdit*>(Target)) {
    if (Edit->text() != ToQString(C.Text())) Edit->setText(ToQString(C.Text()));
    Edit->setEchoMode(C.PasswordChar ? QLineEdit::Password : QLineEdit::Normal);
    if (!C.Hint().empty()) Edit->setPlaceholderText(ToQString(C.Hint()));
  } else if (auto* Combo = qobject_cast<QComboBox*>(Target)) {
    if (ItemsOf(*Combo) != ToQStringList(C.Items())) {
      Combo->clear();
      Combo->addItems(ToQStringList(C.Items()));
    }
    if (Combo->isEditable()) {
      const QSignalBlocker BlockEdit(Combo->lineEdit());
      if (Combo->currentText() != ToQString(C.Text())) Combo->setEditText(ToQString(C.Text()));
    } else {
      Combo->setCurrentIndex(C.ItemIndex());
    }
  } else if (auto* List = qobject_cast<QListWidget*>(Target)) {
    if (ItemsOf(*List) != ToQStringList(C.Items())) {
      List->clear();
      for (std::size_t I = 0; I < C.Items().size(); ++I) {
        const QString Text = ToQString(C.Items()[I]);
        auto* Item = new QListWidgetItem(Binding.Text ? Binding.Text(static_cast<int>(I)) : Text, List);
        Item->setData(kIndexRole, Text);
      }
    }
    if (List->selectionMode() == QAbstractItemView::ExtendedSelection) {
      List->clearSelection();
      for (const int Row : C.Selection())
        if (QListWidgetItem* Item = List->item(Row)) Item->setSelected(true);
    } else {
      List->setCurrentRow(C.ItemIndex());
    }
  } else if (auto* Tree = qobject_cast<QTreeWidget*>(Target)) {
    if (const auto* ListView = dynamic_cast<const TListView*>(&C)) DrawListView(*Tree, *ListView, Binding.Bold);
  } else if (auto* Bar = qobject_cast<QProgressBar*>(Target)) {
    Bar->setMaximum(C.Max());
    Bar->setValue(C.Position());
  }
  --FApplying;
}

void TFormView::closeEvent(QCloseEvent* Event) {
  Event->ignore();
  if (FForm) Forward([Form = FForm] { Form->Close(); });
}

void TFormView::keyPressEvent(QKeyEvent* Event) {
  if (isWindow()) return QDialog::keyPressEvent(Event);
  Event->ignore();  // a page inside another window: Enter and Escape are that window's
}

void TFormView::reject() {
  if (FForm) Forward([Form = FForm] { Form->Close(); });
}

}  // namespace QtHost

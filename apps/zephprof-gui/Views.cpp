// zephprof-gui: the windows (see Views.h).
#include "Views.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <ostream>

#include "ui/RemoteProfileAddInOptions.h"
#include "ui/RemoteProfileWizard.h"
#include "ui/SelectProfileDlg.h"

using QtHost::TFormView;

namespace {

// ---- Widgets bound to controls ------------------------------------------------------------

/// A label; with a buddy its '&' marks the key that focuses the buddy.
QLabel* Label(TFormView& View, std::string_view Path, QWidget* Buddy = nullptr) {
  auto* Widget = new QLabel;
  Widget->setBuddy(Buddy);
  return View.Bind(Widget, Path);
}

QLabel* WrappedLabel(TFormView& View, std::string_view Path) {
  QLabel* Widget = Label(View, Path);
  Widget->setWordWrap(true);
  return Widget;
}

QPushButton* Button(TFormView& View, std::string_view Path) { return View.Bind(new QPushButton, Path); }

QLineEdit* Edit(TFormView& View, std::string_view Path) { return View.Bind(new QLineEdit, Path); }

QComboBox* Combo(TFormView& View, std::string_view Path, bool Editable) {
  auto* Widget = new QComboBox;
  Widget->setEditable(Editable);
  Widget->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  Widget->setMinimumContentsLength(12);
  return View.Bind(Widget, Path);
}

template <typename TButton>
TButton* CheckButton(TFormView& View, std::string_view Path) {
  auto* Widget = new TButton;
  Widget->setAutoExclusive(false);  // the model unchecks a group's other buttons
  return View.Bind(Widget, Path);
}

/// A container bound to a frame or panel: hiding or disabling it does so to what it holds.
QWidget* Frame(TFormView& View, std::string_view Path, QLayout* Layout) {
  auto* Widget = new QWidget;
  Widget->setLayout(Layout);
  Layout->setContentsMargins(0, 0, 0, 0);
  return View.Bind(Widget, Path);
}

QHBoxLayout* Row(std::initializer_list<QWidget*> Widgets, bool StretchFirst = false) {
  auto* Layout = new QHBoxLayout;
  if (StretchFirst) Layout->addStretch();
  for (QWidget* Widget : Widgets) Layout->addWidget(Widget);
  return Layout;
}

/// Password edit and file chooser of a credential frame.
QWidget* PasswordRow(TFormView& View, const std::string& Frame) {
  QPushButton* Choose = Button(View, Frame + ".SelectPassFileButton");
  Choose->setFixedWidth(32);
  auto* Layout = Row({Edit(View, Frame + ".PasswordEdit"), Choose});
  return ::Frame(View, Frame, Layout);
}

// ---- The forms the models show --------------------------------------------------------------

class TWizardView : public TFormView {
 public:
  TWizardView(TForm& Form, QWidget* Parent) : TFormView(Form, Parent) {
    auto& Wizard = dynamic_cast<TRemoteProfileWizard&>(Form);
    auto* Header = new QWidget;
    Header->setAutoFillBackground(true);
    Header->setBackgroundRole(QPalette::Base);
    auto* HeaderLayout = new QVBoxLayout(Header);
    QLabel* Title = Label(*this, "TitleLabel");
    QFont Bold = Title->font();
    Bold.setBold(true);
    Title->setFont(Bold);
    HeaderLayout->addWidget(Title);
    HeaderLayout->addWidget(WrappedLabel(*this, "DescriptionLabel"));

    auto* Image = new QLabel;  // the wizard's picture
    Image->setPixmap(style()->standardIcon(QStyle::SP_ComputerIcon).pixmap(48, 48));
    Image->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    Image->setMargin(16);
    Image->setFixedWidth(96);
    Image->setStyleSheet(QStringLiteral(
        "background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 palette(highlight), stop:1 palette(window))"));

    auto* Pages = new QVBoxLayout;
    Pages->addWidget(NewPage(Wizard));
    Pages->addWidget(HostPage(Wizard));
    QPushButton* Help = Button(*this, "HelpLinkLabel");
    Help->setFlat(true);
    Help->setCursor(Qt::PointingHandCursor);
    Help->setStyleSheet(QStringLiteral("text-align: left; color: palette(link); text-decoration: underline"));
    Pages->addStretch();
    Pages->addWidget(Help);
    auto* Body = new QHBoxLayout;
    Body->addWidget(Image);
    Body->addSpacing(11);
    Body->addLayout(Pages, 1);

    QPushButton* Finish = Button(*this, "FinishButton");
    Finish->setDefault(true);
    auto* Layout = new QVBoxLayout(this);
    Layout->setContentsMargins(0, 0, 0, 11);
    Layout->addWidget(Header);
    Body->setContentsMargins(0, 0, 11, 0);
    Layout->addLayout(Body, 1);
    QHBoxLayout* Buttons =
        Row({Button(*this, "BackButton"), Button(*this, "NextButton"), Finish, Button(*this, "CancelButton")}, true);
    Buttons->setContentsMargins(11, 0, 11, 0);
    Layout->addLayout(Buttons);
    resize(560, 400);
  }

 private:
  QWidget* NewPage(TRemoteProfileWizard& Wizard) {
    const std::string Page = Wizard.NewPage.Name() + ".";
    auto* Form = new QFormLayout;
    QLineEdit* Name = Edit(*this, Page + "ProfileNameEdit");
    QComboBox* Platform = Combo(*this, Page + "PlatformCombo", false);
    Form->addRow(Label(*this, Page + "ProfileNameLabel", Name), Name);
    Form->addRow(Label(*this, Page + "PlatformLabel", Platform), Platform);
    Form->addRow(CheckButton<QCheckBox>(*this, Page + "DefaultCheckBox"));
    auto* Bevel = Bind(new QFrame, Page + "Bevel1");
    Bevel->setFrameShape(QFrame::HLine);
    Form->addRow(Bevel);
    Form->addRow(WrappedLabel(*this, Page + "InfoLabel"));
    return Frame(*this, Wizard.NewPage.Name(), Form);
  }
  QWidget* HostPage(TRemoteProfileWizard& Wizard) {
    const std::string Page = Wizard.HostPage.Name() + ".";
    auto* Layout = new QVBoxLayout;
    QComboBox* Host = Combo(*this, Page + "HostNameCombo", true);
    QComboBox* Port = Combo(*this, Page + "PortNumberCombo", true);
    Layout->addWidget(Label(*this, Page + "HostNameLabel", Host));
    Layout->addWidget(Host);
    Layout->addWidget(Label(*this, Page + "PortNumberLabel", Port));
    Layout->addLayout(Row({Port, Button(*this, Page + "TestButton")}));
    const std::string Frame = Page + Wizard.HostPage.RemoteProfilePasswordFrame.Name();
    QWidget* Password = PasswordRow(*this, Frame);
    Layout->addWidget(Label(*this, Frame + ".PasswordLabel", Password->findChild<QLineEdit*>()));
    Layout->addWidget(Password);
    return ::Frame(*this, Wizard.HostPage.Name(), Layout);
  }
};

class TPathEditView : public TFormView {
 public:
  TPathEditView(TForm& Form, QWidget* Parent) : TFormView(Form, Parent) {
    auto* Layout = new QVBoxLayout(this);
    auto* Fields = new QFormLayout;
    QComboBox* Path = Combo(*this, "RemotePathCombo", true);
    QComboBox* Mask = Combo(*this, "FileMaskCombo", true);
    Path->setMinimumContentsLength(32);
    Fields->addRow(Label(*this, "PathLabel", Path), Path);
    Fields->addRow(Label(*this, "MaskLabel", Mask), Mask);
    Fields->addRow(CheckButton<QCheckBox>(*this, "IncludeSubDirsCheckBox"));
    Layout->addLayout(Fields);
    auto* Types = Bind(new QGroupBox, "PathTypeGroup");
    auto* TypesLayout = new QVBoxLayout(Types);
    for (const char* Radio :
         {"IncludePathRadioButton", "LibraryPathRadioButton", "FrameworkRadioButton", "OtherPathRadioButton"})
      TypesLayout->addWidget(CheckButton<QRadioButton>(*this, Radio));
    Layout->addWidget(Types);
    QPushButton* Ok = Button(*this, "OKButton");
    Ok->setDefault(true);
    Layout->addLayout(Row({Ok, Button(*this, "CancelButton"), Button(*this, "HelpButton")}, true));
    Layout->setSizeConstraint(QLayout::SetFixedSize);  // a hidden kind shrinks the dialog
  }
};

class TProgressView : public TFormView {
 public:
  TProgressView(TForm& Form, QWidget* Parent) : TFormView(Form, Parent) {
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowStaysOnTopHint);
    auto* Progress = new QVBoxLayout;
    Progress->addWidget(Label(*this, "ProgressLabel"));
    Progress->addWidget(Label(*this, "StatusLabel"));
    Progress->addWidget(Bind(new QProgressBar, "OverallProgressBar"));
    Progress->addWidget(Bind(new QProgressBar, "FileProgressBar"));
    auto* Info = Bind(new QGroupBox, "InfoGroupBox");
    auto* InfoLayout = new QFormLayout(Info);
    InfoLayout->addRow(Label(*this, "FileLabelLabel"), Label(*this, "FileLabel"));
    InfoLayout->addRow(Label(*this, "PathLabelLabel"), Label(*this, "PathLabel"));
    Progress->addWidget(Info);

    auto* Log = new QListWidget;
    Log->setSelectionMode(QAbstractItemView::ExtendedSelection);
    Log->setContextMenuPolicy(Qt::ActionsContextMenu);
    for (const auto& [Item, Keys] :
         {std::pair{"CopyItem", QKeySequence::Copy}, {"SelectAllItem", QKeySequence::SelectAll}}) {
      QAction* Action = BindAction(new QAction(Log), Item);
      Action->setShortcut(Keys);
      Action->setShortcutContext(Qt::WidgetShortcut);
      Log->addAction(Action);
    }
    auto* Errors = new QVBoxLayout;
    Errors->addWidget(Label(*this, "ErrorLabel", Log));
    Errors->addWidget(Bind(Log, "ErrorTree"));

    auto* Layout = new QVBoxLayout(this);
    Layout->addWidget(Frame(*this, "ProgressPanel", Progress));
    Layout->addWidget(Frame(*this, "ErrorPanel", Errors), 1);
    Layout->addWidget(Frame(*this, "ButtonPanel", Row({Button(*this, "CancelButton")}, true)));
    setMinimumWidth(460);
  }

 protected:
  void Redrawn(const std::string&, TControlProperty Property) override {
    // The window is as tall as what it shows: the log appears with the first error.
    if (Property == TControlProperty::Visible)
      QTimer::singleShot(0, this, [this] { resize(width(), sizeHint().height()); });
  }
};

class TChooseProfileView : public TFormView {
 public:
  TChooseProfileView(TForm& Form, QWidget* Parent) : TFormView(Form, Parent) {
    auto& Dialog = dynamic_cast<TChooseProfileDialog&>(Form);
    QLineEdit* Search = Edit(*this, "SearchEdit");
    Search->setPlaceholderText(QStringLiteral("Search"));
    Search->setClearButtonEnabled(true);
    QListWidget* List = BindList(new QListWidget, "ItemList", [&Dialog](int Index) {
      const TProfileInsightItem& Item = *Dialog.VisibleItems().at(static_cast<std::size_t>(Index));
      return QtHost::ToQString(Item.GetTitle() + "\n    " + Item.GetDescription());
    });
    List->setAlternatingRowColors(true);
    QPushButton* Ok = Button(*this, "OKButton");
    Ok->setDefault(true);
    auto* Layout = new QVBoxLayout(this);
    Layout->addWidget(Search);
    Layout->addWidget(List, 1);
    Layout->addWidget(Frame(*this, "BottomPanel", Row({Button(*this, "AddButton"), Button(*this, "ImportButton")})));
    Layout->addLayout(Row({Ok, Button(*this, "CancelButton")}, true));
    resize(480, 360);
  }
};

class TSelectRemoteProfileView : public TFormView {
 public:
  TSelectRemoteProfileView(TForm& Form, QWidget* Parent) : TFormView(Form, Parent) {
    QComboBox* Profiles = Combo(*this, "cbRemote", false);
    QPushButton* Ok = Button(*this, "okButton");
    Ok->setDefault(true);
    auto* Layout = new QVBoxLayout(this);
    Layout->addWidget(WrappedLabel(*this, "lbHeaderTitle"));
    Layout->addWidget(Label(*this, "Label1", Profiles));
    Layout->addWidget(Profiles);
    Layout->addStretch();
    Layout->addLayout(Row({Ok, Button(*this, "cancelButton"), Button(*this, "HelpButton")}, true));
    resize(440, 180);
  }
};

template <typename TView>
QtHost::TQtUserInterface::TViewFactory Make() {
  return [](TForm& Form, QWidget* Parent) { return std::make_unique<TView>(Form, Parent); };
}

/// Hears whether a working copy changed.
class TChangeFlag : public IOTARemoteProfileNotifier {
 public:
  void ProfileRenamed(const IOTARemoteProfilePtr&, const std::string&) override { Changed = true; }
  void ProfileChanged(const IOTARemoteProfilePtr&) override { Changed = true; }
  void ProfileAdded(const IOTARemoteProfilePtr&) override { Changed = true; }
  void ProfileRemoved(const IOTARemoteProfilePtr&) override { Changed = true; }
  bool Changed = false;
};

}  // namespace

void RegisterViews(QtHost::TQtUserInterface& Ui) {
  Ui.RegisterView("RemoteProfileWizard", Make<TWizardView>());
  Ui.RegisterView("PathEditDlg", Make<TPathEditView>());
  Ui.RegisterView("ProgressForm", Make<TProgressView>());
  Ui.RegisterView("ChooseProfileDialog", Make<TChooseProfileView>());
  Ui.RegisterView("SelectRemoteProfileDialog", Make<TSelectRemoteProfileView>());
}

void InstallOptionsDialog(TGuiStore& Store) {
  Store.SetOptionsDialog([&Store](const std::string&) { TOptionsWindow(Store).exec(); });
}

// ---- The options window -------------------------------------------------------------------

TRemoteProfilePageView::TRemoteProfilePageView(TRemoteProfilePage& Page, QWidget* Parent) : TFormView(Page, Parent) {
  setWindowFlags(Qt::Widget);
  auto* List = BindListView(new QTreeWidget, "ProfileList",
                            [&Page](int Index) { return Page.ProfileListCustomDrawItem(Index); });
  List->setHeaderHidden(true);
  List->setRootIsDecorated(false);
  List->setContextMenuPolicy(Qt::CustomContextMenu);
  auto* Menu = new QMenu(List);
  Menu->addAction(BindAction(new QAction(Menu), "SetAsDefaultItem"));
  Menu->addAction(BindAction(new QAction(Menu), "PullRemoteFilesItem"));
  connect(List, &QTreeWidget::customContextMenuRequested, Menu,
          [List, Menu](const QPoint& At) { Menu->popup(List->viewport()->mapToGlobal(At)); });

  auto* Properties = Bind(new QGroupBox, "ProfilePropertiesGroupBox");
  auto* Fields = new QFormLayout(Properties);
  QComboBox* Platform = Combo(*this, "PlatformCombo", false);
  QComboBox* Host = Combo(*this, "HostNameCombo", true);
  QComboBox* Port = Combo(*this, "PortNumberCombo", true);
  Fields->addRow(Label(*this, "PlatformLabel", Platform), Platform);
  Fields->addRow(Label(*this, "HostNameLabel", Host), Host);
  Fields->addRow(Label(*this, "PortNumberLabel", Port), Port);
  QWidget* Password = PasswordRow(*this, "RemoteProfilePasswordFrame");
  Fields->addRow(Label(*this, "RemoteProfilePasswordFrame.PasswordLabel", Password->findChild<QLineEdit*>()), Password);

  auto* Editor = new QFormLayout;
  QLineEdit* Root = Edit(*this, "PropertyEditor.LocalRootEdit");
  Editor->addRow(Label(*this, "PropertyEditor.LocalRootLabel", Root), Root);
  auto* Paths = Bind(new QListWidget, "PropertyEditor.PathItemsList");
  Editor->addRow(Label(*this, "PropertyEditor.PathItemsLabel", Paths));
  Editor->addRow(Paths);
  Editor->addRow(Row({Button(*this, "PropertyEditor.AddPathButton"), Button(*this, "PropertyEditor.EditPathButton"),
                      Button(*this, "PropertyEditor.RemovePathButton")},
                     true));
  Fields->addRow(Frame(*this, "PropertyEditor", Editor));
  Fields->addRow(Row({Button(*this, "TestButton")}, true));

  auto* Top = new QGridLayout;
  Top->addWidget(Label(*this, "ProfilesLabel", List), 0, 0);
  Top->addWidget(List, 1, 0);
  Top->addWidget(Properties, 0, 1, 2, 1);
  Top->setColumnStretch(0, 2);
  Top->setColumnStretch(1, 3);
  auto* Layout = new QVBoxLayout(this);
  Layout->setContentsMargins(0, 0, 0, 0);
  Layout->addLayout(Top, 1);
  Layout->addWidget(
      Frame(*this, "ButtonsPanel",
            Row({Button(*this, "AddButton"), Button(*this, "CopyButton"), Button(*this, "RenameButton"),
                 Button(*this, "DeleteButton"), Button(*this, "ExportButton"), Button(*this, "ImportButton")})));
  setMinimumSize(495, 526);
}

TOptionsWindow::TOptionsWindow(TGuiStore& Store, QWidget* Parent)
    : QDialog(Parent), FStore(Store), FDialog(AddInPageClasses()) {
  FPage = &dynamic_cast<TRemoteProfilePage&>(*FDialog.Pages().at(0));
  FDialog.Show();
  setWindowTitle(QStringLiteral("Environment Options"));
  auto* Areas = new QTreeWidget;
  Areas->setHeaderHidden(true);
  auto* Area = new QTreeWidgetItem(Areas, QStringList(QStringLiteral("Environment Options")));
  auto* PageItem = new QTreeWidgetItem(Area, QStringList(QtHost::ToQString(FPage->Caption())));
  Area->setExpanded(true);
  Areas->setCurrentItem(PageItem);
  Areas->setFixedWidth(230);

  FPageView = new TRemoteProfilePageView(*FPage, this);
  FPageView->Refresh();
  auto* Title = new QLabel(QtHost::ToQString(FPage->Caption()));
  QFont Bold = Title->font();
  Bold.setBold(true);
  Bold.setPointSizeF(Bold.pointSizeF() * 1.2);
  Title->setFont(Bold);
  auto* PageArea = new QVBoxLayout;
  PageArea->addWidget(Title);
  PageArea->addWidget(FPageView, 1);
  auto* Body = new QHBoxLayout;
  Body->addWidget(Areas);
  Body->addLayout(PageArea, 1);

  auto* Buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help);
  connect(Buttons->button(QDialogButtonBox::Ok), &QPushButton::clicked, this, [this] { OkClick(); });
  connect(Buttons->button(QDialogButtonBox::Cancel), &QPushButton::clicked, this, [this] { CancelClick(); });
  connect(Buttons->button(QDialogButtonBox::Help), &QPushButton::clicked, this, [this] {
    if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->ShowHelp(FPage->HelpContext);
  });
  auto* Layout = new QVBoxLayout(this);
  Layout->addLayout(Body, 1);
  Layout->addWidget(Buttons);
  resize(900, 600);
}

TOptionsWindow::~TOptionsWindow() {
  FPageView->Detach();
  if (!FClosed) FDialog.Cancel();
}

void TOptionsWindow::OkClick() {
  if (!FPage->WorkingCopy()) return;  // the page could not be shown
  // The editors' values reach the working copy first, so the store checks what is committed.
  if (!FPage->Dispatch([this] { FPage->CommitProperties(); })) return;
  if (!FStore.Commit(*FPage->WorkingCopy(), [this] { return FDialog.Accept(); })) return;
  FClosed = true;
  FPageView->Detach();
  QDialog::accept();
}

void TOptionsWindow::CancelClick() {
  if (!FClosed) FDialog.Cancel();
  FClosed = true;
  FPageView->Detach();
  QDialog::reject();
}

int RunProfileSelector(TGuiStore& Store, const std::string& PlatformName, std::ostream& Out) {
  const TRemoteProfileManagerPtr Copy = MakeWorkingCopy(Store.Live());
  const auto Changes = std::make_shared<TChangeFlag>();
  Copy->AddNotifier(Changes);
  const IOTARemoteProfilePtr Chosen = ShowProfileSelector(PlatformName, *Copy);
  if (Changes->Changed && !Store.Commit(*Copy, [&] {
        CommitWorkingCopy(*Store.Live(), Copy, TRenameMap());
        return true;
      }))
    return 1;
  if (!Chosen) return 1;
  Out << Chosen->GetName() << '\n' << std::flush;
  return 0;
}

int RunProfileChooser(TGuiStore& Store, const std::string& PlatformName, std::ostream& Out) {
  const auto Changes = std::make_shared<TChangeFlag>();
  const std::int32_t Slot = Store.Live()->AddNotifier(Changes);
  const std::string Chosen = Store.Live()->ShowSelectProfileDialog(PlatformName);
  Store.Live()->RemoveNotifier(Slot);
  if (Changes->Changed && !Store.WriteSettingsFile()) return 1;
  if (Chosen.empty()) return 1;
  Out << Chosen << '\n' << std::flush;
  return 0;
}

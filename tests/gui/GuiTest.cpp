// zephprof-gui's windows driven as a user would, against a real `hestrel` on loopback: clicks
// and typing through the options window, the wizard, the path item dialog, the progress window
// and both selection dialogs reach the live manager and the settings file on OK, and nothing
// reaches them on Cancel or when another program changed the file meanwhile; the window keeps
// drawing while a connection is set up. With
// ZEPH_SCREENSHOT_DIR set, each window is saved there as a PNG (scripts/screenshots.sh).
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QProcess>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>
#include <deque>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "GuiStore.h"
#include "Support.h"
#include "Views.h"
#include "persistence/DefaultSdkPaths.h"
#include "ui/RemoteProfileWizard.h"

namespace {

namespace fs = std::filesystem;
using QtHost::TFormView;
using TStep = std::function<void(TFormView&)>;

template <typename TWidget>
TWidget* At(const TFormView& View, std::string_view Path) {
  auto* Widget = qobject_cast<TWidget*>(View.WidgetOf(Path));
  if (!Widget) qFatal("no widget for '%s'", std::string(Path).c_str());
  return Widget;
}

void Click(const TFormView& View, std::string_view Path) { At<QAbstractButton>(View, Path)->click(); }

/// Types Text over what an edit (or an editable combo box) holds.
void Type(const TFormView& View, std::string_view Path, const QString& Text) {
  QWidget* Widget = View.WidgetOf(Path);
  auto* Edit = qobject_cast<QComboBox*>(Widget) ? qobject_cast<QComboBox*>(Widget)->lineEdit()
                                                : qobject_cast<QLineEdit*>(Widget);
  Edit->selectAll();
  QTest::keyClicks(Edit, Text);
}

/// The user picks an entry of a drop-down list.
void Pick(const TFormView& View, std::string_view Path, int Index) {
  auto* Combo = At<QComboBox>(View, Path);
  Combo->setCurrentIndex(Index);
  emit Combo->activated(Index);
}

void Screenshot(QWidget& Window, const char* Name) {
  if (const char* Dir = std::getenv("ZEPH_SCREENSHOT_DIR"))
    QVERIFY(Window.grab().save(QString::fromUtf8(Dir) + "/" + Name + ".png"));
}

/// Runs Act once Ready holds, checking while events are handled (a modal loop is running).
void When(std::function<bool()> Ready, std::function<void()> Act) {
  auto* Poll = new QTimer;
  QObject::connect(Poll, &QTimer::timeout, [Poll, Ready, Act] {
    if (!Ready()) return;
    Poll->stop();
    Poll->deleteLater();
    Act();
  });
  Poll->start(10);
}

/// Runs Act on the next Qt dialog of type T once it is up (message boxes, input queries).
template <typename T>
void OnModal(std::function<void(T&)> Act) {
  const auto Top = [] { return qobject_cast<T*>(QApplication::activeModalWidget()); };
  When([Top] { return Top() && Top()->isVisible(); }, [Top, Act] { Act(*Top()); });
}

/// Answers the next message box with its first button, keeping its text in Text.
void Acknowledge(QString& Text) {
  OnModal<QMessageBox>([&Text](QMessageBox& Box) {
    Text = Box.text();
    Box.buttons().front()->click();
  });
}

}  // namespace

class TGuiTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QVERIFY2(Server.Start(), Server.Log().c_str());
    RegisterViews(*Ui);
    // Each window of a model runs the next step once it is on the screen.
    Ui->OnShown = [this](TFormView& View) {
      QVERIFY2(!Steps.empty(), View.windowTitle().toUtf8().constData());
      TStep Step = std::move(Steps.front());
      Steps.pop_front();
      QTimer::singleShot(0, &View, [&View, Step] { Step(View); });
    };
  }
  void init() {
    Dir = std::make_unique<hestrel_test::TTempDir>();
    Steps.clear();
  }
  void cleanup() { QVERIFY(Steps.empty()); }
  void cleanupTestCase() { Ui->FreeWindows(); }

  void addTestPullAndCommitOnOk() {
    Open(false, {});
    TOptionsWindow Window(*Store);
    Window.show();
    const TFormView& Page = Window.PageView();
    QString Said;
    Steps.push_back([&](TFormView& W) {
      auto& Wizard = dynamic_cast<TRemoteProfileWizard&>(*W.Form());
      Type(W, "RemoteProfileWizardNew.ProfileNameEdit", " Hest ");
      Pick(W, "RemoteProfileWizardNew.PlatformCombo", Wizard.NewPage.PlatformCombo.IndexOf("Linux64"));
      Screenshot(W, "wizard-profile");
      Click(W, "NextButton");
      Type(W, "RemoteProfileWizardHost.HostNameCombo", "127.0.0.1");
      Type(W, "RemoteProfileWizardHost.PortNumberCombo", QString::number(Server.Port));
      Type(W, "RemoteProfileWizardHost.RemoteProfilePasswordFrame.PasswordEdit",
           QString::fromStdString(Server.Password));
      Acknowledge(Said);
      Click(W, "RemoteProfileWizardHost.TestButton");
      Screenshot(W, "wizard-host");
      Click(W, "FinishButton");
    });
    Click(Page, "AddButton");
    QCOMPARE(Said, QString("Connection to '127.0.0.1' on port %1 succeeded").arg(Server.Port));
    QTreeWidgetItem* Hest = At<QTreeWidget>(Page, "ProfileList")->currentItem();
    QVERIFY(Hest && Hest->text(0) == "Hest" && Hest->font(0).bold());  // the first of a platform is its default

    const fs::path Sdk = Server.Dir.Path / "sdk", Cache = Dir->Path / "cache";
    fs::create_directories(Sdk);
    std::ofstream(Sdk / "a.h") << "int a;\n";
    Type(Page, "PropertyEditor.LocalRootEdit", QString::fromStdString(Cache.string()));
    for (const std::string& Remote : {Sdk.string(), std::string("/no/such/sdk")}) {
      Steps.push_back([Remote](TFormView& D) {
        Type(D, "RemotePathCombo", QString::fromStdString(Remote));
        Type(D, "FileMaskCombo", "*.h");
        Screenshot(D, "path-item");
        Click(D, "OKButton");
      });
      Click(Page, "PropertyEditor.AddPathButton");
    }
    QCOMPARE(At<QListWidget>(Page, "PropertyEditor.PathItemsList")->count(), 2);

    // The missing directory is logged; the window waits for Close once the rest is pulled.
    Steps.push_back([](TFormView& P) {
      auto* Close = At<QAbstractButton>(P, "CancelButton");
      When([Close] { return Close->text() == "Close"; },
           [&P, Close] {
             QVERIFY(At<QListWidget>(P, "ErrorTree")->count() > 0);
             Screenshot(P, "progress");
             Close->click();
           });
    });
    for (QAction* Action : Page.findChildren<QAction*>())
      if (Action->text() == "&Update Local File Cache") Action->trigger();
    QVERIFY(fs::exists(Cache / Sdk.relative_path() / "a.h"));
    Screenshot(Window, "options");

    Window.OkClick();
    QVERIFY(Window.result() == QDialog::Accepted);
    const std::string Settings = ReadFileText(Store->SettingsFileName());
    for (const char* Line : {"[RemoteProfiles\\Hest]", "HostName=127.0.0.1", "Default_Linux64=Hest", "Mask0=*.h"})
      QVERIFY2(Settings.find(Line) != std::string::npos, Line);
    QVERIFY(Settings.find(Server.Password) == std::string::npos);  // enciphered
    QVERIFY(Store->Live()->GetProfile("Hest"));
  }

  void pathItemsOutliveTheWindow() {
    const auto ItemsOfBox = [this](const std::function<void(const TFormView&)>& Edit) {
      TOptionsWindow Window(*Store);
      Window.show();
      const int Count = At<QListWidget>(Window.PageView(), "PropertyEditor.PathItemsList")->count();
      Edit(Window.PageView());
      Window.OkClick();
      return Count;
    };
    Open(false, {"Box"});  // a new profile starts from its platform's default set
    const int Defaults = static_cast<int>(GetDefaultPaths("Linux64").size());
    QCOMPARE(ItemsOfBox([this](const TFormView& Page) {
               Steps.push_back([](TFormView& D) {
                 Type(D, "RemotePathCombo", "/opt/sdk");
                 Click(D, "OKButton");
               });
               Click(Page, "PropertyEditor.AddPathButton");
             }),
             Defaults);
    Open(false, {});  // a later session
    QCOMPARE(ItemsOfBox([](const TFormView&) {}), Defaults + 1);

    const std::string Before = ReadFileText(Store->SettingsFileName());
    QString Said;
    ItemsOfBox([&](const TFormView& Page) {  // a local root holding the data directory
      Type(Page, "PropertyEditor.LocalRootEdit", QString::fromStdString(Dir->Path.string()));
      Acknowledge(Said);
    });
    QVERIFY2(Said.contains("is refused: it is the application-data directory"), qPrintable(Said));
    QCOMPARE(ReadFileText(Store->SettingsFileName()), Before);
  }

  void editProfileOpensTheOptionsWindowOnTheProfile() {
    Open(false, {"Box", "Old"});
    InstallOptionsDialog(*Store);
    const auto Shown = [] { return dynamic_cast<TOptionsWindow*>(QApplication::activeModalWidget()); };
    QString Selected;
    When([Shown] { return Shown() && Shown()->isVisible(); },
         [&] {
           Selected = At<QTreeWidget>(Shown()->PageView(), "ProfileList")->currentItem()->text(0);
           Shown()->CancelClick();
         });
    Store->Live()->EditProfile("Old");
    QCOMPARE(Selected, QString("Old"));
  }

  void cancelAndAnotherProgramsChangeSaveNothing() {
    Open(false, {"Box", "Old"});
    const std::string Before = ReadFileText(Store->SettingsFileName());
    {
      TOptionsWindow Window(*Store);
      Window.show();
      const TFormView& Page = Window.PageView();
      OnModal<QInputDialog>([](QInputDialog& Query) {
        Query.setTextValue("Server");
        Query.accept();
      });
      Click(Page, "RenameButton");
      QString Asked;
      Acknowledge(Asked);  // Yes
      QTest::keyClick(At<QTreeWidget>(Page, "ProfileList"), Qt::Key_Delete);
      QCOMPARE(Asked, QString("Are you sure you want to delete the profile named 'Server'?"));
      const auto Listed = [&Page](const char* Name) {
        return At<QTreeWidget>(Page, "ProfileList")->findItems(Name, Qt::MatchExactly | Qt::MatchRecursive).size();
      };
      QCOMPARE(Listed("Server") + Listed("Old"), 1);
      Window.CancelClick();
    }
    QCOMPARE(ReadFileText(Store->SettingsFileName()), Before);
    QVERIFY(Store->Live()->GetProfile("Box") && Store->Live()->GetProfile("Old"));

    TOptionsWindow Window(*Store);
    Window.show();
    Type(Window.PageView(), "HostNameCombo", "elsewhere");
    std::ofstream(Store->SettingsFileName(), std::ios::app) << "[Other]\nKept=1\n";
    const std::string Theirs = ReadFileText(Store->SettingsFileName());
    QString Said;
    Acknowledge(Said);
    Window.OkClick();
    QVERIFY(Said.contains("was changed by another program after this window was opened. Nothing was saved"));
    QVERIFY(Window.isVisible());
    QCOMPARE(ReadFileText(Store->SettingsFileName()), Theirs);
    Window.CancelClick();
  }

  void testConnectionKeepsTheWindowDrawing() {
    // A host that accepts the connection and never answers: the client waits out its timeout.
    const int Silent = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in Address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t Length = sizeof Address;
    QCOMPARE(::bind(Silent, reinterpret_cast<sockaddr*>(&Address), Length) + ::listen(Silent, 8), 0);
    ::getsockname(Silent, reinterpret_cast<sockaddr*>(&Address), &Length);
    hestrel::THestrelClientOptions Quick;
    Quick.ConnectTimeoutSeconds = 1;
    Open(false, {"Quiet"}, Quick);
    TOptionsWindow Window(*Store);
    Window.show();
    Type(Window.PageView(), "HostNameCombo", "127.0.0.1");
    Type(Window.PageView(), "PortNumberCombo", QString::number(ntohs(Address.sin_port)));
    int Ticks = 0, TicksWhenTold = -1;
    QTimer Ticker;
    QObject::connect(&Ticker, &QTimer::timeout, [&Ticks] { ++Ticks; });
    Ticker.start(20);
    QString Said;
    OnModal<QMessageBox>([&](QMessageBox& Box) {
      TicksWhenTold = Ticks;
      Said = Box.text();
      Box.buttons().front()->click();
    });
    Click(Window.PageView(), "TestButton");
    ::close(Silent);
    QCOMPARE(Said, QString("Connection to '127.0.0.1' on port %1 timed out").arg(ntohs(Address.sin_port)));
    QVERIFY2(TicksWhenTold >= 10, qPrintable(QString::number(TicksWhenTold)));  // about 50 in that second
    Window.CancelClick();
  }

  void selectionDialogsPrintTheChosenProfile() {
    Open(true, {"Box"});
    // The selector's Add runs the wizard for its platform; the new profile is committed.
    Steps.push_back([this](TFormView& D) {
      Screenshot(D, "profile-selector");
      Steps.push_back([](TFormView& W) {
        Type(W, "RemoteProfileWizardNew.ProfileNameEdit", "Second");
        Click(W, "NextButton");
        Type(W, "RemoteProfileWizardHost.HostNameCombo", "second.example");
        Click(W, "FinishButton");
      });
      Click(D, "AddButton");
      Type(D, "SearchEdit", "second");
      QCOMPARE(At<QListWidget>(D, "ItemList")->count(), 1);
      At<QListWidget>(D, "ItemList")->setCurrentRow(0);
      Click(D, "OKButton");
    });
    std::ostringstream Out;
    QCOMPARE(RunProfileSelector(*Store, "Linux64", Out), 0);
    QCOMPARE(Out.str(), std::string("Second\n"));
    QVERIFY(ReadFileText(Store->SettingsFileName()).find("HostName=second.example") != std::string::npos);

    Steps.push_back([](TFormView& D) {
      Pick(D, "cbRemote", 0);
      Screenshot(D, "profile-chooser");
      Click(D, "okButton");
    });
    Out.str("");
    QCOMPARE(RunProfileChooser(*Store, "Linux64", Out), 0);
    QCOMPARE(Out.str(), std::string("Box\n"));
  }

  void commandLineMistakesAreUsageErrors() {
    const std::pair<QStringList, QString> Cases[] = {
        {{"--select", "Bogus"}, "unknown platform 'Bogus' (one of Win32, Win64, OSX32,"},
        {{"--choose", ""}, "unknown platform '' (one of Win32,"},
        {{"--select", "Linux64", "--choose", "Linux64"}, "--select excludes --choose"},
        {{"--bogus"}, "The following argument was not expected: --bogus"}};
    for (const auto& [Arguments, Said] : Cases) {
      QProcess Gui;
      Gui.start(ZEPH_ZEPHPROF_GUI_BINARY, QStringList{"--settings", QString::fromStdString(Dir->Path / "s.ini"),
                                                      "--data-dir", QString::fromStdString(Dir->Path / "d")} +
                                              Arguments);
      QVERIFY(Gui.waitForFinished(20000));
      QCOMPARE(Gui.exitCode(), 2);
      QVERIFY2(Gui.readAllStandardError().contains(Said.toUtf8()), qPrintable(Said));
    }
  }

 private:
  /// A store of its own in the test's folder, holding Linux64 profiles of Names.
  void Open(bool HoldLock, const std::vector<std::string>& Names, const hestrel::THestrelClientOptions& Agent = {}) {
    ResetRemoteProfileMgrForTesting();
    Store = std::make_unique<TGuiStore>();
    TGuiOptions Options{(Dir->Path / "settings.ini").string(), (Dir->Path / "data").string(), "", HoldLock};
    Options.Agent = Agent;
    QVERIFY2(Store->Open(Options, Ui), Store->Error().c_str());
    for (const std::string& Name : Names) Store->Live()->AddProfile(Name, "Linux64", "h", 64211, {}, "", {}, false);
    Store->Live()->SaveOptions(*HostServices().AppIniFile);
    QVERIFY(Store->WriteSettingsFile());
  }

  hestrel_test::TTestServer Server;
  std::unique_ptr<hestrel_test::TTempDir> Dir;
  std::shared_ptr<QtHost::TQtUserInterface> Ui = std::make_shared<QtHost::TQtUserInterface>();
  std::unique_ptr<TGuiStore> Store;
  std::deque<TStep> Steps;
};

int main(int argc, char** argv) {
  // Qt's offscreen platform unless another one is asked for: no display is needed.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication Application(argc, argv);
  TGuiTest Test;
  return QTest::qExec(&Test, argc, argv);
}
#include "GuiTest.moc"

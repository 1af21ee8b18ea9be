// zephprof-gui: the windows. Each lays out the widgets of one form of the user-interface models
// and binds them to its controls by name (hosts/qt/FormView.h); what a window does is the
// model's. "Environment Options" holds the "Connection Profile Manager" page and commits it
// through the store on OK.
#pragma once

#include <QDialog>
#include <iosfwd>
#include <memory>
#include <string>

#include "GuiStore.h"
#include "hosts/qt/FormView.h"
#include "hosts/qt/QtUserInterface.h"
#include "ui/OptionsDialog.h"
#include "ui/RemoteProfileOptions.h"

/// The windows of the wizard, the two selection dialogs, the path item dialog and the progress
/// window, shown whenever their models are.
void RegisterViews(QtHost::TQtUserInterface& Ui);
/// The options window over Store is what EditProfile opens.
void InstallOptionsDialog(TGuiStore& Store);

/// The page "Connection Profile Manager" drawn inside the options window.
class TRemoteProfilePageView : public QtHost::TFormView {
 public:
  TRemoteProfilePageView(TRemoteProfilePage& Page, QWidget* Parent);
};

/// "Environment Options" with its one page: OK commits the page's working copy and writes the
/// settings file (the window stays open when that fails), Cancel leaves everything as it was.
class TOptionsWindow : public QDialog {
 public:
  explicit TOptionsWindow(TGuiStore& Store, QWidget* Parent = nullptr);
  ~TOptionsWindow() override;
  TRemoteProfilePageView& PageView() const { return *FPageView; }
  void OkClick();
  void CancelClick();

 protected:
  void reject() override { CancelClick(); }

 private:
  TGuiStore& FStore;
  TOptionsDialog FDialog;
  TRemoteProfilePage* FPage;
  TRemoteProfilePageView* FPageView;
  bool FClosed = false;
};

/// Shows the profile selector for PlatformName (every platform when empty) on a working copy of
/// the live profiles; profiles it added or imported are committed whichever way it closes.
/// Writes the chosen profile's name and a line break to Out; answers 0, or 1 when none was
/// chosen or the commit failed.
int RunProfileSelector(TGuiStore& Store, const std::string& PlatformName, std::ostream& Out);

/// Shows the drop-down chooser for PlatformName on the live profiles (its "Add New..." adds
/// and saves at once; the settings file is written when it did). Writes the chosen profile's
/// name as RunProfileSelector does, with the same answers.
int RunProfileChooser(TGuiStore& Store, const std::string& PlatformName, std::ostream& Out);

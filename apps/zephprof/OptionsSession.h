// zephprof: the options page as the editing commands use it. The page is shown on the live
// manager, the command fills in its editors and runs its actions as a user would (answers
// prepared with the host's user interface), and OK commits the page's working copy before
// the settings file is written.
#pragma once

#include <string>

#include "AppContext.h"
#include "ui/OptionsDialog.h"
#include "ui/RemoteProfileOptions.h"

class TOptionsSession {
 public:
  explicit TOptionsSession(TAppContext& Context);
  TRemoteProfilePage& Page() { return *FPage; }
  /// Selects the profile named Name (any case); false (reported) when the page does not list it.
  bool Select(const std::string& Name);
  /// OK, then the settings file written; false when the page kept the dialog open or the file
  /// could not be written (both reported).
  bool Accept();
  /// The credential frame given a credential: a password typed, or a password file chosen.
  void EnterCredential(TRemoteProfilePasswordFrame& Frame, const TOTARemoteProfileCredential& Credential);

 private:
  TAppContext& FContext;
  TOptionsDialog FDialog;
  TRemoteProfilePage* FPage;
};

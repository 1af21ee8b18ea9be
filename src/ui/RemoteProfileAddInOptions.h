// How the profile page is offered to the host's options dialog: the add-in wrapper names the
// page classes the dialog makes under "Environment Options".
#pragma once

#include <string>
#include <vector>

class TRemoteProfileAddInEnvironmentOptions {
 public:
  /// Adds the page class "TRemoteProfilePage" to the dialog's page classes (the provisioning
  /// page would follow when provisioning is available; this build has none).
  void CustomizeDialog(std::vector<std::string>& PropertySheets) const;
  /// Always false: the page commits through the dialog's close message, not through the wrapper.
  bool GetIsModified() const { return false; }
  std::string GetCaption() const { return "Connection Profile Manager"; }
  std::string GetArea() const { return "Environment Options"; }
};

/// The page classes an options dialog makes for "Environment Options" (CustomizeDialog's).
std::vector<std::string> AddInPageClasses();

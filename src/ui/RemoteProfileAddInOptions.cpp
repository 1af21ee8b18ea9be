#include "ui/RemoteProfileAddInOptions.h"

void TRemoteProfileAddInEnvironmentOptions::CustomizeDialog(std::vector<std::string>& PropertySheets) const {
  PropertySheets.push_back("TRemoteProfilePage");
}

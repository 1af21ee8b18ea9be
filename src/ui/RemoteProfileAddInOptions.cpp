#include "ui/RemoteProfileAddInOptions.h"

void TRemoteProfileAddInEnvironmentOptions::CustomizeDialog(std::vector<std::string>& PropertySheets) const {
  PropertySheets.push_back("TRemoteProfilePage");
}

std::vector<std::string> AddInPageClasses() {
  std::vector<std::string> Classes;
  TRemoteProfileAddInEnvironmentOptions().CustomizeDialog(Classes);
  return Classes;
}

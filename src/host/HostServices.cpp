#include "host/HostServices.h"

#include <utility>

namespace {
THostServices& Installed() {
  static THostServices Services;
  return Services;
}
}  // namespace

const THostServices& HostServices() { return Installed(); }

THostServices SetHostServices(THostServices Services) { return std::exchange(Installed(), std::move(Services)); }

TMsgDlgBtn ShowMessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons) {
  const IOTAMessageServicesPtr& Messages = Installed().Messages;
  if (!Messages) return Buttons.empty() ? TMsgDlgBtn::mbOK : Buttons.back();
  return Messages->MessageDlg(Text, Kind, Buttons);
}

TRAClientFactory* TRAClientFactory::GetInstance() { return Installed().AgentLibrary.get(); }

std::string Encrypt(const std::string& Password) {
  // Only the enciphered form is ever stored. Without an agent library there is no
  // enciphering: the answer is "", as a library answers when it cannot encipher (Hestrel
  // without its key file), never the clear text. The caller that stores the result refuses
  // an empty answer for a non-empty password (SaveProfile raises EProfileFileError).
  TRAClientFactory* Library = TRAClientFactory::GetInstance();
  return Library ? Library->Encrypt(Password) : std::string();
}

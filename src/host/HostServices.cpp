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

TRAClientFactory* TRAClientFactory::GetInstance() { return Installed().AgentLibrary.get(); }

std::string Encrypt(const std::string& Password) {
  // Part 2.1: "only the enciphered form is ever stored". Without an agent library there is
  // no enciphering, and storing the clear text would break that rule.
  TRAClientFactory* Library = TRAClientFactory::GetInstance();
  if (!Library) throw std::logic_error("Encrypt: no remote-agent client library is installed");
  return Library->Encrypt(Password);
}

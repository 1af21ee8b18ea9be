// Hestrel client: the agent library's factory and Encrypt (see ClientFactory.h).
#include "client/ClientFactory.h"

#include "client/ClientProfile.h"
#include "client/HestrelClient.h"
#include "client/PasswordCipher.h"

namespace hestrel {

THestrelClientFactory::THestrelClientFactory(std::string AppDataDir, THestrelClientOptions Options)
    : FAppDataDir(std::move(AppDataDir)), FOptions(std::move(Options)) {}

TRAClientPtr THestrelClientFactory::CreateClient(const std::string& Name, const std::string&) {
  // The virtual file is not used by an SSH transport.
  return std::make_shared<THestrelClient>(Name, FAppDataDir, FOptions);
}

std::unique_ptr<TRAClientProfile> THestrelClientFactory::CreateProfile() {
  return std::make_unique<THestrelClientProfile>();
}

std::string THestrelClientFactory::Encrypt(const std::string& Password) {
  TPasswordCipher Cipher(FAppDataDir);
  return Cipher.Encrypt(Password);
}

}  // namespace hestrel

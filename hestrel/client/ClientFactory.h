// Hestrel client: the agent library's factory and Encrypt. Makes Hestrel
// clients and profile objects, and enciphers passwords for storage.
#pragma once

#include <string>

#include "client/ClientOptions.h"
#include "host/AgentClient.h"

namespace hestrel {

class THestrelClientFactory : public TRAClientFactory {
 public:
  /// AppDataDir: the application-data directory, home of the key file ("hestrel.key")
  /// and the known-hosts file ("known_hosts").
  explicit THestrelClientFactory(std::string AppDataDir, THestrelClientOptions Options = {});
  TRAClientPtr CreateClient(const std::string& Name, const std::string& VirtualFile) override;
  std::unique_ptr<TRAClientProfile> CreateProfile() override;
  /// "hes1:..." (PasswordCipher.h); "" for an empty password or when the key cannot be read
  /// or made (SaveProfile then refuses the save: a clear password is never stored).
  std::string Encrypt(const std::string& Password) override;
  const std::string& GetAppDataDir() const { return FAppDataDir; }
  /// The options of the clients made from now on.
  THestrelClientOptions& Options() { return FOptions; }

 private:
  std::string FAppDataDir;
  THestrelClientOptions FOptions;
};

}  // namespace hestrel

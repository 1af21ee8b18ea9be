// A remote-agent client library for tests that read and write profile files: profiles are
// the real Hestrel profile object (real ".profile" files), Encrypt answers a recognisable
// deterministic form, and there are no clients.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "client/ClientProfile.h"
#include "host/AgentClient.h"

/// "enc:" followed by the text's bytes in lower-case hex ("enc:6162" for "ab").
inline std::string FakeEnciphered(const std::string& Text) {
  static const char Hex[] = "0123456789abcdef";
  std::string Out = "enc:";
  for (unsigned char C : Text) Out += {Hex[C >> 4], Hex[C & 15]};
  return Out;
}

class TProfileFileLibrary : public TRAClientFactory {
 public:
  TRAClientPtr CreateClient(const std::string&, const std::string&) override { return nullptr; }
  std::unique_ptr<TRAClientProfile> CreateProfile() override {
    ++ProfilesCreated;
    return std::make_unique<THestrelClientProfile>();
  }
  /// FakeEnciphered, or "" when EncryptFails (as Hestrel's when its key file cannot be made).
  std::string Encrypt(const std::string& Password) override {
    Encrypted.push_back(Password);
    return EncryptFails ? std::string() : FakeEnciphered(Password);
  }

  std::vector<std::string> Encrypted;  ///< every text given to Encrypt, in order
  bool EncryptFails = false;
  int ProfilesCreated = 0;
};

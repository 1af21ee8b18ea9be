// A remote-agent client library for persistence tests (Parts 2.1 to 2.3): profiles are the
// real Hestrel profile object (THestrelClientProfile, real ".profile" files), Encrypt
// answers a recognisable deterministic form, and there are no clients.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/AgentClient.h"

class TProfileFileLibrary : public TRAClientFactory {
 public:
  /// nullptr: persistence never connects.
  TRAClientPtr CreateClient(const std::string& Name, const std::string& VirtualFile) override;
  /// A new THestrelClientProfile.
  std::unique_ptr<TRAClientProfile> CreateProfile() override;
  /// "enc:" followed by the text's bytes in lower-case hex ("enc:6162" for "ab").
  std::string Encrypt(const std::string& Password) override;

  /// Every text given to Encrypt, in order.
  std::vector<std::string> Encrypted;
  /// When true Encrypt answers "" (as Hestrel's does when its key file cannot be made).
  bool EncryptFails = false;
  int ProfilesCreated = 0;
};

/// The form TProfileFileLibrary::Encrypt answers for Text.
std::string FakeEnciphered(const std::string& Text);

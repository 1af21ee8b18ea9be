#include "doubles/ProfileFileLibrary.h"

#include "client/ClientProfile.h"

std::string FakeEnciphered(const std::string& Text) {
  static const char Hex[] = "0123456789abcdef";
  std::string Out = "enc:";
  for (unsigned char C : Text) {
    Out += Hex[C >> 4];
    Out += Hex[C & 0x0F];
  }
  return Out;
}

TRAClientPtr TProfileFileLibrary::CreateClient(const std::string&, const std::string&) { return nullptr; }

std::unique_ptr<TRAClientProfile> TProfileFileLibrary::CreateProfile() {
  ++ProfilesCreated;
  return std::make_unique<THestrelClientProfile>();
}

std::string TProfileFileLibrary::Encrypt(const std::string& Password) {
  Encrypted.push_back(Password);
  return EncryptFails ? std::string() : FakeEnciphered(Password);
}

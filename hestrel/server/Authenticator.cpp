// Hestrel server: password file and password check (see Authenticator.h).
#include "server/Authenticator.h"

#include <fcntl.h>

#include "server/SecretFile.h"

namespace hestrel::server {

bool ReadPasswordFile(const std::string& Path, std::string& Password, std::string& Error) {
  Password.clear();
  std::string Text;
  const bool Read = ReadSecretFile(AT_FDCWD, Path, "password file", Path, Text, Error);
  if (Read) {
    std::size_t End = Text.find('\n');
    Password = Text.substr(0, End);
    if (!Password.empty() && Password.back() == '\r') Password.pop_back();
  }
  sodium_memzero(Text.data(), Text.size());
  if (Read && Password.empty()) Error = "password file " + Path + " holds no password on its first line";
  return !Password.empty();
}

TAuthenticator::TAuthenticator(std::string_view Password) : FHash(Hash(Password)) {}

TAuthenticator::THash TAuthenticator::Hash(std::string_view Text) {
  THash Result{};
  crypto_generichash(Result.data(), Result.size(), reinterpret_cast<const unsigned char*>(Text.data()), Text.size(),
                     nullptr, 0);
  return Result;
}

bool TAuthenticator::Check(std::string_view Attempt) const {
  // Equal-length hashes compared in constant time: neither length nor content leaks.
  THash Candidate = Hash(Attempt);
  return sodium_memcmp(Candidate.data(), FHash.data(), FHash.size()) == 0;
}

}  // namespace hestrel::server

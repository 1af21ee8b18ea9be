// Hestrel server: the server's own password (read from the password file) and the check of
// a login attempt against it.
#pragma once

#include <sodium.h>

#include <array>
#include <string>
#include <string_view>

namespace hestrel::server {

/// Reads the password: the first line of Path without its line end. Refuses (false, with a
/// sentence in Error) what ReadSecretFile refuses (anyone who can read or replace the file can
/// log in) and an empty password.
bool ReadPasswordFile(const std::string& Path, std::string& Password, std::string& Error);

/// Holds only a hash of the password and compares attempts in constant time.
class TAuthenticator {
 public:
  explicit TAuthenticator(std::string_view Password);
  bool Check(std::string_view Attempt) const;

 private:
  using THash = std::array<unsigned char, crypto_generichash_BYTES>;
  static THash Hash(std::string_view Text);
  THash FHash;
};

}  // namespace hestrel::server

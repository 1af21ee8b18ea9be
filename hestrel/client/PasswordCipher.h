// Hestrel client, Encrypt and the login credential: the stored form of a password.
// "hes1:" + base64(nonce || crypto_secretbox(password)) under a per-user 32-byte key file
// (mode 0600, created on first use). Authenticated: a tampered value is refused, never
// mis-deciphered. The clear text lives only in TSecretText buffers, wiped when dropped.
#pragma once

#include <string>

namespace hestrel {

/// A clear secret in memory; its bytes are wiped (sodium_memzero) on destruction.
class TSecretText {
 public:
  TSecretText() = default;
  explicit TSecretText(std::string Value) : FValue(std::move(Value)) {}
  TSecretText(const TSecretText&) = delete;
  TSecretText& operator=(const TSecretText&) = delete;
  TSecretText(TSecretText&& Other) noexcept;
  TSecretText& operator=(TSecretText&& Other) noexcept;
  ~TSecretText();
  const std::string& Get() const { return FValue; }
  std::string& Mutable() { return FValue; }
  void Wipe();

 private:
  std::string FValue;
};

/// The version prefix of the stored form.
inline constexpr const char PasswordCipherPrefix[] = "hes1:";
/// The key file's name inside the application-data directory.
inline constexpr const char PasswordKeyFileName[] = "hestrel.key";

class TPasswordCipher {
 public:
  /// KeyDirectory: where the key file lives (created when missing).
  explicit TPasswordCipher(std::string KeyDirectory);
  /// The stored form of Password; empty when the key file cannot be read or created
  /// (GetLastError says why). An empty password stays empty.
  std::string Encrypt(const std::string& Password);
  /// Deciphers a stored form into Clear; false (GetLastError) when it was tampered with,
  /// made under another key, or is not in the "hes1:" format.
  bool Decrypt(const std::string& Stored, TSecretText& Clear);
  const std::string& GetLastError() const { return FLastError; }
  std::string KeyFilePath() const;

 private:
  bool LoadKey(unsigned char* Key);
  std::string FKeyDirectory;
  std::string FLastError;
};

}  // namespace hestrel

// Hestrel client: the stored form of passwords (Encrypt / Decrypt, key file).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>
#include <vector>

#include "ClientTestSupport.h"
#include "client/ClientErrors.h"
#include "client/ClientFactory.h"
#include "client/PasswordCipher.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;

TEST(HestrelPasswordCipher, EncryptThenDecryptGivesThePasswordBack) {
  TTempDir Dir;
  TPasswordCipher Cipher(Dir.Path().string());
  const std::string Stored = Cipher.Encrypt("s3cret pass");
  EXPECT_EQ(Stored.rfind("hes1:", 0), 0u);
  EXPECT_EQ(Stored.find("s3cret"), std::string::npos);
  TSecretText Clear;
  ASSERT_TRUE(Cipher.Decrypt(Stored, Clear)) << Cipher.GetLastError();
  EXPECT_EQ(Clear.Get(), "s3cret pass");
}

TEST(HestrelPasswordCipher, KeyFileIsCreatedOnFirstUseWith32BytesAndMode0600) {
  TTempDir Dir;
  TPasswordCipher Cipher(Dir / "sub");
  Cipher.Encrypt("x");
  struct stat St;
  ASSERT_EQ(stat(Cipher.KeyFilePath().c_str(), &St), 0);
  EXPECT_EQ(St.st_mode & 0777, 0600u);
  EXPECT_EQ(St.st_size, 32);
  EXPECT_EQ(Cipher.KeyFilePath(), Dir / "sub/hestrel.key");
}

TEST(HestrelPasswordCipher, CiphersMeetingOnFirstUseShareOneWholeKey) {
  // Each round: a new directory and eight ciphers making the key at the same moment. Every
  // stored form must decipher afterwards, so nobody read a half-written key or kept its own.
  for (int Round = 0; Round < 300; ++Round) {
    TTempDir Dir;
    std::vector<std::string> Stored(8);
    std::vector<std::thread> Threads;
    for (std::size_t I = 0; I < Stored.size(); ++I)
      Threads.emplace_back([&, I] { Stored[I] = TPasswordCipher(Dir / "keys").Encrypt("pw" + std::to_string(I)); });
    for (auto& T : Threads) T.join();
    TPasswordCipher Reader(Dir / "keys");
    for (std::size_t I = 0; I < Stored.size(); ++I) {
      TSecretText Clear;
      ASSERT_TRUE(Reader.Decrypt(Stored[I], Clear)) << "round " << Round << ": " << Reader.GetLastError();
      EXPECT_EQ(Clear.Get(), "pw" + std::to_string(I));
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Dir / "keys"), {}), 1) << "no temporary left";
  }
}

TEST(HestrelPasswordCipher, AKeyFileOthersCanReadIsNarrowedTo0600AndStillServes) {
  TTempDir Dir;
  TPasswordCipher Cipher(Dir.Path());
  const std::string Stored = Cipher.Encrypt("pw");
  ASSERT_EQ(chmod(Cipher.KeyFilePath().c_str(), 0644), 0);
  TSecretText Clear;
  ASSERT_TRUE(TPasswordCipher(Dir.Path()).Decrypt(Stored, Clear));
  EXPECT_EQ(Clear.Get(), "pw");
  struct stat St;
  ASSERT_EQ(stat(Cipher.KeyFilePath().c_str(), &St), 0);
  EXPECT_EQ(St.st_mode & 0777, 0600u);
}

TEST(HestrelPasswordCipher, ADamagedKeyFileIsRefusedAndNeverReplaced) {
  TTempDir Dir;
  TPasswordCipher Cipher(Dir.Path());
  MakeFile(Cipher.KeyFilePath(), "too short");
  EXPECT_EQ(Cipher.Encrypt("password"), "");
  EXPECT_EQ(Cipher.GetLastError(), Format(sErrKeyFile, {Cipher.KeyFilePath()}));
  EXPECT_EQ(Slurp(Cipher.KeyFilePath()), "too short");  // stored passwords may still need it
}

TEST(HestrelPasswordCipher, TwoEncryptionsDifferButBothDecrypt) {
  TTempDir Dir;
  TPasswordCipher Cipher(Dir.Path().string());
  const std::string A = Cipher.Encrypt("same"), B = Cipher.Encrypt("same");
  EXPECT_NE(A, B);  // a fresh nonce each time
  TSecretText Clear;
  EXPECT_TRUE(Cipher.Decrypt(B, Clear));
  EXPECT_EQ(Clear.Get(), "same");
}

TEST(HestrelPasswordCipher, TamperedValueIsRefusedWithAClearError) {
  TTempDir Dir;
  TPasswordCipher Cipher(Dir.Path().string());
  std::string Stored = Cipher.Encrypt("password");
  Stored[Stored.size() - 3] = Stored[Stored.size() - 3] == 'A' ? 'B' : 'A';
  TSecretText Clear("left over");
  EXPECT_FALSE(Cipher.Decrypt(Stored, Clear));
  EXPECT_EQ(Clear.Get(), "");
  EXPECT_EQ(Cipher.GetLastError(), Format(sErrPasswordTampered, {Cipher.KeyFilePath()}));
}

TEST(HestrelPasswordCipher, ValueMadeUnderAnotherKeyIsRefused) {
  TTempDir One, Two;
  const std::string Stored = TPasswordCipher(One.Path().string()).Encrypt("password");
  TPasswordCipher Other(Two.Path().string());
  TSecretText Clear;
  EXPECT_FALSE(Other.Decrypt(Stored, Clear));
  EXPECT_EQ(Other.GetLastError(), Format(sErrPasswordTampered, {Other.KeyFilePath()}));
}

TEST(HestrelPasswordCipher, UnknownFormatIsRefused) {
  TTempDir Dir;
  TPasswordCipher Cipher(Dir.Path().string());
  TSecretText Clear;
  EXPECT_FALSE(Cipher.Decrypt("plain text", Clear));
  EXPECT_EQ(Cipher.GetLastError(), sErrPasswordFormat);
  EXPECT_FALSE(Cipher.Decrypt("hes1:!!!", Clear));
  EXPECT_FALSE(Cipher.Decrypt("hes1:AAAA", Clear));  // shorter than nonce and tag
  EXPECT_EQ(Cipher.GetLastError(), sErrPasswordFormat);
}

TEST(HestrelPasswordCipher, EmptyPasswordStaysEmpty) {
  TTempDir Dir;
  EXPECT_EQ(TPasswordCipher(Dir.Path().string()).Encrypt(""), "");
}

TEST(HestrelPasswordCipher, UnwritableKeyDirectoryGivesNoStoredFormRatherThanClearText) {
  TTempDir Dir;
  MakeFile(Dir / "file", "not a directory");
  TPasswordCipher Cipher(Dir / "file");
  EXPECT_EQ(Cipher.Encrypt("password"), "");
  EXPECT_EQ(Cipher.GetLastError(), Format(sErrKeyFile, {Dir / "file/hestrel.key"}));
}

TEST(HestrelPasswordCipher, FactoryEncryptUsesTheApplicationDataDirectory) {
  TTempDir Dir;
  THestrelClientFactory Factory(Dir.Path().string());
  const std::string Stored = Factory.Encrypt("pw");
  TSecretText Clear;
  ASSERT_TRUE(TPasswordCipher(Dir.Path().string()).Decrypt(Stored, Clear));
  EXPECT_EQ(Clear.Get(), "pw");
}

TEST(HestrelPasswordCipher, SecretTextIsWipedOnWipe) {
  TSecretText Secret(std::string("abcdef"));
  const char* Data = Secret.Get().data();
  Secret.Wipe();
  EXPECT_EQ(Secret.Get(), "");
  EXPECT_EQ(Data[0], '\0');  // the bytes themselves are zeroed, not only the length
}

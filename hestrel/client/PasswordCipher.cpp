// Hestrel client: password cipher (see PasswordCipher.h).
#include "client/PasswordCipher.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "client/ClientErrors.h"
#include "core/Text.h"

namespace hestrel {

TSecretText::TSecretText(TSecretText&& Other) noexcept : FValue(std::move(Other.FValue)) { Other.Wipe(); }

TSecretText& TSecretText::operator=(TSecretText&& Other) noexcept {
  if (this != &Other) {
    Wipe();
    FValue = std::move(Other.FValue);
    Other.Wipe();
  }
  return *this;
}

TSecretText::~TSecretText() { Wipe(); }

void TSecretText::Wipe() {
  // Wipe the whole buffer (also short-string storage) before letting it go.
  if (FValue.capacity() > 0) sodium_memzero(FValue.data(), FValue.capacity());
  FValue.clear();
}

namespace {

bool ReadAll(int Fd, unsigned char* Data, size_t Size) {
  size_t Done = 0;
  while (Done < Size) {
    ssize_t N = read(Fd, Data + Done, Size - Done);
    if (N < 0 && errno == EINTR) continue;
    if (N <= 0) return false;
    Done += static_cast<size_t>(N);
  }
  unsigned char Extra;
  return read(Fd, &Extra, 1) == 0;  // exactly 32 bytes: anything else is not our key
}

bool WriteAll(int Fd, const unsigned char* Data, size_t Size) {
  size_t Done = 0;
  while (Done < Size) {
    ssize_t N = write(Fd, Data + Done, Size - Done);
    if (N < 0 && errno == EINTR) continue;
    if (N <= 0) return false;
    Done += static_cast<size_t>(N);
  }
  return true;
}

}  // namespace

TPasswordCipher::TPasswordCipher(std::string KeyDirectory) : FKeyDirectory(std::move(KeyDirectory)) {
  if (sodium_init() < 0) FLastError = "libsodium cannot be initialised";
}

std::string TPasswordCipher::KeyFilePath() const {
  return (std::filesystem::path(FKeyDirectory) / PasswordKeyFileName).string();
}

namespace {

/// Reads the key file at Path into Key: a regular file of ours holding exactly 32 bytes. A mode
/// wider than 0600 (a copied or hand-made file) is narrowed rather than refused: the passwords
/// stored under the key must stay usable. Answers false with errno ENOENT when there is none.
bool ReadKeyFile(const std::string& Path, unsigned char* Key) {
  const int Fd = open(Path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (Fd < 0) return false;
  struct stat Info {};
  bool Ok = fstat(Fd, &Info) == 0 && S_ISREG(Info.st_mode) && Info.st_uid == geteuid();
  if (Ok && (Info.st_mode & 077) != 0) (void)fchmod(Fd, 0600);  // best effort (a read-only disk)
  Ok = Ok && ReadAll(Fd, Key, crypto_secretbox_KEYBYTES);
  close(Fd);
  if (!Ok) errno = EINVAL;
  return Ok;
}

/// Makes a new key file at Path: written whole to a private temporary file, then linked into
/// place, so that no process ever reads a half-written key. When another process linked its
/// key first, that one is read instead.
bool CreateKeyFile(const std::string& Path, unsigned char* Key) {
  std::string Temp = Path + ".new-XXXXXX";
  const int Fd = mkostemp(Temp.data(), O_CLOEXEC);  // mode 0600
  if (Fd < 0) return false;
  randombytes_buf(Key, crypto_secretbox_KEYBYTES);
  bool Ok = WriteAll(Fd, Key, crypto_secretbox_KEYBYTES) && fsync(Fd) == 0;
  Ok = close(Fd) == 0 && Ok;
  const bool Linked = Ok && link(Temp.c_str(), Path.c_str()) == 0;
  const int LinkErrno = errno;
  unlink(Temp.c_str());
  if (Linked) {
    // The directory entry must outlive a crash too: stored passwords are enciphered under it.
    if (const int Dir = open(std::filesystem::path(Path).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        Dir >= 0) {
      fsync(Dir);
      close(Dir);
    }
    return true;
  }
  sodium_memzero(Key, crypto_secretbox_KEYBYTES);
  return Ok && LinkErrno == EEXIST && ReadKeyFile(Path, Key);
}

}  // namespace

bool TPasswordCipher::LoadKey(unsigned char* Key) {
  const std::string Path = KeyFilePath();
  std::error_code Ec;
  std::filesystem::create_directories(FKeyDirectory, Ec);
  if (ReadKeyFile(Path, Key) || (errno == ENOENT && CreateKeyFile(Path, Key))) return true;
  sodium_memzero(Key, crypto_secretbox_KEYBYTES);
  FLastError = Format(sErrKeyFile, {Path});
  return false;
}

std::string TPasswordCipher::Encrypt(const std::string& Password) {
  FLastError.clear();
  if (Password.empty()) return "";
  unsigned char Key[crypto_secretbox_KEYBYTES];
  if (!LoadKey(Key)) return "";
  std::vector<unsigned char> Box(crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES + Password.size());
  randombytes_buf(Box.data(), crypto_secretbox_NONCEBYTES);
  crypto_secretbox_easy(Box.data() + crypto_secretbox_NONCEBYTES,
                        reinterpret_cast<const unsigned char*>(Password.data()), Password.size(), Box.data(), Key);
  sodium_memzero(Key, sizeof Key);
  std::string Text(sodium_base64_ENCODED_LEN(Box.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
  sodium_bin2base64(Text.data(), Text.size(), Box.data(), Box.size(), sodium_base64_VARIANT_ORIGINAL);
  Text.resize(Text.size() - 1);  // the terminating NUL
  return PasswordCipherPrefix + Text;
}

bool TPasswordCipher::Decrypt(const std::string& Stored, TSecretText& Clear) {
  FLastError.clear();
  Clear.Wipe();
  const std::string Prefix = PasswordCipherPrefix;
  if (Stored.compare(0, Prefix.size(), Prefix) != 0) {
    FLastError = sErrPasswordFormat;
    return false;
  }
  const std::string Text = Stored.substr(Prefix.size());
  std::vector<unsigned char> Box(Text.size());
  size_t BoxSize = 0;
  if (sodium_base642bin(Box.data(), Box.size(), Text.data(), Text.size(), nullptr, &BoxSize, nullptr,
                        sodium_base64_VARIANT_ORIGINAL) != 0 ||
      BoxSize < crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES) {
    FLastError = sErrPasswordFormat;
    return false;
  }
  unsigned char Key[crypto_secretbox_KEYBYTES];
  if (!LoadKey(Key)) return false;
  const size_t ClearSize = BoxSize - crypto_secretbox_NONCEBYTES - crypto_secretbox_MACBYTES;
  Clear.Mutable().assign(ClearSize, '\0');
  const int Rc = crypto_secretbox_open_easy(reinterpret_cast<unsigned char*>(Clear.Mutable().data()),
                                            Box.data() + crypto_secretbox_NONCEBYTES,
                                            BoxSize - crypto_secretbox_NONCEBYTES, Box.data(), Key);
  sodium_memzero(Key, sizeof Key);
  if (Rc != 0) {
    Clear.Wipe();
    FLastError = Format(sErrPasswordTampered, {KeyFilePath()});
    return false;
  }
  return true;
}

}  // namespace hestrel

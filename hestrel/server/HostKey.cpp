// Hestrel server: host key creation and loading (see HostKey.h).
#include "server/HostKey.h"

#include <fcntl.h>
#include <pwd.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "server/SecretFile.h"

namespace hestrel::server {

namespace {

std::string HomeDir() {
  const char* Home = std::getenv("HOME");
  if (Home != nullptr && *Home != '\0') return Home;
  struct passwd* Entry = ::getpwuid(::getuid());
  return Entry != nullptr && Entry->pw_dir != nullptr ? Entry->pw_dir : "/";
}

/// mkdir -p with mode 0700 for every directory it creates.
bool MakeDirectories(const std::filesystem::path& Dir, std::string& Error) {
  if (Dir.empty() || std::filesystem::is_directory(Dir)) return true;
  if (!MakeDirectories(Dir.parent_path(), Error)) return false;
  if (::mkdir(Dir.c_str(), 0700) != 0 && errno != EEXIST) {
    Error = "cannot create directory " + Dir.string() + ": " + std::strerror(errno);
    return false;
  }
  return true;
}

/// Writes a new ed25519 key as Name in the directory DirFd, mode 0600; fails if the file
/// appeared meanwhile.
bool CreateHostKey(int DirFd, const std::string& Name, const std::string& Path, TSshKey& Key, std::string& Error) {
  ssh_key Raw = nullptr;
  if (ssh_pki_generate(SSH_KEYTYPE_ED25519, 0, &Raw) != SSH_OK) {
    Error = "cannot generate an ed25519 host key";
    return false;
  }
  Key.reset(Raw);
  char* Base64 = nullptr;
  if (ssh_pki_export_privkey_base64(Key.get(), nullptr, nullptr, nullptr, &Base64) != SSH_OK) {
    Error = "cannot encode the new host key";
    return false;
  }
  std::string Text = std::string(Base64) + "\n";
  sodium_memzero(Base64, std::strlen(Base64));
  ssh_string_free_char(Base64);
  TUniqueFd Fd(::openat(DirFd, Name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  std::string Why;
  if (!Fd.Valid()) {
    Why = std::strerror(errno);
  } else {
    ::fchmod(Fd.Get(), 0600);  // the umask cannot widen it, but make the mode exact
    const ssize_t Written = ::write(Fd.Get(), Text.data(), Text.size());
    if (Written < 0)
      Why = std::strerror(errno);
    else if (Written != static_cast<ssize_t>(Text.size()))
      Why = "the file system took only part of it";
    else if (::fsync(Fd.Get()) != 0 || ::close(Fd.Release()) != 0)
      Why = std::strerror(errno);
    if (!Why.empty()) ::unlinkat(DirFd, Name.c_str(), 0);
  }
  const bool Ok = Why.empty();
  if (!Ok) Error = "cannot create host key " + Path + ": " + Why;
  sodium_memzero(Text.data(), Text.size());
  return Ok;
}

bool Fingerprint(const TSshKey& Key, const std::string& Path, std::string& Result, std::string& Error) {
  unsigned char* Hash = nullptr;
  size_t HashLength = 0;
  if (ssh_get_publickey_hash(Key.get(), SSH_PUBLICKEY_HASH_SHA256, &Hash, &HashLength) != SSH_OK) {
    Error = "cannot hash host key " + Path;
    return false;
  }
  char* Text = ssh_get_fingerprint_hash(SSH_PUBLICKEY_HASH_SHA256, Hash, HashLength);
  ssh_clean_pubkey_hash(&Hash);
  if (Text == nullptr) {
    Error = "cannot format the fingerprint of host key " + Path;
    return false;
  }
  Result = Text;
  ssh_string_free_char(Text);
  return true;
}

}  // namespace

std::string DefaultHostKeyPath() {
  const char* DataHome = std::getenv("XDG_DATA_HOME");
  std::string Base = DataHome != nullptr && *DataHome != '\0' ? DataHome : HomeDir() + "/.local/share";
  return Base + "/hestrel/host_key_ed25519";
}

bool LoadHostKey(const std::string& Path, TSshKey& Key, std::string& FingerprintText, std::string& Error) {
  const std::filesystem::path File(Path);
  if (!MakeDirectories(File.parent_path(), Error)) return false;
  const std::string Dir = File.parent_path().empty() ? "." : File.parent_path().string();
  TUniqueFd DirFd(::open(Dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!DirFd.Valid()) {
    Error = "cannot open the directory of host key " + Path + ": " + std::strerror(errno);
    return false;
  }
  if (!CheckSecretDirectory(DirFd.Get(), "host key", Path, Error)) return false;
  const std::string Name = File.filename().string();
  std::string Text;
  bool Missing = false;
  if (!ReadSecretFile(DirFd.Get(), Name, "host key", Path, Text, Error, &Missing)) {
    if (!Missing || !CreateHostKey(DirFd.Get(), Name, Path, Key, Error)) return false;
  } else {
    ssh_key Raw = nullptr;
    const bool Imported = ssh_pki_import_privkey_base64(Text.c_str(), nullptr, nullptr, nullptr, &Raw) == SSH_OK;
    sodium_memzero(Text.data(), Text.size());
    if (!Imported) {
      Error = "cannot load host key " + Path + ": it holds no private key in OpenSSH format without a passphrase";
      return false;
    }
    Key.reset(Raw);
  }
  return Fingerprint(Key, Path, FingerprintText, Error);
}

}  // namespace hestrel::server

// Hestrel server: host key creation and loading (see HostKey.h).
#include "server/HostKey.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "server/Handles.h"

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

/// Writes Text to a new file with mode 0600; fails if the file appeared meanwhile.
bool WriteNewPrivateFile(const std::string& Path, const std::string& Text, std::string& Error) {
  int Fd = ::open(Path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (Fd < 0) {
    Error = "cannot create host key " + Path + ": " + std::strerror(errno);
    return false;
  }
  ::fchmod(Fd, 0600);  // the umask cannot widen it, but make the mode exact
  bool Ok = ::write(Fd, Text.data(), Text.size()) == static_cast<ssize_t>(Text.size()) && ::fsync(Fd) == 0;
  int WriteErrno = errno;
  Ok = (::close(Fd) == 0) && Ok;
  if (!Ok) {
    Error = "cannot write host key " + Path + ": " + std::strerror(WriteErrno);
    ::unlink(Path.c_str());
  }
  return Ok;
}

bool CreateHostKey(const std::string& Path, std::string& Error) {
  if (!MakeDirectories(std::filesystem::path(Path).parent_path(), Error)) return false;
  ssh_key Raw = nullptr;
  if (ssh_pki_generate(SSH_KEYTYPE_ED25519, 0, &Raw) != SSH_OK) {
    Error = "cannot generate an ed25519 host key";
    return false;
  }
  TSshKey Key(Raw);
  char* Base64 = nullptr;
  if (ssh_pki_export_privkey_base64(Key.get(), nullptr, nullptr, nullptr, &Base64) != SSH_OK) {
    Error = "cannot encode the new host key";
    return false;
  }
  std::string Text = std::string(Base64) + "\n";
  ssh_string_free_char(Base64);
  return WriteNewPrivateFile(Path, Text, Error);
}

bool Fingerprint(const std::string& Path, std::string& Result, std::string& Error) {
  ssh_key Raw = nullptr;
  if (ssh_pki_import_privkey_file(Path.c_str(), nullptr, nullptr, nullptr, &Raw) != SSH_OK) {
    Error = "cannot load host key " + Path;
    return false;
  }
  TSshKey Key(Raw);
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

bool PrepareHostKey(const std::string& Path, std::string& FingerprintText, std::string& Error) {
  struct stat Info {};
  if (::stat(Path.c_str(), &Info) != 0) {
    if (errno != ENOENT) {
      Error = "cannot examine host key " + Path + ": " + std::strerror(errno);
      return false;
    }
    if (!CreateHostKey(Path, Error)) return false;
  } else if ((Info.st_mode & 077) != 0) {
    // A private key others can read is no longer private: refuse it, as sshd does.
    Error = "host key " + Path + " is accessible by group or others (chmod 600 it)";
    return false;
  }
  return Fingerprint(Path, FingerprintText, Error);
}

}  // namespace hestrel::server

// Hestrel server: password file and password check (see Authenticator.h).
#include "server/Authenticator.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace hestrel::server {

namespace {

bool ReadWhole(int Fd, std::string& Text) {
  char Buffer[4096];
  for (;;) {
    ssize_t N = ::read(Fd, Buffer, sizeof Buffer);
    if (N < 0 && errno == EINTR) continue;
    if (N < 0) return false;
    if (N == 0) return true;
    Text.append(Buffer, static_cast<std::size_t>(N));
    if (Text.size() > 65536) return true;  // only the first line matters
  }
}

}  // namespace

bool ReadPasswordFile(const std::string& Path, std::string& Password, std::string& Error) {
  Password.clear();
  int Fd = ::open(Path.c_str(), O_RDONLY | O_CLOEXEC);
  if (Fd < 0) {
    Error = "cannot open password file " + Path + ": " + std::strerror(errno);
    return false;
  }
  struct stat Info {};
  std::string Text;
  bool Read = ::fstat(Fd, &Info) == 0 && ReadWhole(Fd, Text);
  int ReadErrno = errno;
  ::close(Fd);
  if (!Read) {
    Error = "cannot read password file " + Path + ": " + std::strerror(ReadErrno);
    return false;
  }
  if ((Info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    Error = "password file " + Path + " is accessible by group or others; restrict it with: chmod 600 " + Path;
    return false;
  }
  std::size_t End = Text.find('\n');
  Password = Text.substr(0, End);
  if (!Password.empty() && Password.back() == '\r') Password.pop_back();
  sodium_memzero(Text.data(), Text.size());
  if (Password.empty()) {
    Error = "password file " + Path + " holds no password on its first line";
    return false;
  }
  return true;
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

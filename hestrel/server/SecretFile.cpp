// Hestrel server: safe reading of secret files (see SecretFile.h).
#include "server/SecretFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/UniqueFd.h"

namespace hestrel::server {

namespace {

std::string OwnerText(uid_t Owner) {
  return "belongs to uid " + std::to_string(Owner) + ", not to the user running hestrel (uid " +
         std::to_string(::geteuid()) + ")";
}

}  // namespace

bool ReadSecretFile(int DirFd, const std::string& Name, const std::string& What, const std::string& Path,
                    std::string& Text, std::string& Error, bool* Missing) {
  Text.clear();
  if (Missing != nullptr) *Missing = false;
  TUniqueFd Fd(::openat(DirFd, Name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!Fd.Valid()) {
    const int OpenErrno = errno;
    if (Missing != nullptr) *Missing = OpenErrno == ENOENT;
    Error = OpenErrno == ELOOP ? What + " " + Path + " is a symbolic link; give the file itself"
                               : "cannot open " + What + " " + Path + ": " + std::strerror(OpenErrno);
    return false;
  }
  struct stat Info {};
  if (::fstat(Fd.Get(), &Info) != 0) {
    Error = "cannot examine " + What + " " + Path + ": " + std::strerror(errno);
    return false;
  }
  if (!S_ISREG(Info.st_mode)) {
    Error = What + " " + Path + " is not a regular file";
    return false;
  }
  if (Info.st_uid != ::geteuid()) {
    Error = What + " " + Path + " " + OwnerText(Info.st_uid);
    return false;
  }
  if ((Info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    Error = What + " " + Path + " is accessible by group or others; restrict it with: chmod 600 " + Path;
    return false;
  }
  Text.resize(SecretFileLimit);
  std::size_t Done = 0;
  while (Done < Text.size()) {
    const ssize_t N = ::read(Fd.Get(), Text.data() + Done, Text.size() - Done);
    if (N < 0 && errno == EINTR) continue;
    if (N < 0) {
      Error = "cannot read " + What + " " + Path + ": " + std::strerror(errno);
      return false;
    }
    if (N == 0) break;
    Done += static_cast<std::size_t>(N);
  }
  Text.resize(Done);  // shrinks in place
  return true;
}

bool CheckSecretDirectory(int DirFd, const std::string& What, const std::string& Path, std::string& Error) {
  struct stat Info {};
  if (::fstat(DirFd, &Info) != 0) {
    Error = "cannot examine the directory of " + What + " " + Path + ": " + std::strerror(errno);
    return false;
  }
  if ((Info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    Error = "the directory of " + What + " " + Path + " is writable by group or others, so the file could be " +
            "replaced; use a private directory";
    return false;
  }
  if (Info.st_uid != ::geteuid() && Info.st_uid != 0) {
    Error = "the directory of " + What + " " + Path + " " + OwnerText(Info.st_uid);
    return false;
  }
  return true;
}

}  // namespace hestrel::server

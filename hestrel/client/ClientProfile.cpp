// Hestrel client: the profile object (see ClientProfile.h).
#include "client/ClientProfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <algorithm>

#include "common/AtomicFile.h"
#include "common/UniqueFd.h"
#include "host/HostServices.h"

namespace {

std::string ReadFailure(const std::string& FileName, const std::string& Reason) {
  return "Cannot read profile file '" + FileName + "': " + Reason;
}

/// The whole file, at most MaxProfileFileSize + 1 bytes (more means: too big). One open, and a
/// buffer sized from the file: loading 10,000 profiles reads 10,000 of these files. O_NONBLOCK
/// so that a FIFO given as the file name is refused instead of waited on.
bool ReadWholeFile(const std::string& FileName, std::string& Text, std::string& Error) {
  const hestrel::TUniqueFd File(::open(FileName.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (File.Get() < 0) return Error = std::strerror(errno), false;
  struct stat Info {};
  if (::fstat(File.Get(), &Info) != 0) return Error = std::strerror(errno), false;
  if (!S_ISREG(Info.st_mode)) return Error = "not a regular file", false;
  if (static_cast<std::uintmax_t>(Info.st_size) > hestrel::MaxProfileFileSize)
    return Error = "the file is larger than 1 MiB; a profile file is never that big", false;
  // One byte more than the size, so a file that grew since fstat is still seen whole up to the
  // limit; a file that grew past the limit fails the parse.
  Text.resize(static_cast<std::size_t>(Info.st_size) + 1);
  std::size_t Done = 0;
  for (;;) {
    if (Done == Text.size()) {
      if (Text.size() > hestrel::MaxProfileFileSize) break;
      Text.resize(std::min(Text.size() * 2, hestrel::MaxProfileFileSize + 1));
    }
    const ssize_t Got = ::read(File.Get(), Text.data() + Done, Text.size() - Done);
    if (Got < 0 && errno == EINTR) continue;
    if (Got < 0) return Error = "the file cannot be read", false;
    if (Got == 0) break;
    Done += static_cast<std::size_t>(Got);
  }
  Text.resize(Done);
  return true;
}

}  // namespace

bool THestrelClientProfile::ReadProfileSettings(const std::string& FileName) {
  std::string Text, Error;
  if (FileName.empty()) {
    FLastError = "Cannot read a profile file without a name";
    return false;
  }
  if (!ReadWholeFile(FileName, Text, Error)) {
    FLastError = ReadFailure(FileName, Error);
    return false;
  }
  return ReadProfileText(Text, FileName);
}

bool THestrelClientProfile::ReadProfileText(std::string_view Text, const std::string& FileName) {
  hestrel::TProfileFileData Read;  // parsed apart, taken only whole
  std::string Error;
  if (!hestrel::ParseProfileText(Text, Read, Error)) {
    FLastError = ReadFailure(FileName, Error);
    return false;
  }
  FData = std::move(Read);
  FLastError.clear();
  return true;
}

namespace {

/// True when FileName is already a plain file of mode 0600 holding exactly Text: saving it again
/// would change nothing on disk. Every commit of the options page saves every profile file, and
/// an atomic write costs two fsyncs, so unchanged files are left alone.
bool AlreadyHolds(const std::string& FileName, const std::string& Text) {
  struct stat Info {};
  if (::lstat(FileName.c_str(), &Info) != 0 || !S_ISREG(Info.st_mode) || (Info.st_mode & 07777) != 0600) return false;
  if (static_cast<std::uintmax_t>(Info.st_size) != Text.size()) return false;
  std::string Held, Error;
  return ReadWholeFile(FileName, Held, Error) && Held == Text;
}

}  // namespace

bool THestrelClientProfile::SaveProfileSettings(const std::string& FileName) {
  const std::string Text = hestrel::WriteProfileText(FData);
  if (AlreadyHolds(FileName, Text)) {
    FLastError.clear();
    return true;
  }
  const hestrel::TAtomicWriteResult Result = hestrel::AtomicWriteFile(FileName, Text, 0600);
  FLastError = Result.Error;
  return Result.Ok();
}

void THestrelClientProfile::SetIncludePath(const TRAPathItems& Items, TIncludePathKind Kind) {
  const auto K = static_cast<std::size_t>(Kind);
  if (K < FData.Paths.size()) FData.Paths[K] = Items;
}

TRAPathItems THestrelClientProfile::GetIncludePath(TIncludePathKind Kind) const {
  const auto K = static_cast<std::size_t>(Kind);
  return K < FData.Paths.size() ? FData.Paths[K] : TRAPathItems{};
}

std::string THestrelClientProfile::GetSysRoot(bool Expand) const {
  const auto& Environment = HostServices().Environment;
  return Expand && Environment ? Environment->ExpandRootMacro(FData.SysRoot) : FData.SysRoot;
}

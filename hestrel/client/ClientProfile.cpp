// Hestrel client (Part 2.2): the profile object (see ClientProfile.h).
#include "client/ClientProfile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include "common/AtomicFile.h"
#include "host/HostServices.h"

namespace {

std::string ReadFailure(const std::string& FileName, const std::string& Reason) {
  return "Cannot read profile file '" + FileName + "': " + Reason;
}

/// The whole file, at most MaxProfileFileSize + 1 bytes (more means: too big).
bool ReadWholeFile(const std::string& FileName, std::string& Text, std::string& Error) {
  struct stat Info {};
  if (::stat(FileName.c_str(), &Info) != 0) return Error = std::strerror(errno), false;
  if (!S_ISREG(Info.st_mode)) return Error = "not a regular file", false;
  if (static_cast<std::uintmax_t>(Info.st_size) > hestrel::MaxProfileFileSize)
    return Error = "the file is larger than 1 MiB; a profile file is never that big", false;
  std::ifstream In(FileName, std::ios::binary);
  if (!In) return Error = std::strerror(errno), false;
  Text.resize(hestrel::MaxProfileFileSize + 1);
  In.read(Text.data(), static_cast<std::streamsize>(Text.size()));
  if (In.bad()) return Error = "the file cannot be read", false;
  Text.resize(static_cast<std::size_t>(In.gcount()));  // a file that grew past the limit fails the parse
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

bool THestrelClientProfile::SaveProfileSettings(const std::string& FileName) {
  const hestrel::TAtomicWriteResult Result = hestrel::AtomicWriteFile(FileName, hestrel::WriteProfileText(FData), 0600);
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

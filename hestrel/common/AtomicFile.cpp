// Atomic whole-file replacement (see AtomicFile.h).
#include "common/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <utility>

namespace hestrel {
namespace {

TAtomicWriteHook& Hook() {
  static TAtomicWriteHook Installed;
  return Installed;
}

std::string Failure(const std::string& FileName, const std::string& Step, int Error) {
  return "Cannot save '" + FileName + "': " + Step + ": " + std::strerror(Error);
}

bool WriteAll(int Fd, std::string_view Data) {
  while (!Data.empty()) {
    const ssize_t N = ::write(Fd, Data.data(), Data.size());
    if (N < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    Data.remove_prefix(static_cast<std::size_t>(N));
  }
  return true;
}

/// The temporary file's name for a target named Name: "." + Name + ".tmp-XXXXXX", hidden and
/// never a name a reader looks for. A Name too long for that loses part of its middle (cut at
/// a UTF-8 character boundary) so the whole is at most NAME_MAX bytes: a target whose own name
/// fits must not fail with "File name too long" because of its temporary file, and the kept
/// extension still tells a later sweep of stale temporaries whose file it was.
std::string TempNamePattern(const std::string& Name) {
  static constexpr std::string_view Suffix = ".tmp-XXXXXX";
  constexpr std::size_t MaxCopied = NAME_MAX - 1 - Suffix.size();
  std::string Pattern(1, '.');
  if (Name.size() <= MaxCopied) return Pattern.append(Name).append(Suffix);
  const std::size_t Dot = Name.rfind('.');
  const std::string_view Extension =
      Dot != std::string::npos && Name.size() - Dot <= 32 ? std::string_view(Name).substr(Dot) : std::string_view();
  std::size_t Head = MaxCopied - Extension.size();
  while (Head > 0 && (static_cast<unsigned char>(Name[Head]) & 0xC0) == 0x80) --Head;  // not mid-character
  return Pattern.append(Name, 0, Head).append(Extension).append(Suffix);
}

/// Flushes the directory so that the rename itself survives a crash.
bool SyncDirectory(const std::string& Dir) {
  const int Fd = ::open(Dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (Fd < 0) return false;
  const bool Ok = ::fsync(Fd) == 0 || errno == EINVAL;  // some file systems cannot sync directories
  ::close(Fd);
  return Ok;
}

/// Owns the temporary file until it is renamed: closes and unlinks it on every failure.
class TTempFile {
 public:
  explicit TTempFile(std::string Pattern) : FName(std::move(Pattern)) {
    FFd = ::mkostemp(FName.data(), O_CLOEXEC);
    if (FFd < 0) FName.clear();
  }
  TTempFile(const TTempFile&) = delete;
  TTempFile& operator=(const TTempFile&) = delete;
  ~TTempFile() {
    if (FFd >= 0) ::close(FFd);
    if (!FName.empty()) ::unlink(FName.c_str());
  }
  int Fd() const { return FFd; }
  const std::string& Name() const { return FName; }
  /// Closes the descriptor; false (errno) when the close reports a late write error.
  bool Close() {
    const int Fd = std::exchange(FFd, -1);
    return ::close(Fd) == 0;
  }
  /// The file was renamed into place: nothing left to remove.
  void Release() { FName.clear(); }

 private:
  std::string FName;
  int FFd = -1;
};

}  // namespace

void SetAtomicWriteHookForTesting(TAtomicWriteHook NewHook) { Hook() = std::move(NewHook); }

TAtomicWriteResult AtomicWriteFile(const std::string& FileName, std::string_view Contents, mode_t Mode) {
  if (FileName.empty()) return {"Cannot save a file without a name"};
  const std::filesystem::path Target(FileName);
  const std::string Dir = Target.has_parent_path() ? Target.parent_path().string() : std::string(1, '.');
  const std::string TempName = TempNamePattern(Target.filename().string());

  TTempFile Temp((std::filesystem::path(Dir) / TempName).string());
  if (Temp.Fd() < 0) return {Failure(FileName, "cannot create a temporary file in '" + Dir + "'", errno)};
  if (::fchmod(Temp.Fd(), Mode) != 0) return {Failure(FileName, "cannot set the mode of the temporary file", errno)};
  if (!WriteAll(Temp.Fd(), Contents)) return {Failure(FileName, "cannot write the temporary file", errno)};
  if (::fsync(Temp.Fd()) != 0) return {Failure(FileName, "cannot flush the temporary file", errno)};
  if (!Temp.Close()) return {Failure(FileName, "cannot close the temporary file", errno)};
  if (Hook()) {
    const std::string Refusal = Hook()(Temp.Name(), FileName);
    if (!Refusal.empty()) return {"Cannot save '" + FileName + "': " + Refusal};
  }
  if (::rename(Temp.Name().c_str(), FileName.c_str()) != 0)
    return {Failure(FileName, "cannot replace the file", errno)};
  Temp.Release();
  if (!SyncDirectory(Dir)) return {Failure(FileName, "saved, but cannot flush the directory '" + Dir + "'", errno)};
  return {};
}

}  // namespace hestrel

// Hestrel client, GetFiles: where remote files may land locally. Nothing from
// the remote side may write outside the local root: names are checked here, and files
// are written whole (temporary name, then rename) by TLocalTempFile.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/UniqueFd.h"
#include "host/AgentClient.h"

namespace hestrel {

/// A single directory entry name that is safe to append: not empty, not "." or "..",
/// no '/' and no NUL.
bool IsSafeEntryName(std::string_view Name);

/// A relative "/"-separated path whose every component is a safe entry name.
bool IsSafeRelativePath(std::string_view Path);

/// Normalises a remote path for mapping under the local root: empty and "." components
/// dropped; false when a component is ".." (it could climb out of the root).
bool NormaliseRemotePath(std::string_view RemotePath, std::string& Normalised);

/// The local place of a remote path: Root + "/" + the normalised remote path. False
/// (Local untouched) when the remote path is unsafe.
bool LocalPathUnderRoot(const std::string& Root, std::string_view RemotePath, std::string& Local);

/// Resolves a symbolic link's target lexically against the directory holding the link
/// (both remote, absolute or relative to the login directory); "" when it climbs above
/// the file-system root.
std::string ResolveLinkTarget(std::string_view LinkDirectory, std::string_view Target);

/// True when Path is Tree itself or lies below it (both normalised, "/"-separated).
bool IsWithinTree(std::string_view Tree, std::string_view Path);

/// The relative path from directory From to Path (both normalised, Path within the same
/// tree): e.g. ("a/b", "a/c/d") -> "../c/d".
std::string RelativePath(std::string_view From, std::string_view Path);

/// The directory Relative ("/"-separated safe names, "" for the root itself) below the open
/// directory RootFd, made where missing (0755) without ever leaving the root: each component
/// is made by mkdirat in its parent, itself opened beneath the root, and opened with
/// openat2(RESOLVE_BENEATH), so a symbolic link on the way may only lead to a place inside the
/// root; where the kernel has no openat2, no symbolic link is followed at all. Answers the open
/// directory, or an invalid descriptor with Errno (EXDEV or ELOOP: a link leads out of the root).
TUniqueFd OpenDirectoryBeneath(int RootFd, std::string_view Relative, int& Errno);

/// True when Root is Dir or one of its parents, symbolic links resolved (as far as each exists).
bool LocalPathHolds(const std::string& Root, const std::string& Dir);

/// Size and modification time of a local regular file; false when absent.
bool LocalFileInfo(const std::string& Path, std::int64_t& Size, std::int64_t& ModifiedSeconds,
                   std::int32_t& ModifiedNanoseconds);

/// Whether two modification times are the same, at the finest resolution both sides give: to
/// the nanosecond when the remote listing carried a fraction (RemoteNanoseconds >= 0) and the
/// local file has one (not 0: a copy written from whole seconds has none), else in whole seconds.
bool SameModificationTime(std::int64_t LocalSeconds, std::int32_t LocalNanoseconds, std::int64_t RemoteSeconds,
                          std::int32_t RemoteNanoseconds);

TDateTime FromUnixSeconds(std::int64_t Seconds);

/// A temporary file in the destination's directory; removed on destruction unless
/// Commit renamed it to its final name.
class TLocalTempFile {
 public:
  explicit TLocalTempFile(const std::string& FinalPath);
  TLocalTempFile(const TLocalTempFile&) = delete;
  TLocalTempFile& operator=(const TLocalTempFile&) = delete;
  ~TLocalTempFile();
  bool IsOpen() const { return FFd >= 0; }
  int GetErrno() const { return FErrno; }
  /// Appends Size bytes; false (GetErrno) on failure.
  bool Write(const void* Data, std::size_t Size);
  /// Closes, sets the modification time and renames over the final path.
  bool Commit(std::int64_t ModifiedSeconds, std::int32_t ModifiedNanoseconds = 0);
  const std::string& GetTempPath() const { return FTempPath; }

 private:
  std::string FFinalPath;
  std::string FTempPath;
  int FFd = -1;
  int FErrno = 0;
  bool FCommitted = false;
};

/// The hidden name a file named Name is written under until it is whole (locally by
/// TLocalTempFile, remotely by uploads): ".NAME.XXXXXXXX.hestrel-part", NAME cut to 200 bytes,
/// XXXXXXXX eight random lowercase hexadecimal digits.
std::string TemporaryName(std::string_view Name);
/// True for a name TemporaryName gives (NAME not empty).
bool IsTemporaryName(std::string_view Name);

/// Temporary files older than this are leftovers of a process that was killed.
inline constexpr std::int64_t StaleTemporarySeconds = 3600;

/// A regular file named Name that IsTemporaryName and was last written more than
/// StaleTemporarySeconds before Now: left by a killed process (a live writer writes more often).
bool IsStaleTemporaryFile(std::string_view Name, std::int64_t ModifiedSeconds, std::int64_t NowSeconds);

/// Removes from the open directory DirFd its stale temporary files (IsStaleTemporaryFile;
/// nothing else, nothing below it). Answers how many.
int RemoveStaleTemporaryFiles(int DirFd);

/// The error text of a local errno for File (permission denied, disk full, other).
std::string LocalErrorText(const std::string& File, int Errno);

}  // namespace hestrel

// Atomic replacement of a file (the reference host's settings file, build-environment
// file): write a temporary file in the same directory, fsync it, rename it over the
// target, fsync the directory. Either the whole new content is in place or the old file
// is left exactly as it was.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace LinuxHost {

/// Empty Error means success.
struct TAtomicWriteResult {
  std::string Error;
  bool Ok() const { return Error.empty(); }
};

/// Replaces FileName by Contents. A new file gets CreateMode; an existing file keeps its
/// mode. A symbolic link is followed, so the file it names is replaced and the link stays.
/// On failure the temporary file is removed and Error says which step failed and why,
/// naming FileName ("Cannot save '/x/settings.ini': ...").
TAtomicWriteResult AtomicWriteFile(const std::string& FileName, std::string_view Contents, mode_t CreateMode = 0600);

/// Test seam: called after the temporary file is written and synced and before it is
/// renamed over the target. A non-empty answer makes the write fail with that text as the
/// reason (the temporary file is removed). Pass nullptr to remove the hook.
using TAtomicWriteHook = std::function<std::string(const std::string& TempFileName, const std::string& FileName)>;
void SetAtomicWriteHookForTesting(TAtomicWriteHook Hook);

}  // namespace LinuxHost

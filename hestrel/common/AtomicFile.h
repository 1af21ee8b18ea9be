// Atomic replacement of a whole file (profile files; reusable by any writer that
// must never leave half a file behind): the content goes to a temporary file in the same
// directory, which is flushed (fsync), given its mode and renamed over the target; the
// directory is flushed too. Either the whole new content is in place or the old file is
// left exactly as it was, and the temporary file never outlives a failed write.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>

namespace hestrel {

/// Empty Error means success.
struct TAtomicWriteResult {
  std::string Error;
  bool Ok() const { return Error.empty(); }
};

/// Replaces FileName by Contents; the file ends with exactly Mode (also when it existed
/// with another mode: the caller decides, e.g. 0600 for files that hold credentials). A
/// symbolic link at FileName is replaced by the file, not followed. On failure Error says
/// which step failed and why, naming FileName ("Cannot save '/x/a.profile': ...").
/// The temporary file is "." + the target's name + ".tmp-" + 6 random characters; a name too
/// long for that loses part of its middle (at a character boundary, its extension kept) so
/// the whole is at most NAME_MAX (255) bytes.
TAtomicWriteResult AtomicWriteFile(const std::string& FileName, std::string_view Contents, mode_t Mode = 0600);

/// Test seam: called after the temporary file is written and flushed and before it is
/// renamed over the target. A non-empty answer makes the write fail with that text as the
/// reason (the temporary file is removed). Pass nullptr to remove the hook.
using TAtomicWriteHook = std::function<std::string(const std::string& TempFileName, const std::string& FileName)>;
void SetAtomicWriteHookForTesting(TAtomicWriteHook Hook);

}  // namespace hestrel

// The reference host's policy for replacing its own files (settings file, build-environment
// file) over the shared atomic write of hestrel/common/AtomicFile.h (temporary file in the
// same directory, fsync, rename, fsync of the directory): a symbolic link is followed, so
// the file it names is replaced and the link stays; an existing file keeps the bits of its
// mode that KeepMask allows (the settings file, which holds enciphered passwords, keeps at
// most 0600); a new one gets CreateMode. Failures are the shared helper's, with its test hook
// (hestrel::SetAtomicWriteHookForTesting) failing a write before the rename.
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

#include "common/AtomicFile.h"

namespace LinuxHost {

using hestrel::TAtomicWriteResult;

/// Replaces FileName (or the file its symbolic link names) by Contents atomically. On
/// failure the old file is left as it was; Error names the file replaced and the step.
/// The new file's mode: CreateMode when there was none, else the old mode & KeepMask.
TAtomicWriteResult AtomicWriteFile(const std::string& FileName, std::string_view Contents, mode_t CreateMode = 0600,
                                   mode_t KeepMask = 07777);

}  // namespace LinuxHost

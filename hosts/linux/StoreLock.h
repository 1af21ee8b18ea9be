// The reference host's writer lock: the writers of one settings store take an advisory lock
// (flock) on a lock file beside the settings file, then on the application-data directory
// that holds its profile files, and hold both from load to commit, so one writer's change is
// never written over by another that loaded before it. Readers take no lock: every file is
// replaced whole, and the loader trusts a profile file only where it agrees with the committed
// settings file (docs/DECISIONS.md).
#pragma once

#include <time.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class TStoreLock {
 public:
  /// Locks SettingsFileName + ".lock" (created mode 0600 when missing), then the directory
  /// DataDir, waiting at most Timeout for both together. nullptr when they could not be had
  /// in time, with Error naming the lock file and what to do.
  static std::unique_ptr<TStoreLock> Acquire(const std::string& SettingsFileName, const std::string& DataDir,
                                             std::chrono::milliseconds Timeout, std::string& Error);
  ~TStoreLock();
  TStoreLock(const TStoreLock&) = delete;
  TStoreLock& operator=(const TStoreLock&) = delete;

  /// When both locks were held: a file last changed before it was written by a writer that
  /// held them before this one, and every such writer has finished or died.
  const timespec& AcquiredAt() const { return FAcquiredAt; }

 private:
  TStoreLock() = default;
  std::vector<int> FDescriptors;
  timespec FAcquiredAt{};
};

namespace LinuxHost {

/// The name of a store's lock file: the settings file's own name + ".lock".
std::string StoreLockFileName(const std::string& SettingsFileName);

/// Removes the temporary files that an atomic write leaves in Dir when its process is killed
/// before the rename ("." + the target's name + ".tmp-" + six letters or digits), for targets
/// whose name IsOwnKind accepts: only regular files of this user, last changed before Before,
/// so a live writer's file is never touched. Answers how many were removed.
int RemoveStaleTemporaries(const std::string& Dir, const std::function<bool(std::string_view)>& IsOwnKind,
                           const timespec& Before);

}  // namespace LinuxHost

// The reference host's writer lock and the removal of stale temporaries (see StoreLock.h).
#include "hosts/linux/StoreLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <thread>

namespace {

constexpr std::string_view TempMarker = ".tmp-";
constexpr std::size_t TempRandomLength = 6;

/// Takes an exclusive flock on Fd, trying until Deadline.
bool LockUntil(int Fd, std::chrono::steady_clock::time_point Deadline) {
  for (;;) {
    if (::flock(Fd, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK && errno != EINTR) return false;
    if (std::chrono::steady_clock::now() >= Deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

bool Before(const timespec& A, const timespec& B) {
  return A.tv_sec < B.tv_sec || (A.tv_sec == B.tv_sec && A.tv_nsec < B.tv_nsec);
}

/// "." + a target's name IsOwnKind accepts + ".tmp-" + six letters or digits.
bool IsTemporaryOf(const std::string& Name, const std::function<bool(std::string_view)>& IsOwnKind) {
  if (Name.size() < 1 + TempMarker.size() + TempRandomLength || Name.front() != '.') return false;
  const std::size_t Marker = Name.size() - TempRandomLength - TempMarker.size();
  if (Name.compare(Marker, TempMarker.size(), TempMarker) != 0) return false;
  for (std::size_t I = Marker + TempMarker.size(); I < Name.size(); ++I)
    if (!std::isalnum(static_cast<unsigned char>(Name[I]))) return false;
  return IsOwnKind(std::string_view(Name).substr(1, Marker - 1));
}

}  // namespace

namespace LinuxHost {

std::string StoreLockFileName(const std::string& SettingsFileName) { return SettingsFileName + ".lock"; }

int RemoveStaleTemporaries(const std::string& Dir, const std::function<bool(std::string_view)>& IsOwnKind,
                           const timespec& Before) {
  int Removed = 0;
  std::error_code Ec;
  for (const auto& Entry : std::filesystem::directory_iterator(Dir, Ec)) {
    const std::string Name = Entry.path().filename().string();
    if (!IsTemporaryOf(Name, IsOwnKind)) continue;
    struct stat Info {};
    if (::lstat(Entry.path().c_str(), &Info) != 0 || !S_ISREG(Info.st_mode) || Info.st_uid != ::geteuid()) continue;
    if (!::Before(Info.st_mtim, Before)) continue;
    if (::unlink(Entry.path().c_str()) == 0) ++Removed;
  }
  return Removed;
}

}  // namespace LinuxHost

std::unique_ptr<TStoreLock> TStoreLock::Acquire(const std::string& SettingsFileName, const std::string& DataDir,
                                                std::chrono::milliseconds Timeout, std::string& Error) {
  const auto Deadline = std::chrono::steady_clock::now() + Timeout;
  std::unique_ptr<TStoreLock> Lock(new TStoreLock);
  const std::string LockFile = LinuxHost::StoreLockFileName(SettingsFileName);
  const struct {
    std::string Path;
    int Flags;
  } Targets[] = {{LockFile, O_RDWR | O_CREAT}, {DataDir, O_RDONLY | O_DIRECTORY}};
  for (const auto& Target : Targets) {
    const int Fd = ::open(Target.Path.c_str(), Target.Flags | O_CLOEXEC, 0600);
    if (Fd < 0) {
      Error = "Cannot lock the settings store: cannot open '" + Target.Path + "': " + std::strerror(errno);
      return nullptr;
    }
    Lock->FDescriptors.push_back(Fd);
    if (!LockUntil(Fd, Deadline)) {
      Error = errno == EWOULDBLOCK || errno == EINTR
                  ? "Settings file '" + SettingsFileName + "' is being changed by another program (it holds '" +
                        Target.Path + "' locked); nothing was changed, try again when it has finished"
                  : "Cannot lock '" + Target.Path + "': " + std::strerror(errno);
      return nullptr;
    }
  }
  ::clock_gettime(CLOCK_REALTIME, &Lock->FAcquiredAt);
  return Lock;
}

TStoreLock::~TStoreLock() {
  for (int Fd : FDescriptors) ::close(Fd);
}

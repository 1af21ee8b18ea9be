// Hestrel server: signals as readable file descriptors. SIGTERM, SIGINT, SIGHUP and SIGCHLD
// are blocked and read from a signalfd, so that they wake the poll loops instead of
// interrupting them (libssh treats an interrupted poll as an error).
#pragma once

#include "server/Handles.h"

namespace hestrel::server {

class TSignalFd {
 public:
  /// Blocks the four signals and opens a non-blocking signalfd for them.
  TSignalFd();
  int Fd() const { return FFd.Get(); }
  void Close() { FFd.Reset(); }
  bool Valid() const { return FFd.Valid(); }
  /// The next pending signal number, or 0 when none is pending.
  int Next();

 private:
  TUniqueFd FFd;
};

/// Blocks (true) or unblocks SIGTERM, SIGINT and SIGHUP. Unblocked, they act by default
/// (end the process): used around the key exchange, which cannot watch the signalfd.
void BlockStopSignals(bool Blocked);

/// SIGPIPE is ignored process-wide: a closed pipe or socket is seen as EPIPE.
void IgnoreSigPipe();

}  // namespace hestrel::server

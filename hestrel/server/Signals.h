// Hestrel server: signals as readable file descriptors. SIGTERM, SIGINT, SIGHUP, SIGCHLD and
// SIGUSR1 (a connection logged in) are blocked and read from a signalfd, so that they wake the poll loops instead of
// interrupting them (libssh treats an interrupted poll as an error).
#pragma once

#include "server/Handles.h"

namespace hestrel::server {

class TSignalFd {
 public:
  /// Blocks the five signals and opens a non-blocking signalfd for them.
  TSignalFd();
  int Fd() const { return FFd.Get(); }
  void Close() { FFd.Reset(); }
  bool Valid() const { return FFd.Valid(); }
  /// The next pending signal number, or 0 when none is pending; Sender gets the sending
  /// process when asked.
  int Next(pid_t* Sender = nullptr);

 private:
  TUniqueFd FFd;
};

/// Blocks (true) or unblocks SIGTERM, SIGINT and SIGHUP. Unblocked, they act by default
/// (end the process): used around the key exchange, which cannot watch the signalfd.
void BlockStopSignals(bool Blocked);

/// SIGPIPE is ignored process-wide: a closed pipe or socket is seen as EPIPE.
void IgnoreSigPipe();

/// In a freshly forked child that is about to exec: default dispositions and an empty mask.
void ResetSignalsForExec();

}  // namespace hestrel::server

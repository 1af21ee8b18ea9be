// Hestrel client: tunables of the client, given to the factory.
#pragma once

#include <functional>
#include <string>

namespace hestrel {

struct THestrelClientOptions {
  /// Bound on connecting (TCP, banner, key exchange); a silent host fails after it.
  int ConnectTimeoutSeconds = 10;
  /// Set: connecting (TCP, key exchange, host-key check, authentication) runs on a thread of its
  /// own while the calling thread calls this every 25 ms until it is done, e.g. to keep a window
  /// drawn. The session is only touched by one thread at a time, and the listener is only asked
  /// on the calling thread. Empty: connecting blocks the calling thread.
  std::function<void()> WhileWaiting;
  /// Bound on each wait for the server once connected (a hung server fails after it).
  int OperationTimeoutSeconds = 120;
  /// Where public-key authentication looks for id_* keys; empty: libssh's default (~/.ssh).
  std::string SshDirectory;
  /// Trees are listed with one GNU `find -printf` when the server has it (else over SFTP).
  bool UseFindListing = true;
  /// Many small files are pulled as one `tar` stream over exec when the server has tar.
  bool UseTarStream = true;
  /// A batch of at least this many files goes through tar; fewer go over SFTP.
  int TarMinimumFiles = 4;
  /// Files of at least this size are pushed through an exec'd `cat` (faster than
  /// libssh 0.10's synchronous sftp_write); smaller ones over SFTP. 0 disables.
  long long StreamPushMinimumBytes = 1 << 20;
  /// A pulled file whose size and time match the local copy is compared by content (SHA-256
  /// on both sides) instead of being taken as unchanged.
  bool CompareContent = false;
};

}  // namespace hestrel

// Hestrel client: POSIX sh commands over SSH exec, with stdout,
// stderr and the exit status. Build every command with ShellQuote (ShellQuote.h).
#pragma once

#include <libssh/libssh.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "client/Session.h"

namespace hestrel {

/// One exec channel: stdout read as a stream, stderr collected on the side. A read or a
/// write that sees no progress for the session's operation timeout (LinkWatch.h) fails and
/// cuts the link, so a server that stops answering cannot hold the client.
class TExecChannel {
 public:
  /// Opens a channel and starts Command; IsStarted() false (GetError, with libssh's cause or
  /// a plain reason) when that failed.
  TExecChannel(ssh_session Session, const std::string& Command);
  bool IsStarted() const { return FChannel != nullptr; }
  const std::string& GetError() const { return FError; }
  /// Up to Size bytes of stdout; 0 at the end of stdout, -1 on a failure.
  long ReadOut(void* Data, std::size_t Size);
  /// Exactly Size bytes of stdout; false when the stream ends first or fails.
  bool ReadOutExactly(void* Data, std::size_t Size);
  /// Sends Size bytes to the command's stdin; false on a failure.
  bool Write(const void* Data, std::size_t Size);
  /// Ends stdin (the command sees end of file).
  void CloseInput();
  /// Reads the rest of stdout into Rest (when given), then answers the exit status
  /// (-1 when the server sent none).
  int Finish(std::string* Rest = nullptr);
  /// stderr so far.
  const std::string& GetStderr() const { return FStderr; }
  /// Closes the channel at once (cancel): the command's output is dropped.
  void Abort();

 private:
  bool DrainStderr();  ///< true when stderr bytes came
  long Fill(void* Data, std::size_t Size);
  bool TimedOut();
  ssh_session FSession;
  std::chrono::seconds FTimeout;
  std::vector<char> FBuffer;  ///< stdout read ahead: one libssh call serves many small reads
  std::size_t FBegin = 0, FEnd = 0;
  TSshChannelPtr FChannel;
  std::string FError;
  std::string FStderr;
};

struct TCommandResult {
  bool Started = false;  ///< false: the command could not be started (Error says why)
  int ExitStatus = -1;
  std::string Out;
  std::string Err;
  std::string Error;
};

/// Runs Command to its end; Input (when not empty) is sent to its stdin first.
TCommandResult RunCommand(ssh_session Session, const std::string& Command, const std::string& Input = "");

}  // namespace hestrel

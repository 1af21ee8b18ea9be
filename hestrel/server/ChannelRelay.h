// Hestrel server: one "session" channel. Serves the channel requests (env, exec, subsystem
// "sftp"; pty-req, shell and agent forwarding are refused) and relays bytes between the
// channel and the command it started: channel data to the command's stdin, its stdout as
// channel data and its stderr as extended data, then exit-status or exit-signal, EOF and
// close.
//
// Flow control, both ways bounded: output is read from the command only as far as the
// client's channel window allows; input the command does not take yet stays in libssh's
// channel buffer, which holds back the window we grant the client. A client that sends
// beyond that window is not read at all until the command has taken the input
// (InputOverrun, TSessionServer).
//
// libssh may call any callback while another one runs (a blocking channel write polls the
// whole event), so callbacks only move bytes and set flags; watches are added and removed,
// and the channel closed, by Service(), which the session loop calls after each poll.
#pragma once

#include <libssh/callbacks.h>
#include <libssh/libssh.h>

#include <memory>
#include <string>

#include "server/ChildProcess.h"

namespace hestrel::server {

struct TServerOptions;
class TOnceLog;

class TChannelRelay {
 public:
  /// Refusals logs each kind of refused request once for the whole connection.
  TChannelRelay(ssh_session Session, ssh_event Event, const TServerOptions& Options, std::string Peer,
                TOnceLog& Refusals);
  ~TChannelRelay();
  TChannelRelay(const TChannelRelay&) = delete;
  TChannelRelay& operator=(const TChannelRelay&) = delete;

  /// Creates the libssh channel with this relay's callbacks; nullptr on failure.
  ssh_channel Open();
  /// Moves what the callbacks could not, updates the poll watches, finishes the channel.
  void Service();
  /// Records the exit of the command when Pid is its process; answers whether it was.
  bool ChildExited(pid_t Pid, int WaitStatus);
  /// True once the channel is closed both ways: the relay may be destroyed.
  bool Finished() const { return FClosedLocally && FRemoteClosed; }
  /// Whether the command has been started and not yet reaped.
  bool Running() const { return FChild.Pid > 0 && !FExited; }
  /// Sends Signal to the command's process group if it still runs.
  void SignalCommand(int Signal);
  /// True while libssh holds more input for the channel than any window it granted: the client
  /// ignores the window, and the connection must not be read until the command drains it.
  bool InputOverrun() const;

 private:
  bool Start(const std::vector<std::string>& Argv, const std::string& What);
  void PumpOutput(TUniqueFd& Fd, bool IsStderr, bool& Eof, std::unique_ptr<char[]>& Block);
  void FlushStdin();
  void PullHeldInput();
  void UpdateWatch(TUniqueFd& Fd, bool& Watching, bool Want, short Events, ssh_event_callback Callback);
  void CloseOutput(TUniqueFd& Fd, bool& Watching);
  void FinishChannel();
  void CloseAfterRemote();

  // libssh callbacks (userdata is the relay).
  static int OnData(ssh_session, ssh_channel, void* Data, uint32_t Length, int IsStderr, void* Self);
  static void OnEof(ssh_session, ssh_channel, void* Self);
  static void OnClose(ssh_session, ssh_channel, void* Self);
  static void OnSignal(ssh_session, ssh_channel, const char* Signal, void* Self);
  static int OnEnv(ssh_session, ssh_channel, const char* Name, const char* Value, void* Self);
  static int OnExec(ssh_session, ssh_channel, const char* Command, void* Self);
  static int OnSubsystem(ssh_session, ssh_channel, const char* Subsystem, void* Self);
  static int OnPty(ssh_session, ssh_channel, const char*, int, int, int, int, void* Self);
  static int OnShell(ssh_session, ssh_channel, void* Self);
  static void OnAgentRequest(ssh_session, ssh_channel, void* Self);
  static int OnStdoutReady(socket_t Fd, int Revents, void* Self);
  static int OnStderrReady(socket_t Fd, int Revents, void* Self);
  static int OnStdinReady(socket_t Fd, int Revents, void* Self);

  ssh_session FSession;
  ssh_event FEvent;
  const TServerOptions& FOptions;
  std::string FPeer;
  TOnceLog& FRefusals;
  ssh_channel FChannel = nullptr;
  ssh_channel_callbacks_struct FCallbacks{};

  TEnvironment FEnvironment;  ///< accepted "env" requests
  int FEnvRequests = 0;       ///< all "env" requests, accepted or not
  TChildProcess FChild;
  bool FExited = false;
  int FWaitStatus = 0;

  std::string FInput;  ///< channel data taken from libssh, not yet written to stdin
  // Buffers, allocated on first use and never cleared (a pump of one stream never nests
  // inside itself: libssh locks a poll handle while its callback runs).
  std::unique_ptr<char[]> FStdoutBlock, FStderrBlock, FInputBlock;
  bool FInputHeld = false;  ///< libssh still buffers data we declined to take
  std::size_t FHeld = 0;    ///< how much, as last seen
  bool FRemoteEof = false;
  bool FRemoteClosed = false;
  bool FClosedLocally = false;
  bool FStdoutEof = false;
  bool FStderrEof = false;
  bool FWatchingStdout = false;
  bool FWatchingStderr = false;
  bool FWatchingStdin = false;
  bool FStdinDead = false;      ///< the command closed its stdin
  bool FChannelBroken = false;  ///< a write to the channel failed
};

}  // namespace hestrel::server

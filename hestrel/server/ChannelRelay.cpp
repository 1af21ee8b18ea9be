// Hestrel server: one session channel and the command behind it (see ChannelRelay.h).
#include "server/ChannelRelay.h"

#include <libssh/server.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "server/Log.h"
#include "server/Options.h"

namespace hestrel::server {

namespace {

/// Largest block moved from a command's output to the channel in one step (perf-baselines:
/// relay in big blocks); it is further capped by the client's window.
constexpr std::size_t RelayBlock = 256 * 1024;
/// Most channel data held for a command's stdin beyond what the pipe took; past this the
/// data stays in libssh's buffer, which stops the window from growing.
constexpr std::size_t InputLimit = 1024 * 1024;
/// More input than this in libssh's buffer means the client ignores the window (libssh grants
/// about 1.2 MiB at most), so reading it stops (InputOverrun).
constexpr std::size_t OverrunLimit = 4 * 1024 * 1024;
/// "env" requests a channel may make, and the longest name and value taken.
constexpr int MaxEnvRequests = 32;
constexpr std::size_t MaxEnvName = 64, MaxEnvValue = 1024;

TChannelRelay* Relay(void* Self) { return static_cast<TChannelRelay*>(Self); }

/// Signal names a client may send in a "signal" request (RFC 4254 6.9).
int SignalFromName(const char* Name) {
  for (int Signal = 1; Signal < 32; ++Signal) {
    const char* Abbrev = ::sigabbrev_np(Signal);
    if (Abbrev != nullptr && std::strcmp(Abbrev, Name) == 0) return Signal;
  }
  return 0;
}

}  // namespace

TChannelRelay::TChannelRelay(ssh_session Session, ssh_event Event, const TServerOptions& Options, std::string Peer,
                             TOnceLog& Refusals)
    : FSession(Session), FEvent(Event), FOptions(Options), FPeer(std::move(Peer)), FRefusals(Refusals) {}

TChannelRelay::~TChannelRelay() {
  UpdateWatch(FChild.Stdin, FWatchingStdin, false, 0, nullptr);
  UpdateWatch(FChild.Stdout, FWatchingStdout, false, 0, nullptr);
  UpdateWatch(FChild.Stderr, FWatchingStderr, false, 0, nullptr);
  if (FChannel != nullptr) {
    ssh_remove_channel_callbacks(FChannel, &FCallbacks);
    ssh_channel_free(FChannel);
  }
}

ssh_channel TChannelRelay::Open() {
  FChannel = ssh_channel_new(FSession);
  if (FChannel == nullptr) return nullptr;
  FCallbacks.userdata = this;
  FCallbacks.channel_data_function = &TChannelRelay::OnData;
  FCallbacks.channel_eof_function = &TChannelRelay::OnEof;
  FCallbacks.channel_close_function = &TChannelRelay::OnClose;
  FCallbacks.channel_signal_function = &TChannelRelay::OnSignal;
  FCallbacks.channel_env_request_function = &TChannelRelay::OnEnv;
  FCallbacks.channel_exec_request_function = &TChannelRelay::OnExec;
  FCallbacks.channel_subsystem_request_function = &TChannelRelay::OnSubsystem;
  FCallbacks.channel_pty_request_function = &TChannelRelay::OnPty;
  FCallbacks.channel_shell_request_function = &TChannelRelay::OnShell;
  FCallbacks.channel_auth_agent_req_function = &TChannelRelay::OnAgentRequest;
  ssh_callbacks_init(&FCallbacks);
  ssh_set_channel_callbacks(FChannel, &FCallbacks);
  return FChannel;
}

bool TChannelRelay::Start(const std::vector<std::string>& Argv, const std::string& What) {
  if (FChild.Pid > 0 || FClosedLocally) {
    FRefusals.Note("second", "refused " + What + " from " + FPeer + ": the channel already runs a command");
    return false;
  }
  std::string Error;
  if (!SpawnChild(Argv, FEnvironment, FChild, Error)) {
    Log("cannot start " + What + " for " + FPeer + ": " + Error);
    return false;
  }
  Log("started " + What + " for " + FPeer + " (pid " + std::to_string(FChild.Pid) + ")");
  FlushStdin();  // data that arrived before the request
  return true;
}

// ---- callbacks: move bytes and set flags only -------------------------------------------

int TChannelRelay::OnData(ssh_session, ssh_channel, void* Data, uint32_t Length, int IsStderr, void* Self) {
  TChannelRelay* R = Relay(Self);
  // Extended data from a client, and input for a command that closed its stdin, are dropped.
  if (IsStderr != 0 || (R->FChild.Pid > 0 && !R->FChild.Stdin.Valid())) return static_cast<int>(Length);
  std::size_t Room = InputLimit > R->FInput.size() ? InputLimit - R->FInput.size() : 0;
  std::size_t Take = std::min<std::size_t>(Length, Room);
  R->FInput.append(static_cast<const char*>(Data), Take);
  R->FInputHeld = Take < Length;
  R->FHeld = Length - Take;
  R->FlushStdin();
  return static_cast<int>(Take);
}

void TChannelRelay::OnEof(ssh_session, ssh_channel, void* Self) { Relay(Self)->FRemoteEof = true; }

void TChannelRelay::OnClose(ssh_session, ssh_channel, void* Self) {
  Relay(Self)->FRemoteEof = true;
  Relay(Self)->FRemoteClosed = true;
}

void TChannelRelay::OnSignal(ssh_session, ssh_channel, const char* Signal, void* Self) {
  int Number = SignalFromName(Signal);
  if (Number != 0) Relay(Self)->SignalCommand(Number);
}

int TChannelRelay::OnEnv(ssh_session, ssh_channel, const char* Name, const char* Value, void* Self) {
  TChannelRelay* R = Relay(Self);
  const std::string_view Variable = Name != nullptr ? Name : "", Text = Value != nullptr ? Value : "";
  if (R->FChild.Pid > 0) return SSH_ERROR;  // the command has its environment already
  if (++R->FEnvRequests > MaxEnvRequests) {
    R->FRefusals.Note("env count", "refused environment variables from " + R->FPeer + ": more than " +
                                       std::to_string(MaxEnvRequests) + " on one channel");
    return SSH_ERROR;
  }
  if (!ClientMayPass(Variable) || Variable.size() > MaxEnvName || Text.size() > MaxEnvValue) {
    R->FRefusals.Note("env", "refused environment variable " + ClientText(Variable) + " from " + R->FPeer +
                                 ": commands take only LANG and LC_* from a client, values of at most " +
                                 std::to_string(MaxEnvValue) + " bytes");
    return SSH_ERROR;
  }
  R->FEnvironment.emplace_back(Variable, Text);
  return SSH_OK;
}

int TChannelRelay::OnExec(ssh_session, ssh_channel, const char* Command, void* Self) {
  std::string Text = Command != nullptr ? Command : "";
  return Relay(Self)->Start({"/bin/sh", "-c", Text}, "command " + CommandSummary(Text)) ? SSH_OK : SSH_ERROR;
}

int TChannelRelay::OnSubsystem(ssh_session, ssh_channel, const char* Subsystem, void* Self) {
  TChannelRelay* R = Relay(Self);
  std::string Name = Subsystem != nullptr ? Subsystem : "";
  if (Name != "sftp") {
    R->FRefusals.Note("subsystem", "refused unknown subsystem " + ClientText(Name) + " from " + R->FPeer);
    return SSH_ERROR;
  }
  return R->Start({R->FOptions.SftpServer}, "subsystem sftp") ? SSH_OK : SSH_ERROR;
}

int TChannelRelay::OnPty(ssh_session, ssh_channel, const char*, int, int, int, int, void* Self) {
  Relay(Self)->FRefusals.Note("pty", "refused pty-req from " + Relay(Self)->FPeer + ": hestrel offers no terminals");
  return SSH_ERROR;
}

int TChannelRelay::OnShell(ssh_session, ssh_channel, void* Self) {
  Relay(Self)->FRefusals.Note("shell",
                              "refused shell from " + Relay(Self)->FPeer + ": hestrel runs commands only (use exec)");
  return SSH_ERROR;
}

void TChannelRelay::OnAgentRequest(ssh_session, ssh_channel, void* Self) {
  // libssh sends no answer to this request (clients ask without wanting one); no agent
  // channel is ever opened.
  Relay(Self)->FRefusals.Note("agent forwarding",
                              "refused agent forwarding for " + Relay(Self)->FPeer + ": hestrel forwards nothing");
}

int TChannelRelay::OnStdoutReady(socket_t, int, void* Self) {
  TChannelRelay* R = Relay(Self);
  R->PumpOutput(R->FChild.Stdout, false, R->FStdoutEof, R->FStdoutBlock);
  return 0;
}

int TChannelRelay::OnStderrReady(socket_t, int, void* Self) {
  TChannelRelay* R = Relay(Self);
  R->PumpOutput(R->FChild.Stderr, true, R->FStderrEof, R->FStderrBlock);
  return 0;
}

int TChannelRelay::OnStdinReady(socket_t, int, void* Self) {
  Relay(Self)->FlushStdin();
  return 0;
}

// ---- byte movers --------------------------------------------------------------------------

void TChannelRelay::PumpOutput(TUniqueFd& Fd, bool IsStderr, bool& Eof, std::unique_ptr<char[]>& Block) {
  if (!Fd.Valid() || Eof || FChannelBroken || FClosedLocally || FRemoteClosed) return;
  uint32_t Window = ssh_channel_window_size(FChannel);
  if (Window == 0) return;  // Service() stops watching until the client opens the window
  if (!Block) Block.reset(new char[RelayBlock]);
  ssize_t N = ::read(Fd.Get(), Block.get(), std::min<std::size_t>(Window, RelayBlock));
  if (N > 0) {
    uint32_t Length = static_cast<uint32_t>(N);
    int Written = IsStderr ? ssh_channel_write_stderr(FChannel, Block.get(), Length)
                           : ssh_channel_write(FChannel, Block.get(), Length);
    if (Written == SSH_ERROR) FChannelBroken = true;
  } else if (N == 0 || (errno != EAGAIN && errno != EINTR)) {
    Eof = true;
  }
}

void TChannelRelay::FlushStdin() {
  if (!FChild.Stdin.Valid()) return;
  std::size_t Done = 0;
  while (Done < FInput.size()) {
    ssize_t N = ::write(FChild.Stdin.Get(), FInput.data() + Done, FInput.size() - Done);
    if (N > 0) {
      Done += static_cast<std::size_t>(N);
    } else if (N < 0 && errno == EINTR) {
      continue;
    } else if (N < 0 && errno == EAGAIN) {
      break;
    } else {
      // The command closed its stdin: drop its input from now on. The descriptor is
      // closed by Service(), after its watch is removed.
      FInput.clear();
      FInputHeld = false;
      FStdinDead = true;
      return;
    }
  }
  FInput.erase(0, Done);
}

void TChannelRelay::PullHeldInput() {
  while (FInputHeld && !FStdinDead && FInput.size() < InputLimit) {
    if (!FInputBlock) FInputBlock.reset(new char[InputLimit]);
    std::size_t Room = InputLimit - FInput.size();
    int N = ssh_channel_read_nonblocking(FChannel, FInputBlock.get(), static_cast<uint32_t>(Room), 0);
    if (N <= 0) {
      FInputHeld = false;
      break;
    }
    FInput.append(FInputBlock.get(), static_cast<std::size_t>(N));
    FHeld -= std::min<std::size_t>(FHeld, static_cast<std::size_t>(N));
    FlushStdin();
    if (static_cast<std::size_t>(N) < Room) FInputHeld = false;
  }
  if (!FInputHeld || FStdinDead) FHeld = 0;
}

bool TChannelRelay::InputOverrun() const { return FHeld > OverrunLimit && !FStdinDead; }

// ---- state changes, made from the session loop only ---------------------------------------

void TChannelRelay::UpdateWatch(TUniqueFd& Fd, bool& Watching, bool Want, short Events, ssh_event_callback Callback) {
  Want = Want && Fd.Valid();
  if (Want == Watching) return;
  if (Want) {
    Watching = ssh_event_add_fd(FEvent, Fd.Get(), Events, Callback, this) == SSH_OK;
  } else {
    ssh_event_remove_fd(FEvent, Fd.Get());
    Watching = false;
  }
}

void TChannelRelay::CloseOutput(TUniqueFd& Fd, bool& Watching) {
  UpdateWatch(Fd, Watching, false, 0, nullptr);
  Fd.Reset();
}

void TChannelRelay::Service() {
  if (FChannelBroken) FRemoteClosed = true;  // the session is failing: treat as a close
  if (FRemoteClosed) {
    CloseAfterRemote();
    return;
  }
  if (FClosedLocally || FChild.Pid <= 0) return;
  FlushStdin();
  PullHeldInput();
  bool InputDone = FStdinDead || (FRemoteEof && FInput.empty() && !FInputHeld);
  if (InputDone) {
    CloseOutput(FChild.Stdin, FWatchingStdin);  // the command sees end of input
  } else {
    UpdateWatch(FChild.Stdin, FWatchingStdin, !FInput.empty(), POLLOUT, &TChannelRelay::OnStdinReady);
  }
  bool WindowOpen = ssh_channel_window_size(FChannel) > 0;
  if (FStdoutEof) CloseOutput(FChild.Stdout, FWatchingStdout);
  UpdateWatch(FChild.Stdout, FWatchingStdout, WindowOpen, POLLIN, &TChannelRelay::OnStdoutReady);
  if (FStderrEof) CloseOutput(FChild.Stderr, FWatchingStderr);
  UpdateWatch(FChild.Stderr, FWatchingStderr, WindowOpen, POLLIN, &TChannelRelay::OnStderrReady);
  if (FStdoutEof && FStderrEof && FExited) FinishChannel();
}

void TChannelRelay::FinishChannel() {
  CloseOutput(FChild.Stdin, FWatchingStdin);
  if (WIFSIGNALED(FWaitStatus)) {
    std::string Name = SshSignalName(WTERMSIG(FWaitStatus));
    ssh_channel_request_send_exit_signal(FChannel, Name.c_str(), WCOREDUMP(FWaitStatus) ? 1 : 0, "", "");
    Log("command of " + FPeer + " (pid " + std::to_string(FChild.Pid) + ") ended by signal " + Name);
  } else {
    int Status = WIFEXITED(FWaitStatus) ? WEXITSTATUS(FWaitStatus) : 255;
    ssh_channel_request_send_exit_status(FChannel, Status);
    Log("command of " + FPeer + " (pid " + std::to_string(FChild.Pid) + ") exited with status " +
        std::to_string(Status));
  }
  ssh_channel_send_eof(FChannel);
  ssh_channel_close(FChannel);
  FClosedLocally = true;
}

void TChannelRelay::CloseAfterRemote() {
  if (Running()) {
    Log("channel of " + FPeer + " closed while its command (pid " + std::to_string(FChild.Pid) +
        ") runs: sending SIGHUP");
    SignalCommand(SIGHUP);
  }
  CloseOutput(FChild.Stdin, FWatchingStdin);
  CloseOutput(FChild.Stdout, FWatchingStdout);
  CloseOutput(FChild.Stderr, FWatchingStderr);
  if (!FClosedLocally) {
    ssh_channel_close(FChannel);  // our half of the close handshake (RFC 4254 5.3)
    FClosedLocally = true;
  }
}

bool TChannelRelay::ChildExited(pid_t Pid, int WaitStatus) {
  if (Pid != FChild.Pid || FExited) return false;
  FExited = true;
  FWaitStatus = WaitStatus;
  return true;
}

void TChannelRelay::SignalCommand(int Signal) {
  if (Running()) SignalChildGroup(FChild.Pid, Signal);
}

}  // namespace hestrel::server

// Hestrel client: exec channels (see RemoteShell.h).
#include "client/RemoteShell.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "client/LinkWatch.h"

namespace hestrel {

namespace {
constexpr int PollMilliseconds = 200;  // wake to drain stderr while stdout is quiet
constexpr std::size_t ReadAheadBytes = 256 * 1024;

using TClock = std::chrono::steady_clock;

/// libssh's error text, or a plain reason when libssh set none (Rc: the failed call's answer).
std::string ChannelFailure(ssh_session Session, int Rc, const char* Step) {
  std::string Cause = SessionError(Session);
  if (!Cause.empty()) return Cause;
  if (!ssh_is_connected(Session)) return "the connection is closed";
  if (Rc == SSH_AGAIN)  // libssh's wait (the operation timeout) ended without an answer
    return std::string("the server did not answer the request to ") + Step;
  return std::string("the server refused to ") + Step;
}
}  // namespace

TExecChannel::TExecChannel(ssh_session Session, const std::string& Command)
    : FSession(Session), FTimeout(std::chrono::seconds(TLinkWatch::TimeoutFor(Session))) {
  TSshChannelPtr Channel(ssh_channel_new(Session));
  const char* Step = "open a channel";
  int Rc = Channel ? ssh_channel_open_session(Channel.get()) : SSH_ERROR;
  if (Rc == SSH_OK) {
    Step = "run the command";
    Rc = ssh_channel_request_exec(Channel.get(), Command.c_str());
  }
  if (Rc != SSH_OK) {
    FError = "The remote command cannot be started: " + ChannelFailure(Session, Rc, Step);
    return;
  }
  FChannel = std::move(Channel);
}

bool TExecChannel::TimedOut() {
  // No byte for the whole timeout: the server stopped answering. Cutting the link makes
  // the session fail everywhere (and tells the client why).
  TLinkWatch::CutLink(FSession);
  FError = "The server did not answer for " + std::to_string(FTimeout.count()) + " s";
  return false;
}

bool TExecChannel::DrainStderr() {
  char Buffer[4096];
  bool Any = false;
  for (;;) {
    const int N = ssh_channel_read_nonblocking(FChannel.get(), Buffer, sizeof Buffer, 1);
    if (N <= 0) return Any;
    Any = true;
    if (FStderr.size() < (1u << 20)) FStderr.append(Buffer, static_cast<size_t>(N));
  }
}

long TExecChannel::Fill(void* Data, std::size_t Size) {
  const uint32_t Max = static_cast<uint32_t>(std::min<std::size_t>(Size, 1u << 20));
  auto LastProgress = TClock::now();
  for (;;) {
    if (DrainStderr()) LastProgress = TClock::now();
    const int N = ssh_channel_read_timeout(FChannel.get(), Data, Max, 0, PollMilliseconds);
    if (N > 0) return N;
    if (N < 0) {
      FError = SessionError(FSession);
      return -1;
    }
    if (ssh_channel_is_eof(FChannel.get()) || !ssh_channel_is_open(FChannel.get())) {
      DrainStderr();
      return 0;
    }
    if (TClock::now() - LastProgress >= FTimeout) {
      TimedOut();
      return -1;
    }
  }
}

long TExecChannel::ReadOut(void* Data, std::size_t Size) {
  if (!FChannel) return -1;
  if (FBegin == FEnd) {
    if (Size >= ReadAheadBytes) return Fill(Data, Size);  // big reads go straight through
    FBuffer.resize(ReadAheadBytes);
    const long N = Fill(FBuffer.data(), FBuffer.size());
    if (N <= 0) return N;
    FBegin = 0;
    FEnd = static_cast<std::size_t>(N);
  }
  const std::size_t Count = std::min(Size, FEnd - FBegin);
  std::memcpy(Data, FBuffer.data() + FBegin, Count);
  FBegin += Count;
  return static_cast<long>(Count);
}

bool TExecChannel::ReadOutExactly(void* Data, std::size_t Size) {
  auto* Bytes = static_cast<char*>(Data);
  std::size_t Done = 0;
  while (Done < Size) {
    const long N = ReadOut(Bytes + Done, Size - Done);
    if (N <= 0) return false;
    Done += static_cast<std::size_t>(N);
  }
  return true;
}

bool TExecChannel::Write(const void* Data, std::size_t Size) {
  if (!FChannel) return false;
  const auto* Bytes = static_cast<const char*>(Data);
  while (Size > 0) {
    const uint32_t Chunk = static_cast<uint32_t>(std::min<std::size_t>(Size, 1u << 18));
    const int N = ssh_channel_write(FChannel.get(), Bytes, Chunk);
    if (N == 0 && ssh_channel_is_open(FChannel.get()) && !ssh_channel_is_eof(FChannel.get()))
      return TimedOut();  // libssh waited the session timeout (the operation timeout) for the window
    if (N <= 0) {
      FError = SessionError(FSession);
      return false;
    }
    Bytes += N;
    Size -= static_cast<std::size_t>(N);
  }
  return true;
}

void TExecChannel::CloseInput() {
  if (FChannel) ssh_channel_send_eof(FChannel.get());
}

int TExecChannel::Finish(std::string* Rest) {
  if (!FChannel) return -1;
  char Buffer[16384];
  for (;;) {
    const long N = ReadOut(Buffer, sizeof Buffer);
    if (N <= 0) break;
    if (Rest) Rest->append(Buffer, static_cast<size_t>(N));
  }
  DrainStderr();
  const int Status = ssh_channel_get_exit_status(FChannel.get());
  FChannel.reset();
  return Status;
}

void TExecChannel::Abort() {
  if (!FChannel) return;
  ssh_channel_close(FChannel.get());
  FChannel.reset();
}

TCommandResult RunCommand(ssh_session Session, const std::string& Command, const std::string& Input) {
  TCommandResult Result;
  TExecChannel Channel(Session, Command);
  if (!Channel.IsStarted()) {
    Result.Error = Channel.GetError();
    return Result;
  }
  if (!Input.empty() && !Channel.Write(Input.data(), Input.size())) {
    Result.Error = Channel.GetError();
    return Result;
  }
  Channel.CloseInput();
  Result.Started = true;
  Result.ExitStatus = Channel.Finish(&Result.Out);
  Result.Err = Channel.GetStderr();
  return Result;
}

}  // namespace hestrel

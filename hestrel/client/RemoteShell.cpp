// Hestrel client (Parts 3.3 to 3.5): exec channels (see RemoteShell.h).
#include "client/RemoteShell.h"

#include <algorithm>
#include <cstring>

namespace hestrel {

namespace {
constexpr int PollMilliseconds = 200;  // wake to drain stderr while stdout is quiet
constexpr std::size_t ReadAheadBytes = 256 * 1024;
}

TExecChannel::TExecChannel(ssh_session Session, const std::string& Command) : FSession(Session) {
  TSshChannelPtr Channel(ssh_channel_new(Session));
  if (!Channel || ssh_channel_open_session(Channel.get()) != SSH_OK ||
      ssh_channel_request_exec(Channel.get(), Command.c_str()) != SSH_OK) {
    FError = "The remote command cannot be started: " + SessionError(Session);
    return;
  }
  FChannel = std::move(Channel);
}

void TExecChannel::DrainStderr() {
  char Buffer[4096];
  for (;;) {
    const int N = ssh_channel_read_nonblocking(FChannel.get(), Buffer, sizeof Buffer, 1);
    if (N <= 0) return;
    if (FStderr.size() < (1u << 20)) FStderr.append(Buffer, static_cast<size_t>(N));
  }
}

long TExecChannel::Fill(void* Data, std::size_t Size) {
  const uint32_t Max = static_cast<uint32_t>(std::min<std::size_t>(Size, 1u << 20));
  for (;;) {
    DrainStderr();
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

// Test helper: libssh client for the hestrel server tests (see ServerTestClient.h).
#include "ServerTestClient.h"

#include <libssh/callbacks.h>

#include <chrono>

namespace hestrel_test {

namespace {

void OnExitSignal(ssh_session, ssh_channel, const char* Signal, int, const char*, const char*, void* Self) {
  static_cast<TExecResult*>(Self)->ExitSignal = Signal != nullptr ? Signal : "";
}

}  // namespace

TServerTestClient::TServerTestClient() : FSession(ssh_new()) {}

TServerTestClient::~TServerTestClient() {
  if (ssh_is_connected(FSession)) ssh_disconnect(FSession);
  ssh_free(FSession);
}

bool TServerTestClient::Connect(int Port) {
  int Verbosity = SSH_LOG_NOLOG;
  long Timeout = 10;
  int NoDelay = 1;
  ssh_options_set(FSession, SSH_OPTIONS_HOST, "127.0.0.1");
  ssh_options_set(FSession, SSH_OPTIONS_PORT, &Port);
  ssh_options_set(FSession, SSH_OPTIONS_LOG_VERBOSITY, &Verbosity);
  ssh_options_set(FSession, SSH_OPTIONS_TIMEOUT, &Timeout);
  ssh_options_set(FSession, SSH_OPTIONS_NODELAY, &NoDelay);
  int ProcessConfig = 0;
  ssh_options_set(FSession, SSH_OPTIONS_PROCESS_CONFIG, &ProcessConfig);
  return ssh_connect(FSession) == SSH_OK;
}

int TServerTestClient::Login(const std::string& User, const std::string& Password) {
  return ssh_userauth_password(FSession, User.c_str(), Password.c_str());
}

int TServerTestClient::OfferedMethods() {
  ssh_userauth_none(FSession, nullptr);
  return ssh_userauth_list(FSession, nullptr);
}

std::string TServerTestClient::ServerFingerprint() {
  ssh_key Key = nullptr;
  if (ssh_get_server_publickey(FSession, &Key) != SSH_OK) return "";
  unsigned char* Hash = nullptr;
  size_t Length = 0;
  std::string Result;
  if (ssh_get_publickey_hash(Key, SSH_PUBLICKEY_HASH_SHA256, &Hash, &Length) == SSH_OK) {
    char* Text = ssh_get_fingerprint_hash(SSH_PUBLICKEY_HASH_SHA256, Hash, Length);
    Result = Text != nullptr ? Text : "";
    ssh_string_free_char(Text);
    ssh_clean_pubkey_hash(&Hash);
  }
  ssh_key_free(Key);
  return Result;
}

ssh_channel TServerTestClient::StartExec(const std::string& Command) {
  ssh_channel Channel = ssh_channel_new(FSession);
  if (Channel == nullptr) return nullptr;
  if (ssh_channel_open_session(Channel) != SSH_OK || ssh_channel_request_exec(Channel, Command.c_str()) != SSH_OK) {
    ssh_channel_free(Channel);
    return nullptr;
  }
  return Channel;
}

TExecResult TServerTestClient::Exec(const std::string& Command, const std::string& Input,
                                    const std::vector<std::pair<std::string, std::string>>& Env) {
  TExecResult Result;
  ssh_channel Channel = ssh_channel_new(FSession);
  if (Channel == nullptr) return Result;
  // Before the exec request: a quick command's exit-signal may arrive with its reply.
  ssh_channel_callbacks_struct Callbacks{};
  Callbacks.userdata = &Result;
  Callbacks.channel_exit_signal_function = &OnExitSignal;
  ssh_callbacks_init(&Callbacks);
  ssh_add_channel_callbacks(Channel, &Callbacks);
  bool Ok = ssh_channel_open_session(Channel) == SSH_OK;
  for (const auto& [Name, Value] : Env) Ok = Ok && ssh_channel_request_env(Channel, Name.c_str(), Value.c_str()) == SSH_OK;
  Ok = Ok && ssh_channel_request_exec(Channel, Command.c_str()) == SSH_OK;
  if (Ok) {
    Result.Ok = true;
    for (std::size_t Done = 0; Done < Input.size();) {
      int N = ssh_channel_write(Channel, Input.data() + Done, static_cast<uint32_t>(Input.size() - Done));
      if (N <= 0) break;
      Done += static_cast<std::size_t>(N);
    }
    ssh_channel_send_eof(Channel);
    ReadToEnd(Channel, Result);
  }
  ssh_remove_channel_callbacks(Channel, &Callbacks);
  ssh_channel_close(Channel);
  ssh_channel_free(Channel);
  return Result;
}

void TServerTestClient::ReadToEnd(ssh_channel Channel, TExecResult& Result) {
  char Buffer[65536];
  auto Deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!ssh_channel_is_eof(Channel) && std::chrono::steady_clock::now() < Deadline) {
    int Out = ssh_channel_read_nonblocking(Channel, Buffer, sizeof Buffer, 0);
    if (Out > 0) Result.Out.append(Buffer, static_cast<std::size_t>(Out));
    int Err = ssh_channel_read_nonblocking(Channel, Buffer, sizeof Buffer, 1);
    if (Err > 0) Result.Err.append(Buffer, static_cast<std::size_t>(Err));
    if (Out == SSH_ERROR || Err == SSH_ERROR) break;
    if (Out <= 0 && Err <= 0) ssh_channel_poll_timeout(Channel, 50, 0);
  }
  Result.ExitStatus = ssh_channel_get_exit_status(Channel);
}

std::string TServerTestClient::ReadLine(ssh_channel Channel, int TimeoutMs) {
  std::string Line;
  auto Deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(TimeoutMs);
  char C = 0;
  while (std::chrono::steady_clock::now() < Deadline) {
    int N = ssh_channel_read_timeout(Channel, &C, 1, 0, 100);
    if (N < 0) break;
    if (N == 0) continue;
    if (C == '\n') return Line;
    Line += C;
  }
  return Line;
}

}  // namespace hestrel_test

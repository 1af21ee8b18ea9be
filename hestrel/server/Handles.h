// Hestrel server: move-only owners of file descriptors and libssh objects, so that every
// exit path closes and frees them (style: one RAII wrapper per resource kind).
#pragma once

#include <libssh/libssh.h>
#include <libssh/server.h>
#include <unistd.h>

#include <memory>
#include <utility>

namespace hestrel::server {

/// Owns one file descriptor; -1 is the empty state. Closing never throws.
class TUniqueFd {
 public:
  TUniqueFd() = default;
  explicit TUniqueFd(int Fd) : FFd(Fd) {}
  TUniqueFd(const TUniqueFd&) = delete;
  TUniqueFd& operator=(const TUniqueFd&) = delete;
  TUniqueFd(TUniqueFd&& Other) noexcept : FFd(std::exchange(Other.FFd, -1)) {}
  TUniqueFd& operator=(TUniqueFd&& Other) noexcept {
    if (this != &Other) Reset(std::exchange(Other.FFd, -1));
    return *this;
  }
  ~TUniqueFd() { Reset(); }

  int Get() const { return FFd; }
  bool Valid() const { return FFd >= 0; }
  int Release() { return std::exchange(FFd, -1); }
  void Reset(int Fd = -1) {
    if (FFd >= 0) ::close(FFd);
    FFd = Fd;
  }

 private:
  int FFd = -1;
};

struct TSshSessionFree {
  void operator()(ssh_session S) const { ssh_free(S); }
};
struct TSshBindFree {
  void operator()(ssh_bind B) const { ssh_bind_free(B); }
};
struct TSshEventFree {
  void operator()(ssh_event E) const { ssh_event_free(E); }
};
struct TSshKeyFree {
  void operator()(ssh_key K) const { ssh_key_free(K); }
};

using TSshSession = std::unique_ptr<ssh_session_struct, TSshSessionFree>;
using TSshBind = std::unique_ptr<ssh_bind_struct, TSshBindFree>;
using TSshEvent = std::unique_ptr<ssh_event_struct, TSshEventFree>;
using TSshKey = std::unique_ptr<ssh_key_struct, TSshKeyFree>;

}  // namespace hestrel::server

// Hestrel server: move-only owners of file descriptors and libssh objects, so that every
// exit path closes and frees them (style: one RAII wrapper per resource kind).
#pragma once

#include "common/UniqueFd.h"

#include <libssh/libssh.h>
#include <libssh/server.h>
#include <unistd.h>

#include <memory>
#include <utility>

namespace hestrel::server {

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

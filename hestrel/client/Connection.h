// Hestrel client, Connect: one SSH connection attempt with the product's
// options, host-key check and authentication, and the classification of its failure.
#pragma once

#include <string>

#include "client/ClientOptions.h"
#include "client/Session.h"
#include "host/AgentClient.h"

namespace hestrel {

struct TConnectRequest {
  std::string HostName;  ///< the profile's host name, maybe "user@host"
  int Port = 22;
  TRACredential Credential;
  std::string AppDataDir;  ///< key file and known-hosts file
  THestrelClientOptions Options;
};

struct TConnectResult {
  TSshSessionPtr Session;  ///< connected and authenticated, or nullptr
  std::string Error;
  bool Retryable = false;  ///< the network failed (refused, timed out): asking to retry makes sense
};

/// With Options.WhileWaiting, the attempt runs on a thread of its own and the hook is called
/// on the calling thread until it ends; the session is handed over only then.
TConnectResult OpenConnection(const TConnectRequest& Request);

}  // namespace hestrel

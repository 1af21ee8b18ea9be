// How a profile's settings are copied into an agent client.
#pragma once

#include "host/AgentClient.h"
#include "host/ToolsApi.h"

/// A fresh client for the profile, as GetClient and TestConnection make it: asks the
/// installed agent library's factory for a client named after the profile (no virtual
/// file), then sets its host name, port, platform and converted credential. nullptr when no agent library is
/// installed (docs/DECISIONS.md: treated as a connection that failed without a text).
TRAClientPtr CreateProfileClient(const IOTARemoteProfile& Profile);

// TConnectionListenerAdapter: the caller's connection callback seen as the agent library's
// IConnectionListener (used by TestConnection).
#pragma once

#include <memory>
#include <utility>

#include "host/AgentClient.h"
#include "host/ToolsApi.h"

/// Reference-counted (held through a shared pointer); forwards Retry and Abort to the
/// callback given to the constructor, and answers false when it holds none.
class TConnectionListenerAdapter : public IConnectionListener {
 public:
  explicit TConnectionListenerAdapter(IOTAConnectionCallbackPtr Callback) : FCallback(std::move(Callback)) {}
  bool Retry() override { return FCallback ? FCallback->Retry() : false; }
  bool Abort() override { return FCallback ? FCallback->Abort() : false; }

 private:
  IOTAConnectionCallbackPtr FCallback;
};
using TConnectionListenerAdapterPtr = std::shared_ptr<TConnectionListenerAdapter>;

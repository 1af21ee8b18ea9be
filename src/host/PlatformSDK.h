// The host's platform SDK: what a cache pull reads its path items and system root from.
// An SDK has a system-root path, a local-root part removed from it, and its path items.
#pragma once

#include <memory>
#include <string>

#include "host/RemoteProfileTypes.h"

class IOTAPlatformSDK {
 public:
  virtual ~IOTAPlatformSDK() = default;
  virtual std::string GetSystemRoot() const = 0;
  /// The part of the system root that GetClient removes (every occurrence, ignoring case).
  virtual std::string GetLocalRootPart() const = 0;
  virtual TOTARemoteProfilePathArray GetPathItems() const = 0;
};
using IOTAPlatformSDKPtr = std::shared_ptr<IOTAPlatformSDK>;

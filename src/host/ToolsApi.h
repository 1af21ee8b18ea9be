// The host's tools-API interfaces for profiles: what the host and other plug-ins hold of
// a profile, the connection callback, the notifier interfaces, and the tools-API exception.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "host/RemoteProfileTypes.h"

/// The host's tools-API exception: creating operations given an invalid name raise it
/// with the user-facing message.
class ENonAIRException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A profile as the host sees it: field getters and setters and the update bracket.
class IOTARemoteProfile {
 public:
  virtual ~IOTARemoteProfile() = default;
  virtual std::string GetName() const = 0;
  virtual std::string GetPlatformName() const = 0;
  virtual std::string GetHostName() const = 0;
  virtual std::int32_t GetPortNumber() const = 0;
  virtual TOTARemoteProfileCredential GetCredential() const = 0;
  virtual std::string GetSystemRoot() const = 0;
  virtual TOTARemoteProfilePathArray GetPaths() const = 0;
  virtual void SetName(const std::string& Value) = 0;
  virtual void SetPlatformName(const std::string& Value) = 0;
  virtual void SetHostName(const std::string& Value) = 0;
  virtual void SetPortNumber(std::int32_t Value) = 0;
  virtual void SetCredential(const TOTARemoteProfileCredential& Value) = 0;
  virtual void SetSystemRoot(const std::string& Value) = 0;
  virtual void SetPaths(const TOTARemoteProfilePathArray& Value) = 0;
  virtual void BeginUpdate() = 0;
  virtual void EndUpdate() = 0;
};
using IOTARemoteProfilePtr = std::shared_ptr<IOTARemoteProfile>;

/// The caller's connection callback: asked by the agent, through the manager
/// or a TConnectionListenerAdapter, whether to retry or abort a connection that failed.
class IOTAConnectionCallback {
 public:
  virtual ~IOTAConnectionCallback() = default;
  virtual bool Retry() = 0;
  virtual bool Abort() = 0;
};
using IOTAConnectionCallbackPtr = std::shared_ptr<IOTAConnectionCallback>;

/// Host notifier, methods in the order of the host's interface.
class IOTARemoteProfileNotifier {
 public:
  virtual ~IOTARemoteProfileNotifier() = default;
  virtual void ProfileRenamed(const IOTARemoteProfilePtr& Profile, const std::string& OldName) = 0;
  virtual void ProfileChanged(const IOTARemoteProfilePtr& Profile) = 0;
  virtual void ProfileAdded(const IOTARemoteProfilePtr& Profile) = 0;
  virtual void ProfileRemoved(const IOTARemoteProfilePtr& Profile) = 0;
};
using IOTARemoteProfileNotifierPtr = std::shared_ptr<IOTARemoteProfileNotifier>;

/// The host's extended notifier: a notifier that also hears of deploys and runs.
/// SendNotify asks a notifier for it (dynamic_pointer_cast) before pnaAfterRun/pnaAfterDeploy.
class IOTARemoteProfileNotifier2 : public IOTARemoteProfileNotifier {
 public:
  virtual void AfterDeploy(bool Success, const IOTARemoteProfilePtr& Profile) = 0;
  virtual void AfterRun(bool Success, const IOTARemoteProfilePtr& Profile) = 0;
};

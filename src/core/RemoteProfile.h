// Remote profile. TRemoteProfile is the only implementation of the host's
// IOTARemoteProfile and of the program's IRemoteProfile (its shared agent client).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "core/RemoteProfileFwd.h"
#include "host/AgentClient.h"
#include "host/PlatformSDK.h"
#include "host/ToolsApi.h"

/// The program's own view of a profile: its shared agent client.
class IRemoteProfile {
 public:
  virtual ~IRemoteProfile() = default;
  virtual TRAClientPtr GetClient(const IOTAPlatformSDKPtr& SDK, bool SetSysRoot) = 0;
  virtual void ReleaseClient() = 0;
  virtual TRAClientPtr CloneClient() = 0;
};

/// Fired after any delivered change.
using TProfileNotifyEvent = std::function<void(TRemoteProfile& Sender)>;
/// Fired after a rename (old name) or a platform change (old platform).
using TNameChangedEvent = std::function<void(TRemoteProfile& Sender, const std::string& OldName)>;

/// TOTARemoteProfileCredential to the agent's TRACredential, field for field.
void TOTARemoteProfileCredential2TRACredential(const TOTARemoteProfileCredential& Src, TRACredential& Dst);
TRACredential ToTRACredential(const TOTARemoteProfileCredential& Src);
TOTARemoteProfileCredential ToOTACredential(const TRACredential& Src);

class TRemoteProfile : public IOTARemoteProfile,
                       public IRemoteProfile,
                       public std::enable_shared_from_this<TRemoteProfile> {
 public:
  /// Stores every argument; fires nothing and validates nothing.
  TRemoteProfile(std::string Name, std::string PlatformName, std::string HostName, std::int32_t PortNumber,
                 TOTARemoteProfileCredential Credential, std::string SystemRoot, TOTARemoteProfilePathArray Paths,
                 TProfileNotifyEvent OnChange, TNameChangedEvent OnNameChange, TNameChangedEvent OnPlatformChange);
  ~TRemoteProfile() override;
  TRemoteProfile(const TRemoteProfile&) = delete;
  TRemoteProfile& operator=(const TRemoteProfile&) = delete;

  std::string GetName() const override { return FName; }
  std::string GetPlatformName() const override { return FPlatformName; }
  std::string GetHostName() const override { return FHostName; }
  std::int32_t GetPortNumber() const override { return FPortNumber; }
  TOTARemoteProfileCredential GetCredential() const override { return FCredential; }
  std::string GetSystemRoot() const override { return FSystemRoot; }
  TOTARemoteProfilePathArray GetPaths() const override { return FPaths; }

  void SetName(const std::string& Value) override;
  void SetPlatformName(const std::string& Value) override;
  void SetHostName(const std::string& Value) override;
  void SetPortNumber(std::int32_t Value) override;
  void SetCredential(const TOTARemoteProfileCredential& Value) override;
  void SetSystemRoot(const std::string& Value) override;
  void SetPaths(const TOTARemoteProfilePathArray& Value) override;

  void BeginUpdate() override;
  void EndUpdate() override;

  // IRemoteProfile, in remote/ProfileClient.cpp
  TRAClientPtr GetClient(const IOTAPlatformSDKPtr& SDK, bool SetSysRoot) override;
  void ReleaseClient() override;
  TRAClientPtr CloneClient() override;

  /// Introspection for tests and diagnostics.
  std::int32_t ClientUseCount() const { return FClientUseCount; }
  bool HasClient() const { return FClient != nullptr; }

 private:
  void Changed();
  TRAClientPtr NewClient() const;  // a fresh client set up from this profile's fields

  std::string FName;
  std::string FPlatformName;
  std::string FHostName;
  std::int32_t FPortNumber;
  TOTARemoteProfileCredential FCredential;
  std::string FSystemRoot;
  TOTARemoteProfilePathArray FPaths;
  TProfileNotifyEvent FOnChange;
  TNameChangedEvent FOnNameChange;
  TNameChangedEvent FOnPlatformChange;
  TRAClientPtr FClient;
  bool FSystemRootFlag = true;  // SetSystemRoot clears it; nothing reads it
  std::int32_t FClientUseCount = 0;
  std::int32_t FUpdateCount = 0;
  bool FChangePending = false;
};

// The operation frame shared by every remote operation (transfers, the SDK cache, queries
// and launch), so that no operation repeats it. The constructor takes the client and stores
// the callback parameters; the destructor resets them and releases the client (also when
// an exception passes); Start connects with its notices, Finish sends the last one.
#pragma once

#include <cstdint>
#include <string>

#include "core/RemoteProfileManager.h"

class TOperationFrame {
 public:
  /// Takes the profile's shared client (ClientFromProfile with the system root wanted), then
  /// SetCallbackParams (Callback, ProgressProc, OverwriteControl, state 1, ByteCountFormat).
  TOperationFrame(TRemoteProfileManager& Manager, IOTARemoteProfilePtr Profile,
                  const IOTAConnectionCallbackPtr& Callback, const TOTAProgressProc& ProgressProc,
                  TOTAFileOverwriteControl OverwriteControl, const std::string& ByteCountFormat);
  /// SetCallbackParams (none, none, 0, 1, empty), then ReleaseProfileClient.
  ~TOperationFrame();
  TOperationFrame(const TOperationFrame&) = delete;
  TOperationFrame& operator=(const TOperationFrame&) = delete;

  /// The start of a long operation: notice 0 (Count, Title), notice 1 (0, Count,
  /// "Connecting to remote machine"), Connect when not connected; on any failure the
  /// connection error report (notice 2, notice 3). Answers whether the work may begin.
  bool Start(std::int32_t Count, const std::string& Title);
  /// The connection alone (the light frames of queries and launch): Connect with the
  /// manager as IConnectionListener when the client is not connected. Answers whether it is.
  bool Connect();
  /// The connection error's text: the client's GetLastError when not connected and not
  /// empty, otherwise the connection-failed text with the profile's host name and port.
  std::string ConnectionErrorText() const;
  /// The finished notice, unless the operation state is 2 (cancelled).
  void Finish();

  /// The shared client; nullptr when the profile has none (no IRemoteProfile, no library).
  TRAClient* Client() const { return FClient.get(); }
  bool Cancelled() const { return FManager.GetCallbackParams().OperationState == 2; }

 private:
  TRemoteProfileManager& FManager;
  IOTARemoteProfilePtr FProfile;
  TRAClientPtr FClient;  // kept for the frame's lifetime, even if a change drops the profile's
};

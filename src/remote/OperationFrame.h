// Part 3.1: the operation frame shared by every remote operation of Parts 3.2 to 3.5, so
// that no operation repeats it. Steps 1-2 happen in the constructor, step 7 in the
// destructor (also when an exception passes); Start is steps 3-5, Finish step 6.
#pragma once

#include <cstdint>
#include <string>

#include "core/RemoteProfileManager.h"

class TOperationFrame {
 public:
  /// Step 1: the profile's shared client (ClientFromProfile with the system root wanted);
  /// step 2: SetCallbackParams (Callback, ProgressProc, OverwriteControl, state 1, ByteCountFormat).
  TOperationFrame(TRemoteProfileManager& Manager, IOTARemoteProfilePtr Profile,
                  const IOTAConnectionCallbackPtr& Callback, const TOTAProgressProc& ProgressProc,
                  TOTAFileOverwriteControl OverwriteControl, const std::string& ByteCountFormat);
  /// Step 7: SetCallbackParams (none, none, 0, 1, empty), then ReleaseProfileClient.
  ~TOperationFrame();
  TOperationFrame(const TOperationFrame&) = delete;
  TOperationFrame& operator=(const TOperationFrame&) = delete;

  /// Steps 3 to 5 of a long operation: notice 0 (Count, Title), notice 1 (0, Count,
  /// "Connecting to remote machine"), Connect when not connected; on any failure the
  /// connection error report (notice 2, notice 3). Answers whether the work may begin.
  bool Start(std::int32_t Count, const std::string& Title);
  /// Step 4 alone (the light frames of Parts 3.4 and 3.5): Connect with the manager as
  /// IConnectionListener when the client is not connected. Answers whether it is.
  bool Connect();
  /// Step 5's text: the client's GetLastError when not connected and not empty,
  /// otherwise the connection-failed text with the profile's host name and port.
  std::string ConnectionErrorText() const;
  /// Step 6: the finished notice, unless the operation state is 2 (cancelled).
  void Finish();

  /// The shared client; nullptr when the profile has none (no IRemoteProfile, no library).
  TRAClient* Client() const { return FClient.get(); }
  bool Cancelled() const { return FManager.GetCallbackParams().OperationState == 2; }

 private:
  TRemoteProfileManager& FManager;
  IOTARemoteProfilePtr FProfile;
  TRAClientPtr FClient;  // kept for the frame's lifetime, even if a change drops the profile's
};

// Agent connection and operation frame: the manager's client access, the callback
// parameters, progress notices, the connection test and the connection listener; plus
// TOperationFrame (OperationFrame.h), the frame every operation runs in.
#include "remote/OperationFrame.h"

#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "remote/ConnectionListenerAdapter.h"
#include "remote/ProfileClient.h"

// ---- TRemoteProfileManager: client access, progress, connection ----------------------

TRAClientPtr TRemoteProfileManager::ClientFromProfile(const IOTARemoteProfilePtr& Profile, bool SetSysRoot) {
  if (!FPlatformSDK) SetSysRoot = false;  // no SDK: no system root is ever sent
  const auto Remote = std::dynamic_pointer_cast<IRemoteProfile>(Profile);
  return Remote ? Remote->GetClient(FPlatformSDK, SetSysRoot) : nullptr;
}

void TRemoteProfileManager::ReleaseProfileClient(const IOTARemoteProfilePtr& Profile) {
  if (const auto Remote = std::dynamic_pointer_cast<IRemoteProfile>(Profile)) Remote->ReleaseClient();
}

// The use count keeps the client (and its connection) alive until the matching EndOperation.
void TRemoteProfileManager::BeginOperation(const IOTARemoteProfilePtr& Profile) { ClientFromProfile(Profile, true); }

void TRemoteProfileManager::EndOperation(const IOTARemoteProfilePtr& Profile) { ReleaseProfileClient(Profile); }

void TRemoteProfileManager::SetPlatformSDK(const IOTAPlatformSDKPtr& SDK) {
  if (SDK != FPlatformSDK) FPlatformSDK = SDK;
}

void TRemoteProfileManager::SetCallbackParams(const IOTAConnectionCallbackPtr& Callback,
                                              const TOTAProgressProc& ProgressProc,
                                              TOTAFileOverwriteControl OverwriteControl,
                                              std::uint8_t OperationState, const std::string& ByteCountFormat) {
  FCallbackParams.Callback = Callback;
  FCallbackParams.ProgressProc = ProgressProc;
  FCallbackParams.OverwriteControl = OverwriteControl;
  FCallbackParams.OperationState = OperationState;
  FCallbackParams.ByteCountFormat = ByteCountFormat;
}

bool TRemoteProfileManager::UpdateProgress(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count,
                                           const std::string& Text, const std::string& Detail1,
                                           const std::string& Detail2, std::int32_t Position) {
  if (!FCallbackParams.ProgressProc) return true;
  // A copy: the procedure may end the operation, and with it the stored parameters.
  const TOTAProgressProc Proc = FCallbackParams.ProgressProc;
  return Proc(ProgressType, Index, Count, Text, Detail1, Detail2, Position);
}

bool TRemoteProfileManager::UpdateProgressForm(TOTAProgressType ProgressType, std::int32_t Index,
                                               std::int32_t Count, const std::string& Text,
                                               const std::string& Detail1, const std::string& Detail2,
                                               std::int32_t Position) {
  const IProgressDisplayPtr Display = HostServices().ProgressDisplay;
  // No display installed: nothing to show and nobody to cancel (docs/DECISIONS.md).
  if (!Display) return true;
  return Display->UpdateProgress(ProgressType, Index, Count, Text, Detail1, Detail2, Position,
                                 FCloseProgressWhenDone);
}

TOTAProgressProc TRemoteProfileManager::ProgressFormProc() {
  std::weak_ptr<TRemoteProfileManager> Self = weak_from_this();
  return [Self](TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count, const std::string& Text,
                const std::string& Detail1, const std::string& Detail2, std::int32_t Position) {
    const auto Manager = Self.lock();
    return Manager ? Manager->UpdateProgressForm(ProgressType, Index, Count, Text, Detail1, Detail2, Position) : true;
  };
}

bool TRemoteProfileManager::TestConnection(const IOTARemoteProfilePtr& Profile, std::string& ErrorMessage,
                                           const IOTAConnectionCallbackPtr& Callback) {
  ErrorMessage.clear();
  const TConnectionListenerAdapterPtr Listener =
      Callback ? std::make_shared<TConnectionListenerAdapter>(Callback) : nullptr;
  // A fresh client, never the profile's shared one.
  const TRAClientPtr Client = Profile ? CreateProfileClient(*Profile) : nullptr;
  if (!Client) {
    if (Profile) ErrorMessage = ConnectionFailedText(Profile->GetHostName(), Profile->GetPortNumber());
    return false;
  }
  const bool Connected = Client->Connect(Listener.get());
  if (Connected)
    Client->Disconnect();
  else
    ErrorMessage = Client->GetLastError();
  return Connected;
}

bool TRemoteProfileManager::Retry() {
  const IOTAConnectionCallbackPtr Callback = FCallbackParams.Callback;
  return Callback ? Callback->Retry() : false;
}

bool TRemoteProfileManager::Abort() {
  const IOTAConnectionCallbackPtr Callback = FCallbackParams.Callback;
  return Callback ? Callback->Abort() : false;
}

// ---- TOperationFrame ----------------------------------------------------------------

TOperationFrame::TOperationFrame(TRemoteProfileManager& Manager, IOTARemoteProfilePtr Profile,
                                 const IOTAConnectionCallbackPtr& Callback, const TOTAProgressProc& ProgressProc,
                                 TOTAFileOverwriteControl OverwriteControl, const std::string& ByteCountFormat)
    : FManager(Manager), FProfile(std::move(Profile)) {
  FClient = FManager.ClientFromProfile(FProfile, true);
  try {
    FManager.SetCallbackParams(Callback, ProgressProc, OverwriteControl, 1, ByteCountFormat);
  } catch (...) {
    FManager.ReleaseProfileClient(FProfile);  // the destructor does not run for a failed constructor
    throw;
  }
}

TOperationFrame::~TOperationFrame() {
  FManager.SetCallbackParams(nullptr, nullptr, focAlwaysReplace, 1, "");
  FManager.ReleaseProfileClient(FProfile);
}

bool TOperationFrame::Connect() {
  if (!FClient) return false;
  if (FClient->IsConnected()) return true;
  return FClient->Connect(&FManager);
}

bool TOperationFrame::Start(std::int32_t Count, const std::string& Title) {
  // Notice 0 then notice 1; a false answer from the first skips the second.
  const bool Ready = FManager.UpdateProgress(ptStart, -1, Count, Title, "", "", -1) &&
                     FManager.UpdateProgress(ptProgress, 0, Count, sConnectingToRemoteMachine, "", "", -1) &&
                     Connect();
  if (Ready) return true;
  FManager.UpdateProgress(ptError, -1, -1, ConnectionErrorText(), "", "", -1);
  FManager.UpdateProgress(ptFinished, -1, -1, "", "", "", -1);
  return false;
}

std::string TOperationFrame::ConnectionErrorText() const {
  if (FClient && !FClient->IsConnected()) {
    const std::string AgentText = FClient->GetLastError();
    if (!AgentText.empty()) return AgentText;
  }
  return FProfile ? ConnectionFailedText(FProfile->GetHostName(), FProfile->GetPortNumber())
                  : ConnectionFailedText("", 0);
}

void TOperationFrame::Finish() {
  if (!Cancelled()) FManager.UpdateProgress(ptFinished, -1, -1, "", "", "", -1);
}

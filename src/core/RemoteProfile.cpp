// Remote profile: fields, setters and the update bracket. The shared agent client
// (GetClient, ReleaseClient, CloneClient) lives in remote/ProfileClient.cpp.
#include "core/RemoteProfile.h"

#include "core/PathFunctions.h"

void TOTARemoteProfileCredential2TRACredential(const TOTARemoteProfileCredential& Src, TRACredential& Dst) {
  Dst.PasswordOrFile = Src.PasswordOrFile;
  Dst.IsPassword = Src.IsPassword;
  Dst.IsEncrypted = Src.IsEncrypted;
}

TRACredential ToTRACredential(const TOTARemoteProfileCredential& Src) {
  TRACredential Dst;
  TOTARemoteProfileCredential2TRACredential(Src, Dst);
  return Dst;
}

TOTARemoteProfileCredential ToOTACredential(const TRACredential& Src) {
  return {Src.PasswordOrFile, Src.IsPassword, Src.IsEncrypted};
}

TRemoteProfile::TRemoteProfile(std::string Name, std::string PlatformName, std::string HostName,
                               std::int32_t PortNumber, TOTARemoteProfileCredential Credential, std::string SystemRoot,
                               TOTARemoteProfilePathArray Paths, TProfileNotifyEvent OnChange,
                               TNameChangedEvent OnNameChange, TNameChangedEvent OnPlatformChange)
    : FName(std::move(Name)),
      FPlatformName(std::move(PlatformName)),
      FHostName(std::move(HostName)),
      FPortNumber(PortNumber),
      FCredential(std::move(Credential)),
      FSystemRoot(std::move(SystemRoot)),
      FPaths(std::move(Paths)),
      FOnChange(std::move(OnChange)),
      FOnNameChange(std::move(OnNameChange)),
      FOnPlatformChange(std::move(OnPlatformChange)) {}

// Frees the cached client and nothing else (the client disconnects in its own destructor).
TRemoteProfile::~TRemoteProfile() = default;

void TRemoteProfile::SetHostName(const std::string& Value) {
  if (FHostName == Value) return;
  FHostName = Value;
  Changed();
}

void TRemoteProfile::SetPortNumber(std::int32_t Value) {
  if (FPortNumber == Value) return;
  FPortNumber = Value;
  Changed();
}

void TRemoteProfile::SetCredential(const TOTARemoteProfileCredential& Value) {
  // Deliberately narrow: a change of IsEncrypted alone is not a change.
  if (FCredential.IsPassword == Value.IsPassword && FCredential.PasswordOrFile == Value.PasswordOrFile) return;
  FCredential = Value;
  Changed();
}

void TRemoteProfile::SetSystemRoot(const std::string& Value) {
  if (FSystemRoot == Value) return;
  FSystemRoot = Value;
  FSystemRootFlag = false;
  Changed();
}

void TRemoteProfile::SetPaths(const TOTARemoteProfilePathArray& Value) {
  // Identity, not contents: an array edited in place and passed back is no change.
  if (FPaths.SameArray(Value)) return;
  FPaths = Value;
  Changed();
}

void TRemoteProfile::SetName(const std::string& Value) {
  if (FName == Value) return;
  const std::string OldName = FName;
  FName = Value;
  SetSystemRoot(ReplacePathPart(FSystemRoot, OldName, Value));
  Changed();
  if (FOnNameChange) FOnNameChange(*this, OldName);
}

void TRemoteProfile::SetPlatformName(const std::string& Value) {
  if (FPlatformName == Value) return;
  const std::string OldPlatform = FPlatformName;
  FPlatformName = Value;
  Changed();
  if (FOnPlatformChange) FOnPlatformChange(*this, OldPlatform);
}

void TRemoteProfile::BeginUpdate() { ++FUpdateCount; }

void TRemoteProfile::EndUpdate() {
  --FUpdateCount;  // unbalanced calls are not guarded against
  if (FChangePending && FUpdateCount == 0) Changed();
}

void TRemoteProfile::Changed() {
  FChangePending = true;
  if (FUpdateCount != 0) return;
  FClient.reset();  // the next use connects with the new settings
  FChangePending = false;
  if (FOnChange) FOnChange(*this);
}

// The profile's shared agent client (TRemoteProfile's GetClient, ReleaseClient,
// CloneClient), counted by FClientUseCount.
#include "remote/ProfileClient.h"

#include "core/RemoteProfile.h"
#include "core/Text.h"
#include "host/HostServices.h"

namespace {

/// Every occurrence of Part in Text removed, ignoring case (the host's StringReplace with
/// rfReplaceAll and rfIgnoreCase and an empty new pattern). An empty Part removes nothing.
std::string RemoveAllIgnoringCase(const std::string& Text, const std::string& Part) {
  if (Part.empty()) return Text;
  const std::string LowerText = LowerCase(Text);
  const std::string LowerPart = LowerCase(Part);
  std::string Result;
  std::size_t From = 0;
  for (std::size_t At = LowerText.find(LowerPart); At != std::string::npos; At = LowerText.find(LowerPart, From)) {
    Result.append(Text, From, At - From);
    From = At + Part.size();
  }
  Result.append(Text, From, std::string::npos);
  return Result;
}

/// The system root a client gets: the SDK's, without its local-root part, root macros expanded.
std::string SysRootFromSDK(const IOTAPlatformSDK& SDK) {
  const std::string Root = RemoveAllIgnoringCase(SDK.GetSystemRoot(), SDK.GetLocalRootPart());
  const auto& Environment = HostServices().Environment;
  return Environment ? Environment->ExpandRootMacro(Root) : Root;
}

}  // namespace

TRAClientPtr CreateProfileClient(const IOTARemoteProfile& Profile) {
  TRAClientFactory* Library = TRAClientFactory::GetInstance();
  if (!Library) return nullptr;
  TRAClientPtr Client = Library->CreateClient(Profile.GetName(), "");
  if (!Client) return nullptr;
  Client->SetHostName(Profile.GetHostName());
  Client->SetPort(Profile.GetPortNumber());
  Client->SetPlatform(Profile.GetPlatformName());
  TRACredential Credential;
  TOTARemoteProfileCredential2TRACredential(Profile.GetCredential(), Credential);
  Client->SetCredential(Credential);
  return Client;
}

TRAClientPtr TRemoteProfile::NewClient() const { return CreateProfileClient(*this); }

TRAClientPtr TRemoteProfile::GetClient(const IOTAPlatformSDKPtr& SDK, bool SetSysRoot) {
  if (!FClient) FClient = NewClient();
  if (!FClient) return nullptr;  // no agent library: no client, and no use to count
  // Also for a client that already existed: the SDK of this operation decides the root.
  if (SetSysRoot && SDK) FClient->SetSysRoot(SysRootFromSDK(*SDK));
  ++FClientUseCount;
  return FClient;
}

void TRemoteProfile::ReleaseClient() {
  // Counted off also when a delivered change dropped the client meanwhile, so the count is
  // always the number of uses still open and the outermost release disconnects.
  if (FClientUseCount > 0) --FClientUseCount;
  if (!FClient || FClientUseCount != 0) return;
  // The client's lifetime is the factory's business: disconnect and forget, no destroy.
  FClient->Disconnect();
  FClient.reset();
}

TRAClientPtr TRemoteProfile::CloneClient() { return NewClient(); }

// SDK file cache: GetProfileFiles pulls every path item of the current platform SDK into
// the profile's local root; DeployMungerPatch; the manager as the agent's IFileIteration.
#include <filesystem>

#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "remote/OperationFrame.h"

namespace {

/// DeployMungerPatch's PutFile attribute value, the agent's; passed as it stands.
constexpr std::int32_t kMungerPatchAttributes = 0x1000000;
/// Relative to the agent's working directory; the agent's path, passed as it stands.
constexpr const char kMungerPatchDestination[] = "..\\..\\";

/// Text with a trailing path delimiter (the host's IncludeTrailingPathDelimiter).
std::string WithTrailingDelimiter(std::string Text) {
  const char Delimiter = static_cast<char>(std::filesystem::path::preferred_separator);
  if (Text.empty() || Text.back() != Delimiter) Text += Delimiter;
  return Text;
}

}  // namespace

bool TRemoteProfileManager::GetProfileFiles(const IOTARemoteProfilePtr& Profile,
                                            TOTAFileOverwriteControl OverwriteControl,
                                            const IOTAConnectionCallbackPtr& Callback,
                                            const TOTAProgressProc& ProgressProc) {
  const TOTAProgressProc Progress = ProgressProc ? ProgressProc : ProgressFormProc();
  TOperationFrame Frame(*this, Profile, Callback, Progress, OverwriteControl, sReceivedBytes);
  // No SDK set: nothing to pull (docs/DECISIONS.md).
  const TOTARemoteProfilePathArray Items = FPlatformSDK ? FPlatformSDK->GetPathItems() : TOTARemoteProfilePathArray();
  const auto Count = static_cast<std::int32_t>(Items.size());
  if (!Frame.Start(Count, sUpdatingLocalFileCache)) return false;

  const std::string Platform = Profile->GetPlatformName();
  if (Platform != "Win32" && Platform != "Win64") DeployMungerPatch(*Frame.Client());

  bool Complete = true;  // the answer (docs/DECISIONS.md): no item failed, nothing stopped the loop
  for (std::int32_t I = 0; I < Count; ++I) {
    const TOTARemoteProfilePathItem& Item = Items[static_cast<std::size_t>(I)];
    if (Frame.Cancelled() || !UpdateProgress(ptProgress, I + 1, Count, sUpdatingFilesFromRemote, "", "", -1)) {
      Complete = false;
      break;
    }
    // The framework type pulls a framework (Mask: its name, even when empty); every other
    // type a directory of files.
    const bool Fetched =
        Item.Type == ptFramework
            ? Frame.Client()->GetFrameworkFiles(Item.Path, Item.Mask, Item.IncludeSubDir, this, this)
            : Frame.Client()->GetFiles(Item.Path, Item.IncludeSubDir, Item.Mask, this, this);
    if (!Fetched) {
      // One failing path does not end the update.
      UpdateProgress(ptError, -1, -1, Frame.Client()->GetLastError(), "", "", -1);
      Complete = false;
    }
    if (Frame.Cancelled() ||
        (Fetched &&
         !UpdateProgress(ptProgress, I + 1, Count, Format(sUpdatedFilesFromRemotePath, {Item.Path}), "", "", -1))) {
      Complete = false;
      break;
    }
  }
  Frame.Finish();
  return Complete;
}

bool TRemoteProfileManager::GetProfileFilesWithProgress(const IOTARemoteProfilePtr& Profile) {
  return GetProfileFiles(Profile, focAsk, nullptr, ProgressFormProc());
}

void TRemoteProfileManager::DeployMungerPatch(TRAClient& Client) {
  const IOTAEnvironmentPtr Environment = HostServices().Environment;
  const std::string Root = Environment ? Environment->GetVariable("ZEPH") : std::string();
  if (Root.empty()) return;
  // "Hestrel" + delimiter + "munger.patch" under the installation root; the host's own
  // delimiter, so the file is found on this host (docs/DECISIONS.md).
  const std::string LocalFile = WithTrailingDelimiter(WithTrailingDelimiter(Root) + "Hestrel") + "munger.patch";
  // No second destination, no file listener; the result is not examined.
  Client.PutFile(kMungerPatchDestination, LocalFile, kMungerPatchAttributes, "", nullptr);
}

// IFileIteration: the agent stops descending once the user has cancelled.
bool TRemoteProfileManager::EnterDirectory(const std::string& /*RemoteDirectory*/) {
  return FCallbackParams.OperationState != 2;
}

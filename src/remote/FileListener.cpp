// The manager as the agent's IFileListener: overwrite questions, byte progress and the
// turning of a cancelled progress display into a cancelled operation.
#include <algorithm>
#include <cmath>
#include <ctime>

#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "core/RemoteProfileManager.h"

namespace {

/// A time stamp as the overwrite question shows it: local time, "2026-11-22 21:31:04"
/// (docs/DECISIONS.md).
std::string DateTimeText(TDateTime Time) {
  const std::time_t Seconds = std::chrono::system_clock::to_time_t(Time);
  std::tm Local{};
  localtime_r(&Seconds, &Local);
  char Buffer[32];
  const std::size_t Length = std::strftime(Buffer, sizeof Buffer, "%Y-%m-%d %H:%M:%S", &Local);
  return std::string(Buffer, Length);
}

/// The overwrite question; only Size2 decides whether the sizes are unknown (-1): a known
/// Size1 with an unknown Size2 still gets the short form.
std::string OverwriteQuestion(const std::string& FileName, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                              std::int64_t Size2) {
  if (Size2 == -1) return Format(sOverwriteQuestionShort, {FileName, DateTimeText(Time1), DateTimeText(Time2)});
  return Format(sOverwriteQuestionLong, {FileName, Size1, DateTimeText(Time1), Size2, DateTimeText(Time2)});
}

/// The byte progress position in percent. The 4096-byte rule is deliberate: anything below 4096
/// bytes done (or negative) shows 100 percent. Rounding is to nearest, ties to even, as
/// the host's Round. A total of 0 or less cannot be divided by: 100 (docs/DECISIONS.md).
std::int32_t CopiedPercent(std::int64_t Done, std::int64_t Total) {
  if (Done < 4096 || Total <= 0) return 100;
  const double Percent = std::nearbyint(static_cast<double>(Done) / static_cast<double>(Total) * 100.0);
  return static_cast<std::int32_t>(std::min(Percent, 2147483647.0));  // Done far beyond Total: no overflow
}

}  // namespace

bool TRemoteProfileManager::Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1,
                                      TDateTime Time2, std::int64_t Size2) {
  if (FCallbackParams.OperationState == 2) return false;
  switch (FCallbackParams.OverwriteControl) {
    case focAlwaysReplace: return true;
    case focNeverReplace: return false;
    case focAsk: break;
    default: return true;  // any other value replaces
  }
  const IOTAMessageServicesPtr Messages = HostServices().Messages;
  if (!Messages) return false;  // nobody to ask: keep the file (docs/DECISIONS.md)
  const TMsgDlgBtn Answer =
      Messages->MessageDlg(OverwriteQuestion(FileName, Time1, Size1, Time2, Size2), TMsgDlgType::mtConfirmation,
                           {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo, TMsgDlgBtn::mbCancel, TMsgDlgBtn::mbNoToAll,
                            TMsgDlgBtn::mbYesToAll});
  // These changes last until the operation frame resets the callback parameters.
  switch (Answer) {
    case TMsgDlgBtn::mbYes: return true;
    case TMsgDlgBtn::mbYesToAll: FCallbackParams.OverwriteControl = focAlwaysReplace; return true;
    case TMsgDlgBtn::mbNoToAll: FCallbackParams.OverwriteControl = focNeverReplace; return false;
    case TMsgDlgBtn::mbCancel: FCallbackParams.OperationState = 2; return false;
    default: return false;
  }
}

std::uint8_t TRemoteProfileManager::BytesCopied(const std::string& /*S1*/, const std::string& S2,
                                                const std::string& S3, std::int64_t Done, std::int64_t Total,
                                                TStream* /*Stream*/) {
  if (FCallbackParams.OperationState == 2) return FCallbackParams.OperationState;
  const std::string Text = Format(FCallbackParams.ByteCountFormat, {Done, Total});
  if (!UpdateProgress(ptProgress, -1, -1, Text, S2, S3, CopiedPercent(Done, Total)))
    FCallbackParams.OperationState = 2;
  return FCallbackParams.OperationState;
}

void TRemoteProfileManager::PreCopy(const std::string& /*S1*/, const std::string& S2, const std::string& S3,
                                    std::int64_t /*Size*/) {
  if (FCallbackParams.OperationState == 2) return;
  if (!UpdateProgress(ptProgress, -1, -1, sCopyingFile, S2, S3, -1)) FCallbackParams.OperationState = 2;
}

std::uint8_t TRemoteProfileManager::Accept(const std::string& /*S1*/, const std::string& /*S2*/,
                                           bool /*IsDirectory*/, std::int32_t& /*Flags*/) {
  return FCallbackParams.OperationState == 2 ? 3 : 1;
}

// A file the agent could not copy gets its own error notice, so that every failure of a path
// reaches the progress display, not only the last one the agent answers (docs/DECISIONS.md).
bool TRemoteProfileManager::ContinueOnError(const std::string& /*S1*/, const std::string& S2) {
  if (FCallbackParams.OperationState == 1) UpdateProgress(ptError, -1, -1, S2, "", "", -1);
  return FCallbackParams.OperationState == 1;
}

void TRemoteProfileManager::Deleted(const std::string& /*S1*/, const std::string& /*S2*/) {}

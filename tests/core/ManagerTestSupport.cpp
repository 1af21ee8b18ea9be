#include "ManagerTestSupport.h"

namespace {
std::string NameOf(const IOTARemoteProfilePtr& P) { return P ? P->GetName() : std::string("nil"); }
}  // namespace

TEventRecorder::TEventRecorder() {
  using M = TRemoteProfileManager;
  FIds.push_back(M::FEvRemoteProfileAdded.Add([this](const auto& P) { Log.push_back("Added(" + NameOf(P) + ")"); }));
  FIds.push_back(
      M::FEvRemoteProfileRemoved.Add([this](const auto& P) { Log.push_back("Removed(" + NameOf(P) + ")"); }));
  FIds.push_back(M::FEvRemoteProfileRenamed.Add(
      [this](const auto& P, const std::string& Old) { Log.push_back("Renamed(" + NameOf(P) + "," + Old + ")"); }));
  FIds.push_back(
      M::FEvRemoteProfileChanged.Add([this](const auto& P) { Log.push_back("Changed(" + NameOf(P) + ")"); }));
  FIds.push_back(M::FEvRemoteFileRemoved.Add(
      [this](const auto& P, const std::string& F) { Log.push_back("FileRemoved(" + NameOf(P) + "," + F + ")"); }));
  FIds.push_back(M::FEvAfterRun.Add([this](const bool& S, const auto& P) {
    Log.push_back(std::string("AfterRun(") + (S ? "true" : "false") + "," + NameOf(P) + ")");
  }));
  FIds.push_back(M::FEvAfterDeploy.Add([this](const bool& S, const auto& P) {
    Log.push_back(std::string("AfterDeploy(") + (S ? "true" : "false") + "," + NameOf(P) + ")");
  }));
}

TEventRecorder::~TEventRecorder() {
  using M = TRemoteProfileManager;
  M::FEvRemoteProfileAdded.Remove(FIds[0]);
  M::FEvRemoteProfileRemoved.Remove(FIds[1]);
  M::FEvRemoteProfileRenamed.Remove(FIds[2]);
  M::FEvRemoteProfileChanged.Remove(FIds[3]);
  M::FEvRemoteFileRemoved.Remove(FIds[4]);
  M::FEvAfterRun.Remove(FIds[5]);
  M::FEvAfterDeploy.Remove(FIds[6]);
}

void TRecordingNotifier::ProfileRenamed(const IOTARemoteProfilePtr& P, const std::string& Old) {
  FLog.push_back("Notifier" + FTag + ".Renamed(" + NameOf(P) + "," + Old + ")");
}
void TRecordingNotifier::ProfileChanged(const IOTARemoteProfilePtr& P) {
  FLog.push_back("Notifier" + FTag + ".Changed(" + NameOf(P) + ")");
}
void TRecordingNotifier::ProfileAdded(const IOTARemoteProfilePtr& P) {
  FLog.push_back("Notifier" + FTag + ".Added(" + NameOf(P) + ")");
}
void TRecordingNotifier::ProfileRemoved(const IOTARemoteProfilePtr& P) {
  FLog.push_back("Notifier" + FTag + ".Removed(" + NameOf(P) + ")");
}

void TRecordingNotifier2::ProfileRenamed(const IOTARemoteProfilePtr& P, const std::string& Old) {
  FLog.push_back("Notifier" + FTag + ".Renamed(" + NameOf(P) + "," + Old + ")");
}
void TRecordingNotifier2::ProfileChanged(const IOTARemoteProfilePtr& P) {
  FLog.push_back("Notifier" + FTag + ".Changed(" + NameOf(P) + ")");
}
void TRecordingNotifier2::ProfileAdded(const IOTARemoteProfilePtr& P) {
  FLog.push_back("Notifier" + FTag + ".Added(" + NameOf(P) + ")");
}
void TRecordingNotifier2::ProfileRemoved(const IOTARemoteProfilePtr& P) {
  FLog.push_back("Notifier" + FTag + ".Removed(" + NameOf(P) + ")");
}
void TRecordingNotifier2::AfterDeploy(bool Success, const IOTARemoteProfilePtr& P) {
  FLog.push_back("Notifier" + FTag + ".AfterDeploy(" + (Success ? "true" : "false") + "," + NameOf(P) + ")");
}
void TRecordingNotifier2::AfterRun(bool Success, const IOTARemoteProfilePtr& P) {
  FLog.push_back("Notifier" + FTag + ".AfterRun(" + (Success ? "true" : "false") + "," + NameOf(P) + ")");
}

IOTARemoteProfilePtr Add(TRemoteProfileManager& Manager, const std::string& Name, const std::string& Platform,
                         bool AsDefault, const std::string& SystemRoot) {
  return Manager.AddProfile(Name, Platform, Name + ".example", 64211, TOTARemoteProfileCredential{"enc", true, true},
                            SystemRoot, TOTARemoteProfilePathArray{}, AsDefault);
}

std::vector<std::string> NamesOf(const TRemoteProfileManager& Manager, const std::string& Platform) {
  std::vector<std::string> Names;
  for (std::int32_t I = 0; I < Manager.GetProfileCount(Platform); ++I)
    Names.push_back(Manager.GetProfile(Platform, I)->GetName());
  return Names;
}

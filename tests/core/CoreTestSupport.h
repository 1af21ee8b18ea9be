// Shared helpers of the core tests: a recorder of notifications, the manager fixture, and
// a quick way to add profiles.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/RemoteProfileManager.h"
#include "doubles/HostDoubles.h"

inline std::string NameOf(const IOTARemoteProfilePtr& P) { return P ? P->GetName() : "nil"; }

/// Records notifications as "Added(name)", "Renamed(name,old)", "AfterRun(name,true)", ...
/// Made with a tag and a log it is a notifier (of kind Base) that writes "<tag>.<entry>"
/// there; made without, it hears the manager's class events for its lifetime, into Log.
template <typename Base = IOTARemoteProfileNotifier2>
class TRecorder : public Base {
 private:
  TNames FOwnLog;  // declared before Log, which may refer to it

 public:
  TRecorder(const std::string& Tag, TNames& Log) : Log(Log), FPrefix(Tag + ".") {}
  TRecorder() : Log(FOwnLog) {
    using M = TRemoteProfileManager;
    On(M::FEvRemoteProfileAdded, [this](const auto& P) { ProfileAdded(P); });
    On(M::FEvRemoteProfileRemoved, [this](const auto& P) { ProfileRemoved(P); });
    On(M::FEvRemoteProfileChanged, [this](const auto& P) { ProfileChanged(P); });
    On(M::FEvRemoteProfileRenamed, [this](const auto& P, const std::string& Old) { ProfileRenamed(P, Old); });
    On(M::FEvAfterRun, [this](const bool& Success, const auto& P) { AfterRun(Success, P); });
    On(M::FEvAfterDeploy, [this](const bool& Success, const auto& P) { AfterDeploy(Success, P); });
  }
  TRecorder(const TRecorder&) = delete;
  ~TRecorder() override {
    for (const auto& Unsubscribe : FUnsubscribe) Unsubscribe();
  }
  void ProfileRenamed(const IOTARemoteProfilePtr& P, const std::string& Old) override { Put("Renamed", P, Old); }
  void ProfileChanged(const IOTARemoteProfilePtr& P) override { Put("Changed", P); }
  void ProfileAdded(const IOTARemoteProfilePtr& P) override { Put("Added", P); }
  void ProfileRemoved(const IOTARemoteProfilePtr& P) override { Put("Removed", P); }
  void AfterDeploy(bool Success, const IOTARemoteProfilePtr& P) { Put("AfterDeploy", P, Success ? "true" : "false"); }
  void AfterRun(bool Success, const IOTARemoteProfilePtr& P) { Put("AfterRun", P, Success ? "true" : "false"); }
  TNames& Log;

 private:
  void Put(const std::string& What, const IOTARemoteProfilePtr& P, const std::string& Arg = "") {
    Log.push_back(FPrefix + What + "(" + NameOf(P) + (Arg.empty() ? "" : "," + Arg) + ")");
  }
  template <typename TEvent, typename THandler>
  void On(TEvent& Event, THandler Handler) {
    FUnsubscribe.push_back([&Event, Id = Event.Add(Handler)] { Event.Remove(Id); });
  }
  std::string FPrefix;
  std::vector<std::function<void()>> FUnsubscribe;
};
using TEventRecorder = TRecorder<>;

/// AddProfile with the fields these tests do not look at filled in.
inline IOTARemoteProfilePtr Add(TRemoteProfileManager& Manager, const std::string& Name, const std::string& Platform,
                                bool AsDefault = false) {
  return Manager.AddProfile(Name, Platform, Name + ".example", 64211, {"enc", true, true}, "", {}, AsDefault);
}

/// The host doubles and an editable manager (no settings store).
class TManagerFixture : public THostFixture {
 protected:
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(nullptr);
};

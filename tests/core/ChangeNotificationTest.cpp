// Part 1.3: SendNotify, the notifier registry and the class events.
#include <gtest/gtest.h>

#include "ManagerTestSupport.h"
#include "core/RemoteProfileManager.h"
#include "core/RemoteProfileMonitor.h"
#include "doubles/HostDoubles.h"

namespace {

class ChangeNotification : public THostFixture {
 protected:
  void TearDown() override {
    TRemoteProfileManager::FDisableNotifications = false;
    THostFixture::TearDown();
  }
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(nullptr);
  std::vector<std::string> Log;
};

}  // namespace

TEST_F(ChangeNotification, NotifiersHearBeforeClassEventsForEveryAction) {
  TEventRecorder Events;
  Manager->AddNotifier(std::make_shared<TRecordingNotifier2>("0", Events.Log));
  const auto P = Add(*Manager, "A", "Linux64");
  P->SetHostName("h");
  P->SetName("B");
  Manager->SendNotify(P, pnaAfterRun, true, "ignored");
  Manager->SendNotify(P, pnaAfterDeploy, false, "");
  Manager->RemoveProfile(P);
  EXPECT_EQ(Events.Log, (std::vector<std::string>{
                            "Notifier0.Added(A)", "Added(A)",                      //
                            "Notifier0.Changed(A)", "Changed(A)",                  //
                            "Notifier0.Changed(B)", "Changed(B)",                  //
                            "Notifier0.Renamed(B,A)", "Renamed(B,A)",              //
                            "Notifier0.AfterRun(true,B)", "AfterRun(true,B)",      //
                            "Notifier0.AfterDeploy(false,B)", "AfterDeploy(false,B)",  //
                            "Notifier0.Removed(B)", "Removed(B)",
                        }));
}

TEST_F(ChangeNotification, DisabledNotificationsSendNothingAndLeaveProjectsAlone) {
  TEventRecorder Events;
  TRemoteProfileMonitor Monitor;
  auto Project = Projects->AddProject("app.dproj");
  Project->SetProfile("Linux64", "A");
  Manager->AddNotifier(std::make_shared<TRecordingNotifier2>("0", Events.Log));
  TRemoteProfileManager::FDisableNotifications = true;
  const auto P = Add(*Manager, "A", "Linux64");
  P->SetHostName("changed");
  P->SetName("Renamed");
  Manager->RemoveProfile(P);
  Manager->SendNotify(P, pnaAfterRun, true, "");
  EXPECT_TRUE(Events.Log.empty());
  EXPECT_EQ(Project->GetProfile("Linux64"), "A");
  EXPECT_TRUE(Projects->Log.empty());
}

TEST_F(ChangeNotification, RemovedNotifierSlotIsSkippedAndLaterSlotsStillHear) {
  EXPECT_EQ(Manager->AddNotifier(std::make_shared<TRecordingNotifier>("0", Log)), 0);
  EXPECT_EQ(Manager->AddNotifier(std::make_shared<TRecordingNotifier>("1", Log)), 1);
  Manager->RemoveNotifier(0);
  Add(*Manager, "A", "Linux64");
  EXPECT_EQ(Log, (std::vector<std::string>{"Notifier1.Added(A)"}));
  EXPECT_EQ(Manager->AddNotifier(std::make_shared<TRecordingNotifier>("2", Log)), 2);  // indices stay stable
}

TEST_F(ChangeNotification, NotifierWithoutExtendedInterfaceMissesRunsAndDeploys) {
  Manager->AddNotifier(std::make_shared<TRecordingNotifier>("0", Log));
  const auto P = Add(*Manager, "A", "Linux64");
  P->SetPortNumber(1);
  P->SetName("B");
  Manager->SendNotify(P, pnaAfterRun, true, "");
  Manager->SendNotify(P, pnaAfterDeploy, true, "");
  Manager->RemoveProfile(P);
  EXPECT_EQ(Log, (std::vector<std::string>{"Notifier0.Added(A)", "Notifier0.Changed(A)", "Notifier0.Changed(B)",
                                           "Notifier0.Renamed(B,A)", "Notifier0.Removed(B)"}));
}

TEST_F(ChangeNotification, ActionOutsideTheSixValuesSendsNothing) {
  TEventRecorder Events;
  Manager->AddNotifier(std::make_shared<TRecordingNotifier2>("0", Events.Log));
  const auto P = Add(*Manager, "A", "Linux64");
  Events.Log.clear();
  Manager->SendNotify(P, static_cast<TProfileNotifyAction>(6), true, "");
  EXPECT_TRUE(Events.Log.empty());
}

TEST_F(ChangeNotification, FailingNotifierStopsRemoveProfileBeforeTheProfileLeaves) {
  class TThrowing : public TRecordingNotifier {
   public:
    using TRecordingNotifier::TRecordingNotifier;
    void ProfileRemoved(const IOTARemoteProfilePtr&) override { throw std::runtime_error("notifier failed"); }
  };
  const auto P = Add(*Manager, "A", "Linux64");
  Manager->AddNotifier(std::make_shared<TThrowing>("0", Log));
  EXPECT_THROW(Manager->RemoveProfile(P), std::runtime_error);
  EXPECT_EQ(Manager->GetProfile("A"), P);
}

// Change notification: the event lists, SendNotify with the notifier registry, the monitor
// that keeps projects in step, what start-up and shut-down register with the host, and the
// build-environment defaults.
#include <gtest/gtest.h>

#include "CoreTestSupport.h"
#include "core/RemoteProfileMonitor.h"
#include "host/startup/HostIntegration.h"

namespace {

TEST(Events, SendWalksTheSubscriptionsOfItsStartInOrderUntilAnException) {
  TEvent1<int> Event;
  TNames Log;
  THandlerId Second = 0;
  const auto Handler = [&](const int& N) { Log.push_back("handler " + std::to_string(N)); };
  Event.Add([&](const int& N) {
    Log.push_back("first " + std::to_string(N));
    if (N != 1) return;
    Event.Remove(Second);  // not called any more in this walk
    Event.Add(Handler);    // first called by the next Send
  });
  Second = Event.Add(Handler);
  Event.Add(Handler);  // the same function again: a subscription of its own
  Event.Send(1);
  Event.Add([](const int&) { throw std::runtime_error("stop"); });
  Event.Add(Handler);
  EXPECT_THROW(Event.Send(2), std::runtime_error);
  EXPECT_EQ(Log, (TNames{"first 1", "handler 1", "first 2", "handler 2", "handler 2"}));
}

class ChangeNotification : public TManagerFixture {};

TEST_F(ChangeNotification, NotifiersHearFirstOnlyExtendedOnesHearRunsAndDeploysAndAFailingOneStopsARemoval) {
  struct TFailing : TRecorder<> {
    using TRecorder::TRecorder;
    void ProfileRemoved(const IOTARemoteProfilePtr&) override { throw std::runtime_error("notifier failed"); }
  };
  TNames Unheard;
  const auto Kept = Add(*Manager, "Kept", "Linux64");
  EXPECT_EQ(Manager->AddNotifier(std::make_shared<TFailing>("Gone", Unheard)), 0);
  EXPECT_THROW(Manager->RemoveProfile(Kept), std::runtime_error);
  EXPECT_EQ(Manager->GetProfile("Kept"), Kept);  // the failure came before the profile left
  Manager->RemoveNotifier(0);
  Manager->RemoveNotifier(5);  // no such slot: nothing
  TEventRecorder Events;
  EXPECT_EQ(Manager->AddNotifier(std::make_shared<TRecorder<IOTARemoteProfileNotifier>>("Basic", Events.Log)), 1);
  Manager->AddNotifier(std::make_shared<TRecorder<>>("Extended", Events.Log));
  const auto Act = [&](const std::string& Name) {
    const auto P = Add(*Manager, Name, "Linux64");
    P->SetName(Name + "2");
    Manager->SendNotify(P, pnaAfterRun, true, "ignored");
    Manager->SendNotify(P, pnaAfterDeploy, false, "");
    Manager->SendNotify(P, static_cast<TProfileNotifyAction>(6), true, "");  // no such action
    Manager->RemoveProfile(P);
  };
  Act("A");
  TRemoteProfileManager::FDisableNotifications = true;  // then nothing reaches anyone
  Act("Q");
  EXPECT_EQ(Events.Log,
            (TNames{"Basic.Added(A)", "Extended.Added(A)", "Added(A)", "Basic.Changed(A2)", "Extended.Changed(A2)",
                    "Changed(A2)", "Basic.Renamed(A2,A)", "Extended.Renamed(A2,A)", "Renamed(A2,A)",
                    "Extended.AfterRun(A2,true)", "AfterRun(A2,true)", "Extended.AfterDeploy(A2,false)",
                    "AfterDeploy(A2,false)", "Basic.Removed(A2)", "Extended.Removed(A2)", "Removed(A2)"}));
}

TEST_F(ChangeNotification, TheMonitorKeepsTheOpenProjectsInStepFromStartupToShutdown) {
  const auto App = Projects->AddProject();
  const auto Plain = Projects->AddProject(/*OffersPlatforms=*/false);
  App->Profiles = {{"Linux64", "BOX"}, {"OSX32", "Box"}};  // the same name on another platform stays
  Plain->Profiles = {{"Linux64", "Box"}};
  RemoteProfileManagerStartup();
  const auto Box = Add(*Manager, "Box", "Linux64");
  Box->SetName("Server");
  EXPECT_EQ(App->Profiles, (std::map<std::string, std::string>{{"Linux64", "Server"}, {"OSX32", "Box"}}));
  Manager->RemoveProfile(Box);
  EXPECT_EQ(App->GetProfile("Linux64") + "|" + Plain->GetProfile("Linux64"), "|Box");
  EXPECT_EQ(Projects->Log, (TNames{"BeginUpdate", "EndUpdate", "BeginUpdate", "EndUpdate"}));
  Projects->GroupOpen = false;  // without an open group nothing is touched
  Manager->RemoveProfile(Add(*Manager, "Box", "OSX32"));
  Projects->GroupOpen = true;
  RemoteProfileManagerShutdown();
  EXPECT_FALSE(RemoteProfileMonitorActive());
  Manager->RemoveProfile(Add(*Manager, "Box", "OSX32"));  // nobody listens any more
  EXPECT_EQ(App->GetProfile("OSX32"), "Box");
}

TEST_F(ChangeNotification, TheEnvFileGetsEachPlatformsDefaultInTheHostsOrderFromTheManagerOrTheStore) {
  Platforms->Platforms = {{"Win32", ""}, {"iOSDevice", ""}, {"Linux64", ""}};
  Add(*Manager, "Mac", "OSX32");    // the default of its child platforms too
  Add(*Manager, "Local", "Win32");  // local targets never have a remote default
  Manager->WriteEnvOptions();
  Ini->WriteString("RemoteProfiles", "Default_Linux64", "Box");
  SaveEnvFileDefaults(*EnvFile);  // what the store holds, whatever the manager holds
  EXPECT_EQ(EnvFile->Log,
            (TNames{"Begin", "Group '$(Platform)'=='Win32'",
                    "Set DefaultProfile=", "Group '$(Profile)'=='' And '$(Platform)'=='iOSDevice'", "Set Profile=Mac",
                    "Group '$(Platform)'=='Linux64'", "Set DefaultProfile=", "End", "Group '$(Platform)'=='Win32'",
                    "Set DefaultProfile=", "Group '$(Platform)'=='iOSDevice'",
                    "Set DefaultProfile=", "Group '$(Platform)'=='Linux64'", "Set DefaultProfile=Box"}));
}

}  // namespace

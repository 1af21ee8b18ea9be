// Shared fixture of the remote-operation tests: the host doubles with the scripted agent
// library and a progress display, a manager without a settings store, and one "Mac"
// profile whose shared client is the prepared scripted agent Agent.
#pragma once

#include "core/RemoteProfileManager.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "doubles/HostDoubles.h"
#include "doubles/RemoteDoubles.h"
#include "doubles/ScriptedAgent.h"

inline const std::string kMacConnectionFailed = ConnectionFailedText("mac.local", 64211);

/// A notice without details; the start and connecting notices of an operation; the last one.
inline std::string Notice(TOTAProgressType Type, std::int32_t Index, std::int32_t Count, const std::string& Text) {
  return NoticeText(Type, Index, Count, Text, "", "", -1);
}
inline TNames Started(std::int32_t Count, const std::string& Title) {
  return {Notice(ptStart, -1, Count, Title), Notice(ptProgress, 0, Count, sConnectingToRemoteMachine)};
}
inline const std::string kFinished = Notice(ptFinished, -1, -1, "");

/// An answer that fails with an agent error text; one that runs Step inside the call.
inline TAgentAnswer Fails(const std::string& Error = "") { return {.Result = false, .Error = Error}; }
inline TAgentAnswer During(std::function<void(TAgentCallContext&)> Step, bool Result = true) {
  return {.Result = Result, .During = std::move(Step)};
}

class RemoteFixture : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Host.AgentLibrary = Library;
    Host.ProgressDisplay = Display;
    Reinstall();
    Manager = TRemoteProfileManager::Create(nullptr);
    Profile = Manager->AddProfile("Mac", "OSX32", "mac.local", 64211, {"secret", true, true}, "/cache/Mac", {}, true);
  }
  void TearDown() override {
    Manager.reset();
    Profile.reset();
    THostFixture::TearDown();
  }
  /// Prepares a fresh agent as the next client handed out.
  TScriptedAgentPtr NextAgent() { return Library->Prepared.emplace_back(std::make_shared<TScriptedAgent>()); }
  /// What a new client of the "Mac" profile is told, followed by More.
  static TNames SetupThen(const TNames& More) {
    return Then({"SetHostName(mac.local)", "SetPort(64211)", "SetPlatform(OSX32)", "SetCredential(secret,1,1)"}, More);
  }
  TRemoteProfile& Remote() const { return static_cast<TRemoteProfile&>(*Profile); }

  TScriptedAgentLibraryPtr Library = std::make_shared<TScriptedAgentLibrary>();
  std::shared_ptr<TProgressDisplayDouble> Display = std::make_shared<TProgressDisplayDouble>();
  TScriptedAgentPtr Agent = NextAgent();  ///< the profile's shared client once one is made
  TRemoteProfileManagerPtr Manager;
  IOTARemoteProfilePtr Profile;
  TProgressRecorder Progress;
  std::vector<int> Answers;  ///< what the manager answered to callbacks made inside scripted calls
};

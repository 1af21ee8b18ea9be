// Shared fixture of the remote-operation tests (Parts 3.1 to 3.5): the host doubles with
// the scripted agent library and a progress display installed, a manager without a
// settings store, and one "Mac" profile whose shared client is a prepared scripted agent.
#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "core/RemoteProfileManager.h"
#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "doubles/HostDoubles.h"
#include "doubles/RemoteDoubles.h"
#include "doubles/ScriptedAgent.h"

class RemoteFixture : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Library = std::make_shared<TScriptedAgentLibrary>();
    Display = std::make_shared<TProgressDisplayDouble>();
    Host.AgentLibrary = Library;
    Host.ProgressDisplay = Display;
    Reinstall();
    Manager = TRemoteProfileManager::Create(nullptr);
    Profile = Manager->AddProfile("Mac", "OSX32", "mac.local", 64211, {"secret", true, true}, "/cache/Mac", {}, true);
    Agent = std::make_shared<TScriptedAgent>();
    Library->Prepared.push_back(Agent);
  }
  void TearDown() override {
    Manager.reset();
    Profile.reset();
    THostFixture::TearDown();
  }

  /// What GetClient step 1 does to a new client of the "Mac" profile.
  static std::vector<std::string> ClientSetup() {
    return {"SetHostName(mac.local)", "SetPort(64211)", "SetPlatform(OSX32)", "SetCredential(secret,1,1)"};
  }
  /// ClientSetup() followed by More.
  static std::vector<std::string> SetupThen(const std::vector<std::string>& More) {
    std::vector<std::string> Result = ClientSetup();
    Result.insert(Result.end(), More.begin(), More.end());
    return Result;
  }
  TRemoteProfile& Remote() const { return static_cast<TRemoteProfile&>(*Profile); }

  TScriptedAgentLibraryPtr Library;
  std::shared_ptr<TProgressDisplayDouble> Display;
  TRemoteProfileManagerPtr Manager;
  IOTARemoteProfilePtr Profile;
  TScriptedAgentPtr Agent;  ///< the profile's shared client once one is made
  TProgressRecorder Progress;
};

// The notices of Part 3.1, in the text form of NoticeText.
inline std::string StartNotice(std::int32_t Count, const std::string& Title) {
  return NoticeText(ptStart, -1, Count, Title, "", "", -1);
}
inline std::string ConnectingNotice(std::int32_t Count) {
  return NoticeText(ptProgress, 0, Count, sConnectingToRemoteMachine, "", "", -1);
}
inline std::string ItemNotice(std::int32_t Index, std::int32_t Count, const std::string& Text) {
  return NoticeText(ptProgress, Index, Count, Text, "", "", -1);
}
inline std::string ErrorNotice(const std::string& Text) { return NoticeText(ptError, -1, -1, Text, "", "", -1); }
inline std::string FinishedNotice() { return NoticeText(ptFinished, -1, -1, "", "", "", -1); }

/// A local time stamp (so that the expected text does not depend on the time zone).
inline TDateTime LocalTime(int Year, int Month, int Day, int Hour, int Minute, int Second) {
  std::tm Local{};
  Local.tm_year = Year - 1900;
  Local.tm_mon = Month - 1;
  Local.tm_mday = Day;
  Local.tm_hour = Hour;
  Local.tm_min = Minute;
  Local.tm_sec = Second;
  Local.tm_isdst = -1;
  return std::chrono::system_clock::from_time_t(std::mktime(&Local));
}

/// An answer that fails with an agent error text.
inline TAgentAnswer Fails(const std::string& Error = "") {
  TAgentAnswer Answer;
  Answer.Result = false;
  Answer.Error = Error;
  return Answer;
}
/// An answer that runs Step inside the call.
inline TAgentAnswer During(std::function<void(TAgentCallContext&)> Step, bool Result = true) {
  TAgentAnswer Answer;
  Answer.Result = Result;
  Answer.During = std::move(Step);
  return Answer;
}

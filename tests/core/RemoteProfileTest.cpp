// A profile's setters and update bracket: what each change fires, and in which order.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <sstream>

#include "core/RemoteProfile.h"

namespace {

using TLog = std::vector<std::string>;

/// Runs Steps ("Op" or "Op=Value", space separated) on the profile "Mac" (OSX32,
/// mac.local:64211, the stored password "secret", local root Root) and answers what fired,
/// in order. "|" and the "...?" steps log too, to place what fired.
TLog Fired(const std::string& Root, const std::string& Steps) {
  TLog Log;
  TRemoteProfile P(
      "Mac", "OSX32", "mac.local", 64211, {"secret", true, true}, Root, {}, [&](auto&) { Log.push_back("Change"); },
      [&](auto&, const std::string& Old) { Log.push_back("NameChange(" + Old + ")"); },
      [&](auto&, const std::string& Old) { Log.push_back("PlatformChange(" + Old + ")"); });
  const TOTARemoteProfilePathItem Item{"/usr/include", "*", false, ptIncludePath};
  const std::map<std::string, std::function<void(const std::string&)>> Ops = {
      {"Begin", [&](const auto&) { P.BeginUpdate(); }},
      {"End", [&](const auto&) { P.EndUpdate(); }},
      {"|", [&](const auto&) { Log.push_back("|"); }},
      {"Host", [&](const auto& V) { P.SetHostName(V); }},
      {"Port", [&](const auto& V) { P.SetPortNumber(std::stoi(V)); }},
      {"Name", [&](const auto& V) { P.SetName(V); }},
      {"Platform", [&](const auto& V) { P.SetPlatformName(V); }},
      {"Typed", [&](const auto& V) { P.SetCredential(TOTARemoteProfileCredential(V, true, false)); }},
      {"File", [&](const auto& V) { P.SetCredential(TOTARemoteProfileCredential(V, false, true)); }},
      // "Paths=one": a new array of one item; "=same": the array the profile holds; "=copy": a new
      // array equal to it.
      {"Paths",
       [&](const auto& V) {
         P.SetPaths(V == "same"   ? P.GetPaths()
                    : V == "copy" ? TOTARemoteProfilePathArray(P.GetPaths().ToVector())
                                  : TOTARemoteProfilePathArray({Item}));
       }},
      {"Mask", [&](const auto& V) { P.GetPaths()[0].Mask = V; }},  // edits the shared array in place
      {"Mask?", [&](const auto&) { Log.push_back(P.GetPaths()[0].Mask); }},
      {"Root?", [&](const auto&) { Log.push_back(P.GetSystemRoot()); }},
      {"Stored?", [&](const auto&) { Log.push_back(P.GetCredential().IsEncrypted ? "stored" : "typed"); }},
  };
  std::istringstream In(Steps);
  for (std::string Step; In >> Step;) {
    const std::size_t Eq = Step.find('=');
    Ops.at(Step.substr(0, Eq))(Eq == std::string::npos ? "" : Step.substr(Eq + 1));
  }
  return Log;
}

TEST(RemoteProfile, EachSetterFiresExactlyTheExpectedCallbacks) {
  const struct {
    std::string Steps;
    TLog Expected;
    std::string Root = "/cache/Mac";
  } Cases[] = {
      {"Host=mac.local Platform=OSX32 Name=Mac Paths=same", {}},  // the same values change nothing
      {"Host=MAC.local | Platform=Linux64 | File=secret",
       {"Change", "|", "Change", "PlatformChange(OSX32)", "|", "Change"}},
      {"Begin Begin Host=other Port=1 End | End | Begin End", {"|", "Change", "|"}},  // once, at the outermost end
      {"End Host=other Begin", {}},  // an unbalanced end holds changes back
      {"Name=Office Root?", {"Change", "Change", "NameChange(Mac)", "/home/u/SDKs/Office"}, "/home/u/SDKs/Mac"},
      {"Begin Platform=Linux64 Name=Box | End", {"PlatformChange(OSX32)", "NameChange(Mac)", "|", "Change"}, "C:\\Mac"},
      {"Typed=secret Stored? Typed=new Stored?", {"stored", "Change", "typed"}},  // IsEncrypted alone is no change
      {"Paths=one Mask=*.h Paths=same Mask? Paths=copy", {"Change", "*.h", "Change"}},  // identity, not contents
  };
  for (const auto& Case : Cases) EXPECT_EQ(Fired(Case.Root, Case.Steps), Case.Expected) << Case.Steps;
}

}  // namespace

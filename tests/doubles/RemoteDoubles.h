// Doubles for the remote operations (Parts 3.1 to 3.5): a recording progress procedure,
// a recording progress display, a connection callback and a platform SDK.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/PlatformSDK.h"
#include "host/ProgressDisplay.h"
#include "host/ToolsApi.h"

/// One notice as "type|index|count|text|detail1|detail2|position".
std::string NoticeText(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count, const std::string& Text,
                       const std::string& Detail1, const std::string& Detail2, std::int32_t Position);

/// A progress procedure that records every notice and answers through Answer (default:
/// true). Answer gets the notice's text form and its 0-based number.
class TProgressRecorder {
 public:
  TOTAProgressProc Proc();
  std::vector<std::string> Notices;
  std::function<bool(const std::string& Notice, std::size_t Number)> Answer;
};

/// The progress display of Part 6.4 as a double: records each notice with "|close=0/1".
class TProgressDisplayDouble : public IProgressDisplay {
 public:
  bool UpdateProgress(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count, const std::string& Text,
                      const std::string& Detail1, const std::string& Detail2, std::int32_t Position,
                      bool CloseWhenDone) override;
  std::vector<std::string> Notices;
  std::function<bool(const std::string& Notice, std::size_t Number)> Answer;
};

/// Records "Retry"/"Abort" and answers RetryAnswer / AbortAnswer.
class TConnectionCallbackDouble : public IOTAConnectionCallback {
 public:
  bool Retry() override {
    Log.push_back("Retry");
    return RetryAnswer;
  }
  bool Abort() override {
    Log.push_back("Abort");
    return AbortAnswer;
  }
  bool RetryAnswer = false;
  bool AbortAnswer = false;
  std::vector<std::string> Log;
};

class TPlatformSDKDouble : public IOTAPlatformSDK {
 public:
  std::string GetSystemRoot() const override { return SystemRoot; }
  std::string GetLocalRootPart() const override { return LocalRootPart; }
  TOTARemoteProfilePathArray GetPathItems() const override { return Items; }
  std::string SystemRoot;
  std::string LocalRootPart;
  TOTARemoteProfilePathArray Items;
};

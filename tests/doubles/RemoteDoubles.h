// Doubles for the remote operations: a recording progress procedure, a recording progress
// display, a connection callback and a platform SDK.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/PlatformSDK.h"
#include "host/ProgressDisplay.h"
#include "host/ToolsApi.h"

/// One notice as "type|index|count|text|detail1|detail2|position".
inline std::string NoticeText(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count,
                              const std::string& Text, const std::string& Detail1, const std::string& Detail2,
                              std::int32_t Position) {
  return std::to_string(static_cast<int>(ProgressType)) + "|" + std::to_string(Index) + "|" + std::to_string(Count) +
         "|" + Text + "|" + Detail1 + "|" + Detail2 + "|" + std::to_string(Position);
}

/// A progress procedure that records every notice and answers through Answer (default:
/// true), which gets the notice's text form and its 0-based number.
class TProgressRecorder {
 public:
  TOTAProgressProc Proc() {
    return [this](const auto&... Notice) { return Record(NoticeText(Notice...)); };
  }
  bool Record(std::string Notice) {
    Notices.push_back(std::move(Notice));
    return Answer ? Answer(Notices.back(), Notices.size() - 1) : true;
  }
  std::vector<std::string> Notices;
  std::function<bool(const std::string& Notice, std::size_t Number)> Answer;
};

/// The progress display as a double: records each notice with "|close=0/1".
class TProgressDisplayDouble : public IProgressDisplay, public TProgressRecorder {
 public:
  bool UpdateProgress(TOTAProgressType Type, std::int32_t Index, std::int32_t Count, const std::string& Text,
                      const std::string& Detail1, const std::string& Detail2, std::int32_t Position,
                      bool CloseWhenDone) override {
    return Record(NoticeText(Type, Index, Count, Text, Detail1, Detail2, Position) +
                  "|close=" + (CloseWhenDone ? "1" : "0"));
  }
};

/// Records "Retry"/"Abort" and answers RetryAnswer / AbortAnswer.
class TConnectionCallbackDouble : public IOTAConnectionCallback {
 public:
  bool Retry() override { return Log.push_back("Retry"), RetryAnswer; }
  bool Abort() override { return Log.push_back("Abort"), AbortAnswer; }
  bool RetryAnswer = false, AbortAnswer = false;
  std::vector<std::string> Log;
};

class TPlatformSDKDouble : public IOTAPlatformSDK {
 public:
  std::string GetSystemRoot() const override { return SystemRoot; }
  std::string GetLocalRootPart() const override { return LocalRootPart; }
  TOTARemoteProfilePathArray GetPathItems() const override { return Items; }
  std::string SystemRoot, LocalRootPart;
  TOTARemoteProfilePathArray Items;
};

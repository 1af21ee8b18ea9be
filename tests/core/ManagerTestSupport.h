// Shared helpers of the core tests: a recorder subscribed to the eight class events, and
// a quick way to add profiles.
#pragma once

#include <string>
#include <vector>

#include "core/RemoteProfileManager.h"

/// Subscribes to every class event for its lifetime and records "Event(name[,arg])".
class TEventRecorder {
 public:
  TEventRecorder();
  ~TEventRecorder();
  std::vector<std::string> Log;

 private:
  std::vector<THandlerId> FIds;
};

/// Records every notifier call as "Notifier<Tag>.Method(name[,arg])" into a shared log.
class TRecordingNotifier : public IOTARemoteProfileNotifier {
 public:
  TRecordingNotifier(std::string Tag, std::vector<std::string>& Log) : FTag(std::move(Tag)), FLog(Log) {}
  void ProfileRenamed(const IOTARemoteProfilePtr& P, const std::string& Old) override;
  void ProfileChanged(const IOTARemoteProfilePtr& P) override;
  void ProfileAdded(const IOTARemoteProfilePtr& P) override;
  void ProfileRemoved(const IOTARemoteProfilePtr& P) override;

 protected:
  std::string FTag;
  std::vector<std::string>& FLog;
};

class TRecordingNotifier2 : public IOTARemoteProfileNotifier2 {
 public:
  TRecordingNotifier2(std::string Tag, std::vector<std::string>& Log) : FTag(std::move(Tag)), FLog(Log) {}
  void ProfileRenamed(const IOTARemoteProfilePtr& P, const std::string& Old) override;
  void ProfileChanged(const IOTARemoteProfilePtr& P) override;
  void ProfileAdded(const IOTARemoteProfilePtr& P) override;
  void ProfileRemoved(const IOTARemoteProfilePtr& P) override;
  void AfterDeploy(bool Success, const IOTARemoteProfilePtr& P) override;
  void AfterRun(bool Success, const IOTARemoteProfilePtr& P) override;

 private:
  std::string FTag;
  std::vector<std::string>& FLog;
};

/// AddProfile with the fields tests rarely care about filled in.
IOTARemoteProfilePtr Add(TRemoteProfileManager& Manager, const std::string& Name, const std::string& Platform,
                         bool AsDefault = false, const std::string& SystemRoot = "");

/// Names of a platform's list, in order.
std::vector<std::string> NamesOf(const TRemoteProfileManager& Manager, const std::string& Platform);

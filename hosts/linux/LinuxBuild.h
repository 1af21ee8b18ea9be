// The reference host's build engine and build lock. The engine is a real MSBuild-compatible
// program found on PATH — msbuild, else dotnet msbuild, else xbuild — run on a project file
// with a target and "Name=Value;..." properties; its output goes to this process's output as
// it runs, and its exit status is the result. The build lock is a lock file in the
// application-data directory held with flock(2): one deploy at a time per user across
// processes; the lock of a process that died is released by the kernel, so the next deploy
// takes it over at once.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/BuildServices.h"

/// Tells the user something that needs no answer (a deploy waiting for the lock).
using TNoticeFunc = std::function<void(const std::string& Text)>;

class TLinuxBuildEngine {
 public:
  /// The command that starts the engine: {"msbuild"}, {"dotnet", "msbuild"} (a dotnet with an
  /// SDK beside it) or {"xbuild"}, the first found on PATH; empty when there is none.
  static std::vector<std::string> FindEngine();

  /// Variables set for the engine (and the commands its targets run), besides this
  /// process's environment.
  void SetVariable(const std::string& Name, const std::string& Value);

  /// Runs the engine on ProjectFile with /t:Target and /p:Properties (none when empty).
  /// Output: captured (standard output and error together) when given, else shown as it
  /// comes. Answers the exit status, or -1 with Error when the engine could not be started.
  int Run(const std::string& ProjectFile, const std::string& Target, const std::string& Properties, std::string* Output,
          std::string& Error) const;

 private:
  std::vector<std::pair<std::string, std::string>> FVariables;
};

class TLinuxBuildLock {
 public:
  TLinuxBuildLock(std::string FileName, TNoticeFunc Notice);
  ~TLinuxBuildLock();
  TLinuxBuildLock(const TLinuxBuildLock&) = delete;
  TLinuxBuildLock& operator=(const TLinuxBuildLock&) = delete;
  /// Takes the lock, waiting (after a notice naming the holder) while another process holds
  /// it; a nested Lock only counts. Throws std::runtime_error naming the file when the lock
  /// file cannot be opened.
  void Lock();
  void UnLock();

 private:
  std::string FFileName;
  TNoticeFunc FNotice;
  int FFd = -1;
  int FDepth = 0;
};

class TLinuxBuildServices : public IOTABuildServices {
 public:
  TLinuxBuildServices(const std::string& LockFileName, TNoticeFunc Notice);
  void Lock() override { FLock.Lock(); }
  void UnLock() override { FLock.UnLock(); }
  /// False, with a notice, when no engine could be started.
  bool InvokeMSBuild(IOTACustomProject& Project, const std::string& Target, const std::string& Properties,
                     TBuildControl& Control) override;
  TLinuxBuildEngine& Engine() { return FEngine; }

 private:
  TLinuxBuildEngine FEngine;
  TLinuxBuildLock FLock;
  TNoticeFunc FNotice;
};

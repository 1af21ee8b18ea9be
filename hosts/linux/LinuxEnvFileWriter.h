// The reference host's build-environment file writer (what WriteEnvOptions writes through):
// an MSBuild project file of property groups, by default "environment.proj" in the
// application-data directory, that builds started outside the user interface import.
#pragma once

#include <functional>
#include <string>

#include "host/EnvFileWriter.h"
#include "hosts/linux/EnvFileXml.h"

class TLinuxEnvFileWriter : public IOTAEnvFileWriter {
 public:
  explicit TLinuxEnvFileWriter(std::string FileName);

  /// Reads the file (a missing file is an empty project). Brackets may nest; only the
  /// outermost one reads and writes.
  void BeginEnvFileSave() override;
  /// Runs the save routines (inside the bracket), then writes the file atomically (mode
  /// 0600 when new) if anything changed. Not written when the file could not be read at
  /// BeginEnvFileSave, so a damaged file is never replaced.
  void EndEnvFileSave() override;
  /// Selects the group with exactly this condition, creating it at the end when missing.
  void SetCurrentPropertyGroup(const std::string& Condition) override;
  /// Sets the property in the current group (appended when new); an empty value removes
  /// it, and a group left without properties is not written. Ignored outside a bracket,
  /// before any group is selected, and for a name that is not an XML name (LastError).
  void UpdateEnvFile(const std::string& PropertyName, const std::string& Value) override;

  /// Why the last bracket did not read or write the file, naming the file; "" when it did.
  const std::string& GetLastError() const { return FLastError; }
  const std::string& GetFileName() const { return FFileName; }
  /// What the host runs each time it writes the file: the routines registered with it.
  void SetSaveRoutines(std::function<void(IOTAEnvFileWriter&)> Routines) { FSaveRoutines = std::move(Routines); }

 private:
  std::function<void(IOTAEnvFileWriter&)> FSaveRoutines;
  std::string FFileName;
  std::string FLastError;
  LinuxHost::TEnvDocument FDocument;
  int FDepth = 0;
  bool FReadFailed = false;
  bool FChanged = false;
  int FCurrentGroup = -1;
};

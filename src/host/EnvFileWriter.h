// The host's build-environment file writer (WriteEnvOptions and the save routine
// registered at start-up).
#pragma once

#include <memory>
#include <string>

class IOTAEnvFileWriter {
 public:
  virtual ~IOTAEnvFileWriter() = default;
  virtual void BeginEnvFileSave() = 0;
  /// Ends the bracket; the writer commits the file here.
  virtual void EndEnvFileSave() = 0;
  /// Selects the property group with this condition (creating it when missing).
  virtual void SetCurrentPropertyGroup(const std::string& Condition) = 0;
  /// Writes a property into the current group. An empty value removes the property.
  virtual void UpdateEnvFile(const std::string& PropertyName, const std::string& Value) = 0;
};
using IOTAEnvFileWriterPtr = std::shared_ptr<IOTAEnvFileWriter>;

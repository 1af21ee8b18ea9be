// The host's registry: what the plug-in registers at start-up and takes down at shut-down
// (the add-in options, the options pages, the build-environment routine), and the
// environment options dialog those pages live in.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/EnvFileWriter.h"

/// Called by the host whenever it writes its build-environment file, inside the save
/// bracket, to write properties through Writer.
using TEnvSaveRoutine = std::function<void(IOTAEnvFileWriter& Writer)>;

class IOTAHostRegistry {
 public:
  virtual ~IOTAHostRegistry() = default;
  /// The add-in page class of the environment options.
  virtual void RegisterAddInOptions(const std::string& ClassName) = 0;
  virtual void UnregisterAddInOptions(const std::string& ClassName) = 0;
  /// An options page class of the host's property sheets.
  virtual void RegisterPropertySheetClass(const std::string& ClassName) = 0;
  virtual void UnregisterPropertySheetClass(const std::string& ClassName) = 0;
  /// Answers the id that UnregisterEnvSave takes.
  virtual std::int32_t RegisterEnvSave(TEnvSaveRoutine Routine) = 0;
  virtual void UnregisterEnvSave(std::int32_t Id) = 0;
  /// Opens the environment options dialog at PagePath ("Environment Options.<page>") and
  /// returns when it has closed.
  virtual void EditOptions(const std::string& PagePath) = 0;
};
using IOTAHostRegistryPtr = std::shared_ptr<IOTAHostRegistry>;

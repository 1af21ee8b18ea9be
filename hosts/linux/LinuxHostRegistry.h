// The reference host's registry: it records the add-in options and page classes registered
// with it, keeps the build-environment routines, which the env-file writer runs inside each
// save, and opens the options dialog through the front end's function (a terminal front end
// has none, and the call then does nothing).
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/HostRegistry.h"

class TLinuxHostRegistry : public IOTAHostRegistry {
 public:
  void RegisterAddInOptions(const std::string& ClassName) override { FAddInOptions.push_back(ClassName); }
  void UnregisterAddInOptions(const std::string& ClassName) override { Erase(FAddInOptions, ClassName); }
  void RegisterPropertySheetClass(const std::string& ClassName) override { FPages.push_back(ClassName); }
  void UnregisterPropertySheetClass(const std::string& ClassName) override { Erase(FPages, ClassName); }
  std::int32_t RegisterEnvSave(TEnvSaveRoutine Routine) override;
  void UnregisterEnvSave(std::int32_t Id) override { FRoutines.erase(Id); }
  void EditOptions(const std::string& PagePath) override;

  /// Runs the registered routines in registration order (the writer's save bracket is open).
  void RunEnvSaveRoutines(IOTAEnvFileWriter& Writer) const;
  /// What EditOptions runs.
  void SetOptionsDialog(std::function<void(const std::string& PagePath)> Dialog) { FDialog = std::move(Dialog); }
  const std::vector<std::string>& GetAddInOptions() const { return FAddInOptions; }
  const std::vector<std::string>& GetPages() const { return FPages; }

 private:
  static void Erase(std::vector<std::string>& Names, const std::string& Name);
  std::vector<std::string> FAddInOptions, FPages;
  std::map<std::int32_t, TEnvSaveRoutine> FRoutines;
  std::int32_t FLastId = 0;
  std::function<void(const std::string&)> FDialog;
};

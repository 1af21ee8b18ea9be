#include "hosts/linux/LinuxHostRegistry.h"

#include <algorithm>

std::int32_t TLinuxHostRegistry::RegisterEnvSave(TEnvSaveRoutine Routine) {
  FRoutines.emplace(++FLastId, std::move(Routine));
  return FLastId;
}

void TLinuxHostRegistry::EditOptions(const std::string& PagePath) {
  if (FDialog) FDialog(PagePath);
}

void TLinuxHostRegistry::RunEnvSaveRoutines(IOTAEnvFileWriter& Writer) const {
  for (const auto& [Id, Routine] : FRoutines) Routine(Writer);
}

void TLinuxHostRegistry::Erase(std::vector<std::string>& Names, const std::string& Name) {
  const auto It = std::find(Names.begin(), Names.end(), Name);
  if (It != Names.end()) Names.erase(It);
}

// The file-name check, the application-data directory and the sorting of path items that
// the settings store, the profile files and the default-path files share (see ProfileFiles.h).

#include "core/RemoteProfileManager.h"
#include "host/HostServices.h"
#include "persistence/ProfileFiles.h"

bool IsValidProfileFileName(const std::string& Name) { return !Name.empty() && HasValidFileNameChars(Name); }

std::string AppDataDirectory() {
  const auto& Environment = HostServices().Environment;
  std::string Dir = Environment ? Environment->fnAppDataDir() : std::string();
  if (!Dir.empty() && Dir.back() != '/') Dir += '/';  // the trailing path delimiter, when missing
  return Dir;
}

std::string ProfilesDirectory() {
  const auto& Environment = HostServices().Environment;
  std::string Dir = Environment && Environment->IsVariableSet("ZEPHPROFILESDIR")
                        ? Environment->GetVariable("ZEPHPROFILESDIR")
                        : std::string();
  if (Dir.empty()) return AppDataDirectory();
  if (Dir.back() != '/') Dir += '/';
  return Dir;
}

bool TPathItemLists::Add(const TOTARemoteProfilePathItem& Item) {
  const TRAPathItem Entry{Item.Path, Item.Mask, Item.IncludeSubDir};
  switch (Item.Type) {
    case ptIncludePath: IncludePaths.push_back(Entry); return true;
    case ptLibraryPath: LibraryPaths.push_back(Entry); return true;
    case ptOtherPath: OtherPaths.push_back(Entry); return true;
    case ptFramework: FrameworkPaths.push_back(Entry); return true;
  }
  return false;
}

TPathItemLists SortPathItemsByType(const TOTARemoteProfilePathArray& Paths) {
  TPathItemLists Lists;
  for (const TOTARemoteProfilePathItem& Item : Paths) Lists.Add(Item);
  return Lists;
}

// GetPlatformDisplayName and ReplacePathPart. In core because a profile's rename moves its
// local root with ReplacePathPart; they need nothing but the host.
#include "core/PathFunctions.h"

#include <filesystem>
#include <vector>

#include "core/Text.h"
#include "host/HostServices.h"

std::string GetPlatformDisplayName(const std::string& PlatformName) {
  const auto& Platforms = HostServices().Platforms;
  if (PlatformName.empty() || !Platforms) return {};
  for (const std::string& Id : Platforms->GetAllPlatforms()) {
    if (Id != PlatformName) continue;
    const IOTAPlatformPtr Platform = Platforms->GetPlatform(Id);
    return Platform ? Platform->GetDisplayName() : std::string();
  }
  return {};
}

std::string ReplacePathPart(const std::string& Path, const std::string& OldPart, const std::string& NewPart) {
  if (Path.empty() || OldPart.empty() || OldPart == NewPart) return Path;
  // Split on backslashes and on the host's own path delimiter, dropping empty components as
  // the host's string-list split does; a POSIX root keeps its leading delimiter and its
  // components stay joined by it (docs/DECISIONS.md).
  const char HostDelimiter = static_cast<char>(std::filesystem::path::preferred_separator);
  const bool HostPath = HostDelimiter != '\\' && Path.find(HostDelimiter) != std::string::npos;
  const char Joint = HostPath ? HostDelimiter : '\\';
  std::vector<std::string> Components;
  std::string Current;
  for (char C : Path) {
    if (C == '\\' || C == HostDelimiter) {
      if (!Current.empty()) Components.push_back(std::move(Current));
      Current.clear();
    } else {
      Current += C;
    }
  }
  if (!Current.empty()) Components.push_back(std::move(Current));

  bool Replaced = false;
  std::string Result = HostPath && Path.front() == HostDelimiter ? std::string(1, HostDelimiter) : std::string();
  for (std::size_t I = 0; I < Components.size(); ++I) {
    // Compared as file names of the host's system: ignoring case.
    const bool Match = SameText(Components[I], OldPart);
    Replaced = Replaced || Match;
    if (I > 0) Result += Joint;
    Result += Match ? NewPart : Components[I];
  }
  return Replaced ? Result : Path;
}

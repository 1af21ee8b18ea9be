// Part 2.3: GetPlatformDisplayName and ReplacePathPart (core/PathFunctions.h). In core because
// the profile's rename (Part 1.1) uses ReplacePathPart; they need nothing but the host.
#include "core/PathFunctions.h"

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
  // Split on backslashes only, dropping empty components as the host's string-list split does.
  std::vector<std::string> Components;
  std::string Current;
  for (char C : Path) {
    if (C == '\\') {
      if (!Current.empty()) Components.push_back(std::move(Current));
      Current.clear();
    } else {
      Current += C;
    }
  }
  if (!Current.empty()) Components.push_back(std::move(Current));

  bool Replaced = false;
  std::string Result;
  for (std::size_t I = 0; I < Components.size(); ++I) {
    // SameFileName: not case-sensitive on the host's system (Part 2.3 step 3).
    const bool Match = SameText(Components[I], OldPart);
    Replaced = Replaced || Match;
    if (I > 0) Result += '\\';
    Result += Match ? NewPart : Components[I];
  }
  return Replaced ? Result : Path;
}

// A case-insensitive index of the profiles filed in a manager's lists, kept in step with
// them, so that the name checks (GetProfile by name, the duplicate test) do
// not make loading quadratic. The lists stay the authority: the manager checks what the
// index answers and walks its lists when a name is held more than once.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "host/ToolsApi.h"

class TProfileNameIndex {
 public:
  /// One more filing of Profile, under its current name.
  void Add(const IOTARemoteProfilePtr& Profile);
  /// One filing fewer (nothing when Profile is not filed).
  void Remove(const IOTARemoteProfile* Profile);
  /// Re-keys Profile when its name changed since it was filed.
  void Sync(const IOTARemoteProfile* Profile);
  /// The profiles filed under Name, ignoring case; nullptr when none.
  const std::vector<IOTARemoteProfilePtr>* Find(const std::string& Name) const;

 private:
  struct TFiling {
    std::string Name;  // the name it is indexed under
    int Count = 0;     // how many lists hold it (normally 1)
  };
  void Unfile(const std::string& Name, const IOTARemoteProfile* Profile, IOTARemoteProfilePtr* Taken);
  std::unordered_map<std::string, std::vector<IOTARemoteProfilePtr>> FByName;
  std::unordered_map<const IOTARemoteProfile*, TFiling> FFilings;
};

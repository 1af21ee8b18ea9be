// Sets or unsets process environment variables for one test and restores them after.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class TEnvGuard {
 public:
  ~TEnvGuard() {
    for (auto It = FSaved.rbegin(); It != FSaved.rend(); ++It) Apply(It->first, It->second);
  }
  void Set(const std::string& Name, const std::string& Value) {
    Save(Name);
    ::setenv(Name.c_str(), Value.c_str(), 1);
  }
  void Unset(const std::string& Name) {
    Save(Name);
    ::unsetenv(Name.c_str());
  }

 private:
  void Save(const std::string& Name) {
    const char* Old = std::getenv(Name.c_str());
    FSaved.emplace_back(Name, Old ? std::optional<std::string>(Old) : std::nullopt);
  }
  static void Apply(const std::string& Name, const std::optional<std::string>& Value) {
    if (Value)
      ::setenv(Name.c_str(), Value->c_str(), 1);
    else
      ::unsetenv(Name.c_str());
  }
  std::vector<std::pair<std::string, std::optional<std::string>>> FSaved;
};

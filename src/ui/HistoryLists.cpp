#include "ui/HistoryLists.h"

#include <algorithm>

namespace {
constexpr std::size_t kHistoryLength = 25;
}

std::vector<std::string> THistoryLists::Get(const std::string& ListName) const {
  const auto Found = FLists.find(ListName);
  return Found == FLists.end() ? std::vector<std::string>{} : Found->second;
}

void THistoryLists::Add(const std::string& ListName, const std::string& Text) {
  std::vector<std::string>& List = FLists[ListName];
  std::erase(List, Text);
  List.insert(List.begin(), Text);
  if (List.size() > kHistoryLength) List.resize(kHistoryLength);
}

// History lists kept by a front end for the dialogs' edits (the texts last entered, by list
// name): newest first, no repeats, at most 25 each, kept for the life of the process.
#pragma once

#include <map>
#include <string>
#include <vector>

class THistoryLists {
 public:
  std::vector<std::string> Get(const std::string& ListName) const;
  /// Text goes to the front; an earlier copy of it leaves its place.
  void Add(const std::string& ListName, const std::string& Text);

 private:
  std::map<std::string, std::vector<std::string>> FLists;
};

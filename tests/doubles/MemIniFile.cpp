#include "doubles/MemIniFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "core/Text.h"

namespace {
/// Whether Name is a sub-section of Parent ("Parent\...", any depth), ignoring case.
bool IsBelow(const std::string& Name, const std::string& Parent) {
  return Name.size() > Parent.size() && Name[Parent.size()] == '\\' && SameText(Name.substr(0, Parent.size()), Parent);
}
}  // namespace

const TMemIniFile::TValues* TMemIniFile::Find(const std::string& Section) const {
  for (const auto& [Name, Values] : FSections)
    if (SameText(Name, Section)) return &Values;
  return nullptr;
}

std::optional<std::string> TMemIniFile::Get(const std::string& Section, const std::string& Ident, const char* Op) {
  Log.push_back(std::string(Op) + "(" + Section + "," + Ident + ")");
  if (const TValues* Values = Find(Section))
    for (const auto& [Name, Value] : *Values)
      if (SameText(Name, Ident)) return Value;
  return std::nullopt;
}

void TMemIniFile::Put(const std::string& Section, const std::string& Ident, const std::string& Value, const char* Op) {
  Log.push_back(std::string(Op) + "(" + Section + "," + Ident + "," + Value + ")");
  auto S = std::find_if(FSections.begin(), FSections.end(), [&](const auto& E) { return SameText(E.first, Section); });
  if (S == FSections.end()) S = FSections.insert(S, {Section, {}});
  for (auto& [Name, Old] : S->second)
    if (SameText(Name, Ident)) return void(Old = Value);
  S->second.emplace_back(Ident, Value);
}

void TMemIniFile::ReadSections(const std::string& Section, std::vector<std::string>& Strings) {
  Log.push_back("ReadSections(" + Section + ")");
  Strings.clear();
  for (const auto& Entry : FSections)
    if (IsBelow(Entry.first, Section) && Entry.first.size() > Section.size() + 1 &&
        Entry.first.find('\\', Section.size() + 1) == std::string::npos)
      Strings.push_back(Entry.first.substr(Section.size() + 1));
}

std::int32_t TMemIniFile::ReadInteger(const std::string& Section, const std::string& Ident, std::int32_t Default) {
  const auto Value = Get(Section, Ident, "ReadInteger");
  if (!Value || Value->empty()) return Default;
  char* End = nullptr;
  errno = 0;
  const long long V = std::strtoll(Value->c_str(), &End, 0);  // decimal, or hexadecimal with "0x"
  return *End == '\0' && errno == 0 && V >= INT32_MIN && V <= INT32_MAX ? static_cast<std::int32_t>(V) : Default;
}

void TMemIniFile::EraseSection(const std::string& Section) {
  Log.push_back("EraseSection(" + Section + ")");
  std::erase_if(FSections, [&](const auto& E) { return SameText(E.first, Section) || IsBelow(E.first, Section); });
}

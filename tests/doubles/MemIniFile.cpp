#include "doubles/MemIniFile.h"

#include <algorithm>

#include "core/Text.h"

TMemIniFile::TSection* TMemIniFile::Find(const std::string& Section) {
  auto It = std::find_if(FSections.begin(), FSections.end(), [&](const TSection& S) { return SameText(S.Name, Section); });
  return It == FSections.end() ? nullptr : &*It;
}

const TMemIniFile::TSection* TMemIniFile::Find(const std::string& Section) const {
  return const_cast<TMemIniFile*>(this)->Find(Section);
}

void TMemIniFile::ReadSections(const std::string& Section, std::vector<std::string>& Strings) {
  Log.push_back("ReadSections(" + Section + ")");
  Strings.clear();
  const std::string Prefix = LowerCase(Section) + "\\";
  for (const TSection& S : FSections) {
    const std::string Lower = LowerCase(S.Name);
    if (Lower.size() > Prefix.size() && Lower.compare(0, Prefix.size(), Prefix) == 0 &&
        Lower.find('\\', Prefix.size()) == std::string::npos)
      Strings.push_back(S.Name.substr(Prefix.size()));
  }
}

std::string TMemIniFile::ReadString(const std::string& Section, const std::string& Ident, const std::string& Default) {
  Log.push_back("ReadString(" + Section + "," + Ident + ")");
  if (const TSection* S = Find(Section))
    for (const auto& [Name, Value] : S->Values)
      if (SameText(Name, Ident)) return Value;
  return Default;
}

std::int32_t TMemIniFile::ReadInteger(const std::string& Section, const std::string& Ident, std::int32_t Default) {
  Log.push_back("ReadInteger(" + Section + "," + Ident + ")");
  if (const TSection* S = Find(Section))
    for (const auto& [Name, Value] : S->Values)
      if (SameText(Name, Ident)) {
        try {
          std::size_t Used = 0;
          const long long V = std::stoll(Value, &Used, 0);
          if (Used == Value.size() && V >= INT32_MIN && V <= INT32_MAX) return static_cast<std::int32_t>(V);
        } catch (...) {
        }
        return Default;
      }
  return Default;
}

bool TMemIniFile::ReadBool(const std::string& Section, const std::string& Ident, bool Default) {
  Log.push_back("ReadBool(" + Section + "," + Ident + ")");
  if (const TSection* S = Find(Section))
    for (const auto& [Name, Value] : S->Values)
      if (SameText(Name, Ident)) return Value == "0" ? false : (Value == "1" ? true : Default);
  return Default;
}

void TMemIniFile::WriteString(const std::string& Section, const std::string& Ident, const std::string& Value) {
  Log.push_back("WriteString(" + Section + "," + Ident + "," + Value + ")");
  TSection* S = Find(Section);
  if (!S) {
    FSections.push_back({Section, {}});
    S = &FSections.back();
  }
  for (auto& [Name, Old] : S->Values)
    if (SameText(Name, Ident)) {
      Old = Value;
      return;
    }
  S->Values.emplace_back(Ident, Value);
}

void TMemIniFile::WriteInteger(const std::string& Section, const std::string& Ident, std::int32_t Value) {
  Log.push_back("WriteInteger(" + Section + "," + Ident + "," + std::to_string(Value) + ")");
  const auto Keep = Log.size();
  WriteString(Section, Ident, std::to_string(Value));
  Log.resize(Keep);
}

void TMemIniFile::WriteBool(const std::string& Section, const std::string& Ident, bool Value) {
  Log.push_back("WriteBool(" + Section + "," + Ident + "," + (Value ? "1" : "0") + ")");
  const auto Keep = Log.size();
  WriteString(Section, Ident, Value ? "1" : "0");
  Log.resize(Keep);
}

void TMemIniFile::EraseSection(const std::string& Section) {
  Log.push_back("EraseSection(" + Section + ")");
  const std::string Prefix = LowerCase(Section) + "\\";
  std::erase_if(FSections, [&](const TSection& S) {
    const std::string Lower = LowerCase(S.Name);
    return Lower == LowerCase(Section) || Lower.compare(0, Prefix.size(), Prefix) == 0;
  });
}

std::vector<std::string> TMemIniFile::SectionNames() const {
  std::vector<std::string> Names;
  for (const TSection& S : FSections) Names.push_back(S.Name);
  return Names;
}

std::vector<std::pair<std::string, std::string>> TMemIniFile::Values(const std::string& Section) const {
  const TSection* S = Find(Section);
  return S ? S->Values : std::vector<std::pair<std::string, std::string>>{};
}

bool TMemIniFile::HasSection(const std::string& Section) const { return Find(Section) != nullptr; }

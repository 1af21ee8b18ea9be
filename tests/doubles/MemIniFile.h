// In-memory settings store for tests: the semantics of the reference file store (names
// ignore case, sub-sections listed by parent and erased with it) and a log of every call.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/CustomIniFile.h"

class TMemIniFile : public TCustomIniFile {
 public:
  void ReadSections(const std::string& Section, std::vector<std::string>& Strings) override;
  std::string ReadString(const std::string& Section, const std::string& Ident, const std::string& Default) override;
  std::int32_t ReadInteger(const std::string& Section, const std::string& Ident, std::int32_t Default) override;
  bool ReadBool(const std::string& Section, const std::string& Ident, bool Default) override;
  void WriteString(const std::string& Section, const std::string& Ident, const std::string& Value) override;
  void WriteInteger(const std::string& Section, const std::string& Ident, std::int32_t Value) override;
  void WriteBool(const std::string& Section, const std::string& Ident, bool Value) override;
  void EraseSection(const std::string& Section) override;

  /// Every call as "Op(Section,Ident[,Value])", in order.
  std::vector<std::string> Log;
  /// Section names in first-write order (as written), for assertions.
  std::vector<std::string> SectionNames() const;
  /// Values of one section as (name, value) in first-write order; empty when missing.
  std::vector<std::pair<std::string, std::string>> Values(const std::string& Section) const;
  bool HasSection(const std::string& Section) const;

 private:
  struct TSection {
    std::string Name;
    std::vector<std::pair<std::string, std::string>> Values;
  };
  TSection* Find(const std::string& Section);
  const TSection* Find(const std::string& Section) const;
  std::vector<TSection> FSections;
};

// In-memory settings store for tests: the semantics of the reference file store (names
// ignore case, sub-sections listed by parent and erased with it) and a log of every call.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/CustomIniFile.h"

class TMemIniFile : public TCustomIniFile {
 public:
  using TValues = std::vector<std::pair<std::string, std::string>>;
  void ReadSections(const std::string& Section, std::vector<std::string>& Strings) override;
  std::string ReadString(const std::string& Section, const std::string& Ident, const std::string& Default) override {
    return Get(Section, Ident, "ReadString").value_or(Default);
  }
  std::int32_t ReadInteger(const std::string& Section, const std::string& Ident, std::int32_t Default) override;
  bool ReadBool(const std::string& Section, const std::string& Ident, bool Default) override {
    const auto Value = Get(Section, Ident, "ReadBool");
    return Value == "0" || Value == "1" ? Value == "1" : Default;
  }
  void WriteString(const std::string& Section, const std::string& Ident, const std::string& Value) override {
    Put(Section, Ident, Value, "WriteString");
  }
  void WriteInteger(const std::string& Section, const std::string& Ident, std::int32_t Value) override {
    Put(Section, Ident, std::to_string(Value), "WriteInteger");
  }
  void WriteBool(const std::string& Section, const std::string& Ident, bool Value) override {
    Put(Section, Ident, Value ? "1" : "0", "WriteBool");
  }
  void EraseSection(const std::string& Section) override;

  /// Every call as "Op(Section,Ident[,Value])", in order.
  std::vector<std::string> Log;
  /// Values of one section as (name, value) in first-write order; empty when missing.
  TValues Values(const std::string& Section) const { return Find(Section) ? *Find(Section) : TValues{}; }
  bool HasSection(const std::string& Section) const { return Find(Section) != nullptr; }

 private:
  const TValues* Find(const std::string& Section) const;
  std::optional<std::string> Get(const std::string& Section, const std::string& Ident, const char* Op);
  void Put(const std::string& Section, const std::string& Ident, const std::string& Value, const char* Op);
  std::vector<std::pair<std::string, TValues>> FSections;  // in first-write order
};

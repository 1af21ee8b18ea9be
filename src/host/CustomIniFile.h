// The host's settings store: an ini-like object with sections and sub-sections named
// parent + "\" + child. The system uses exactly these operations.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class TCustomIniFile {
 public:
  virtual ~TCustomIniFile() = default;
  /// Fills Strings with the names of the sub-sections directly below Section (the part
  /// after Section + "\"), in the store's own order. Section and value names compare
  /// ignoring case.
  virtual void ReadSections(const std::string& Section, std::vector<std::string>& Strings) = 0;
  virtual std::string ReadString(const std::string& Section, const std::string& Ident,
                                 const std::string& Default) = 0;
  virtual std::int32_t ReadInteger(const std::string& Section, const std::string& Ident, std::int32_t Default) = 0;
  virtual bool ReadBool(const std::string& Section, const std::string& Ident, bool Default) = 0;
  virtual void WriteString(const std::string& Section, const std::string& Ident, const std::string& Value) = 0;
  virtual void WriteInteger(const std::string& Section, const std::string& Ident, std::int32_t Value) = 0;
  virtual void WriteBool(const std::string& Section, const std::string& Ident, bool Value) = 0;
  /// Removes Section with all its values and all its sub-sections.
  virtual void EraseSection(const std::string& Section) = 0;
};
using TCustomIniFilePtr = std::shared_ptr<TCustomIniFile>;

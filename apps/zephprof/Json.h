// zephprof: the little JSON that --json prints (objects, arrays, strings, numbers, Booleans).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Text as a JSON string literal: quotes, backslashes and control characters (C0, DEL, C1)
/// escaped; a byte that is not part of valid UTF-8 becomes the text "\xHH", so the output is
/// always valid UTF-8.
std::string JsonString(const std::string& Text);

/// Builds one JSON object, member by member, in the order given.
class TJsonObject {
 public:
  TJsonObject& Add(const std::string& Name, const std::string& Value);
  TJsonObject& Add(const std::string& Name, const char* Value) { return Add(Name, std::string(Value)); }
  TJsonObject& Add(const std::string& Name, std::int64_t Value);
  TJsonObject& Add(const std::string& Name, int Value) { return Add(Name, static_cast<std::int64_t>(Value)); }
  TJsonObject& Add(const std::string& Name, bool Value);
  /// Value is JSON text already (an object or array).
  TJsonObject& AddRaw(const std::string& Name, const std::string& Value);
  std::string Text() const { return "{" + FBody + "}"; }

 private:
  void Name(const std::string& Member);
  std::string FBody;
};

/// Items (JSON texts) as a JSON array.
std::string JsonArray(const std::vector<std::string>& Items);

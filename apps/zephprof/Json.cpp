// zephprof: the little JSON writer of --json.
#include "Json.h"

#include <cstdio>

#include "common/QuotedText.h"

std::string JsonString(const std::string& Text) {
  std::string Result = "\"";
  const auto Append = [&Result](const char* Pattern, unsigned Value) {
    char Escaped[8];
    std::snprintf(Escaped, sizeof Escaped, Pattern, Value);
    Result += Escaped;
  };
  for (std::size_t I = 0; I < Text.size();) {
    const std::size_t Length = hestrel::Utf8SequenceLength(Text, I);
    const auto Byte = static_cast<unsigned char>(Text[I]);
    if (Length == 0) {
      // Not UTF-8: the byte as the text "\xHH", as a terminal shows it, so the output stays UTF-8.
      Append("\\\\x%02x", Byte);
      ++I;
      continue;
    }
    const unsigned Second = Length > 1 ? static_cast<unsigned char>(Text[I + 1]) : 0;
    if (Length == 2 && Byte == 0xc2 && Second < 0xa0) {
      Append("\\u%04x", Second);  // a C1 control character
    } else if (Length > 1) {
      Result.append(Text, I, Length);
    } else if (Byte == '"' || Byte == '\\') {
      Result += '\\';
      Result += static_cast<char>(Byte);
    } else if (Byte == '\n') {
      Result += "\\n";
    } else if (Byte == '\r') {
      Result += "\\r";
    } else if (Byte == '\t') {
      Result += "\\t";
    } else if (Byte < 0x20 || Byte == 0x7f) {
      Append("\\u%04x", Byte);
    } else {
      Result += static_cast<char>(Byte);
    }
    I += Length;
  }
  return Result + "\"";
}

void TJsonObject::Name(const std::string& Member) {
  if (!FBody.empty()) FBody += ",";
  FBody += JsonString(Member) + ":";
}

TJsonObject& TJsonObject::Add(const std::string& Member, const std::string& Value) {
  Name(Member);
  FBody += JsonString(Value);
  return *this;
}

TJsonObject& TJsonObject::Add(const std::string& Member, std::int64_t Value) {
  Name(Member);
  FBody += std::to_string(Value);
  return *this;
}

TJsonObject& TJsonObject::Add(const std::string& Member, bool Value) {
  Name(Member);
  FBody += Value ? "true" : "false";
  return *this;
}

TJsonObject& TJsonObject::AddRaw(const std::string& Member, const std::string& Value) {
  Name(Member);
  FBody += Value;
  return *this;
}

std::string JsonArray(const std::vector<std::string>& Items) {
  std::string Result = "[";
  for (std::size_t I = 0; I < Items.size(); ++I) Result += (I ? "," : "") + Items[I];
  return Result + "]";
}

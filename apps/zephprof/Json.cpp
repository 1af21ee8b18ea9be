// zephprof: the little JSON writer of --json.
#include "Json.h"

#include <cstdio>

std::string JsonString(const std::string& Text) {
  std::string Result = "\"";
  for (char C : Text) {
    switch (C) {
      case '"': Result += "\\\""; break;
      case '\\': Result += "\\\\"; break;
      case '\n': Result += "\\n"; break;
      case '\r': Result += "\\r"; break;
      case '\t': Result += "\\t"; break;
      default:
        if (static_cast<unsigned char>(C) < 0x20) {
          char Escaped[8];
          std::snprintf(Escaped, sizeof Escaped, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(C)));
          Result += Escaped;
        } else {
          Result += C;
        }
    }
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

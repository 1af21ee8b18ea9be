#include "hosts/linux/IniFileFormat.h"

#include <limits>

#include "core/Text.h"

namespace LinuxHost {
namespace {

constexpr char HexDigits[] = "0123456789ABCDEF";

char Fold(char C) { return (C >= 'A' && C <= 'Z') ? static_cast<char>(C - 'A' + 'a') : C; }

int HexValue(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

/// Escapes Text; Extra answers whether the byte at an index needs an escape besides the
/// common rules.
template <typename TExtra>
std::string Escape(std::string_view Text, TExtra Extra) {
  std::string Result;
  Result.reserve(Text.size());
  for (std::size_t I = 0; I < Text.size(); ++I) {
    const auto C = static_cast<unsigned char>(Text[I]);
    const bool EdgeBlank = C == ' ' && (I == 0 || I + 1 == Text.size());
    if (C == '%' || C < 0x20 || C == 0x7F || EdgeBlank || Extra(I, static_cast<char>(C))) {
      Result += '%';
      Result += HexDigits[C >> 4];
      Result += HexDigits[C & 0x0F];
    } else {
      Result += static_cast<char>(C);
    }
  }
  return Result;
}

}  // namespace

std::string EscapeSectionName(std::string_view Text) {
  return Escape(Text, [](std::size_t, char C) { return C == ']'; });
}

std::string EscapeValueName(std::string_view Text) {
  return Escape(Text, [](std::size_t I, char C) { return C == '=' || (I == 0 && (C == '[' || C == ';' || C == '#')); });
}

std::string EscapeValue(std::string_view Text) {
  return Escape(Text, [](std::size_t, char) { return false; });
}

std::optional<std::string> Unescape(std::string_view Text) {
  if (Text.find('%') == std::string_view::npos) return std::string(Text);
  std::string Result;
  Result.reserve(Text.size());
  for (std::size_t I = 0; I < Text.size(); ++I) {
    if (Text[I] != '%') {
      Result += Text[I];
      continue;
    }
    if (I + 2 >= Text.size()) return std::nullopt;
    const int H = HexValue(Text[I + 1]);
    const int L = HexValue(Text[I + 2]);
    if (H < 0 || L < 0) return std::nullopt;
    Result += static_cast<char>(H * 16 + L);
    I += 2;
  }
  return Result;
}

std::string_view TrimBlanks(std::string_view Text) {
  const std::size_t First = Text.find_first_not_of(" \t");
  if (First == std::string_view::npos) return {};
  const std::size_t Last = Text.find_last_not_of(" \t");
  return Text.substr(First, Last - First + 1);
}

std::optional<std::int32_t> ParseInteger(std::string_view Text) {
  Text = TrimBlanks(Text);
  bool Negative = false;
  if (!Text.empty() && (Text[0] == '+' || Text[0] == '-')) {
    Negative = Text[0] == '-';
    Text.remove_prefix(1);
  }
  int Base = 10;
  if (Text.size() > 2 && Text[0] == '0' && (Text[1] == 'x' || Text[1] == 'X')) {
    Base = 16;
    Text.remove_prefix(2);
  } else if (Text.size() > 1 && Text[0] == '$') {
    Base = 16;
    Text.remove_prefix(1);
  }
  if (Text.empty()) return std::nullopt;
  std::int64_t Value = 0;
  for (char C : Text) {
    const int Digit = HexValue(C);
    if (Digit < 0 || Digit >= Base) return std::nullopt;
    Value = Value * Base + Digit;
    if (Value > std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1) return std::nullopt;
  }
  if (Negative) Value = -Value;
  if (Value > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
  return static_cast<std::int32_t>(Value);
}

std::size_t TCaseInsensitiveHash::operator()(std::string_view Text) const noexcept {
  std::uint64_t Hash = 14695981039346656037ull;  // FNV-1a over the folded bytes
  for (char C : Text) {
    Hash ^= static_cast<unsigned char>(Fold(C));
    Hash *= 1099511628211ull;
  }
  return static_cast<std::size_t>(Hash);
}

bool TCaseInsensitiveEqual::operator()(std::string_view A, std::string_view B) const noexcept {
  return SameText(A, B);
}

}  // namespace LinuxHost

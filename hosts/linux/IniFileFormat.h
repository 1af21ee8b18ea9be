// The text format of the reference host's settings file (docs/settings-file-format.md):
// escaping of section names, value names and values, and the case-insensitive hashing
// the store indexes them with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace LinuxHost {

/// "%XX" escapes (two hexadecimal digits) of the bytes a line cannot hold as they are:
/// '%' itself, control bytes 0x00-0x1F and 0x7F, and a blank at either end of the text.
/// Section names also escape ']'; value names also escape '=' and a leading '[', ';', '#'.
std::string EscapeSectionName(std::string_view Text);
std::string EscapeValueName(std::string_view Text);
std::string EscapeValue(std::string_view Text);

/// Undoes the escapes; nullopt when a '%' is not followed by two hexadecimal digits.
std::optional<std::string> Unescape(std::string_view Text);

/// Space and tab, the blanks trimmed around names and values.
std::string_view TrimBlanks(std::string_view Text);

/// ReadInteger's reading of a stored text: optional blanks and sign, decimal digits, or
/// hexadecimal after "0x" or "$"; nullopt when not that or outside the 32-bit range.
std::optional<std::int32_t> ParseInteger(std::string_view Text);

/// Hash and equality of names ignoring ASCII case, usable with string_view lookups.
struct TCaseInsensitiveHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view Text) const noexcept;
};
struct TCaseInsensitiveEqual {
  using is_transparent = void;
  bool operator()(std::string_view A, std::string_view B) const noexcept;
};

}  // namespace LinuxHost

// Quoted text for line-oriented UTF-8 files a person can read and diff (the profile-file
// format, docs/profile-file-format.md). One escaping scheme, implemented once:
//   "..."  with  \\  \"  \n  \r  \t  and  \xHH  (any byte, two hex digits).
// Valid UTF-8 is written as it is; bytes that are not part of valid UTF-8 and control
// characters are written as \xHH, so every byte string round-trips exactly.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace hestrel {

/// Text in double quotes, escaped as above.
std::string QuoteText(std::string_view Text);

/// Reads one quoted text starting at Line[Pos] (which must be '"'). On success Out holds
/// the unescaped bytes and Pos is just past the closing quote. On failure answers false
/// with Error saying why (unterminated, unknown escape, raw control character) and leaves
/// Out unspecified.
bool UnquoteText(std::string_view Line, std::size_t& Pos, std::string& Out, std::string& Error);

/// Length of the valid UTF-8 sequence starting at Text[Pos] (1 to 4), or 0 when the bytes
/// there are not valid UTF-8 (bad lead byte, truncated, overlong, surrogate, above U+10FFFF).
std::size_t Utf8SequenceLength(std::string_view Text, std::size_t Pos);

/// True when Text is valid UTF-8 throughout; else false with BadOffset at the first bad byte.
bool IsValidUtf8(std::string_view Text, std::size_t& BadOffset);

}  // namespace hestrel

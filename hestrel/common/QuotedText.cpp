// Quoted text with backslash escapes (see QuotedText.h).
#include "common/QuotedText.h"

namespace hestrel {
namespace {

const char kHexDigits[] = "0123456789ABCDEF";

int HexValue(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

bool IsControl(unsigned char C) { return C < 0x20 || C == 0x7F; }

void AppendHexEscape(std::string& Out, unsigned char C) {
  Out += "\\x";
  Out += kHexDigits[C >> 4];
  Out += kHexDigits[C & 0x0F];
}

/// The escape after a backslash at Line[Pos]; Pos is moved past it.
bool ReadEscape(std::string_view Line, std::size_t& Pos, std::string& Out, std::string& Error) {
  if (Pos >= Line.size()) {
    Error = "a quoted text ends inside an escape";
    return false;
  }
  const char C = Line[Pos++];
  switch (C) {
    case '\\': Out += '\\'; return true;
    case '"': Out += '"'; return true;
    case 'n': Out += '\n'; return true;
    case 'r': Out += '\r'; return true;
    case 't': Out += '\t'; return true;
    case 'x': {
      const int High = Pos < Line.size() ? HexValue(Line[Pos]) : -1;
      const int Low = Pos + 1 < Line.size() ? HexValue(Line[Pos + 1]) : -1;
      if (High < 0 || Low < 0) {
        Error = "\\x must be followed by two hexadecimal digits";
        return false;
      }
      Out += static_cast<char>(High * 16 + Low);
      Pos += 2;
      return true;
    }
    default:
      Error = std::string("unknown escape \\") +
              (IsControl(static_cast<unsigned char>(C)) ? std::string("?") : std::string(1, C));
      return false;
  }
}

}  // namespace

std::size_t Utf8SequenceLength(std::string_view Text, std::size_t Pos) {
  const auto Byte = [&](std::size_t I) { return static_cast<unsigned char>(Text[I]); };
  const unsigned char Lead = Byte(Pos);
  if (Lead < 0x80) return 1;
  std::size_t Length;
  unsigned Min, Max;  // allowed range of the second byte: rules out overlongs, surrogates, > U+10FFFF
  if (Lead >= 0xC2 && Lead <= 0xDF) {
    Length = 2, Min = 0x80, Max = 0xBF;
  } else if (Lead == 0xE0) {
    Length = 3, Min = 0xA0, Max = 0xBF;
  } else if (Lead == 0xED) {
    Length = 3, Min = 0x80, Max = 0x9F;
  } else if (Lead >= 0xE1 && Lead <= 0xEF) {
    Length = 3, Min = 0x80, Max = 0xBF;
  } else if (Lead == 0xF0) {
    Length = 4, Min = 0x90, Max = 0xBF;
  } else if (Lead >= 0xF1 && Lead <= 0xF3) {
    Length = 4, Min = 0x80, Max = 0xBF;
  } else if (Lead == 0xF4) {
    Length = 4, Min = 0x80, Max = 0x8F;
  } else {
    return 0;
  }
  if (Pos + Length > Text.size()) return 0;
  if (Byte(Pos + 1) < Min || Byte(Pos + 1) > Max) return 0;
  for (std::size_t I = 2; I < Length; ++I)
    if ((Byte(Pos + I) & 0xC0) != 0x80) return 0;
  return Length;
}

bool IsValidUtf8(std::string_view Text, std::size_t& BadOffset) {
  for (std::size_t Pos = 0; Pos < Text.size();) {
    const std::size_t Length = Utf8SequenceLength(Text, Pos);
    if (Length == 0) {
      BadOffset = Pos;
      return false;
    }
    Pos += Length;
  }
  return true;
}

std::string QuoteText(std::string_view Text) {
  std::string Out;
  Out.reserve(Text.size() + 2);
  Out += '"';
  for (std::size_t Pos = 0; Pos < Text.size();) {
    const unsigned char C = static_cast<unsigned char>(Text[Pos]);
    const std::size_t Length = Utf8SequenceLength(Text, Pos);
    if (Length > 1) {
      Out.append(Text.substr(Pos, Length));  // readable non-ASCII text stays as it is
      Pos += Length;
      continue;
    }
    ++Pos;
    if (C == '\\')
      Out += "\\\\";
    else if (C == '"')
      Out += "\\\"";
    else if (C == '\n')
      Out += "\\n";
    else if (C == '\r')
      Out += "\\r";
    else if (C == '\t')
      Out += "\\t";
    else if (Length == 0 || IsControl(C))
      AppendHexEscape(Out, C);
    else
      Out += static_cast<char>(C);
  }
  Out += '"';
  return Out;
}

bool UnquoteText(std::string_view Line, std::size_t& Pos, std::string& Out, std::string& Error) {
  if (Pos >= Line.size() || Line[Pos] != '"') {
    Error = "a quoted text was expected";
    return false;
  }
  Out.clear();
  for (std::size_t I = Pos + 1; I < Line.size();) {
    const char C = Line[I++];
    if (C == '"') {
      Pos = I;
      return true;
    }
    if (C == '\\') {
      if (!ReadEscape(Line, I, Out, Error)) return false;
      continue;
    }
    if (IsControl(static_cast<unsigned char>(C))) {
      Error = "a control character inside a quoted text must be written as an escape";
      return false;
    }
    Out += C;
  }
  Error = "a quoted text has no closing quote";
  return false;
}

}  // namespace hestrel

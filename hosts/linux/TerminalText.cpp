// Text shown on a terminal (see TerminalText.h).
#include "hosts/linux/TerminalText.h"

#include <cstdio>

#include "common/QuotedText.h"

namespace LinuxHost {

namespace {

void AppendEscaped(std::string& Out, std::string_view Bytes) {
  for (unsigned char Byte : Bytes) {
    char Escaped[5];
    std::snprintf(Escaped, sizeof Escaped, "\\x%02x", Byte);
    Out += Escaped;
  }
}

}  // namespace

std::string EscapeForTerminal(std::string_view Text) {
  std::string Out;
  Out.reserve(Text.size());
  for (std::size_t I = 0; I < Text.size();) {
    const std::size_t Length = hestrel::Utf8SequenceLength(Text, I);
    const unsigned char Lead = static_cast<unsigned char>(Text[I]);
    const bool Control = Length == 1 ? (Lead < 0x20 && Lead != '\n' && Lead != '\t') || Lead == 0x7f
                                     : Length == 2 && Lead == 0xc2 && static_cast<unsigned char>(Text[I + 1]) < 0xa0;
    if (Length == 0 || Control) {
      AppendEscaped(Out, Text.substr(I, Length == 0 ? 1 : Length));
      I += Length == 0 ? 1 : Length;
    } else {
      Out.append(Text, I, Length);
      I += Length;
    }
  }
  return Out;
}

TTerminalSafeBuffer::int_type TTerminalSafeBuffer::overflow(int_type C) {
  if (traits_type::eq_int_type(C, traits_type::eof())) return traits_type::not_eof(C);
  const char Byte = traits_type::to_char_type(C);
  xsputn(&Byte, 1);
  return C;
}

std::streamsize TTerminalSafeBuffer::xsputn(const char* Text, std::streamsize Count) {
  FPending.append(Text, static_cast<std::size_t>(Count));
  // Whole lines go at once; the rest waits, so a character split between two writes is
  // not taken for broken UTF-8.
  if (const std::size_t Last = FPending.rfind('\n'); Last != std::string::npos) Send(Last + 1);
  return Count;
}

int TTerminalSafeBuffer::sync() {
  Send(FPending.size());
  return FTarget->pubsync();
}

void TTerminalSafeBuffer::Send(std::size_t Length) {
  if (Length == 0) return;
  const std::string Shown = EscapeForTerminal(std::string_view(FPending).substr(0, Length));
  FTarget->sputn(Shown.data(), static_cast<std::streamsize>(Shown.size()));
  FPending.erase(0, Length);
}

}  // namespace LinuxHost

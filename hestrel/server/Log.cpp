// Hestrel server: log records on stderr (see Log.h).
#include "server/Log.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "common/QuotedText.h"

namespace hestrel::server {

namespace {

/// The code point of the valid UTF-8 sequence of Length bytes at Text[Pos].
char32_t CodePoint(std::string_view Text, std::size_t Pos, std::size_t Length) {
  static constexpr unsigned char LeadMask[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
  char32_t Result = static_cast<unsigned char>(Text[Pos]) & LeadMask[Length];
  for (std::size_t I = 1; I < Length; ++I) Result = Result << 6 | (static_cast<unsigned char>(Text[Pos + I]) & 0x3f);
  return Result;
}

/// Characters that would let a line pass for another or show its text in another order.
bool Misleading(char32_t C) {
  return C < 0x20 || (C >= 0x7f && C <= 0x9f) || C == 0x061c || C == 0x200e || C == 0x200f ||
         (C >= 0x2028 && C <= 0x202e) || (C >= 0x2066 && C <= 0x2069);
}

void AppendEscaped(std::string& Line, std::string_view Text) {
  static const char Hex[] = "0123456789abcdef";
  for (std::size_t Pos = 0; Pos < Text.size();) {
    const std::size_t Length = Utf8SequenceLength(Text, Pos);
    if (Length == 0 || Misleading(CodePoint(Text, Pos, Length))) {
      for (std::size_t I = 0; I < std::max<std::size_t>(Length, 1); ++I) {
        const auto C = static_cast<unsigned char>(Text[Pos + I]);
        Line += {'\\', 'x', Hex[C >> 4], Hex[C & 15]};
      }
    } else if (Text[Pos] == '\\') {
      Line += "\\\\";
    } else {
      Line.append(Text, Pos, Length);
    }
    Pos += std::max<std::size_t>(Length, 1);
  }
}

/// Text cut after Limit characters; Cut tells whether anything was left out.
std::string_view FirstCharacters(std::string_view Text, std::size_t Limit, bool& Cut) {
  std::size_t Pos = 0;
  for (std::size_t Count = 0; Pos < Text.size() && Count < Limit; ++Count)
    Pos += std::max<std::size_t>(Utf8SequenceLength(Text, Pos), 1);
  Cut = Pos < Text.size();
  return Text.substr(0, Pos);
}

std::string Marked(std::string_view Shown, bool Cut, std::size_t Size) {
  return std::string(Shown) + (Cut ? " ... (" + std::to_string(Size) + " bytes)" : "");
}

}  // namespace

void Log(const std::string& Message) {
  char Stamp[32] = {};
  std::time_t Now = std::time(nullptr);
  std::tm Utc{};
  gmtime_r(&Now, &Utc);
  std::strftime(Stamp, sizeof Stamp, "%Y-%m-%dT%H:%M:%SZ", &Utc);
  std::string Line = std::string(Stamp) + " hestrel[" + std::to_string(::getpid()) + "]: ";
  AppendEscaped(Line, Message);
  Line += '\n';
  const char* P = Line.data();
  std::size_t Left = Line.size();
  while (Left > 0) {
    ssize_t N = ::write(STDERR_FILENO, P, Left);
    if (N < 0 && errno == EINTR) continue;
    if (N <= 0) return;
    P += N;
    Left -= static_cast<std::size_t>(N);
  }
}

std::string Shortened(std::string_view Text) {
  bool Cut = false;
  const std::string_view Shown = FirstCharacters(Text, ClientTextLimit, Cut);
  return Marked(Shown, Cut, Text.size());
}

std::string ClientText(std::string_view Text) { return "'" + Shortened(Text) + "'"; }

std::string CommandSummary(std::string_view Command) {
  bool Cut = false;
  const std::string_view Shown = FirstCharacters(Command.substr(0, Command.find('\n')), ClientTextLimit, Cut);
  return "'" + Marked(Shown, Shown.size() < Command.size(), Command.size()) + "'";
}

void TOnceLog::Note(const std::string& Kind, const std::string& Line) {
  if (FNoted.insert(Kind).second) Log(Line);
}

}  // namespace hestrel::server

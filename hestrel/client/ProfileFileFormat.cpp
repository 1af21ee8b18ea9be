// Hestrel client: reader and writer of the ".profile" text, version 1
// (docs/profile-file-format.md). The reader is strict: anything it does not understand
// is a damaged file, reported with its line, never half-read.
#include "client/ProfileFileFormat.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <vector>

#include "common/QuotedText.h"

namespace hestrel {
namespace {

const char* const kKindNames[4] = {"Other", "Include", "Library", "Framework"};
/// The order in which the path lists are written: include, library, other, framework.
constexpr TIncludePathKind kWriteOrder[] = {TIncludePathKind::Include, TIncludePathKind::Library,
                                            TIncludePathKind::Other, TIncludePathKind::Framework};

struct TToken {
  bool Quoted = false;
  std::string Text;
};

bool IsBlank(char C) { return C == ' ' || C == '\t'; }

std::string_view Trim(std::string_view Text) {
  while (!Text.empty() && IsBlank(Text.front())) Text.remove_prefix(1);
  while (!Text.empty() && IsBlank(Text.back())) Text.remove_suffix(1);
  return Text;
}

/// The value part of an entry: quoted texts and bare words separated by blanks.
bool SplitTokens(std::string_view Value, std::vector<TToken>& Tokens, std::string& Error) {
  for (std::size_t Pos = 0; Pos < Value.size();) {
    if (IsBlank(Value[Pos])) {
      ++Pos;
      continue;
    }
    TToken Token;
    if (Value[Pos] == '"') {
      Token.Quoted = true;
      if (!UnquoteText(Value, Pos, Token.Text, Error)) return false;
      if (Pos < Value.size() && !IsBlank(Value[Pos])) {
        Error = "a quoted text must be followed by a blank or the end of the line";
        return false;
      }
    } else {
      const std::size_t Start = Pos;
      while (Pos < Value.size() && !IsBlank(Value[Pos])) {
        if (Value[Pos] == '"') {
          Error = "a quote inside a word; quoted texts must stand alone";
          return false;
        }
        ++Pos;
      }
      Token.Text = std::string(Value.substr(Start, Pos - Start));
    }
    Tokens.push_back(std::move(Token));
  }
  return true;
}

/// Checks the tokens against a pattern: 'q' a quoted text, 'w' a bare word.
bool Expect(const std::vector<TToken>& Tokens, std::string_view Pattern, const std::string& Key, std::string& Error) {
  bool Ok = Tokens.size() == Pattern.size();
  for (std::size_t I = 0; Ok && I < Pattern.size(); ++I) Ok = Tokens[I].Quoted == (Pattern[I] == 'q');
  if (!Ok) {
    static const char* const kShapes[] = {
        "Name",       "\"text\"",
        "Port",       "a whole number",
        "Credential", "Password|PasswordFile \"text\" Encrypted|NotEncrypted",
        "Path",       "Include|Library|Other|Framework \"path\" \"mask\" SubDirs|NoSubDirs"};
    std::string Shape = "\"text\"";
    for (std::size_t I = 0; I < std::size(kShapes); I += 2)
      if (Key == kShapes[I]) Shape = kShapes[I + 1];
    Error = "'" + Key + "' must be written as: " + Key + " = " + Shape;
  }
  return Ok;
}

/// A bare word that must be one of two: answers true for the first.
bool ReadChoice(const TToken& Token, const char* First, const char* Second, bool& Value, std::string& Error) {
  if (Token.Text == First || Token.Text == Second) {
    Value = Token.Text == First;
    return true;
  }
  Error = "'" + Token.Text + "' must be " + First + " or " + Second;
  return false;
}

bool ReadInt32(const std::string& Word, std::int32_t& Value, std::string& Error) {
  const char* End = Word.data() + Word.size();
  const auto [Ptr, Ec] = std::from_chars(Word.data(), End, Value);
  if (Ec != std::errc() || Ptr != End || Word.empty()) {
    Error = "'" + Word + "' is not a whole number between -2147483648 and 2147483647";
    return false;
  }
  return true;
}

/// What has been read so far; every scalar entry at most once.
struct TReadState {
  TProfileFileData Data;
  std::optional<int> NameLine, PlatformLine, HostLine, PortLine, CredentialLine, SysRootLine;
};

bool ReadEntry(const std::string& Key, const std::vector<TToken>& T, TReadState& S, int LineNo, std::string& Error) {
  auto Once = [&](std::optional<int>& Seen) {
    if (Seen) {
      Error = "'" + Key + "' appears twice (first on line " + std::to_string(*Seen) + ")";
      return false;
    }
    Seen = LineNo;
    return true;
  };
  auto Text = [&](std::optional<int>& Seen, std::string& Field) {
    if (!Once(Seen) || !Expect(T, "q", Key, Error)) return false;
    Field = T[0].Text;
    return true;
  };
  if (Key == "Name") return Text(S.NameLine, S.Data.ProfileName);
  if (Key == "Platform") return Text(S.PlatformLine, S.Data.Platform);
  if (Key == "Host") return Text(S.HostLine, S.Data.Host);
  if (Key == "SysRoot") return Text(S.SysRootLine, S.Data.SysRoot);
  if (Key == "Port") return Once(S.PortLine) && Expect(T, "w", Key, Error) && ReadInt32(T[0].Text, S.Data.Port, Error);
  if (Key == "Credential") {
    if (!Once(S.CredentialLine) || !Expect(T, "wqw", Key, Error)) return false;
    S.Data.Credential.PasswordOrFile = T[1].Text;
    return ReadChoice(T[0], "Password", "PasswordFile", S.Data.Credential.IsPassword, Error) &&
           ReadChoice(T[2], "Encrypted", "NotEncrypted", S.Data.Credential.IsEncrypted, Error);
  }
  if (Key == "Path") {
    if (!Expect(T, "wqqw", Key, Error)) return false;
    std::size_t Kind = 0;
    while (Kind < 4 && T[0].Text != kKindNames[Kind]) ++Kind;
    if (Kind == 4) {
      Error = "'" + T[0].Text + "' is not a path kind (Include, Library, Other or Framework)";
      return false;
    }
    TRAPathItem Item{T[1].Text, T[2].Text, false};
    if (!ReadChoice(T[3], "SubDirs", "NoSubDirs", Item.IncludeSubDir, Error)) return false;
    S.Data.Paths[Kind].push_back(std::move(Item));
    return true;
  }
  Error = "unknown entry '" + Key + "'";
  return false;
}

/// One entry line "Key = value ...", already trimmed and not a comment.
bool ReadLine(std::string_view Line, TReadState& State, int LineNo, std::string& Error) {
  std::size_t KeyEnd = 0;
  while (KeyEnd < Line.size() &&
         ((Line[KeyEnd] >= 'A' && Line[KeyEnd] <= 'Z') || (Line[KeyEnd] >= 'a' && Line[KeyEnd] <= 'z')))
    ++KeyEnd;
  const std::string_view Rest = Trim(Line.substr(KeyEnd));
  if (KeyEnd == 0 || Rest.empty() || Rest.front() != '=') {
    Error = "expected an entry 'Name = value'";
    return false;
  }
  std::vector<TToken> Tokens;
  return SplitTokens(Rest.substr(1), Tokens, Error) &&
         ReadEntry(std::string(Line.substr(0, KeyEnd)), Tokens, State, LineNo, Error);
}

/// Line 1: "HestrelProfile 1".
bool ReadHeader(std::string_view Line, std::string& Error) {
  const std::string_view Magic = ProfileFileMagic;
  Line = Trim(Line);
  if (Line.substr(0, Magic.size()) != Magic || (Line.size() > Magic.size() && !IsBlank(Line[Magic.size()]))) {
    Error = "not a Hestrel profile file (the first line must be '" + std::string(Magic) + " " +
            std::to_string(ProfileFileVersion) + "')";
    return false;
  }
  const std::string Version(Trim(Line.substr(Magic.size())));
  if (Version != std::to_string(ProfileFileVersion)) {
    std::string Shown;
    for (char C : Version.substr(0, 40)) Shown += (static_cast<unsigned char>(C) < 0x20) ? '?' : C;
    Error = "unsupported format version '" + Shown + "' (this library reads version " +
            std::to_string(ProfileFileVersion) + ")";
    return false;
  }
  return true;
}

std::string AtLine(int LineNo, const std::string& Reason) { return "line " + std::to_string(LineNo) + ": " + Reason; }

/// Whole-file checks before any line is read: size, text, encoding.
bool CheckText(std::string_view Text, std::string& Error) {
  if (Text.empty()) {
    Error = "the file is empty";
    return false;
  }
  if (Text.size() > MaxProfileFileSize) {
    Error = "the file is larger than 1 MiB; a profile file is never that big";
    return false;
  }
  std::size_t Bad = Text.find('\0');
  if (Bad != std::string_view::npos || !IsValidUtf8(Text, Bad)) {
    const int LineNo =
        1 + static_cast<int>(std::count(Text.begin(), Text.begin() + static_cast<std::ptrdiff_t>(Bad), '\n'));
    Error = AtLine(LineNo, "not UTF-8 text (byte " + std::to_string(Bad) + "); the file is binary or damaged");
    return false;
  }
  return true;
}

}  // namespace

std::string WriteProfileText(const TProfileFileData& Data) {
  std::string Out;
  Out += std::string(ProfileFileMagic) + " " + std::to_string(ProfileFileVersion) + "\n";
  Out += "# Hestrel connection profile (docs/profile-file-format.md). UTF-8; quoted texts use\n";
  Out += "# the escapes \\\\ \\\" \\n \\r \\t \\xHH. The credential is kept as given, never deciphered.\n";
  Out += "Name = " + QuoteText(Data.ProfileName) + "\n";
  Out += "Platform = " + QuoteText(Data.Platform) + "\n";
  Out += "Host = " + QuoteText(Data.Host) + "\n";
  Out += "Port = " + std::to_string(Data.Port) + "\n";
  Out += std::string("Credential = ") + (Data.Credential.IsPassword ? "Password " : "PasswordFile ") +
         QuoteText(Data.Credential.PasswordOrFile) + (Data.Credential.IsEncrypted ? " Encrypted" : " NotEncrypted") +
         "\n";
  Out += "SysRoot = " + QuoteText(Data.SysRoot) + "\n";
  for (TIncludePathKind Kind : kWriteOrder) {
    const auto K = static_cast<std::size_t>(Kind);
    for (const TRAPathItem& Item : Data.Paths[K])
      Out += std::string("Path = ") + kKindNames[K] + " " + QuoteText(Item.Path) + " " + QuoteText(Item.Mask) +
             (Item.IncludeSubDir ? " SubDirs" : " NoSubDirs") + "\n";
  }
  Out += "End\n";
  return Out;
}

bool ParseProfileText(std::string_view Text, TProfileFileData& Out, std::string& Error) {
  if (!CheckText(Text, Error)) return false;
  if (Text.substr(0, 3) == "\xEF\xBB\xBF") Text.remove_prefix(3);  // a byte-order mark some editors add

  TReadState State;
  bool EndSeen = false;
  int LineNo = 0;
  for (std::size_t Pos = 0; Pos < Text.size();) {
    std::size_t Next = Text.find('\n', Pos);
    if (Next == std::string_view::npos) Next = Text.size();
    std::string_view Line = Text.substr(Pos, Next - Pos);
    Pos = Next + 1;
    ++LineNo;
    if (!Line.empty() && Line.back() == '\r') Line.remove_suffix(1);  // CR LF from another system
    std::string Reason;
    if (LineNo == 1) {
      if (!ReadHeader(Line, Reason)) return Error = AtLine(LineNo, Reason), false;
      continue;
    }
    Line = Trim(Line);
    if (Line.empty() || Line.front() == '#') continue;
    if (EndSeen) return Error = AtLine(LineNo, "text after the End line"), false;
    if (Line == "End") {
      EndSeen = true;
      // A file without a Name line holds an empty name: the importer then takes the file's
      // name ("office.mac.profile" imports as "office.mac"). Every other entry must be there.
      const char* Missing = !State.PlatformLine     ? "Platform"
                            : !State.HostLine       ? "Host"
                            : !State.PortLine       ? "Port"
                            : !State.CredentialLine ? "Credential"
                            : !State.SysRootLine    ? "SysRoot"
                                                    : nullptr;
      if (Missing) return Error = AtLine(LineNo, std::string("the entry '") + Missing + "' is missing"), false;
      continue;
    }
    if (!ReadLine(Line, State, LineNo, Reason)) return Error = AtLine(LineNo, Reason), false;
  }
  if (!EndSeen) return Error = AtLine(LineNo, "the file ends without its End line (it is truncated)"), false;
  Out = std::move(State.Data);
  return true;
}

}  // namespace hestrel

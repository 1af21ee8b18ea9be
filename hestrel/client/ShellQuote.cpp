// Hestrel client: shell quoting (see ShellQuote.h).
#include "client/ShellQuote.h"

namespace hestrel {

std::string ShellQuote(std::string_view Text) {
  std::string Word = "'";
  for (char C : Text) {
    if (C == '\'')
      Word += "'\\''";
    else
      Word += C;
  }
  return Word + "'";
}

namespace {

bool IsNameStart(char C) { return (C >= 'A' && C <= 'Z') || (C >= 'a' && C <= 'z') || C == '_'; }
bool IsNameChar(char C) { return IsNameStart(C) || (C >= '0' && C <= '9'); }
bool IsUserChar(char C) { return IsNameChar(C) || C == '.' || C == '-'; }

/// Length of a variable reference at Text[I] ("$NAME" or "${NAME}"), 0 when none; Name out.
size_t VariableAt(std::string_view Text, size_t I, std::string& Name) {
  if (Text[I] != '$' || I + 1 >= Text.size()) return 0;
  size_t J = I + 1;
  const bool Braced = Text[J] == '{';
  if (Braced) ++J;
  if (J >= Text.size() || !IsNameStart(Text[J])) return 0;
  const size_t Start = J;
  while (J < Text.size() && IsNameChar(Text[J])) ++J;
  Name = std::string(Text.substr(Start, J - Start));
  if (Braced) {
    if (J >= Text.size() || Text[J] != '}') return 0;
    ++J;
  }
  return J - I;
}

}  // namespace

std::string ShellExpandableWord(std::string_view Text) {
  std::string Word;
  size_t I = 0;
  if (!Text.empty() && Text[0] == '~') {
    size_t J = 1;
    while (J < Text.size() && IsUserChar(Text[J])) ++J;
    if (J == Text.size() || Text[J] == '/') {
      // The tilde prefix ends at the first UNQUOTED slash: keep the slash unquoted too.
      if (J < Text.size()) ++J;
      Word = std::string(Text.substr(0, J));
      I = J;
    }
  }
  std::string Literal;
  auto Flush = [&] {
    if (!Literal.empty()) Word += ShellQuote(Literal);
    Literal.clear();
  };
  while (I < Text.size()) {
    std::string Name;
    if (const size_t Length = VariableAt(Text, I, Name); Length > 0) {
      Flush();
      Word += "\"${" + Name + "}\"";
      I += Length;
    } else {
      Literal += Text[I++];
    }
  }
  Flush();
  return Word.empty() ? "''" : Word;
}

std::vector<std::string> SplitCommandLine(std::string_view Text) {
  std::vector<std::string> Words;
  std::string Word;
  bool InWord = false;
  char Quote = 0;
  for (size_t I = 0; I < Text.size(); ++I) {
    const char C = Text[I];
    if (Quote) {
      if (C == Quote)
        Quote = 0;
      else if (C == '\\' && Quote == '"' && I + 1 < Text.size() && (Text[I + 1] == '"' || Text[I + 1] == '\\'))
        Word += Text[++I];
      else
        Word += C;
    } else if (C == ' ' || C == '\t' || C == '\n' || C == '\r') {
      if (InWord) Words.push_back(Word);
      Word.clear();
      InWord = false;
    } else {
      InWord = true;
      if (C == '\'' || C == '"')
        Quote = C;
      else if (C == '\\' && I + 1 < Text.size())
        Word += Text[++I];
      else
        Word += C;
    }
  }
  if (InWord) Words.push_back(Word);
  return Words;
}

}  // namespace hestrel

#include "core/Text.h"

#include <algorithm>
#include <vector>

#include "core/ResourceStrings.h"

std::string LowerCase(std::string_view Text) {
  std::string Result(Text);
  for (char& C : Result)
    if (C >= 'A' && C <= 'Z') C = static_cast<char>(C - 'A' + 'a');
  return Result;
}

bool SameText(std::string_view A, std::string_view B) {
  return A.size() == B.size() && std::equal(A.begin(), A.end(), B.begin(), [](char X, char Y) {
           auto Fold = [](char C) { return (C >= 'A' && C <= 'Z') ? static_cast<char>(C - 'A' + 'a') : C; };
           return Fold(X) == Fold(Y);
         });
}

std::string Format(std::string_view Pattern, std::initializer_list<TFormatArg> Args) {
  const std::vector<TFormatArg> Arguments(Args);
  std::string Result;
  std::size_t Next = 0;
  for (std::size_t I = 0; I < Pattern.size(); ++I) {
    if (Pattern[I] != '%') {
      Result += Pattern[I];
      continue;
    }
    if (I + 1 < Pattern.size() && Pattern[I + 1] == '%') {
      Result += '%';
      ++I;
      continue;
    }
    // %[index:](s|d)
    std::size_t J = I + 1;
    std::size_t Index = Next;
    std::size_t DigitsEnd = J;
    while (DigitsEnd < Pattern.size() && Pattern[DigitsEnd] >= '0' && Pattern[DigitsEnd] <= '9') ++DigitsEnd;
    if (DigitsEnd > J && DigitsEnd < Pattern.size() && Pattern[DigitsEnd] == ':') {
      Index = std::stoul(std::string(Pattern.substr(J, DigitsEnd - J)));
      J = DigitsEnd + 1;
    }
    if (J >= Pattern.size() || (Pattern[J] != 's' && Pattern[J] != 'd') || Index >= Arguments.size()) {
      Result += Pattern[I];
      continue;
    }
    const TFormatArg& Arg = Arguments[Index];
    if (Pattern[J] == 's' && std::holds_alternative<std::string>(Arg)) {
      Result += std::get<std::string>(Arg);
    } else if (Pattern[J] == 'd' && std::holds_alternative<std::int64_t>(Arg)) {
      Result += std::to_string(std::get<std::int64_t>(Arg));
    } else {
      Result += Pattern[I];
      continue;
    }
    Next = Index + 1;
    I = J;
  }
  return Result;
}

std::string ConnectionFailedText(const std::string& HostName, std::int32_t Port) {
  return Format(sConnectionFailed, {HostName, std::int64_t{Port}});
}

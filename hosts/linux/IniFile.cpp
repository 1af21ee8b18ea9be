// The reference host's settings store: a text file held in memory, written back on request.
#include "hosts/linux/IniFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/Text.h"
#include "hosts/linux/HostAtomicWrite.h"

using namespace LinuxHost;

namespace {

/// A section's values get a name index once they are this many; fewer are scanned.
constexpr std::size_t IndexThreshold = 16;

constexpr std::string_view Header =
    "; Settings store. Names ignore case; %XX escapes a byte (docs/settings-file-format.md).\n";

/// Reads a whole file; answers false with errno set when it cannot.
bool ReadWholeFile(const std::string& FileName, std::string& Text) {
  const int Fd = ::open(FileName.c_str(), O_RDONLY | O_CLOEXEC);
  if (Fd < 0) return false;
  struct stat Info {};
  if (::fstat(Fd, &Info) != 0 || S_ISDIR(Info.st_mode)) {
    const int Error = S_ISDIR(Info.st_mode) ? EISDIR : errno;
    ::close(Fd);
    errno = Error;
    return false;
  }
  Text.clear();
  Text.reserve(static_cast<std::size_t>(Info.st_size));
  char Buffer[65536];
  for (;;) {
    const ssize_t N = ::read(Fd, Buffer, sizeof Buffer);
    if (N == 0) break;
    if (N < 0) {
      if (errno == EINTR) continue;
      const int Error = errno;
      ::close(Fd);
      errno = Error;
      return false;
    }
    Text.append(Buffer, static_cast<std::size_t>(N));
  }
  ::close(Fd);
  return true;
}

constexpr std::string_view BadEscape = "'%' must be followed by two hexadecimal digits";

}  // namespace

TIniFile::TValue* TIniFile::TSection::Find(std::string_view Ident) {
  if (Index) {
    auto It = Index->find(Ident);
    return It == Index->end() ? nullptr : &Values[It->second];
  }
  for (TValue& V : Values)
    if (SameText(V.Name, Ident)) return &V;
  return nullptr;
}

void TIniFile::TSection::Set(std::string_view Ident, std::string Value) {
  if (TValue* Existing = Find(Ident)) {
    Existing->Value = std::move(Value);
    return;
  }
  Values.push_back({std::string(Ident), std::move(Value)});
  if (Index) {
    Index->emplace(Values.back().Name, Values.size() - 1);
  } else if (Values.size() >= IndexThreshold) {
    Index = std::make_unique<TNameIndex>();
    for (std::size_t I = 0; I < Values.size(); ++I) Index->emplace(Values[I].Name, I);
  }
}

TIniFile::TIniFile(std::string FileName) : FFileName(std::move(FileName)) {}

TIniFileLoadResult TIniFile::Load(const std::string& FileName) {
  auto File = std::make_shared<TIniFile>(FileName);
  std::string Text;
  if (!ReadWholeFile(FileName, Text)) {
    if (errno == ENOENT) return {File, {}};
    File->FLoadError = "Cannot read settings file '" + FileName + "': " + std::strerror(errno);
    return {File, File->FLoadError};
  }
  File->FLoadError = File->SetText(Text);
  return {File, File->FLoadError, Text.find_first_not_of(" \t\r\n") == std::string::npos};
}

std::string TIniFile::SetText(std::string_view Text) {
  Clear();
  if (Text.substr(0, 3) == "\xEF\xBB\xBF") Text.remove_prefix(3);  // a UTF-8 byte-order mark
  TSection* Current = nullptr;
  std::size_t LineNumber = 0;
  while (!Text.empty()) {
    ++LineNumber;
    const std::size_t End = Text.find('\n');
    std::string_view Line = Text.substr(0, End);
    Text.remove_prefix(End == std::string_view::npos ? Text.size() : End + 1);
    if (!Line.empty() && Line.back() == '\r') Line.remove_suffix(1);
    const std::string Reason = ParseLine(Line, Current);
    if (!Reason.empty()) {
      Clear();
      return "Settings file '" + FFileName + "' is damaged: line " + std::to_string(LineNumber) + ": " + Reason;
    }
  }
  return {};
}

std::string TIniFile::ParseLine(std::string_view Line, TSection*& Current) {
  Line = TrimBlanks(Line);
  if (Line.empty() || Line[0] == ';' || Line[0] == '#') return {};
  if (Line[0] == '[') {
    if (Line.back() != ']' || Line.size() < 2) return "a section header must end with ']'";
    const std::string_view Inner = Line.substr(1, Line.size() - 2);
    if (Inner.find(']') != std::string_view::npos) return "a section name cannot hold ']' (write it as %5D)";
    const auto Name = Unescape(TrimBlanks(Inner));
    if (!Name) return std::string(BadEscape);
    Current = &FindOrAddSection(*Name);
    return {};
  }
  const std::size_t Equals = Line.find('=');
  if (Equals == std::string_view::npos) return "a line must be a [section], a name=value pair or a comment";
  if (!Current) return "a value comes before the first [section]";
  const auto Name = Unescape(TrimBlanks(Line.substr(0, Equals)));
  auto Value = Unescape(TrimBlanks(Line.substr(Equals + 1)));
  if (!Name || !Value) return std::string(BadEscape);
  Current->Set(*Name, std::move(*Value));
  return {};
}

std::string TIniFile::GetText() const {
  std::size_t Size = Header.size();
  for (const TSection& S : FSections) {
    Size += S.Name.size() + 4;
    for (const TValue& V : S.Values) Size += V.Name.size() + V.Value.size() + 2;
  }
  std::string Text;
  Text.reserve(Size + Size / 8);
  Text += Header;
  for (const TSection& S : FSections) {
    Text += "\n[";
    Text += EscapeSectionName(S.Name);
    Text += "]\n";
    for (const TValue& V : S.Values) {
      Text += EscapeValueName(V.Name);
      Text += '=';
      Text += EscapeValue(V.Value);
      Text += '\n';
    }
  }
  return Text;
}

TIniFileSaveResult TIniFile::UpdateFile() {
  if (!FLoadError.empty())
    return {"Settings file '" + FFileName + "' was not saved, to keep the file that could not be loaded. " +
            FLoadError};
  // The file holds enciphered passwords: new 0600, an existing one tightened to at most 0600.
  return {AtomicWriteFile(FFileName, GetText(), 0600, 0600).Error};
}

TIniFile::TSection* TIniFile::FindSection(std::string_view Section) {
  auto It = FSectionIndex.find(Section);
  return It == FSectionIndex.end() ? nullptr : &FSections[It->second];
}

TIniFile::TSection& TIniFile::FindOrAddSection(std::string_view Section) {
  if (TSection* Existing = FindSection(Section)) return *Existing;
  FSections.push_back({std::string(Section), {}, nullptr});
  const std::size_t Slot = FSections.size() - 1;
  FSectionIndex.emplace(FSections.back().Name, Slot);
  IndexChild(Slot);
  return FSections.back();
}

void TIniFile::IndexChild(std::size_t Slot) {
  const std::string& Name = FSections[Slot].Name;
  const std::size_t Separator = Name.rfind('\\');
  if (Separator == std::string::npos || Separator + 1 == Name.size()) return;
  const std::string_view Parent = std::string_view(Name).substr(0, Separator);
  auto It = FChildren.find(Parent);
  if (It == FChildren.end()) It = FChildren.emplace(std::string(Parent), std::vector<std::size_t>{}).first;
  It->second.push_back(Slot);
}

void TIniFile::RebuildIndexes() {
  FSectionIndex.clear();
  FChildren.clear();
  for (std::size_t Slot = 0; Slot < FSections.size(); ++Slot) {
    FSectionIndex.emplace(FSections[Slot].Name, Slot);
    IndexChild(Slot);
  }
}

void TIniFile::Clear() {
  FSections.clear();
  FSectionIndex.clear();
  FChildren.clear();
}

void TIniFile::ReadSections(const std::string& Section, std::vector<std::string>& Strings) {
  Strings.clear();
  auto It = FChildren.find(std::string_view(Section));
  if (It == FChildren.end()) return;
  Strings.reserve(It->second.size());
  for (std::size_t Slot : It->second) Strings.push_back(FSections[Slot].Name.substr(Section.size() + 1));
}

std::string TIniFile::ReadString(const std::string& Section, const std::string& Ident, const std::string& Default) {
  TSection* S = FindSection(Section);
  const TValue* V = S ? S->Find(Ident) : nullptr;
  return V ? V->Value : Default;
}

std::int32_t TIniFile::ReadInteger(const std::string& Section, const std::string& Ident, std::int32_t Default) {
  TSection* S = FindSection(Section);
  const TValue* V = S ? S->Find(Ident) : nullptr;
  if (!V) return Default;
  return ParseInteger(V->Value).value_or(Default);
}

bool TIniFile::ReadBool(const std::string& Section, const std::string& Ident, bool Default) {
  TSection* S = FindSection(Section);
  const TValue* V = S ? S->Find(Ident) : nullptr;
  if (!V) return Default;
  if (const auto Number = ParseInteger(V->Value)) return *Number != 0;
  const std::string_view Word = TrimBlanks(V->Value);
  if (SameText(Word, "true")) return true;
  if (SameText(Word, "false")) return false;
  return Default;
}

void TIniFile::WriteString(const std::string& Section, const std::string& Ident, const std::string& Value) {
  FindOrAddSection(Section).Set(Ident, Value);
}

void TIniFile::WriteInteger(const std::string& Section, const std::string& Ident, std::int32_t Value) {
  FindOrAddSection(Section).Set(Ident, std::to_string(Value));
}

void TIniFile::WriteBool(const std::string& Section, const std::string& Ident, bool Value) {
  FindOrAddSection(Section).Set(Ident, Value ? "1" : "0");
}

void TIniFile::EraseSection(const std::string& Section) {
  const std::size_t Before = FSections.size();
  std::erase_if(FSections, [&](const TSection& S) {
    const std::string_view Name = S.Name;
    if (SameText(Name, Section)) return true;
    return Name.size() > Section.size() && Name[Section.size()] == '\\' &&
           SameText(Name.substr(0, Section.size()), Section);
  });
  if (FSections.size() != Before) RebuildIndexes();
}

// Hestrel client, fast pull: tar stream reader (see TarStream.h).
#include "client/TarStream.h"

#include <algorithm>
#include <cstring>

namespace hestrel {

namespace {

constexpr std::size_t BlockSize = 512;

/// A numeric header field: octal text, or base-256 when the high bit of the first byte is set.
std::int64_t Number(const char* Field, std::size_t Size) {
  const auto* Bytes = reinterpret_cast<const unsigned char*>(Field);
  std::int64_t Value = 0;
  if (Bytes[0] & 0x80) {
    for (std::size_t I = 1; I < Size; ++I) Value = (Value << 8) | Bytes[I];
    return Value;
  }
  for (std::size_t I = 0; I < Size && Field[I]; ++I)
    if (Field[I] >= '0' && Field[I] <= '7') Value = Value * 8 + (Field[I] - '0');
  return Value;
}

std::string Text(const char* Field, std::size_t Size) { return std::string(Field, strnlen(Field, Size)); }

std::string StripDotSlash(std::string Name) {
  while (Name.compare(0, 2, "./") == 0) Name.erase(0, 2);
  return Name;
}

/// Applies the pax records ("len key=value\n") that matter to Entry.
void ApplyPax(const std::string& Records, TTarEntry& Entry, bool& HasName, bool& HasSize) {
  std::size_t Pos = 0;
  while (Pos < Records.size()) {
    const std::size_t Space = Records.find(' ', Pos);
    if (Space == std::string::npos) return;
    const std::size_t Length = std::strtoull(Records.c_str() + Pos, nullptr, 10);
    if (Length == 0 || Pos + Length > Records.size()) return;
    const std::string Record = Records.substr(Space + 1, Pos + Length - Space - 2);
    const std::size_t Equal = Record.find('=');
    if (Equal != std::string::npos) {
      const std::string Key = Record.substr(0, Equal), Value = Record.substr(Equal + 1);
      if (Key == "path") {
        Entry.Name = Value;
        HasName = true;
      } else if (Key == "linkpath") {
        Entry.LinkName = Value;
      } else if (Key == "size") {
        Entry.Size = std::strtoll(Value.c_str(), nullptr, 10);
        HasSize = true;
      } else if (Key == "mtime") {
        Entry.Modified = std::strtoll(Value.c_str(), nullptr, 10);
      }
    }
    Pos += Length;
  }
}

}  // namespace

bool TTarReader::ReadBlock(char* Block) { return FChannel.ReadOutExactly(Block, BlockSize); }

bool TTarReader::ReadPadding() {
  char Block[BlockSize];
  const bool Ok = FPadding == 0 || FChannel.ReadOutExactly(Block, static_cast<std::size_t>(FPadding));
  FPadding = 0;
  return Ok;
}

bool TTarReader::ReadExtension(std::int64_t Size, std::string& Out) {
  if (Size < 0 || Size > (1 << 20)) return false;
  std::string Data(static_cast<std::size_t>(Size), '\0');
  if (!FChannel.ReadOutExactly(Data.data(), Data.size())) return false;
  FPadding = (BlockSize - Size % BlockSize) % BlockSize;
  if (!ReadPadding()) return false;
  Out = std::move(Data);
  return true;
}

bool TTarReader::Next(TTarEntry& Entry) {
  if (FBroken || !SkipData()) return false;
  std::string LongName, LongLink;
  TTarEntry Pax;
  bool PaxName = false, PaxSize = false;
  for (;;) {
    char Block[BlockSize];
    if (!ReadBlock(Block)) return false;  // stream ended without the end blocks: tar stopped
    if (std::all_of(Block, Block + BlockSize, [](char C) { return C == 0; })) {  // end of archive
      FComplete = true;
      return false;
    }
    if (std::memcmp(Block + 257, "ustar", 5) != 0) {
      FBroken = true;
      return false;
    }
    const char Type = Block[156];
    const std::int64_t Size = Number(Block + 124, 12);
    std::string Data;
    if (Type == 'L' || Type == 'K' || Type == 'x' || Type == 'g') {
      if (!ReadExtension(Size, Data)) {
        FBroken = true;
        return false;
      }
      if (Type == 'L') LongName = Data.c_str();
      if (Type == 'K') LongLink = Data.c_str();
      if (Type == 'x') ApplyPax(Data, Pax, PaxName, PaxSize);
      continue;
    }
    Entry = TTarEntry{};
    Entry.Type = Type == '\0' ? '0' : Type;
    Entry.Size = PaxSize ? Pax.Size : Size;
    Entry.Modified = Pax.Modified ? Pax.Modified : Number(Block + 136, 12);
    std::string Name = Text(Block, 100);
    const std::string Prefix = Text(Block + 345, 155);
    if (!Prefix.empty()) Name = Prefix + "/" + Name;
    Entry.Name = StripDotSlash(PaxName ? Pax.Name : !LongName.empty() ? LongName : Name);
    Entry.LinkName = !Pax.LinkName.empty() ? Pax.LinkName : !LongLink.empty() ? LongLink : Text(Block + 157, 100);
    // Hard links and directories carry no data whatever the size field says.
    FLeft = (Entry.Type == '1' || Entry.Type == '2' || Entry.Type == '5') ? 0 : Entry.Size;
    FPadding = (BlockSize - FLeft % BlockSize) % BlockSize;
    return true;
  }
}

long TTarReader::ReadData(char* Data, std::size_t Size) {
  if (FLeft == 0) return ReadPadding() ? 0 : -1;
  const std::size_t Want = static_cast<std::size_t>(std::min<std::int64_t>(FLeft, static_cast<std::int64_t>(Size)));
  const long N = FChannel.ReadOut(Data, Want);
  if (N <= 0) {
    FBroken = true;
    return -1;
  }
  FLeft -= N;
  return N;
}

bool TTarReader::SkipData() {
  char Buffer[16384];
  while (FLeft > 0)
    if (ReadData(Buffer, sizeof Buffer) < 0) return false;
  return ReadPadding();
}

}  // namespace hestrel

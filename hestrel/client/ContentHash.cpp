// Hestrel client, GetFiles with CompareContent (see ContentHash.h).
#include "client/ContentHash.h"

#include <fcntl.h>
#include <sodium.h>
#include <unistd.h>

#include "client/RemoteShell.h"
#include "client/ShellQuote.h"
#include "common/UniqueFd.h"

namespace hestrel {

namespace {

constexpr std::size_t HashDigits = 2 * crypto_hash_sha256_BYTES;
constexpr std::size_t MaxCommandBytes = 60000;  // well inside every server's exec request limit

std::string Unescaped(const std::string& Name) {
  std::string Result;
  for (std::size_t I = 0; I < Name.size(); ++I) {
    if (Name[I] != '\\' || I + 1 == Name.size()) {
      Result += Name[I];
      continue;
    }
    const char Next = Name[++I];
    Result += Next == 'n' ? '\n' : Next == 'r' ? '\r' : Next;
  }
  return Result;
}

}  // namespace

std::string LocalContentHash(const std::string& Path) {
  if (sodium_init() < 0) return "";
  const TUniqueFd File(open(Path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!File.Valid()) return "";
  crypto_hash_sha256_state State;
  crypto_hash_sha256_init(&State);
  unsigned char Buffer[65536];
  for (;;) {
    const ssize_t N = read(File.Get(), Buffer, sizeof Buffer);
    if (N < 0) return "";
    if (N == 0) break;
    crypto_hash_sha256_update(&State, Buffer, static_cast<unsigned long long>(N));
  }
  unsigned char Hash[crypto_hash_sha256_BYTES];
  crypto_hash_sha256_final(&State, Hash);
  char Hex[HashDigits + 1];
  return sodium_bin2hex(Hex, sizeof Hex, Hash, sizeof Hash);
}

namespace {

/// Reads `sha256sum` output ("HASH  NAME" lines; a leading backslash marks a name with "\\n"
/// and "\\\\" escapes) into Hashes.
void ParseContentHashes(const std::string& Output, std::map<std::string, std::string>& Hashes) {
  std::size_t Pos = 0;
  while (Pos < Output.size()) {
    std::size_t End = Output.find('\n', Pos);
    if (End == std::string::npos) End = Output.size();
    std::string Line = Output.substr(Pos, End - Pos);
    Pos = End + 1;
    const bool Escaped = !Line.empty() && Line.front() == '\\';
    if (Escaped) Line.erase(0, 1);
    if (Line.size() <= HashDigits + 2 || Line[HashDigits] != ' ') continue;
    const std::string Name = Line.substr(HashDigits + 2);
    Hashes[Escaped ? Unescaped(Name) : Name] = Line.substr(0, HashDigits);
  }
}

}  // namespace

std::map<std::string, std::string> RemoteContentHashes(ssh_session Ssh, const std::vector<std::string>& Paths) {
  // A relative path goes as "./PATH", so that no name can read as standard input ("-").
  auto Argument = [](const std::string& Path) { return !Path.empty() && Path.front() == '/' ? Path : "./" + Path; };
  std::map<std::string, std::string> Named, Hashes;
  for (std::size_t Begin = 0; Begin < Paths.size();) {
    std::string Command = "LC_ALL=C; export LC_ALL; exec sha256sum --";
    std::size_t End = Begin;
    while (End < Paths.size() && (End == Begin || Command.size() + Paths[End].size() + 8 < MaxCommandBytes))
      Command += " " + ShellQuote(Argument(Paths[End++]));
    // Exit status 1 only says that some file could not be read: the others are answered.
    ParseContentHashes(RunCommand(Ssh, Command).Out, Named);
    Begin = End;
  }
  for (const std::string& Path : Paths)
    if (const auto It = Named.find(Argument(Path)); It != Named.end()) Hashes[Path] = It->second;
  return Hashes;
}

}  // namespace hestrel

// Hestrel client, listing a tree: see FindListing.h.
#include "client/FindListing.h"

#include <cstdlib>

#include "client/LocalPaths.h"
#include "client/RemoteShell.h"
#include "client/ShellQuote.h"

namespace hestrel {

namespace {

TRemoteType TypeOf(char Find) {
  switch (Find) {
    case 'f': return TRemoteType::File;
    case 'd': return TRemoteType::Directory;
    case 'l': return TRemoteType::SymLink;
    default: return TRemoteType::Other;
  }
}

/// The next NUL-terminated field at Pos; false when the output ends first.
bool NextField(const std::string& Output, std::size_t& Pos, std::string& Field) {
  const std::size_t End = Output.find('\0', Pos);
  if (End == std::string::npos) return false;
  Field.assign(Output, Pos, End - Pos);
  Pos = End + 1;
  return true;
}

}  // namespace

bool ParseFindRecords(const std::string& Root, const std::string& Output, TTreeListing& Listing) {
  Listing[Root];
  std::size_t Pos = 0;
  std::string Head, Path, Link;
  while (Pos < Output.size()) {
    if (!NextField(Output, Pos, Head) || !NextField(Output, Pos, Path) || !NextField(Output, Pos, Link)) return false;
    // Head: "<type> <size> <seconds>[.<fraction>]"
    char* End = nullptr;
    if (Head.size() < 5 || Head[1] != ' ' || Path.empty()) return false;
    TRemoteEntry Entry;
    Entry.Type = TypeOf(Head[0]);
    Entry.Size = std::strtoll(Head.c_str() + 2, &End, 10);
    if (*End != ' ') return false;
    Entry.Modified = std::strtoll(End + 1, &End, 10);
    if (*End == '.' && Entry.Modified >= 0) {  // nanoseconds: the first nine digits of the fraction
      Entry.ModifiedNanoseconds = 0;
      for (int Digit = 0; Digit < 9; ++Digit) {
        const char C = End[1] >= '0' && End[1] <= '9' ? *++End : '0';
        Entry.ModifiedNanoseconds = Entry.ModifiedNanoseconds * 10 + (C - '0');
      }
    }
    Entry.LinkTarget = Link;
    if (!IsSafeRelativePath(Path)) {
      // find's %P never looks like this; a server that sends it is refused and reported: the
      // whole path stays the entry's name, which the walk refuses as unsafe (never a write).
      Entry.Name = Path;
      Listing[Root].push_back(std::move(Entry));
      continue;
    }
    const std::size_t Slash = Path.find_last_of('/');
    Entry.Name = Slash == std::string::npos ? Path : Path.substr(Slash + 1);
    const std::string Dir = Slash == std::string::npos ? Root : JoinRemote(Root, Path.substr(0, Slash));
    if (Entry.Type == TRemoteType::Directory) Listing[JoinRemote(Root, Path)];
    Listing[Dir].push_back(std::move(Entry));
  }
  return true;
}

bool ListTreeByFind(ssh_session Ssh, const std::string& Root, bool Recursive, TTreeListing& Listing) {
  const std::string Command = "cd " + ShellQuote(Root) + " && exec find . -mindepth 1" +
                              (Recursive ? "" : " -maxdepth 1") + " -printf " +
                              ShellQuote("%y %s %T@\\0%P\\0%l\\0");
  const TCommandResult Result = RunCommand(Ssh, Command);
  if (!Result.Started || Result.ExitStatus != 0) return false;
  TTreeListing Parsed;
  if (!ParseFindRecords(Root, Result.Out, Parsed)) return false;
  Listing = std::move(Parsed);
  return true;
}

}  // namespace hestrel

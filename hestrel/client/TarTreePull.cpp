// Hestrel client, fast fresh pull: a whole remote tree as ONE `tar` stream, with
// no listing first: one round trip instead of one per directory (perf-baselines.md points 1
// and 5). Used only when the local copy of the tree is missing or empty, so there is nothing
// to compare with. The archive's names are the remote side's words: each one is checked
// (safe relative path, the pull's filter, links inside the tree, destination directory inside
// the local root) before anything is written, as the listing path does.
#include <map>

#include "client/ClientErrors.h"
#include "client/DownloadContext.h"
#include "client/LocalPaths.h"
#include "client/RemoteShell.h"
#include "client/ShellQuote.h"
#include "client/TarStream.h"
#include "core/Text.h"

namespace hestrel {

namespace {

struct TTreeStream {
  TDownloadContext& Context;
  const std::string& Root;
  const TEntryFilter& Filter;
  std::map<std::string, bool> Descended;  ///< relative directory -> its entries are wanted
  bool IterationStopped = false;
  bool Incomplete = false;  ///< an entry was left for the listing pass (hard link, odd type)
};

std::vector<std::string> Split(const std::string& Path) {
  std::vector<std::string> Parts;
  std::size_t Start = 0;
  while (Start <= Path.size()) {
    std::size_t End = Path.find('/', Start);
    if (End == std::string::npos) End = Path.size();
    Parts.push_back(Path.substr(Start, End - Start));
    Start = End + 1;
  }
  return Parts;
}

/// Every directory above the entry must be one the filter descends into.
bool ParentsWanted(TTreeStream& S, const std::vector<std::string>& C) {
  std::string Dir;
  for (std::size_t I = 0; I + 1 < C.size(); ++I) {
    Dir += (I ? "/" : "") + C[I];
    auto It = S.Descended.find(Dir);
    if (It == S.Descended.end()) {
      const std::vector<std::string> Prefix(C.begin(), C.begin() + static_cast<std::ptrdiff_t>(I + 1));
      It = S.Descended.emplace(Dir, S.Filter(Prefix, TRemoteType::Directory) == TFilterAnswer::Descend).first;
    }
    if (!It->second) return false;
  }
  return true;
}

TRemoteType TypeOf(char TarType) {
  switch (TarType) {
    case '0':
    case '7': return TRemoteType::File;
    case '5': return TRemoteType::Directory;
    case '2': return TRemoteType::SymLink;
    default: return TRemoteType::Other;
  }
}

/// One archive entry; false when the stream broke.
bool HandleEntry(TTreeStream& S, TTarReader& Reader, const TTarEntry& Entry) {
  std::string Name = Entry.Name;
  while (!Name.empty() && Name.back() == '/') Name.pop_back();
  if (Name.empty() || Name == ".") return true;  // the root itself
  const std::string Remote = JoinRemote(S.Root, Name);
  if (!IsSafeRelativePath(Name)) {
    S.Context.StreamHandled.insert(Remote);
    S.Context.Fail(Remote, Format(sErrUnsafeName, {Remote}));
    return true;
  }
  const std::vector<std::string> C = Split(Name);
  const TRemoteType Type = TypeOf(Entry.Type);
  if (!ParentsWanted(S, C)) return true;
  if (Type == TRemoteType::Other) {
    S.Incomplete |= Entry.Type == '1';  // hard links: the listing pass fetches them
    return true;
  }
  const TFilterAnswer Answer = S.Filter(C, Type);
  if (Type == TRemoteType::Directory) {
    S.Descended[Name] = Answer == TFilterAnswer::Descend;
    if (Answer != TFilterAnswer::Descend) return true;
    if (S.Context.Iteration && !S.Context.Iteration->EnterDirectory(Remote)) {
      S.IterationStopped = true;
      return true;
    }
    S.Context.StreamEntered.push_back({Remote, C});
    S.Context.StreamEnteredPaths.insert(Remote);
    return true;
  }
  std::string Local;
  if (Answer == TFilterAnswer::Skip || !LocalPathUnderRoot(S.Context.SysRoot, Remote, Local)) return true;
  if (Type == TRemoteType::SymLink) {
    S.Context.StreamHandled.insert(Remote);
    MirrorLinkTarget(S.Context, S.Root, Remote.substr(0, Remote.find_last_of('/')), Remote, Local, Entry.LinkName);
    return true;
  }
  TPlannedFile File{Remote, Name, Local, Entry.Size, Entry.Modified, -1, false};
  if (!AskToCopy(S.Context, File) || !PrepareLocalDirectory(S.Context, Remote, Local)) {
    S.Context.StreamHandled.insert(Remote);  // declined, identical or reported
    return true;
  }
  const bool Intact = ExtractTarEntry(S.Context, Reader, Entry, File);
  if (File.Done) S.Context.StreamHandled.insert(Remote);  // else the stream broke: a listing fetches it
  return Intact;
}

}  // namespace

TTreeStreamEnd TarTreePull(TDownloadContext& Context, const std::string& TreeRoot, const TEntryFilter& Filter) {
  TExecChannel Channel(Context.Ssh, "cd " + ShellQuote(TreeRoot) + " && exec tar -cf - .");
  if (!Channel.IsStarted()) return TTreeStreamEnd::Incomplete;
  Context.StreamEntered.push_back({TreeRoot, {}});
  Context.StreamEnteredPaths.insert(TreeRoot);
  TTreeStream Stream{Context, TreeRoot, Filter, {}, false, false};
  TTarReader Reader(Channel);
  TTarEntry Entry;
  while (!Context.Stopped && !Stream.IterationStopped && Reader.Next(Entry))
    if (!HandleEntry(Stream, Reader, Entry)) break;
  if (Context.Stopped || Stream.IterationStopped) {
    Channel.Abort();
    // Cancelled: the pull ends here. A refused directory: the walk ends as the listing's
    // does, with the files of the directories entered before (PlanStreamRemainder).
    return Context.Stopped ? TTreeStreamEnd::Complete : TTreeStreamEnd::Refused;
  }
  const int Status = Channel.Finish();
  return Reader.IsComplete() && Status == 0 && !Stream.Incomplete ? TTreeStreamEnd::Complete
                                                                  : TTreeStreamEnd::Incomplete;
}

}  // namespace hestrel

// Hestrel client, GetFiles: listing a remote tree and deciding each entry
// (see DownloadContext.h). Nothing is written here but mirrored symbolic links.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <memory>

#include "client/ClientErrors.h"
#include "client/ContentHash.h"
#include "client/DownloadContext.h"
#include "client/FindListing.h"
#include "client/LinkWatch.h"
#include "client/LocalPaths.h"
#include "core/Text.h"

namespace hestrel {

void TDownloadContext::Fail(const std::string& RemoteFile, const std::string& Error) {
  ++Failures;
  LastError = Error;
  if (LinkCut())
    Stopped = true;
  else if (Listener && !Listener->ContinueOnError(RemoteFile, Error))
    Stopped = true;
}

bool TDownloadContext::LinkCut() const { return Watch && Watch->WasCut(); }

bool TDownloadContext::OpenRoot(std::string& Error) {
  if (Root.Valid()) return true;
  std::error_code Ec;
  std::filesystem::create_directories(SysRoot, Ec);
  Root.Reset(Ec ? -1 : open(SysRoot.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!Root.Valid()) Error = LocalErrorText(SysRoot, Ec ? Ec.value() : errno);
  RootPath = SysRoot;
  while (RootPath.size() > 1 && RootPath.back() == '/') RootPath.pop_back();
  return Root.Valid();
}

bool TDownloadContext::PrepareDirectory(const std::string& Dir, std::string& Error) {
  Error.clear();
  if (Prepared.count(Dir)) return true;
  if (!Root.Valid() || !IsWithinTree(RootPath, Dir)) return false;
  std::string_view Relative(Dir);
  Relative.remove_prefix(RootPath.size());
  while (!Relative.empty() && Relative.front() == '/') Relative.remove_prefix(1);
  int Errno = 0;
  const TUniqueFd Opened = OpenDirectoryBeneath(Root.Get(), Relative, Errno);
  if (!Opened.Valid()) {
    if (Errno != EXDEV && Errno != ELOOP) Error = LocalErrorText(Dir, Errno);
    return false;
  }
  RemoveStaleTemporaryFiles(Opened.Get());
  Prepared.insert(Dir);
  return true;
}

bool TDownloadContext::Progress(const std::string& Remote, const std::string& Local, std::int64_t Done,
                                std::int64_t Total) {
  if (Listener && Listener->BytesCopied(Remote, Remote, Local, Done, Total, nullptr) == 2) Cancel();
  return !Cancelled;
}

void TDownloadContext::Cancel() {
  Cancelled = true;
  Stopped = true;
  LastError = sErrCancelled;
}

namespace {

/// Accept, then Overwrite when the local file exists. True: copy it.
bool Ask(TDownloadContext& Context, const TPlannedFile& File, bool Exists, std::int64_t LocalSize,
         std::int64_t LocalTime) {
  if (!Context.Listener) return true;
  std::int32_t Flags = 0;
  const std::uint8_t Answer = Context.Listener->Accept(File.Remote, File.Local, false, Flags);
  if (Answer == 3) Context.Cancel();
  if (Answer != 1) return false;
  return !Exists || Context.Listener->Overwrite(File.Local, FromUnixSeconds(LocalTime), LocalSize,
                                                FromUnixSeconds(File.Modified), File.Size);
}

}  // namespace

bool AskToCopy(TDownloadContext& Context, const TPlannedFile& File) {
  std::int64_t LocalSize = 0, LocalTime = 0;
  std::int32_t LocalNanoseconds = 0;
  const bool Exists = LocalFileInfo(File.Local, LocalSize, LocalTime, LocalNanoseconds);
  if (Exists && LocalSize == File.Size &&
      SameModificationTime(LocalTime, LocalNanoseconds, File.Modified, File.ModifiedNanoseconds)) {
    if (Context.Options.CompareContent) Context.Unverified.push_back(File);
    return false;  // identical: silent skip
  }
  return Ask(Context, File, Exists, LocalSize, LocalTime);
}

void VerifyContent(TDownloadContext& Context, std::vector<TPlannedFile>& Plan) {
  std::vector<TPlannedFile> Files = std::move(Context.Unverified);
  Context.Unverified.clear();
  if (Files.empty() || Context.Stopped) return;
  std::vector<std::string> Paths;
  for (const TPlannedFile& File : Files) Paths.push_back(File.Remote);
  const std::map<std::string, std::string> Remote = RemoteContentHashes(Context.Ssh, Paths);
  for (const TPlannedFile& File : Files) {
    if (Context.Stopped) return;
    const auto It = Remote.find(File.Remote);
    if (It != Remote.end() && It->second == LocalContentHash(File.Local)) continue;
    std::int64_t LocalSize = 0, LocalTime = 0;
    std::int32_t LocalNanoseconds = 0;
    const bool Exists = LocalFileInfo(File.Local, LocalSize, LocalTime, LocalNanoseconds);
    if (Ask(Context, File, Exists, LocalSize, LocalTime)) Plan.push_back(File);
  }
}

bool PrepareLocalDirectory(TDownloadContext& Context, const std::string& Remote, const std::string& Local) {
  std::string Error;
  if (Context.PrepareDirectory(std::filesystem::path(Local).parent_path().string(), Error)) return true;
  Context.Fail(Remote, Error.empty() ? Format(sErrUnsafeName, {Remote}) : Error);
  return false;
}

void MirrorLinkTarget(TDownloadContext& Context, const std::string& TreeRoot, const std::string& RemoteDir,
                      const std::string& Remote, const std::string& Local, const std::string& Target) {
  const std::string Resolved = ResolveLinkTarget(RemoteDir, Target);
  if (Resolved.empty() || !IsWithinTree(TreeRoot, Resolved))
    return Context.Fail(Remote, Format(sErrUnsafeLink, {Remote, Target}));
  const std::string LocalTarget = RelativePath(RemoteDir, Resolved);
  char Existing[4096];
  const ssize_t N = readlink(Local.c_str(), Existing, sizeof Existing);
  if (N >= 0 && std::string(Existing, static_cast<size_t>(N)) == LocalTarget) return;  // already mirrored
  if (!PrepareLocalDirectory(Context, Remote, Local)) return;
  struct stat St;
  if (lstat(Local.c_str(), &St) == 0) {
    if (S_ISDIR(St.st_mode)) return Context.Fail(Remote, LocalErrorText(Local, EISDIR));
    if (S_ISREG(St.st_mode) && Context.Listener &&
        !Context.Listener->Overwrite(Local, FromUnixSeconds(St.st_mtim.tv_sec), St.st_size, TDateTime{}, -1))
      return;
    unlink(Local.c_str());
  }
  // A new or replaced link can change where a prepared directory's path leads (a directory
  // reached through the old link): every directory is checked again from here on.
  Context.Prepared.clear();
  if (symlink(LocalTarget.c_str(), Local.c_str()) != 0) Context.Fail(Remote, LocalErrorText(Local, errno));
}

namespace {

/// A remote symbolic link met in a listing: its target read, then MirrorLinkTarget.
void MirrorLink(TDownloadContext& Context, const std::string& TreeRoot, const std::string& RemoteDir,
                const std::string& Remote, const std::string& Local, const std::string& Listed) {
  if (!Listed.empty()) return MirrorLinkTarget(Context, TreeRoot, RemoteDir, Remote, Local, Listed);
  std::unique_ptr<char, void (*)(void*)> Target(sftp_readlink(Context.Sftp, Remote.c_str()), free);
  if (!Target) return Context.Fail(Remote, RemoteErrorText(Context.Sftp, Remote));
  MirrorLinkTarget(Context, TreeRoot, RemoteDir, Remote, Local, Target.get());
}

/// Pending: where subdirectories to descend into go (nullptr: no descent).
void PlanEntry(TDownloadContext& Context, const std::string& TreeRoot, const TRemoteDirectory& Dir,
               const TRemoteEntry& Entry, const TEntryFilter& Filter, std::vector<TRemoteDirectory>* Pending,
               std::vector<TPlannedFile>& Plan) {
  const std::string Remote = JoinRemote(Dir.Remote, Entry.Name);
  if (Entry.Type != TRemoteType::Directory && Context.StreamHandled.count(Remote)) return;  // decided already
  if (!IsSafeEntryName(Entry.Name)) return Context.Fail(Remote, Format(sErrUnsafeName, {Remote}));
  std::vector<std::string> Components = Dir.Components;
  Components.push_back(Entry.Name);
  const TFilterAnswer Answer = Filter(Components, Entry.Type);
  if (Answer == TFilterAnswer::Skip) return;
  if (Entry.Type == TRemoteType::Directory) {
    if (Answer == TFilterAnswer::Descend && Pending) Pending->push_back({Remote, std::move(Components)});
    return;
  }
  std::string Local;
  if (!LocalPathUnderRoot(Context.SysRoot, Remote, Local)) return Context.Fail(Remote, Format(sErrUnsafeName, {Remote}));
  if (Entry.Type == TRemoteType::SymLink) return MirrorLink(Context, TreeRoot, Dir.Remote, Remote, Local, Entry.LinkTarget);
  if (Entry.Type != TRemoteType::File) return;  // devices, sockets, fifos: not SDK files
  std::string Relative;
  for (const auto& Part : Components) Relative += (Relative.empty() ? "" : "/") + Part;
  TPlannedFile File{Remote, Relative, Local, Entry.Size, Entry.Modified, Entry.ModifiedNanoseconds, false};
  if (AskToCopy(Context, File)) Plan.push_back(std::move(File));
}

/// Lists and plans the directories of Pending (the last first); Descend: subdirectories are
/// added as they are met and entered after EnterDirectory (not asked for the first
/// directory, nor for those the stream entered).
bool PlanDirectories(TDownloadContext& Context, const std::string& TreeRoot, const TEntryFilter& Filter,
                     std::vector<TRemoteDirectory> Pending, bool Descend, std::vector<TPlannedFile>& Plan) {
  // One find for the whole tree when the server has GNU find; SFTP per directory otherwise
  // (and for any directory the find listing does not hold).
  TTreeListing Tree;
  const bool HaveTree =
      Context.Options.UseFindListing && ListTreeByFind(Context.Ssh, TreeRoot, Context.ListRecursively, Tree);
  Context.ListedByFind = HaveTree;
  auto List = [&](const std::string& Dir, std::vector<TRemoteEntry>& Entries, std::string& Error) {
    if (const auto It = Tree.find(Dir); HaveTree && It != Tree.end()) {
      Entries = It->second;
      return true;
    }
    return ListRemoteDirectory(Context.Sftp, Dir, Entries, Error);
  };
  std::vector<TRemoteEntry> Entries;
  bool First = true;
  while (!Pending.empty() && !Context.Stopped) {
    TRemoteDirectory Dir = std::move(Pending.back());
    Pending.pop_back();
    if (!First && Descend && Context.Iteration && !Context.StreamEnteredPaths.count(Dir.Remote) &&
        !Context.Iteration->EnterDirectory(Dir.Remote))
      break;
    std::string Error;
    if (!List(Dir.Remote, Entries, Error)) {
      if (First) {
        Context.LastError = Error;
        return false;
      }
      Context.Fail(Dir.Remote, Error);
      continue;
    }
    First = false;
    const size_t Before = Pending.size();
    for (const auto& Entry : Entries) {
      if (Context.Stopped) break;
      PlanEntry(Context, TreeRoot, Dir, Entry, Filter, Descend ? &Pending : nullptr, Plan);
    }
    std::reverse(Pending.begin() + static_cast<std::ptrdiff_t>(Before), Pending.end());  // listing order
  }
  return true;
}

}  // namespace

bool PlanTree(TDownloadContext& Context, const std::string& TreeRoot, const TEntryFilter& Filter,
              std::vector<TPlannedFile>& Plan) {
  return PlanDirectories(Context, TreeRoot, Filter, {{TreeRoot, {}}}, true, Plan);
}

bool PlanStreamRemainder(TDownloadContext& Context, const std::string& TreeRoot, const TEntryFilter& Filter,
                         std::vector<TPlannedFile>& Plan) {
  std::vector<TRemoteDirectory> Entered(Context.StreamEntered.rbegin(), Context.StreamEntered.rend());
  return PlanDirectories(Context, TreeRoot, Filter, std::move(Entered), false, Plan);
}

}  // namespace hestrel

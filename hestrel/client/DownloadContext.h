// Hestrel client, GetFiles / GetFrameworkFiles: the state one pull shares
// between planning (listing, questions), the tar stream and the SFTP fetches.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "client/ClientOptions.h"
#include "client/RemoteListing.h"
#include "client/Session.h"
#include "common/UniqueFd.h"
#include "host/AgentClient.h"

namespace hestrel {

class TLinkWatch;
class TTarReader;
struct TTarEntry;

/// One file to fetch: decided on (accepted, overwrite answered) and not yet copied.
struct TPlannedFile {
  std::string Remote;    ///< remote path
  std::string Relative;  ///< below the tree root, "/"-separated, checked safe
  std::string Local;     ///< destination under the system root
  std::int64_t Size = 0;
  std::int64_t Modified = 0;
  std::int32_t ModifiedNanoseconds = -1;  ///< as the listing gave it (TRemoteEntry)
  bool Done = false;  ///< copied (or given up): no further attempt
};

/// A remote directory of the tree: its path and its components below the tree root.
struct TRemoteDirectory {
  std::string Remote;
  std::vector<std::string> Components;
};

/// What a pull does with an entry of the tree (relative path split in components).
enum class TFilterAnswer : std::uint8_t { Skip, Take, Descend };
using TEntryFilter = std::function<TFilterAnswer(const std::vector<std::string>& Components, TRemoteType Type)>;

struct TDownloadContext {
  ssh_session Ssh = nullptr;
  sftp_session Sftp = nullptr;
  std::string SysRoot;
  TUniqueFd Root;        ///< the system root, open once the pull knows it has something to write (OpenRoot)
  std::string RootPath;  ///< SysRoot as destinations begin with it (no trailing '/')
  IFileListener* Listener = nullptr;
  IFileIteration* Iteration = nullptr;
  THestrelClientOptions Options;
  bool ListRecursively = true;  ///< the pull descends into subdirectories (listing hint)
  const TLinkWatch* Watch = nullptr;  ///< the connection's silence watch (LinkWatch.h)

  bool Cancelled = false;  ///< the listener asked to stop (Accept 3, BytesCopied 2)
  bool Stopped = false;    ///< cancelled, or ContinueOnError answered false
  int Failures = 0;
  int FilesByTar = 0;   ///< statistics of the pull: files copied through the tar stream
  int FilesBySftp = 0;  ///< ... and over SFTP
  bool ListedByFind = false;  ///< the tree was listed with one find
  std::string LastError;

  /// What the fresh tree stream already decided, so that a listing after it asks nothing twice.
  std::vector<TRemoteDirectory> StreamEntered;  ///< directories entered, in stream order (the root first)
  std::set<std::string> StreamEnteredPaths;     ///< ... the same, by remote path
  std::set<std::string> StreamHandled;          ///< files and links decided (copied, declined, refused)
  /// Local directories made beneath the system root and rid of stale temporary files in this
  /// pull: each is prepared once, not once per file (resolving a path per file cost a third
  /// of a fresh pull's time).
  std::set<std::string> Prepared;
  /// Files whose size and time match the local copy, kept for a content check (CompareContent).
  std::vector<TPlannedFile> Unverified;

  /// Makes the system root where missing (the user's own path, links followed) and opens it.
  /// False with Error naming it when it cannot be made or opened.
  bool OpenRoot(std::string& Error);
  /// Makes the local directory Dir (under RootPath) beneath the open root, never following a
  /// link out of it (OpenDirectoryBeneath), and the first time removes the temporary files a
  /// killed process left there. False with Error set when it cannot be made, false with Error
  /// empty when it would lie outside the root.
  bool PrepareDirectory(const std::string& Dir, std::string& Error);

  /// A failing file: counted, remembered, and the listener asked whether to go on; when
  /// the link was cut for silence the pull stops without asking (nothing more can come).
  void Fail(const std::string& RemoteFile, const std::string& Error);
  /// True once the server stopped answering and the link was cut.
  bool LinkCut() const;
  /// Byte progress; false (and Cancelled) when the listener answers 2.
  bool Progress(const std::string& Remote, const std::string& Local, std::int64_t Done, std::int64_t Total);
  void Cancel();
};

/// Lists the tree below TreeRoot (normalised remote path) and decides every entry:
/// identical files are skipped silently, symbolic links inside the tree are mirrored as
/// local relative links, those pointing out are refused, other files are asked about
/// (Accept, Overwrite) and planned. False when TreeRoot itself cannot be listed. What the
/// fresh stream already decided (StreamEntered, StreamHandled) is not asked again.
bool PlanTree(TDownloadContext& Context, const std::string& TreeRoot, const TEntryFilter& Filter,
              std::vector<TPlannedFile>& Plan);

/// After the iteration refused a directory during the fresh stream: plans the files and
/// links of the directories the stream had entered that it had not reached yet, without
/// descending or asking EnterDirectory again, so the pull ends as the listing would have.
bool PlanStreamRemainder(TDownloadContext& Context, const std::string& TreeRoot, const TEntryFilter& Filter,
                         std::vector<TPlannedFile>& Plan);

/// Asks Accept and, when a different local file exists, Overwrite; identical files (same
/// size and modification time, SameModificationTime) answer false without a question, and
/// with CompareContent wait in Unverified for VerifyContent. True: copy it.
bool AskToCopy(TDownloadContext& Context, const TPlannedFile& File);

/// CompareContent: hashes the Unverified files on both sides (remote `sha256sum` over exec,
/// local SHA-256) and treats those whose content differs, or whose remote hash could not be
/// had, as changed: asked about as AskToCopy does, and planned when the answer is to copy.
void VerifyContent(TDownloadContext& Context, std::vector<TPlannedFile>& Plan);

/// Makes the directory of Local and checks it resolves inside the system root (reported).
bool PrepareLocalDirectory(TDownloadContext& Context, const std::string& Remote, const std::string& Local);

/// A remote symbolic link Remote (in RemoteDir) with Target: mirrored at Local as a relative
/// link when the target stays inside TreeRoot; refused and reported when it points out.
void MirrorLinkTarget(TDownloadContext& Context, const std::string& TreeRoot, const std::string& RemoteDir,
                      const std::string& Remote, const std::string& Local, const std::string& Target);

/// How the fresh tree stream ended.
enum class TTreeStreamEnd : std::uint8_t {
  Complete,    ///< every entry came (or the listener cancelled): the pull is done
  Incomplete,  ///< it could not run, ended early or met a hard link: a listing completes it
  Refused,     ///< the iteration refused a directory: PlanStreamRemainder ends the pull
};

/// A fresh pull of a whole tree as one `tar` stream of TreeRoot, without listing it first.
/// Every entry is checked (safe relative name, Filter, links inside the tree) before anything
/// is written; what was decided is recorded in the context (StreamEntered, StreamHandled).
TTreeStreamEnd TarTreePull(TDownloadContext& Context, const std::string& TreeRoot, const TEntryFilter& Filter);

/// Fetches planned files whole (temporary name, rename, modification time kept): a tar
/// stream for many files when allowed, SFTP for the rest.
void FetchPlanned(TDownloadContext& Context, const std::string& TreeRoot, std::vector<TPlannedFile>& Plan);

/// Tries one `tar` stream of the planned files (Done set on each file it delivered or
/// failed for good); files it did not deliver are left for SFTP.
void TarPull(TDownloadContext& Context, const std::string& TreeRoot, std::vector<TPlannedFile*>& Files);

/// Copies the tar entry being read into File's destination (whole: temporary name, then
/// rename; the entry's time kept). False when the stream broke (File then stays pending).
bool ExtractTarEntry(TDownloadContext& Context, TTarReader& Reader, const TTarEntry& Entry, TPlannedFile& File);

/// Fetches one file over SFTP with many reads in flight; false after reporting.
bool SftpFetchFile(TDownloadContext& Context, TPlannedFile& File);

}  // namespace hestrel

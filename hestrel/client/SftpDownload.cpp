// Hestrel client, GetFiles: fetching planned files; one file over SFTP with
// many reads in flight (perf-baselines.md: 16 reads of 32 KiB reach ~280 MB/s).
#include <fcntl.h>

#include <deque>
#include <filesystem>
#include <map>
#include <set>

#include "client/ClientErrors.h"
#include "client/DownloadContext.h"
#include "client/LocalPaths.h"
#include "core/Text.h"

namespace hestrel {

namespace {

constexpr std::uint32_t ReadSize = 32768;
constexpr size_t ReadsInFlight = 16;

/// Reads in flight on one file: answers must all be collected (libssh keeps them).
class TReadPipeline {
 public:
  explicit TReadPipeline(sftp_file File) : FFile(File) {}
  ~TReadPipeline() { Drain(); }
  bool Issue() {
    const int Id = sftp_async_read_begin(FFile, ReadSize);
    if (Id < 0) return false;
    FIds.push_back(static_cast<std::uint32_t>(Id));
    return true;
  }
  size_t InFlight() const { return FIds.size(); }
  /// The oldest answer into Buffer: bytes, 0 at end of file, < 0 on error.
  int Collect(char* Buffer) {
    const std::uint32_t Id = FIds.front();
    FIds.pop_front();
    return sftp_async_read(FFile, Buffer, ReadSize, Id);
  }
  void Drain() {
    char Buffer[ReadSize];
    while (!FIds.empty()) Collect(Buffer);
  }

 private:
  sftp_file FFile;
  std::deque<std::uint32_t> FIds;
};

}  // namespace

bool SftpFetchFile(TDownloadContext& Context, TPlannedFile& File) {
  File.Done = true;
  if (Context.Listener) Context.Listener->PreCopy(File.Remote, File.Remote, File.Local, File.Size);
  TSftpFilePtr Remote(sftp_open(Context.Sftp, File.Remote.c_str(), O_RDONLY, 0));
  if (!Remote) {
    Context.Fail(File.Remote, RemoteErrorText(Context.Sftp, File.Remote));
    return false;
  }
  TLocalTempFile Temp(File.Local);
  if (!Temp.IsOpen()) {
    Context.Fail(File.Remote, LocalErrorText(File.Local, Temp.GetErrno()));
    return false;
  }
  std::vector<char> Buffer(ReadSize);
  std::int64_t Written = 0;
  std::int64_t Requested = 0;  // bytes asked for: the listed size and one read more (it sees the end)
  bool EndOfFile = false;
  bool Gap = false;  // a short answer came before the end: later answers are misplaced
  TReadPipeline Reads(Remote.get());
  while (!EndOfFile || Reads.InFlight() > 0) {
    while (!EndOfFile && Reads.InFlight() < ReadsInFlight &&
           (Requested < File.Size + static_cast<std::int64_t>(ReadSize) || Reads.InFlight() == 0)) {
      if (!Reads.Issue()) {
        Context.Fail(File.Remote, RemoteErrorText(Context.Sftp, File.Remote));
        return false;
      }
      Requested += ReadSize;
    }
    const int N = Reads.Collect(Buffer.data());
    if (N < 0) {
      Context.Fail(File.Remote, RemoteErrorText(Context.Sftp, File.Remote));
      return false;
    }
    if (EndOfFile) continue;  // answers past the end: collected, dropped
    if (N == 0) {
      EndOfFile = true;
      continue;
    }
    if (Gap) {  // the file goes on after a short answer: re-aim the pipeline at what we have
      Reads.Drain();
      sftp_seek64(Remote.get(), static_cast<std::uint64_t>(Written));
      Requested = Written;
      Gap = false;
      continue;
    }
    if (!Temp.Write(Buffer.data(), static_cast<size_t>(N))) {
      Context.Fail(File.Remote, LocalErrorText(File.Local, Temp.GetErrno()));
      return false;
    }
    Written += N;
    Gap = static_cast<std::uint32_t>(N) < ReadSize;
    if (!Context.Progress(File.Remote, File.Local, Written, std::max(File.Size, Written))) return false;
  }
  if (!Temp.Commit(File.Modified, File.ModifiedNanoseconds)) {
    Context.Fail(File.Remote, LocalErrorText(File.Local, Temp.GetErrno()));
    return false;
  }
  ++Context.FilesBySftp;
  return true;
}

namespace {

/// Creates each destination directory once and checks it resolves inside the root;
/// files whose directory fails are reported and marked done.
void PrepareDirectories(TDownloadContext& Context, std::vector<TPlannedFile>& Plan) {
  std::map<std::string, std::string> Refused;  // directory -> why
  for (auto& File : Plan) {
    const std::string Dir = std::filesystem::path(File.Local).parent_path().string();
    auto It = Refused.find(Dir);
    if (It == Refused.end()) {
      std::string Error;
      if (Context.PrepareDirectory(Dir, Error)) continue;
      It = Refused.emplace(Dir, Error).first;
    }
    File.Done = true;
    Context.Fail(File.Remote, It->second.empty() ? Format(sErrUnsafeName, {File.Remote}) : It->second);
    if (Context.Stopped) return;
  }
}

}  // namespace

void FetchPlanned(TDownloadContext& Context, const std::string& TreeRoot, std::vector<TPlannedFile>& Plan) {
  PrepareDirectories(Context, Plan);
  std::vector<TPlannedFile*> Pending;
  for (auto& File : Plan)
    if (!File.Done) Pending.push_back(&File);
  if (!Context.Stopped && Context.Options.UseTarStream &&
      Pending.size() >= static_cast<size_t>(std::max(1, Context.Options.TarMinimumFiles)))
    TarPull(Context, TreeRoot, Pending);
  for (TPlannedFile* File : Pending) {
    if (Context.Stopped) return;
    if (!File->Done) SftpFetchFile(Context, *File);
  }
}

}  // namespace hestrel

// Hestrel client, fast pull: many small files in one `tar -cf -` stream over
// exec instead of an SFTP open/read/close per file (perf-baselines.md, point 1: a stream
// reaches ~8,400 files/s where one SFTP session stays near 2,000). Every entry is matched
// by name against the plan: the destination always comes from the plan (already checked),
// never from the archive, and anything unexpected is left to the SFTP path.
#include <map>

#include "client/ClientErrors.h"
#include "client/DownloadContext.h"
#include "client/LocalPaths.h"
#include "client/RemoteShell.h"
#include "client/ShellQuote.h"
#include "client/TarStream.h"

namespace hestrel {

namespace {

constexpr std::size_t MaxCommandBytes = 60000;  // well inside every server's exec request limit

}  // namespace

bool ExtractTarEntry(TDownloadContext& Context, TTarReader& Reader, const TTarEntry& Entry, TPlannedFile& File) {
  if (Context.Listener) Context.Listener->PreCopy(File.Remote, File.Remote, File.Local, Entry.Size);
  TLocalTempFile Temp(File.Local);
  if (!Temp.IsOpen()) {
    File.Done = true;
    Context.Fail(File.Remote, LocalErrorText(File.Local, Temp.GetErrno()));
    return Reader.SkipData();
  }
  char Buffer[65536];
  std::int64_t Done = 0;
  for (;;) {
    const long N = Reader.ReadData(Buffer, sizeof Buffer);
    if (N < 0) return false;  // File stays pending: SFTP tries it again
    if (N == 0) break;
    if (!Temp.Write(Buffer, static_cast<std::size_t>(N))) {
      File.Done = true;
      Context.Fail(File.Remote, LocalErrorText(File.Local, Temp.GetErrno()));
      return Reader.SkipData();
    }
    Done += N;
    if (!Context.Progress(File.Remote, File.Local, Done, Entry.Size)) return true;
  }
  File.Done = true;
  // The archive holds whole seconds; the listing's fraction is kept when the seconds agree.
  if (!Temp.Commit(Entry.Modified, Entry.Modified == File.Modified ? File.ModifiedNanoseconds : 0))
    Context.Fail(File.Remote, LocalErrorText(File.Local, Temp.GetErrno()));
  else
    ++Context.FilesByTar;
  return true;
}

namespace {

/// One tar command for Files[Begin, End); answers how many files it delivered.
std::size_t PullBatch(TDownloadContext& Context, const std::string& TreeRoot, std::vector<TPlannedFile*>& Files,
                      std::size_t Begin, std::size_t End) {
  std::string Command = "cd " + ShellQuote(TreeRoot.empty() ? "." : TreeRoot) + " && exec tar -cf -";
  std::map<std::string, TPlannedFile*> ByName;
  for (std::size_t I = Begin; I < End; ++I) {
    Command += " " + ShellQuote("./" + Files[I]->Relative);  // "./": no name can read as an option
    ByName.emplace(Files[I]->Relative, Files[I]);
  }
  TExecChannel Channel(Context.Ssh, Command);
  if (!Channel.IsStarted()) return 0;
  TTarReader Reader(Channel);
  std::size_t Delivered = 0;
  TTarEntry Entry;
  while (!Context.Stopped && Reader.Next(Entry)) {
    const auto It = ByName.find(Entry.Name);
    if (It == ByName.end() || It->second->Done || (Entry.Type != '0' && Entry.Type != '7')) continue;
    if (!ExtractTarEntry(Context, Reader, Entry, *It->second)) break;
    if (It->second->Done) ++Delivered;
  }
  if (Context.Stopped)
    Channel.Abort();  // cancel: drop the rest of the stream at once
  else
    Channel.Finish();
  return Delivered;
}

}  // namespace

void TarPull(TDownloadContext& Context, const std::string& TreeRoot, std::vector<TPlannedFile*>& AllFiles) {
  // GNU tar unquotes backslashes in names given on its command line: such names go over SFTP.
  std::vector<TPlannedFile*> Files;
  for (TPlannedFile* File : AllFiles)
    if (File->Relative.find('\\') == std::string::npos) Files.push_back(File);
  std::size_t Begin = 0;
  while (Begin < Files.size() && !Context.Stopped) {
    std::size_t End = Begin;
    std::size_t Bytes = 0;
    while (End < Files.size() && (End == Begin || Bytes + Files[End]->Relative.size() + 8 < MaxCommandBytes))
      Bytes += Files[End++]->Relative.size() + 8;
    // A first batch that delivers nothing means no usable tar there: SFTP does the rest.
    if (PullBatch(Context, TreeRoot, Files, Begin, End) == 0 && Begin == 0) return;
    Begin = End;
  }
}

}  // namespace hestrel

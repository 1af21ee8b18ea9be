// Hestrel client, PutFile: see SftpUpload.h. Small files go over SFTP; big ones
// through an exec'd `cat`, which streams without libssh 0.10's one-write-per-round-trip.
#include "client/SftpUpload.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <vector>

#include "client/ClientErrors.h"
#include "client/LocalPaths.h"
#include "client/RemoteListing.h"
#include "client/RemoteShell.h"
#include "client/ShellQuote.h"
#include "core/Text.h"

namespace hestrel {

std::string UploadTarget(const TUploadRequest& Request) {
  std::string Dir = Request.RemoteDir;
  std::replace(Dir.begin(), Dir.end(), '\\', '/');
  std::string Name = Request.RemoteName;
  if (Name.empty()) {
    const auto Slash = Request.LocalFile.find_last_of('/');
    Name = Slash == std::string::npos ? Request.LocalFile : Request.LocalFile.substr(Slash + 1);
  }
  const std::string Path = Dir.empty() ? Name : JoinRemote(Dir, Name);
  if (!Path.empty() && Path.front() == '/') return Path;
  // "~" is the login directory itself, as in ListFiles; anything else relative starts in the agent's.
  const bool Home = Path == "~" || Path.compare(0, 2, "~/") == 0;
  // "" when it climbs above the login directory, and for the login directory itself.
  const std::string Target = ResolveLinkTarget(Home ? "" : AgentDirectory, Home ? "." + Path.substr(1) : Path);
  return Target == "." ? "" : Target;
}

namespace {

struct TUpload {
  ssh_session Ssh;
  sftp_session Sftp;
  IFileListener* Listener;
  std::string Local, Target, Temp;
  struct stat Info;
  std::string Error;
  bool TargetExists = false;  ///< a file of the target's name was there (the listener agreed to replace it)
  bool Progress(std::int64_t Done) {
    if (!Listener || Listener->BytesCopied(Target, Local, Target, Done, Info.st_size, nullptr) != 2) return true;
    Error = sErrCancelled;
    return false;
  }
};

std::string TempNameFor(const std::string& Target) {
  const auto Slash = Target.find_last_of('/');
  const std::string Dir = Slash == std::string::npos ? "" : Target.substr(0, Slash + 1);
  return Dir + TemporaryName(Slash == std::string::npos ? Target : Target.substr(Slash + 1));
}

/// The directory of a remote path ("." for a bare name, "/" for one at the top).
std::string DirectoryOf(const std::string& Path) {
  const auto Slash = Path.find_last_of('/');
  return Slash == std::string::npos ? "." : Slash == 0 ? "/" : Path.substr(0, Slash);
}

/// A failed remote write: "disk full" when the remote file system says it has no room.
std::string WriteErrorText(TUpload& U) {
  if (sftp_get_error(U.Sftp) == SSH_FX_FAILURE && sftp_extension_supported(U.Sftp, "statvfs@openssh.com", "2")) {
    if (sftp_statvfs_t Fs = sftp_statvfs(U.Sftp, DirectoryOf(U.Target).c_str())) {
      const bool Full = Fs->f_bavail == 0;
      sftp_statvfs_free(Fs);
      if (Full) return Format(sErrRemoteDiskFull, {U.Target});
    }
  }
  return RemoteErrorText(U.Sftp, U.Target);
}

bool SendBySftp(TUpload& U, std::ifstream& In) {
  TSftpFilePtr File(sftp_open(U.Sftp, U.Temp.c_str(), O_WRONLY | O_CREAT | O_EXCL, U.Info.st_mode & 0777));
  if (!File) {
    U.Error = RemoteErrorText(U.Sftp, U.Target);
    return false;
  }
  std::vector<char> Buffer(65536);
  std::int64_t Done = 0;
  while (In.read(Buffer.data(), static_cast<std::streamsize>(Buffer.size())) || In.gcount() > 0) {
    const auto N = static_cast<std::size_t>(In.gcount());
    if (sftp_write(File.get(), Buffer.data(), N) != static_cast<ssize_t>(N)) {
      U.Error = WriteErrorText(U);
      return false;
    }
    Done += static_cast<std::int64_t>(N);
    if (!U.Progress(Done)) return false;
  }
  return true;
}

/// `cat > temp` over exec. Answers false with Error empty when the stream could not be
/// used at all (the caller falls back to SFTP). The C locale keeps the messages that tell
/// "disk full" and "permission denied" in English whatever the remote user's locale is.
bool SendByStream(TUpload& U, std::ifstream& In) {
  TExecChannel Channel(U.Ssh, "LC_ALL=C; export LC_ALL; exec cat > " + ShellQuote(U.Temp));
  if (!Channel.IsStarted()) return false;
  std::vector<char> Buffer(1 << 18);
  std::int64_t Done = 0;
  bool Cancelled = false, Broken = false;
  while (In.read(Buffer.data(), static_cast<std::streamsize>(Buffer.size())) || In.gcount() > 0) {
    const auto N = static_cast<std::size_t>(In.gcount());
    if (!Channel.Write(Buffer.data(), N)) {
      Broken = true;
      break;
    }
    Done += static_cast<std::int64_t>(N);
    if (!U.Progress(Done)) {
      Cancelled = true;
      break;
    }
  }
  Channel.CloseInput();  // let cat end before the temporary file is removed on cancel
  const int Status = Channel.Finish();
  if (Cancelled) return false;
  const std::string& Err = Channel.GetStderr();
  if (Err.find("No space") != std::string::npos || Err.find("quota") != std::string::npos)
    U.Error = Format(sErrRemoteDiskFull, {U.Target});
  else if (Err.find("ermission denied") != std::string::npos)
    U.Error = Format(sErrRemotePermission, {U.Target});
  else if (Status != 0 && !Err.empty())
    U.Error = Format(sErrRemoteIo, {U.Target, Err});
  if (!U.Error.empty()) return false;
  TRemoteEntry Written;
  std::string Ignored;
  return !Broken && Status == 0 && StatRemote(U.Sftp, U.Temp, false, Written, Ignored) &&
         Written.Size == static_cast<std::int64_t>(Done) && Done == U.Info.st_size;
}

/// The temporary file over the existing target in one step: `mv -f`, which is rename(2),
/// atomic (what posix-rename@openssh.com does; libssh 0.10 has no call to send that
/// extension). Answers Started false when no command could do it (exec refused, no mv), so
/// the caller may fall back.
bool ReplaceByCommand(TUpload& U, bool& Started) {
  // A target that became a directory (or a link to one) since it was asked about would take
  // the file inside it: refused instead.
  const TCommandResult Moved =
      RunCommand(U.Ssh, "LC_ALL=C; export LC_ALL; t=" + ShellQuote(U.Target) +
                            "; if [ -d \"$t\" ]; then echo 'Is a directory' >&2; exit 21; fi; exec mv -f -- " +
                            ShellQuote(U.Temp) + " \"$t\"");
  Started = Moved.Started && Moved.ExitStatus != 126 && Moved.ExitStatus != 127;
  if (!Started) return false;
  if (Moved.ExitStatus == 0) return true;
  if (Moved.Err.find("ermission denied") != std::string::npos || Moved.Err.find("not permitted") != std::string::npos)
    U.Error = Format(sErrRemotePermission, {U.Target});
  else
    U.Error =
        Format(sErrRemoteIo, {U.Target, Moved.Err.empty() ? "mv failed" : Moved.Err.substr(0, Moved.Err.find('\n'))});
  return false;
}

/// Modification time, permissions, then the rename over the final name. The target is never
/// missing: a new name takes SFTP's rename; an existing file is replaced in one step by
/// ReplaceByCommand; only when no command can run there, SFTP v3's way (OpenSSH refuses to
/// rename over a file): remove it, then rename.
bool Finish(TUpload& U) {
  const timeval Times[2] = {{U.Info.st_atim.tv_sec, 0}, {U.Info.st_mtim.tv_sec, 0}};
  if (sftp_utimes(U.Sftp, U.Temp.c_str(), Times) != 0 ||
      sftp_chmod(U.Sftp, U.Temp.c_str(), U.Info.st_mode & 0777) != 0) {
    U.Error = RemoteErrorText(U.Sftp, U.Target);
    return false;
  }
  if (!U.TargetExists && sftp_rename(U.Sftp, U.Temp.c_str(), U.Target.c_str()) == 0) return true;
  bool Started = false;
  if (ReplaceByCommand(U, Started)) return true;
  if (Started) return false;  // mv ran and failed: the old file is untouched
  sftp_unlink(U.Sftp, U.Target.c_str());
  if (sftp_rename(U.Sftp, U.Temp.c_str(), U.Target.c_str()) == 0) return true;
  U.Error = RemoteErrorText(U.Sftp, U.Target);
  return false;
}

/// A relative target lies in the agent's own directories: those missing are made (0700).
void MakeAgentDirectories(sftp_session Sftp, const std::string& Target) {
  TRemoteEntry Existing;
  std::string Ignored;
  if (Target.front() == '/' || StatRemote(Sftp, DirectoryOf(Target), true, Existing, Ignored)) return;
  for (auto Slash = Target.find('/'); Slash != std::string::npos; Slash = Target.find('/', Slash + 1))
    sftp_mkdir(Sftp, Target.substr(0, Slash).c_str(), 0700);
}

/// Removes the temporary files that killed pushes left in the target's directory, once per
/// directory: by age against the remote clock (the time the own temporary file was just
/// written), so that a live writer's file, written within the operation timeout, stays.
void SweepStaleParts(TUpload& U, std::set<std::string>* Swept) {
  const std::string Dir = DirectoryOf(U.Target);
  TRemoteEntry Own;
  std::vector<TRemoteEntry> Entries;
  std::string Ignored;
  if (!Swept || !Swept->insert(Dir).second || !StatRemote(U.Sftp, U.Temp, false, Own, Ignored) ||
      !ListRemoteDirectory(U.Sftp, Dir, Entries, Ignored))
    return;
  for (const TRemoteEntry& Entry : Entries)
    if (Entry.Type == TRemoteType::File && IsStaleTemporaryFile(Entry.Name, Entry.Modified, Own.Modified))
      sftp_unlink(U.Sftp, JoinRemote(Dir, Entry.Name).c_str());
}

/// Asks before replacing an existing remote file; false: leave it.
bool MayReplace(TUpload& U, IFileListener* Listener) {
  TRemoteEntry Existing;
  std::string Ignored;
  if (!StatRemote(U.Sftp, U.Target, true, Existing, Ignored)) return true;
  if (Existing.Type == TRemoteType::Directory) {
    U.Error = Format(sErrRemoteIo, {U.Target, std::string("it is a directory")});
    return false;
  }
  U.TargetExists = true;
  return !Listener || Listener->Overwrite(U.Target, FromUnixSeconds(Existing.Modified), Existing.Size,
                                          FromUnixSeconds(U.Info.st_mtim.tv_sec), U.Info.st_size);
}

}  // namespace

bool UploadFile(ssh_session Ssh, sftp_session Sftp, const TUploadRequest& Request, IFileListener* Listener,
                const THestrelClientOptions& Options, std::string& Error) {
  TUpload U{Ssh, Sftp, Listener, Request.LocalFile, UploadTarget(Request), "", {}, ""};
  if (U.Target.empty()) {
    Error = Format(sErrRemoteDestinationOutside, {Request.RemoteDir});
    return false;
  }
  U.Temp = TempNameFor(U.Target);
  if (stat(U.Local.c_str(), &U.Info) != 0 || !S_ISREG(U.Info.st_mode)) {
    Error = errno == EACCES ? LocalErrorText(U.Local, EACCES) : Format(sErrLocalFileMissing, {U.Local});
    return false;
  }
  std::ifstream In(U.Local, std::ios::binary);
  if (!In) {
    Error = LocalErrorText(U.Local, EACCES);
    return false;
  }
  if (!MayReplace(U, Listener)) {
    Error = U.Error;
    return U.Error.empty();  // declined: nothing sent, not a failure
  }
  MakeAgentDirectories(Sftp, U.Target);
  if (Listener) Listener->PreCopy(U.Target, U.Local, U.Target, U.Info.st_size);
  bool Sent = false;
  if (Options.StreamPushMinimumBytes > 0 && U.Info.st_size >= Options.StreamPushMinimumBytes) {
    Sent = SendByStream(U, In);
    if (!Sent && U.Error.empty()) {  // no usable stream: start again over SFTP
      sftp_unlink(Sftp, U.Temp.c_str());
      In.clear();
      In.seekg(0);
    }
  }
  if (!Sent && U.Error.empty()) Sent = SendBySftp(U, In);
  if (Sent) SweepStaleParts(U, Request.Swept);
  if (Sent) Sent = Finish(U);
  if (!Sent) sftp_unlink(Sftp, U.Temp.c_str());  // never leave a partial file behind
  Error = U.Error;
  return Sent;
}

}  // namespace hestrel

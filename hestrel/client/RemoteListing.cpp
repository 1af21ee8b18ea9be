// Hestrel client, transfers and queries: remote listings (see RemoteListing.h).
#include "client/RemoteListing.h"

#include "client/ClientErrors.h"
#include "core/Text.h"

namespace hestrel {

namespace {

TRemoteEntry FromAttributes(sftp_attributes A) {
  TRemoteEntry E;
  E.Name = A->name ? A->name : "";
  switch (A->type) {
    case SSH_FILEXFER_TYPE_REGULAR: E.Type = TRemoteType::File; break;
    case SSH_FILEXFER_TYPE_DIRECTORY: E.Type = TRemoteType::Directory; break;
    case SSH_FILEXFER_TYPE_SYMLINK: E.Type = TRemoteType::SymLink; break;
    default: E.Type = TRemoteType::Other; break;
  }
  E.Size = static_cast<std::int64_t>(A->size);
  E.Modified = A->mtime64 ? static_cast<std::int64_t>(A->mtime64) : static_cast<std::int64_t>(A->mtime);
  return E;
}

}  // namespace

std::string RemoteErrorText(sftp_session Sftp, const std::string& Path) {
  switch (sftp_get_error(Sftp)) {
    case SSH_FX_NO_SUCH_FILE:
    case SSH_FX_NO_SUCH_PATH: return Format(sErrRemoteFileMissing, {Path});
    case SSH_FX_PERMISSION_DENIED:
    case SSH_FX_WRITE_PROTECT: return Format(sErrRemotePermission, {Path});
    default: return Format(sErrRemoteIo, {Path, SftpErrorText(Sftp)});
  }
}

std::string JoinRemote(const std::string& Dir, const std::string& Name) {
  if (Dir.empty()) return Name;
  return Dir.back() == '/' ? Dir + Name : Dir + "/" + Name;
}

bool ListRemoteDirectory(sftp_session Sftp, const std::string& Dir, std::vector<TRemoteEntry>& Entries,
                         std::string& Error) {
  Entries.clear();
  TSftpDirPtr Handle(sftp_opendir(Sftp, Dir.empty() ? "." : Dir.c_str()));
  if (!Handle) {
    Error = RemoteErrorText(Sftp, Dir);
    return false;
  }
  while (TSftpAttributesPtr A{sftp_readdir(Sftp, Handle.get())}) {
    TRemoteEntry E = FromAttributes(A.get());
    if (E.Name == "." || E.Name == "..") continue;
    Entries.push_back(std::move(E));
  }
  if (!sftp_dir_eof(Handle.get())) {
    Error = RemoteErrorText(Sftp, Dir);
    return false;
  }
  return true;
}

bool StatRemote(sftp_session Sftp, const std::string& Path, bool FollowLinks, TRemoteEntry& Entry,
                std::string& Error) {
  TSftpAttributesPtr A(FollowLinks ? sftp_stat(Sftp, Path.c_str()) : sftp_lstat(Sftp, Path.c_str()));
  if (!A) {
    Error = RemoteErrorText(Sftp, Path);
    return false;
  }
  Entry = FromAttributes(A.get());
  Entry.Name = Path;
  return true;
}

}  // namespace hestrel

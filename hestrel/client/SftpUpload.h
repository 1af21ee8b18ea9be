// Hestrel client, PutFile: one local file to the remote machine, whole or not
// at all (temporary name in the destination directory, renamed at the end), with its
// modification time kept.
#pragma once

#include <set>
#include <string>

#include "client/ClientOptions.h"
#include "client/Session.h"
#include "host/AgentClient.h"

namespace hestrel {

struct TUploadRequest {
  std::string RemoteDir;  ///< "\" read as "/"; relative: from AgentDirectory
  std::string LocalFile;
  std::string RemoteName;  ///< empty: the local file's name
  /// Remote directories whose stale temporary files were removed already (each directory is
  /// swept by the first push into it); nullptr: no sweep.
  std::set<std::string>* Swept = nullptr;
};

/// The agent's own directory below the remote login directory, where relative destinations
/// start: the SDK cache's "..\..\" lands in ".hestrel", inside the login directory.
inline constexpr const char AgentDirectory[] = ".hestrel/agent/work";

/// The remote path PutFile writes: RemoteDir + "/" + (RemoteName or the local name). A
/// relative one is taken from AgentDirectory ("~/..." from the login directory) with "." and
/// ".." resolved, and is "" (refused) when it would climb out of the login directory.
std::string UploadTarget(const TUploadRequest& Request);

/// Sends the file; true also when the listener declined to overwrite (nothing sent).
/// False with Error on failure or cancel (BytesCopied answering 2).
bool UploadFile(ssh_session Ssh, sftp_session Sftp, const TUploadRequest& Request, IFileListener* Listener,
                const THestrelClientOptions& Options, std::string& Error);

}  // namespace hestrel

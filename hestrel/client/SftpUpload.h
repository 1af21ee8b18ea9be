// Hestrel client, PutFile: one local file to the remote machine, whole or not
// at all (temporary name in the destination directory, renamed at the end), with its
// modification time kept.
#pragma once

#include <string>

#include "client/ClientOptions.h"
#include "client/Session.h"
#include "host/AgentClient.h"

namespace hestrel {

struct TUploadRequest {
  std::string RemoteDir;   ///< "\" read as "/"; relative: below the remote login directory
  std::string LocalFile;
  std::string RemoteName;  ///< empty: the local file's name
};

/// The remote path PutFile writes: RemoteDir + "/" + (RemoteName or the local name).
std::string UploadTarget(const TUploadRequest& Request);

/// Sends the file; true also when the listener declined to overwrite (nothing sent).
/// False with Error on failure or cancel (BytesCopied answering 2).
bool UploadFile(ssh_session Ssh, sftp_session Sftp, const TUploadRequest& Request, IFileListener* Listener,
                const THestrelClientOptions& Options, std::string& Error);

}  // namespace hestrel

// Hestrel client: move-only owners of libssh handles, each freed once.
#pragma once

#include <libssh/libssh.h>
#include <libssh/sftp.h>

#include <memory>
#include <string>

namespace hestrel {

struct TSshSessionFree {
  void operator()(ssh_session S) const noexcept;
};
struct TSshChannelFree {
  void operator()(ssh_channel C) const noexcept;
};
struct TSftpSessionFree {
  void operator()(sftp_session S) const noexcept { sftp_free(S); }
};
struct TSftpFileClose {
  void operator()(sftp_file F) const noexcept { sftp_close(F); }
};
struct TSftpDirClose {
  void operator()(sftp_dir D) const noexcept { sftp_closedir(D); }
};
struct TSftpAttributesFree {
  void operator()(sftp_attributes A) const noexcept { sftp_attributes_free(A); }
};
struct TSshKeyFree {
  void operator()(ssh_key K) const noexcept { ssh_key_free(K); }
};

/// The session: disconnected (when connected) and freed on destruction.
using TSshSessionPtr = std::unique_ptr<ssh_session_struct, TSshSessionFree>;
/// A channel: sent EOF, closed and freed on destruction.
using TSshChannelPtr = std::unique_ptr<ssh_channel_struct, TSshChannelFree>;
using TSftpSessionPtr = std::unique_ptr<sftp_session_struct, TSftpSessionFree>;
using TSftpFilePtr = std::unique_ptr<sftp_file_struct, TSftpFileClose>;
using TSftpDirPtr = std::unique_ptr<sftp_dir_struct, TSftpDirClose>;
using TSftpAttributesPtr = std::unique_ptr<sftp_attributes_struct, TSftpAttributesFree>;
using TSshKeyPtr = std::unique_ptr<ssh_key_struct, TSshKeyFree>;

/// True when Session is connected and its socket has neither ended nor failed (no round
/// trip: a server process that died or a connection the network dropped shows here).
bool SessionAlive(ssh_session Session);

/// libssh's last error text of the session (never null).
std::string SessionError(ssh_session Session);

/// Opens an SFTP session on a new channel of Session; nullptr (Error filled) on failure.
TSftpSessionPtr OpenSftp(ssh_session Session, std::string& Error);

/// The libssh failure of an SFTP call as text (the SFTP status and the session's error).
std::string SftpErrorText(sftp_session Sftp);

}  // namespace hestrel

// Hestrel client: libssh handle owners.
#include "client/Session.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace hestrel {

void TSshSessionFree::operator()(ssh_session S) const noexcept {
  if (ssh_is_connected(S)) ssh_disconnect(S);
  ssh_free(S);
}

void TSshChannelFree::operator()(ssh_channel C) const noexcept {
  if (ssh_channel_is_open(C)) {
    ssh_channel_send_eof(C);
    ssh_channel_close(C);
  }
  ssh_channel_free(C);
}

bool SessionAlive(ssh_session Session) {
  if (!Session || !ssh_is_connected(Session) || (ssh_get_status(Session) & (SSH_CLOSED | SSH_CLOSED_ERROR))) return false;
  const int Fd = ssh_get_fd(Session);
  if (Fd < 0) return false;
  pollfd Poll{Fd, POLLIN | POLLRDHUP, 0};
  if (poll(&Poll, 1, 0) < 0) return true;  // cannot tell: let the operation find out
  if (Poll.revents & (POLLERR | POLLHUP | POLLRDHUP | POLLNVAL)) return false;
  if (Poll.revents & POLLIN) {  // data, or the end of the stream
    char Byte;
    const ssize_t N = recv(Fd, &Byte, 1, MSG_PEEK | MSG_DONTWAIT);
    if (N == 0 || (N < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) return false;
  }
  return true;
}

std::string SessionError(ssh_session Session) {
  const char* Text = Session ? ssh_get_error(Session) : nullptr;
  return Text ? Text : "";
}

TSftpSessionPtr OpenSftp(ssh_session Session, std::string& Error) {
  TSftpSessionPtr Sftp(sftp_new(Session));
  if (!Sftp) {
    Error = SessionError(Session);
    return nullptr;
  }
  if (sftp_init(Sftp.get()) != SSH_OK) {
    Error = "SFTP is not available: " + SessionError(Session);
    return nullptr;
  }
  return Sftp;
}

std::string SftpErrorText(sftp_session Sftp) {
  switch (sftp_get_error(Sftp)) {
    case SSH_FX_NO_SUCH_FILE: return "no such file";
    case SSH_FX_PERMISSION_DENIED: return "permission denied";
    case SSH_FX_EOF: return "end of file";
    case SSH_FX_FILE_ALREADY_EXISTS: return "file already exists";
    case SSH_FX_NO_MEDIA: return "no media";
    case SSH_FX_WRITE_PROTECT: return "write protected";
    case SSH_FX_NO_CONNECTION:
    case SSH_FX_CONNECTION_LOST: return "connection lost";
    default: break;
  }
  std::string Text = SessionError(Sftp->session);
  return Text.empty() ? "failure" : Text;
}

}  // namespace hestrel

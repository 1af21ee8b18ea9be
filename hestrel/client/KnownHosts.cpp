// Hestrel client, connecting: host-key check (see KnownHosts.h).
#include "client/KnownHosts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "client/ClientErrors.h"
#include "client/Session.h"
#include "core/Text.h"

namespace hestrel {

std::string KnownHostsPath(const std::string& AppDataDir) {
  return (std::filesystem::path(AppDataDir) / "known_hosts").string();
}

namespace {

constexpr const char NoGlobalFile[] = "/dev/null";

std::string Cause(ssh_session Session) {
  const std::string Text = SessionError(Session);
  return Text.empty() ? "libssh refused the setting" : Text;
}

/// The value libssh holds for a string option ("" when it has none).
std::string OptionInUse(ssh_session Session, ssh_options_e Option) {
  char* Value = nullptr;
  if (ssh_options_get(Session, Option, &Value) != SSH_OK || !Value) return "";
  std::string Text = Value;
  ssh_string_free_char(Value);
  return Text;
}

/// libssh reads known-hosts lines into an 8 KiB buffer and stops reading the file at a
/// longer one, so every key after it would be unknown.
constexpr std::size_t LongestLine = 8190;

/// Every line libssh would read as a key (not blank, not a comment, not an "@" marker) must
/// parse: libssh drops the whole file at the first line that does not, takes the host for
/// unknown and records its key again, whatever key the file holds for it. Answers the number
/// of the first damaged line (0: none), or -1 with Errno when the file cannot be read.
int FirstDamagedLine(const std::string& File, int& Errno) {
  std::ifstream In(File, std::ios::binary);
  if (!In) {
    Errno = errno;
    return Errno == ENOENT ? 0 : -1;
  }
  std::string Line;
  for (int Number = 1; std::getline(In, Line); ++Number) {
    const std::size_t First = Line.find_first_not_of(" \t\r\v\f");
    if (First == std::string::npos || Line[First] == '#' || Line[First] == '@') continue;
    ssh_knownhosts_entry* Entry = nullptr;
    const bool Parsed = Line.size() <= LongestLine && Line.find('\0') == std::string::npos &&
                        ssh_known_hosts_parse_line(nullptr, Line.c_str(), &Entry) == SSH_OK;
    ssh_knownhosts_entry_free(Entry);
    if (!Parsed) return Number;
  }
  return 0;
}

/// Appends the session's host key to File (made 0600), starting a new line first when the
/// file does not end with one, so that a key is never glued to the line before it.
std::string RecordHostKey(ssh_session Session, const std::string& File) {
  char* Entry = nullptr;
  if (ssh_session_export_known_hosts_entry(Session, &Entry) != SSH_OK || !Entry) return SessionError(Session);
  std::string Text = Entry;
  ssh_string_free_char(Entry);
  std::error_code Ignored;
  std::filesystem::create_directories(std::filesystem::path(File).parent_path(), Ignored);
  const int Fd = open(File.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (Fd < 0) return std::strerror(errno);
  struct stat St;
  char Last = '\n';
  if (fstat(Fd, &St) == 0 && St.st_size > 0 && pread(Fd, &Last, 1, St.st_size - 1) == 1 && Last != '\n')
    Text.insert(0, 1, '\n');
  const bool Written = write(Fd, Text.data(), Text.size()) == static_cast<ssize_t>(Text.size()) && fsync(Fd) == 0;
  const int Errno = errno;
  close(Fd);
  return Written ? "" : std::strerror(Errno);
}

}  // namespace

std::string UseProductKnownHosts(ssh_session Session, const std::string& KnownHostsFile) {
  // libssh expands %d, %u, %h, ... in this path when it connects: a '%' is written "%%".
  std::string Escaped;
  for (const char C : KnownHostsFile) Escaped.append(C == '%' ? 2 : 1, C);
  if (ssh_options_set(Session, SSH_OPTIONS_KNOWNHOSTS, Escaped.c_str()) != SSH_OK ||
      ssh_options_set(Session, SSH_OPTIONS_GLOBAL_KNOWNHOSTS, NoGlobalFile) != SSH_OK)
    return Format(sErrKnownHostsFile, {KnownHostsFile, Cause(Session)});
  return "";
}

std::string CheckKnownHostsFile(const std::string& KnownHostsFile, const std::string& Host, int Port) {
  int Errno = 0;
  const int Damaged = FirstDamagedLine(KnownHostsFile, Errno);
  if (Damaged == 0) return "";
  return Damaged < 0 ? Format(sErrKnownHostsFile, {KnownHostsFile, std::string(std::strerror(Errno))})
                     : Format(sErrKnownHostsDamaged, {KnownHostsFile, static_cast<std::int64_t>(Damaged), Host,
                                                      static_cast<std::int64_t>(Port)});
}

std::string VerifyHostKey(ssh_session Session, const std::string& Host, int Port, const std::string& KnownHostsFile) {
  // The key is checked against the product's file only, never against one libssh chose.
  if (const std::string Used = OptionInUse(Session, SSH_OPTIONS_KNOWNHOSTS); Used != KnownHostsFile)
    return Format(sErrKnownHostsFile, {KnownHostsFile, "libssh would use '" + Used + "' instead"});
  if (const std::string Used = OptionInUse(Session, SSH_OPTIONS_GLOBAL_KNOWNHOSTS); Used != NoGlobalFile)
    return Format(sErrKnownHostsFile, {KnownHostsFile, "libssh would also read '" + Used + "'"});
  switch (ssh_session_is_known_server(Session)) {
    case SSH_KNOWN_HOSTS_OK: return "";
    case SSH_KNOWN_HOSTS_CHANGED:
    case SSH_KNOWN_HOSTS_OTHER:  // a key of another type was recorded: also a change
      return Format(sErrHostKeyChanged, {Host, static_cast<std::int64_t>(Port), KnownHostsFile});
    case SSH_KNOWN_HOSTS_NOT_FOUND:
    case SSH_KNOWN_HOSTS_UNKNOWN:
      if (const std::string Error = RecordHostKey(Session, KnownHostsFile); !Error.empty())
        return Format(sErrHostKeyCheck, {Host, static_cast<std::int64_t>(Port), Error});
      return "";
    case SSH_KNOWN_HOSTS_ERROR:
    default: return Format(sErrHostKeyCheck, {Host, static_cast<std::int64_t>(Port), SessionError(Session)});
  }
}

}  // namespace hestrel

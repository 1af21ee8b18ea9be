// Hestrel client, connecting: host-key check (see KnownHosts.h).
#include "client/KnownHosts.h"

#include <filesystem>

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

std::string VerifyHostKey(ssh_session Session, const std::string& Host, int Port,
                          const std::string& KnownHostsFile) {
  // The key is checked against the product's file only, never against one libssh chose.
  if (const std::string Used = OptionInUse(Session, SSH_OPTIONS_KNOWNHOSTS); Used != KnownHostsFile)
    return Format(sErrKnownHostsFile, {KnownHostsFile, "libssh would use '" + Used + "' instead"});
  if (const std::string Used = OptionInUse(Session, SSH_OPTIONS_GLOBAL_KNOWNHOSTS); Used != NoGlobalFile)
    return Format(sErrKnownHostsFile, {KnownHostsFile, "libssh would also read '" + Used + "'"});
  switch (ssh_session_is_known_server(Session)) {
    case SSH_KNOWN_HOSTS_OK:
      return "";
    case SSH_KNOWN_HOSTS_CHANGED:
    case SSH_KNOWN_HOSTS_OTHER:  // a key of another type was recorded: also a change
      return Format(sErrHostKeyChanged, {Host, static_cast<std::int64_t>(Port), KnownHostsFile});
    case SSH_KNOWN_HOSTS_NOT_FOUND:
    case SSH_KNOWN_HOSTS_UNKNOWN: {
      std::error_code Ec;
      std::filesystem::create_directories(std::filesystem::path(KnownHostsFile).parent_path(), Ec);
      if (ssh_session_update_known_hosts(Session) != SSH_OK)
        return Format(sErrHostKeyCheck, {Host, static_cast<std::int64_t>(Port), SessionError(Session)});
      return "";
    }
    case SSH_KNOWN_HOSTS_ERROR:
    default:
      return Format(sErrHostKeyCheck, {Host, static_cast<std::int64_t>(Port), SessionError(Session)});
  }
}

}  // namespace hestrel

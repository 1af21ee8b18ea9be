// Hestrel client (Part 3.1, connecting): host-key check (see KnownHosts.h).
#include "client/KnownHosts.h"

#include <filesystem>

#include "client/ClientErrors.h"
#include "client/Session.h"
#include "core/Text.h"

namespace hestrel {

std::string KnownHostsPath(const std::string& AppDataDir) {
  return (std::filesystem::path(AppDataDir) / "known_hosts").string();
}

void UseProductKnownHosts(ssh_session Session, const std::string& KnownHostsFile) {
  ssh_options_set(Session, SSH_OPTIONS_KNOWNHOSTS, KnownHostsFile.c_str());
  ssh_options_set(Session, SSH_OPTIONS_GLOBAL_KNOWNHOSTS, "/dev/null");
}

std::string VerifyHostKey(ssh_session Session, const std::string& Host, int Port,
                          const std::string& KnownHostsFile) {
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

// Hestrel server: the ed25519 host key, created on first start.
#pragma once

#include <string>

#include "server/Handles.h"

namespace hestrel::server {

/// $XDG_DATA_HOME/hestrel/host_key_ed25519, or ~/.local/share/hestrel/host_key_ed25519
/// when XDG_DATA_HOME is unset or empty.
std::string DefaultHostKeyPath();

/// Loads the private host key of Path into Key, the key the listener then serves (the file is
/// read once). When the file does not exist, creates its directory (mode 0700) if missing and
/// writes a new ed25519 key with mode 0600. The directory must be safe and the file a private
/// regular file of the server's user (ReadSecretFile, CheckSecretDirectory). Answers the key's
/// SHA256 fingerprint ("SHA256:...") or false with a sentence in Error.
bool LoadHostKey(const std::string& Path, TSshKey& Key, std::string& Fingerprint, std::string& Error);

}  // namespace hestrel::server

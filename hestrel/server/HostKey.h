// Hestrel server: the ed25519 host key, created on first start.
#pragma once

#include <string>

namespace hestrel::server {

/// $XDG_DATA_HOME/hestrel/host_key_ed25519, or ~/.local/share/hestrel/host_key_ed25519
/// when XDG_DATA_HOME is unset or empty.
std::string DefaultHostKeyPath();

/// Makes sure Path holds a usable private host key: when the file does not exist, creates
/// its directory (mode 0700) if missing and writes a new ed25519 key with mode 0600.
/// Answers the key's SHA256 fingerprint ("SHA256:...") or false with a sentence in Error.
bool PrepareHostKey(const std::string& Path, std::string& Fingerprint, std::string& Error);

}  // namespace hestrel::server

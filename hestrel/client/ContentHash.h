// Hestrel client, GetFiles with CompareContent: the content of files on both sides as
// SHA-256, for files whose size and time alone cannot tell whether they changed.
#pragma once

#include <libssh/libssh.h>

#include <map>
#include <string>
#include <vector>

namespace hestrel {

/// The SHA-256 of a local file's content, lowercase hexadecimal; "" when it cannot be read.
std::string LocalContentHash(const std::string& Path);

/// Remote path -> SHA-256 (lowercase hexadecimal) of each file, from `sha256sum` over exec in
/// commands of at most 60 KB. A file it could not hash (unreadable, no sha256sum there) is
/// missing from the answer.
std::map<std::string, std::string> RemoteContentHashes(ssh_session Ssh, const std::vector<std::string>& Paths);

}  // namespace hestrel

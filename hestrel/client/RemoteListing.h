// Hestrel client, transfers and queries: remote directory listings over SFTP. One listing per
// directory carries name, type, size and modification time of every entry, so unchanged
// files are recognised without a round trip per file (perf-baselines.md, point 5).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/Session.h"

namespace hestrel {

enum class TRemoteType : std::uint8_t { File, Directory, SymLink, Other };

struct TRemoteEntry {
  std::string Name;  ///< as the server gave it (check with IsSafeEntryName before use)
  TRemoteType Type = TRemoteType::Other;
  std::int64_t Size = 0;
  std::int64_t Modified = 0;  ///< seconds since 1970
  std::int32_t ModifiedNanoseconds = -1;  ///< the fraction when the listing gave one (GNU find), else -1 (SFTP v3)
  std::string LinkTarget;     ///< a symbolic link's target when the listing carried it, else ""
};

/// The entries of Dir except "." and ".."; false with Error (missing, permission denied).
bool ListRemoteDirectory(sftp_session Sftp, const std::string& Dir, std::vector<TRemoteEntry>& Entries,
                         std::string& Error);

/// The entry for Path itself (lstat, or stat when FollowLinks); false with Error.
bool StatRemote(sftp_session Sftp, const std::string& Path, bool FollowLinks, TRemoteEntry& Entry,
                std::string& Error);

/// The error text of the last SFTP failure on Path (missing, permission denied, disk full...).
std::string RemoteErrorText(sftp_session Sftp, const std::string& Path);

/// Remote path join: Dir + "/" + Name (no doubled slash).
std::string JoinRemote(const std::string& Dir, const std::string& Name);

}  // namespace hestrel

// Hestrel client, listing a tree: the whole tree below a directory in ONE exec of
// GNU find (-printf), instead of an SFTP open/read/close per directory. Servers without GNU
// find (BSD, busybox) answer an error and the caller lists over SFTP as before.
#pragma once

#include <libssh/libssh.h>

#include <map>
#include <string>
#include <vector>

#include "client/RemoteListing.h"

namespace hestrel {

/// Remote directory path (as JoinRemote builds it from Root) -> its entries.
using TTreeListing = std::map<std::string, std::vector<TRemoteEntry>>;

/// Lists Root (and, when Recursive, everything below it) into Listing. False when find could
/// not do it completely (missing, no -printf, an unreadable directory): use SFTP then.
bool ListTreeByFind(ssh_session Ssh, const std::string& Root, bool Recursive, TTreeListing& Listing);

/// Parses find's records ("%y %s %T@\0%P\0%l\0") into Listing; false on a malformed record.
bool ParseFindRecords(const std::string& Root, const std::string& Output, TTreeListing& Listing);

}  // namespace hestrel

// Hestrel client: remote queries as POSIX sh commands over exec (every
// argument shell-quoted) or SFTP listings. Each answers false / nullptr with Error.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "client/Session.h"
#include "host/AgentClient.h"

namespace hestrel {

/// Expands a leading ~ and $NAME / ${NAME} as the remote shell does (nothing else runs).
bool QueryExpandPath(ssh_session Ssh, const std::string& Path, std::string& Expanded, std::string& Error);
/// A list separated by ':' or ';': each element expanded as by QueryExpandPath, the
/// separators kept as they were.
bool QueryExpandAllPaths(ssh_session Ssh, const std::string& Paths, std::string& Expanded, std::string& Error);
/// `test -d` on the path expanded as by QueryExpandPath.
bool QueryDirExists(ssh_session Ssh, const std::string& Path, std::string& Error);
/// Listing of Path over SFTP; Depth levels of subdirectories below it (0: Path's own
/// entries). Symbolic links are listed (IsSymLink, IsDirectory from their target), never
/// descended into. A leading "~/" means the login directory.
std::unique_ptr<TRARemoteFileList> QueryListFiles(sftp_session Sftp, const std::string& Path, int Depth,
                                                  bool DirectoriesOnly, std::string& Error);
/// `ln -s Target LinkName`.
bool QueryCreateSymLink(ssh_session Ssh, const std::string& Target, const std::string& LinkName, std::string& Error);
/// The absolute path of program Name found on the remote PATH, or "".
std::string QueryLauncher(ssh_session Ssh, const std::string& Name, std::string& Error);
/// The remote environment (`env -0`, else `printenv -0`, else `env`).
std::unique_ptr<std::map<std::string, std::string>> QueryEnvironment(ssh_session Ssh, std::string& Error);

}  // namespace hestrel

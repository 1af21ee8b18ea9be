// Helpers shared by the settings store, the profile files and the default-path files: the
// one check that lets a name become a file name, the sorting of path items into the profile
// file's four lists, and the error a failed profile-file write raises.
#pragma once

#include <stdexcept>
#include <string>

#include "host/AgentClient.h"
#include "host/RemoteProfileTypes.h"

/// A profile file could not be written; failures of the agent library pass to the caller,
/// and the text is the agent library's reason.
class EProfileFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// True when Name may become a file name in the application-data directory: not empty and
/// passing the manager's file-name rule (HasValidFileNameChars), so a name never holds a
/// path separator, is never "." or "..", cannot leave the directory, and "<name>.profile"
/// fits in 255 bytes.
bool IsValidProfileFileName(const std::string& Name);

/// The host's application-data directory with a trailing "/"; "" without a host
/// environment or when the host answers "".
std::string AppDataDirectory();
/// Where profile files are written and first looked for, with a trailing "/": the value of
/// ZEPHPROFILESDIR when the user set it, else AppDataDirectory().
std::string ProfilesDirectory();

/// Path items sorted by type into the profile file's four lists, for profiles and default
/// path sets alike: type 0 include, 1 library, 3 other, 2 framework; other types dropped.
struct TPathItemLists {
  TRAPathItems IncludePaths;    ///< type 0, kind 1
  TRAPathItems LibraryPaths;    ///< type 1, kind 2
  TRAPathItems OtherPaths;      ///< type 3, kind 0
  TRAPathItems FrameworkPaths;  ///< type 2, kind 3
  /// Adds one item to the list of its type; false (nothing added) for another type.
  bool Add(const TOTARemoteProfilePathItem& Item);
};
TPathItemLists SortPathItemsByType(const TOTARemoteProfilePathArray& Paths);

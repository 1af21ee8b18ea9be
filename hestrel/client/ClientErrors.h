// Hestrel client: every GetLastError text of the
// client, in one place. "%s"/"%d" are filled with Format (core/Text.h) in argument order.
#pragma once

namespace hestrel {

// Connecting (host, port; user where named).
inline constexpr const char sErrHostNotFound[] = "Host '%s' was not found (port %d)";
inline constexpr const char sErrConnectionRefused[] = "Connection to '%s' on port %d was refused";
inline constexpr const char sErrTimedOut[] = "Connection to '%s' on port %d timed out";
inline constexpr const char sErrConnectFailed[] = "Connection to '%s' on port %d failed: %s";
inline constexpr const char sErrAuthFailed[] = "Authentication of user '%s' on '%s' port %d failed";
inline constexpr const char sErrHostKeyChanged[] =
    "The host key of '%s' on port %d has changed; the connection was refused. If the change is expected, remove "
    "the old key from '%s'";
inline constexpr const char sErrHostKeyCheck[] = "The host key of '%s' on port %d could not be checked: %s";
inline constexpr const char sErrNotConnected[] = "Not connected";
inline constexpr const char sErrInvalidHostName[] = "The host name '%s' is not valid";
inline constexpr const char sErrInvalidUserName[] = "The user name '%s' is not valid";
inline constexpr const char sErrSshOption[] = "The SSH option %s cannot be set: %s";
inline constexpr const char sErrKnownHostsFile[] = "The known-hosts file '%s' cannot be used: %s";
inline constexpr const char sErrKnownHostsDamaged[] =
    "The known-hosts file '%s' is damaged at line %d, so the host key of '%s' on port %d cannot be checked; the "
    "connection was refused. Correct or remove that line";
inline constexpr const char sErrNoHostName[] = "No host name is set";

// Credentials.
inline constexpr const char sErrPasswordTampered[] =
    "The stored password cannot be deciphered: it was altered or was enciphered under another key ('%s')";
inline constexpr const char sErrPasswordFormat[] = "The stored password is not in a known format";
inline constexpr const char sErrPasswordFile[] = "The password file '%s' cannot be read";
inline constexpr const char sErrKeyFile[] = "The key file '%s' cannot be read or created";

// Files (the file named).
inline constexpr const char sErrRemoteFileMissing[] = "Remote file '%s' does not exist";
inline constexpr const char sErrRemotePermission[] = "Permission denied on the remote machine: '%s'";
inline constexpr const char sErrLocalPermission[] = "Permission denied: '%s'";
inline constexpr const char sErrLocalFileMissing[] = "Local file '%s' does not exist";
inline constexpr const char sErrDiskFull[] = "Disk full while writing '%s'";
inline constexpr const char sErrRemoteDiskFull[] = "Disk full on the remote machine while writing '%s'";
inline constexpr const char sErrRemoteIo[] = "Remote file '%s' failed: %s";
inline constexpr const char sErrLocalIo[] = "Local file '%s' failed: %s";
inline constexpr const char sErrUnsafeName[] = "Refused remote name '%s': it would be written outside the local root";
inline constexpr const char sErrUnsafeLink[] =
    "Refused symbolic link '%s': it points to '%s', outside the tree being copied";
inline constexpr const char sErrRemoteDestinationOutside[] =
    "Refused remote destination '%s': a relative destination must stay inside the remote login directory";
inline constexpr const char sErrNoSysRoot[] = "No local root (system root) is set";
inline constexpr const char sErrCancelled[] = "The transfer was cancelled";
inline constexpr const char sErrSomeFilesFailed[] = "%d file(s) of '%s' could not be copied";
inline constexpr const char sErrRootHoldsAppData[] =
    "Refused local root '%s': it is or holds the application-data directory '%s' (profile files, password key, "
    "known hosts)";

// Remote commands.
inline constexpr const char sErrCommandFailed[] = "The remote command failed (exit status %d): %s";
inline constexpr const char sErrProgramNotFound[] = "The program '%s' was not found on the remote machine";
inline constexpr const char sErrProgramNotExecutable[] = "The program '%s' is not executable on the remote machine";
inline constexpr const char sErrWorkingDirMissing[] = "The working directory '%s' does not exist on the remote machine";
inline constexpr const char sErrOutputFile[] = "The output file '%s' cannot be written on the remote machine";
inline constexpr const char sErrInputFile[] = "The input file '%s' cannot be read on the remote machine";
inline constexpr const char sErrGdbServerMissing[] = "gdbserver is not installed on the remote machine";
inline constexpr const char sErrGdbServerFailed[] = "gdbserver did not start on the remote machine: %s";

}  // namespace hestrel

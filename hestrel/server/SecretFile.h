// Hestrel server: reading the files that hold its secrets (the password file and the host
// key) safely. Each file is opened once, without following a symbolic link and without
// waiting on a FIFO or device, and the open descriptor is checked before a byte is read, so
// what is checked is what is read.
#pragma once

#include <cstddef>
#include <string>

namespace hestrel::server {

/// Largest secret file read (a password file's first line, an ed25519 key).
inline constexpr std::size_t SecretFileLimit = 64 * 1024;

/// Opens Name relative to the directory DirFd (AT_FDCWD: the working directory) and reads at
/// most SecretFileLimit bytes into Text, which is filled in place (no reallocation leaves a
/// copy behind; the caller wipes it). What names the file in messages ("password file"),
/// Path is how they show it. Refuses, with a sentence in Error: a file that cannot be opened
/// (the system's reason; Missing is set when it does not exist), a symbolic link, anything
/// but a regular file, a file another user owns, and one that the group or others may
/// access.
bool ReadSecretFile(int DirFd, const std::string& Name, const std::string& What, const std::string& Path,
                    std::string& Text, std::string& Error, bool* Missing = nullptr);

/// Checks the directory open as DirFd that holds a secret file: refused (false, Error) when
/// the group or others may write to it, or when it belongs to another user than the server's
/// or root, since whoever can write there can replace the file.
bool CheckSecretDirectory(int DirFd, const std::string& What, const std::string& Path, std::string& Error);

}  // namespace hestrel::server

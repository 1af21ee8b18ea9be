// A profile's local root is never the application-data directory or a folder above it: a
// cache pull there could overwrite the profile files and the password key.
#pragma once

#include <string>

namespace LinuxHost {

/// Why Root (a profile's local root, macros not yet expanded) is refused; empty when it is not.
std::string LocalRootRefusal(const std::string& ProfileName, const std::string& Root);

}  // namespace LinuxHost

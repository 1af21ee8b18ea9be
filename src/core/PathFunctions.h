// The two path helpers that the core itself needs: a profile's rename moves its local
// root with ReplacePathPart, and the store loader and the pages ask
// GetPlatformDisplayName. Declared here so that core never includes persistence; the
// persistence header DefaultSdkPaths.h includes this one, so its callers see them as before.
#pragma once

#include <string>

/// The host's display name of a platform identifier, or "" (unknown, empty, no host).
std::string GetPlatformDisplayName(const std::string& PlatformName);

/// Replaces every component of Path that names the same file as OldPart (ignoring case) by
/// NewPart; Path unchanged when nothing matched. Components are separated by backslashes and
/// by the host's path delimiter ('/' here, so a POSIX local root follows a rename); such a
/// path keeps its leading '/' and is joined with '/' (docs/DECISIONS.md).
std::string ReplacePathPart(const std::string& Path, const std::string& OldPart, const std::string& NewPart);

// The settings-store layout: every section and value name, defined once. A
// store written by one build must be read by another, so these texts never change.
#pragma once

#include <cstdint>
#include <string>

namespace StoreLayout {

/// The section of all profiles; each profile is the sub-section "RemoteProfiles\" + name.
inline constexpr const char RemoteProfiles[] = "RemoteProfiles";
/// In "RemoteProfiles": the name of a platform's default profile (platform for %s).
inline constexpr const char DefaultFmt[] = "Default_%s";

// In a profile's sub-section.
inline constexpr const char Platform[] = "Platform";
inline constexpr const char HostName[] = "HostName";
inline constexpr const char PortNumber[] = "PortNumber";
inline constexpr const char Password[] = "Password";  ///< always the enciphered form
inline constexpr const char PassFile[] = "PassFile";
inline constexpr const char LocalRoot[] = "LocalRoot";
inline constexpr const char PathCount[] = "PathCount";
inline constexpr const char PathFmt[] = "Path%d";  ///< numbered from 0, "%d" without leading zeros
inline constexpr const char MaskFmt[] = "Mask%d";
inline constexpr const char IncludeSubDirFmt[] = "IncludeSubDir%d";
inline constexpr const char TypeFmt[] = "Type%d";

/// "PortNumber" when missing.
inline constexpr std::int32_t DefaultPortNumber = 64211;

/// The sub-section of a profile: "RemoteProfiles\" + the name, unescaped.
inline std::string ProfileSection(const std::string& ProfileName) {
  return std::string(RemoteProfiles) + "\\" + ProfileName;
}

}  // namespace StoreLayout

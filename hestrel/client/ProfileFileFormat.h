// Hestrel client: the text of a ".profile" file,
// version 1, as docs/profile-file-format.md describes it. Pure functions on memory, so the
// profile object, its tests and the fuzzer share one reader and one writer.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/AgentClient.h"

namespace hestrel {

/// The first line's word and the one version this library writes and reads.
inline constexpr const char ProfileFileMagic[] = "HestrelProfile";
inline constexpr int ProfileFileVersion = 1;
/// A profile file larger than this is refused unread (a profile is a few kilobytes).
inline constexpr std::size_t MaxProfileFileSize = 1024 * 1024;

/// Everything a profile file holds. Paths are indexed by TIncludePathKind (0 to 3).
struct TProfileFileData {
  std::string ProfileName;
  std::string Platform;
  std::string Host;
  std::int32_t Port = 0;
  TRACredential Credential;
  std::string SysRoot;
  std::array<TRAPathItems, 4> Paths;
  bool operator==(const TProfileFileData&) const = default;
};

/// The file text of Data (UTF-8, "\n" line ends).
std::string WriteProfileText(const TProfileFileData& Data);

/// Parses a whole file text into Out. On failure answers false, leaves Out untouched and
/// sets Error to the reason, starting "line N: " when one line is at fault. A text without
/// a Name entry reads as an empty profile name; every other scalar entry is required.
bool ParseProfileText(std::string_view Text, TProfileFileData& Out, std::string& Error);

}  // namespace hestrel

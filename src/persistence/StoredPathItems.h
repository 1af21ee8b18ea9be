// A profile's path items in the settings store — "Path%d", "Mask%d", "IncludeSubDir%d" and
// "Type%d" for items 0 to count minus 1 — read and written in the store's fixed order of
// calls. Used by the profile sub-sections (SettingsStore.cpp) and by the reference host's SDK
// entries, which keep the same layout (hosts/linux/ProfileSdkStore).
#pragma once

#include <cstdint>
#include <string>

#include "host/CustomIniFile.h"
#include "host/RemoteProfileTypes.h"

/// A stored "PathCount" above this is read as this: a damaged store cannot make a reader
/// allocate without end (docs/DECISIONS.md); real profiles hold a few dozen items.
inline constexpr std::int32_t MaxStoredPathCount = 65536;

/// Count items of Section (none when Count is 0 or less; at most MaxStoredPathCount), each
/// value with its default when missing; a type keeps the low 8 bits of the stored integer.
TOTARemoteProfilePathArray ReadStoredPathItems(TCustomIniFile& Settings, const std::string& Section,
                                               std::int32_t Count);
/// Writes every item of Items into Section ("PathCount" is the caller's).
void WriteStoredPathItems(TCustomIniFile& Settings, const std::string& Section, const TOTARemoteProfilePathArray& Items);

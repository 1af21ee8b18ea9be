// Path items in the settings store (see StoredPathItems.h).
#include "persistence/StoredPathItems.h"

#include <algorithm>

#include "core/Text.h"
#include "persistence/SettingsStoreLayout.h"

namespace L = StoreLayout;

TOTARemoteProfilePathArray ReadStoredPathItems(TCustomIniFile& Settings, const std::string& Section,
                                               std::int32_t Count) {
  Count = std::min(Count, MaxStoredPathCount);
  TOTARemoteProfilePathArray Items;
  Items.SetLength(Count > 0 ? static_cast<std::size_t>(Count) : 0);
  for (std::int32_t I = 0; I < Count; ++I) {
    TOTARemoteProfilePathItem& Item = Items[static_cast<std::size_t>(I)];
    Item.Path = Settings.ReadString(Section, Format(L::PathFmt, {std::int64_t{I}}), "");
    Item.Mask = Settings.ReadString(Section, Format(L::MaskFmt, {std::int64_t{I}}), "");
    Item.IncludeSubDir = Settings.ReadBool(Section, Format(L::IncludeSubDirFmt, {std::int64_t{I}}), false);
    // Only the low 8 bits of the stored integer are kept.
    Item.Type = static_cast<TOTAPathItemType>(
        static_cast<std::uint8_t>(Settings.ReadInteger(Section, Format(L::TypeFmt, {std::int64_t{I}}), 0)));
  }
  return Items;
}

void WriteStoredPathItems(TCustomIniFile& Settings, const std::string& Section, const TOTARemoteProfilePathArray& Items) {
  for (std::size_t I = 0; I < Items.size(); ++I) {
    const TOTARemoteProfilePathItem& Item = Items[I];
    const std::int64_t N = static_cast<std::int64_t>(I);
    Settings.WriteString(Section, Format(L::PathFmt, {N}), Item.Path);
    Settings.WriteString(Section, Format(L::MaskFmt, {N}), Item.Mask);
    Settings.WriteBool(Section, Format(L::IncludeSubDirFmt, {N}), Item.IncludeSubDir);
    Settings.WriteInteger(Section, Format(L::TypeFmt, {N}), static_cast<std::int32_t>(Item.Type));
  }
}

// The reference host's platform SDKs (a cache pull reads its path items from the host's
// platform SDK, not from the profile): one set of SDK path items per profile, kept in
// the host's settings store so that they outlive a run. In an IDE the SDK manager keeps
// them; here it is this store, in section "ProfileSDKs\" + profile name:
//
//   [ProfileSDKs\Build Mac]
//   PathCount=1
//   Path0=/usr/include
//   Mask0=*.h
//   IncludeSubDir0=1
//   Type0=0
//
// The values have the names, types and formats of a profile's path items in its
// "RemoteProfiles" section; "PathCount" is always written, so an entry with no items still
// exists. The store never touches the "RemoteProfiles" sections (the manager's, which
// SaveOptions erases and rewrites), and it commits nothing: the front end's UpdateFile
// writes it with everything else.
#pragma once

#include <memory>
#include <string>

#include "core/RemoteProfileManager.h"
#include "host/CustomIniFile.h"
#include "host/ToolsApi.h"

class TProfileSdkStore : public IOTARemoteProfileNotifier {
 public:
  explicit TProfileSdkStore(TCustomIniFilePtr Settings);

  /// "ProfileSDKs\" + ProfileName.
  static std::string SectionName(const std::string& ProfileName);

  /// Whether the profile has an entry (any letter case of the name).
  bool HasEntry(const std::string& ProfileName) const;
  /// The entry's items; false (Items empty) when there is no entry.
  bool Read(const std::string& ProfileName, TOTARemoteProfilePathArray& Items) const;
  /// Replaces the entry by Items (values of a longer earlier set do not stay).
  void Write(const std::string& ProfileName, const TOTARemoteProfilePathArray& Items);
  void Erase(const std::string& ProfileName);

  /// What a cache pull of the profile takes: its entry's items, or, for a profile without
  /// an entry (a settings file written before there were SDK entries), its own path items.
  TOTARemoteProfilePathArray PathItemsOf(const IOTARemoteProfilePtr& Profile) const;

  /// The store of Settings, attached to the live manager: each of Live's profiles that has an
  /// entry takes the entry's items (one read from its profile file has none of its own), so
  /// an editor shows, and its commit writes back, the items a cache pull takes; from then on
  /// the store follows Live's changes (AddNotifier).
  static std::shared_ptr<TProfileSdkStore> Attach(TCustomIniFilePtr Settings, TRemoteProfileManager& Live);

  /// As Live's notifier it follows every change however made: an added profile without an
  /// entry gets one from its own path items, or the platform's default set (GetDefaultPaths)
  /// when it has none; a rename moves the entry (a change of letter case only too); a removal
  /// erases it; a change writes the profile's items into its entry.
  void ProfileRenamed(const IOTARemoteProfilePtr& Profile, const std::string& OldName) override;
  void ProfileChanged(const IOTARemoteProfilePtr& Profile) override;
  void ProfileAdded(const IOTARemoteProfilePtr& Profile) override;
  void ProfileRemoved(const IOTARemoteProfilePtr& Profile) override;

 private:
  TCustomIniFilePtr FSettings;
};
using TProfileSdkStorePtr = std::shared_ptr<TProfileSdkStore>;

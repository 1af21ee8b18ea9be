// What the options page, the new-profile wizard and the selection dialogs do to profiles,
// below their controls: the models of this folder call these, so each rule exists once.
// Names go through ValidateProfileName (which shows its own message), profiles through
// AddProfile, commits through NotifyRenames, Assign and WriteEnvOptions. Messages of the
// host's own checks go through the host's message box.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/RemoteProfileManager.h"
#include "host/HostServices.h"
#include "ui/Controls.h"

/// The host's Trim: leading and trailing characters up to and including the blank removed.
std::string TrimText(const std::string& Text);

/// The entries of the platform combo box of the options page and the wizard: the host's
/// platforms in the host's order, without the Linux 32-bit, Android, iOS simulator and iOS
/// device platforms.
std::vector<std::string> PlatformChoices();
bool IsPlatformChoice(const std::string& PlatformName);

/// The platform combo box of the options page and the wizard: the platform choices shown by
/// display name, sorted by text. Its index numbers the options page's list groups.
class TPlatformCombo : public TControl {
 public:
  TPlatformCombo(TContainer& Owner, std::string Name);
  /// The platform of an entry ("" for none), and the entry of a platform (-1 for none).
  std::string PlatformAt(int Index) const;
  int IndexOf(const std::string& PlatformName) const;
  std::string SelectedPlatform() const { return PlatformAt(ItemIndex()); }

 private:
  std::vector<std::string> FPlatforms;
};

/// A combo box with a history list: its items from the host's list, and its text added to it.
void LoadHistory(TControl& Combo);
void AddToHistory(TControl& Combo);

/// The host's wait cursor while it lives.
class TWaitCursor {
 public:
  TWaitCursor();
  ~TWaitCursor();
  TWaitCursor(const TWaitCursor&) = delete;
  TWaitCursor& operator=(const TWaitCursor&) = delete;
};

/// A path item type's name: "include", "library", "framework", "other" (types 0 to 3), else
/// its number.
std::string PathTypeName(TOTAPathItemType Type);

/// Tests Profile's connection under the wait cursor, then tells the outcome: that it succeeded,
/// with the profile's host and port, or why it failed.
void ShowConnectionTest(IOTARemoteProfileServices& Services, const IOTARemoteProfilePtr& Profile);

/// The wizard's `PlatformComboSelect`: the state of "Set as default for the selected platform".
enum class TDefaultCheck {
  Hidden,    ///< "Win32" / "Win64": unchecked, disabled, hidden
  ForcedOn,  ///< no profile of the platform yet: checked and disabled
  Optional,  ///< the user may choose (starts unchecked)
};
TDefaultCheck DefaultCheckFor(const IOTARemoteProfileServices& Services, const std::string& PlatformName);
/// The options page's Copy: the trimmed new name must pass ValidateProfileName; the copy
/// gets every setting of Source (its own copy of the path items), its local root moved along
/// with ReplacePathPart. nullptr when the name was refused.
IOTARemoteProfilePtr CopyProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Source,
                                 const std::string& NewName);

/// The options page's rename map: name at first show to current name, in the order collected.
class TRenameMap {
 public:
  /// Records Old -> New, folding chains and dropping a return to the first name.
  void Renamed(const std::string& Old, const std::string& New);
  /// Delete: forgets every entry whose current name is Name.
  void Deleted(const std::string& Name);
  const std::vector<std::pair<std::string, std::string>>& Entries() const { return FEntries; }

 private:
  std::vector<std::pair<std::string, std::string>> FEntries;
};

enum class TRenameResult { Renamed, Unchanged, Refused };
/// The options page's Rename: a change of letter case only does nothing (Unchanged); a
/// name ValidateProfileName refuses changes nothing (Refused, it has reported).
TRenameResult RenameProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile,
                            const std::string& NewName, TRenameMap& Renames);

/// The options page's Delete: asks "Are you sure you want to delete the profile named
/// '%s'?" (Yes, No); on Yes forgets the profile's renames and removes it. Answers whether it
/// did.
bool DeleteProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile, TRenameMap& Renames);

/// The options page's Export: ".profile" appended when FileName has no extension; an
/// existing file is replaced only after the host's overwrite question is answered Yes.
/// FileName receives the name used. Answers whether the file was written.
bool ExportProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile, std::string& FileName);

enum class TImportResult { Imported, NotTaken, InvalidPlatform };
/// The options page's Import: the manager's LoadProfile (with its own questions). A file of a
/// platform the platform combo does not offer is refused before anything is read into the
/// manager, with "The imported profile has an invalid platform".
TImportResult ImportProfile(TRemoteProfileManager& Manager, const std::string& FileName, IOTARemoteProfilePtr& Profile);

/// The options page's first show: a working copy (CreateWorkingCopy) holding copies of Live's
/// profiles.
TRemoteProfileManagerPtr MakeWorkingCopy(const TRemoteProfileManagerPtr& Live);
/// The options page's accept: Live.NotifyRenames, Live.Assign(Copy), Live.WriteEnvOptions,
/// in order.
void CommitWorkingCopy(TRemoteProfileManager& Live, const TRemoteProfileManagerPtr& Copy, const TRenameMap& Renames);

/// The host's integer check of the port combo (options page and wizard): 0 to 65535;
/// reports sHostInvalidPort in an error box on failure.
bool CheckPortNumber(const std::string& Text, std::int32_t& Port);
/// The host's non-blank check of the host-name combo; reports sHostNameBlank.
bool CheckHostName(const std::string& Text);
/// The path dialog's non-blank checks of path and mask; reports sHostPathItemBlank.
bool CheckPathItem(const TOTARemoteProfilePathItem& Item);

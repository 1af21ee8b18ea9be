// Parts 6.1 and 6.2 without a toolkit: what the options page and the new-profile wizard do
// to profiles, so that every front end (zephprof, a Qt front end) only asks and draws.
// The rules stay the system's: names go through ValidateProfileName (which shows its own
// message), profiles through AddProfile, commits through NotifyRenames, Assign and
// WriteEnvOptions. Messages of the host's own checks go through the host's message box.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/RemoteProfileManager.h"

/// The host's Trim: leading and trailing characters up to and including the blank removed.
std::string TrimText(const std::string& Text);

/// The entries of the platform combo box of Parts 6.1 and 6.2: the host's platforms in the
/// host's order, without the Linux 32-bit, Android, iOS simulator and iOS device platforms.
std::vector<std::string> PlatformChoices();
bool IsPlatformChoice(const std::string& PlatformName);

/// Part 6.2 `PlatformComboSelect`: the state of "Set as default for the selected platform".
enum class TDefaultCheck {
  Hidden,    ///< "Win32" / "Win64": unchecked, disabled, hidden
  ForcedOn,  ///< no profile of the platform yet: checked and disabled
  Optional,  ///< the user may choose (starts unchecked)
};
TDefaultCheck DefaultCheckFor(const IOTARemoteProfileServices& Services, const std::string& PlatformName);
/// Whether a new profile becomes its platform's default when the user asked for Requested.
bool NewProfileIsDefault(const IOTARemoteProfileServices& Services, const std::string& PlatformName, bool Requested);

/// What the two wizard pages collect (Part 6.2 data model); the port starts at 64211 and
/// the credential as an empty typed password.
struct TNewProfileSettings {
  std::string Name;
  std::string PlatformName;
  std::string HostName;
  std::int32_t PortNumber = 64211;
  TOTARemoteProfileCredential Credential;
  std::string SystemRoot;
  bool AsDefault = false;  ///< what the user asked; NewProfileIsDefault decides
};

/// The wizard's run and Part 4.1 step 3 in one: trims the name, validates it with the
/// manager's ValidateProfileName (which reports), takes the platform's default path items
/// (Part 2.3 GetDefaultPaths) and adds the profile. nullptr when the name was refused.
IOTARemoteProfilePtr AddNewProfile(TRemoteProfileManager& Manager, const TNewProfileSettings& Settings);

/// Part 6.1 Copy: the trimmed new name must pass ValidateProfileName; the copy gets every
/// setting of Source (its own copy of the path items), its local root moved along with
/// ReplacePathPart (Part 2.3). nullptr when the name was refused.
IOTARemoteProfilePtr CopyProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Source,
                                 const std::string& NewName);

/// Part 6.1's rename map: name at first show to current name, in the order collected.
class TRenameMap {
 public:
  /// Rename step 5: records Old -> New, folding chains and dropping a return to the first name.
  void Renamed(const std::string& Old, const std::string& New);
  /// Delete: forgets every entry whose current name is Name.
  void Deleted(const std::string& Name);
  const std::vector<std::pair<std::string, std::string>>& Entries() const { return FEntries; }

 private:
  std::vector<std::pair<std::string, std::string>> FEntries;
};

enum class TRenameResult { Renamed, Unchanged, Refused };
/// Part 6.1 Rename steps 3 to 6: a change of letter case only does nothing (Unchanged); a
/// name ValidateProfileName refuses changes nothing (Refused, it has reported).
TRenameResult RenameProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile,
                            const std::string& NewName, TRenameMap& Renames);

/// Part 6.1 Delete: asks "Are you sure you want to delete the profile named '%s'?" (Yes,
/// No); on Yes forgets the profile's renames and removes it. Answers whether it did.
bool DeleteProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile, TRenameMap& Renames);

/// Part 6.1 `SetAsDefaultActionUpdate`: not a "Win32"/"Win64" profile, not already default.
bool CanSetAsDefault(const TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile);

/// Part 6.1 Export: ".profile" appended when FileName has no extension; an existing file
/// is replaced only after the host's overwrite question is answered Yes. FileName receives
/// the name used. Answers whether the file was written.
bool ExportProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile, std::string& FileName);

enum class TImportResult { Imported, NotTaken, InvalidPlatform };
/// Part 6.1 Import: the manager's LoadProfile (Part 2.2, with its own questions); a profile
/// whose platform has no entry in the platform combo is reported with "The imported
/// profile has an invalid platform".
TImportResult ImportProfile(TRemoteProfileManager& Manager, const std::string& FileName,
                            IOTARemoteProfilePtr& Profile);

/// Part 6.1 first show, step 3 and 4: a working copy holding copies of Live's profiles.
TRemoteProfileManagerPtr MakeWorkingCopy(const TRemoteProfileManagerPtr& Live);
/// Part 6.1 accept: Live.NotifyRenames, Live.Assign(Copy), Live.WriteEnvOptions, in order.
void CommitWorkingCopy(TRemoteProfileManager& Live, const TRemoteProfileManagerPtr& Copy, const TRenameMap& Renames);

/// The host's integer check of the port combo (Parts 6.1, 6.2): 0 to 65535; reports
/// sHostInvalidPort in an error box on failure.
bool CheckPortNumber(const std::string& Text, std::int32_t& Port);
/// The host's non-blank check of the host-name combo; reports sHostNameBlank.
bool CheckHostName(const std::string& Text);
/// Part 6.4 path dialog's non-blank checks of path and mask; reports sHostPathItemBlank.
bool CheckPathItem(const TOTARemoteProfilePathItem& Item);

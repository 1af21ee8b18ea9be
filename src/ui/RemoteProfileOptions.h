// The page "Connection Profile Manager" of the options dialog: every profile grouped by
// platform, with add, copy, rename, delete, export, import, set as default, test and update of
// the local file cache, and editors for the selected profile. It edits a working copy of the
// profile manager; the live manager hears of the edits only when the dialog is accepted.
#pragma once

#include <memory>
#include <string>

#include "core/RemoteProfileManager.h"
#include "ui/OptionsDialog.h"
#include "ui/ProfileCommands.h"
#include "ui/RemoteProfileOptionsPswdFrame.h"

/// The editor of a profile's further properties: its local root and its remote path items,
/// each item edited through the path item dialog.
class TProfilePropertyEditor : public TFrame {
 public:
  explicit TProfilePropertyEditor(TContainer& Owner);

  TControl LocalRootLabel{*this, "LocalRootLabel", TControlKind::Label, "&Local root:"};
  TControl LocalRootEdit{*this, "LocalRootEdit", TControlKind::Edit};
  TControl PathItemsLabel{*this, "PathItemsLabel", TControlKind::Label, "Remote p&ath items:"};
  TControl PathItemsList{*this, "PathItemsList", TControlKind::ListBox};
  TControl AddPathButton{*this, "AddPathButton", TControlKind::Button, "A&dd..."};
  TControl EditPathButton{*this, "EditPathButton", TControlKind::Button, "Ed&it..."};
  TControl RemovePathButton{*this, "RemovePathButton", TControlKind::Button, "Remo&ve"};

  /// Loads the editors from a profile, enabled; nullptr empties and disables them.
  void Load(const IOTARemoteProfilePtr& Profile);
  /// Stores the editors into a profile; its path array is replaced only when an item changed.
  void Store(const IOTARemoteProfilePtr& Profile);

  void AddPathButtonClick();
  void EditPathButtonClick();
  void RemovePathButtonClick();
  void UpdateButtons();

 private:
  bool ValidatePathItem(const TOTARemoteProfilePathItem& Item, int Editing) const;
  void ShowItems();
  TOTARemoteProfilePathArray FPaths;
  std::vector<TOTARemoteProfilePathItem> FItems;
  bool FItemsChanged = false;
  bool FAllowFramework = false;
};

class TRemoteProfilePage : public TPropertySheet {
 public:
  TRemoteProfilePage();
  ~TRemoteProfilePage() override;

  TControl ProfilesLabel{*this, "ProfilesLabel", TControlKind::Label, "&Profiles:"};
  TListView ProfileList{*this, "ProfileList"};
  TControl ProfilePropertiesGroupBox{*this, "ProfilePropertiesGroupBox", TControlKind::GroupBox, " Profile Properties"};
  TControl PlatformLabel{*this, "PlatformLabel", TControlKind::Label, "Platfor&m:"};
  TPlatformCombo PlatformCombo{*this, "PlatformCombo"};
  TControl HostNameLabel{*this, "HostNameLabel", TControlKind::Label, "&Host name:"};
  TControl HostNameCombo{*this, "HostNameCombo", TControlKind::ComboBox};
  TControl PortNumberLabel{*this, "PortNumberLabel", TControlKind::Label, "Port &number:"};
  TControl PortNumberCombo{*this, "PortNumberCombo", TControlKind::ComboBox};
  TRemoteProfilePasswordFrame RemoteProfilePasswordFrame{*this};
  TProfilePropertyEditor PropertyEditor{*this};

  TActionItem AddAction{*this, "AddAction", "&Add..."};
  TActionItem CopyAction{*this, "CopyAction", "&Copy..."};
  TActionItem RenameAction{*this, "RenameAction", "R&ename..."};
  TActionItem DeleteAction{*this, "DeleteAction", "&Delete"};
  TActionItem ExportProfileAction{*this, "ExportProfileAction", "E&xport..."};
  TActionItem ImportProfileAction{*this, "ImportProfileAction", "&Import..."};
  TActionItem SetAsDefaultAction{*this, "SetAsDefaultAction", "Set as &Default"};
  TActionItem TestConnectionAction{*this, "TestConnectionAction", "&Test Connection"};
  TActionItem PullRemoteFilesAction{*this, "PullRemoteFilesAction", "&Update Local File Cache"};

  TControl TestButton{*this, "TestButton", TControlKind::Button};
  TControl ButtonsPanel{*this, "ButtonsPanel", TControlKind::Panel};
  TControl AddButton{*this, "AddButton", TControlKind::Button};
  TControl CopyButton{*this, "CopyButton", TControlKind::Button};
  TControl RenameButton{*this, "RenameButton", TControlKind::Button};
  TControl DeleteButton{*this, "DeleteButton", TControlKind::Button};
  TControl ExportButton{*this, "ExportButton", TControlKind::Button};
  TControl ImportButton{*this, "ImportButton", TControlKind::Button};
  // The pop-up menu of ProfileList.
  TControl SetAsDefaultItem{*this, "SetAsDefaultItem", TControlKind::MenuItem};
  TControl PullRemoteFilesItem{*this, "PullRemoteFilesItem", TControlKind::MenuItem};
  TOTAFileDialog SaveProfileDialog;
  TOTAFileDialog OpenProfileDialog;

  // The options dialog's events.
  void PropertySheetShow() override;
  void PropertySheetDestroy() override;
  void PropertySheetBroadcast(int Message, int Param, int& Result) override;

  // The list's and the editors' events.
  void ProfileListSelectItem(int Index);
  void ProfileListDblClick();
  void ProfileListKeyDown(TKey& Key);
  /// Whether the item is drawn in bold: its profile is its platform's default.
  bool ProfileListCustomDrawItem(int Index) const;
  void PlatformComboChange();
  void HostNameComboChange();
  void PortNumberComboChange();
  void RemoteProfilePasswordFramePasswordEditChange();

  // The actions.
  void AddButtonClick();
  void CopyActionExecute();
  void CopyActionUpdate();
  void RenameActionExecute();
  void DeleteActionExecute();
  void ExportProfileActionExecute();
  void ImportProfileActionExecute();
  void SetAsDefaultItemClick();
  void SetAsDefaultActionUpdate();
  void TestConnectionActionExecute();
  void TestConnectionActionUpdate();
  void PullRemoteFilesActionExecute();

  void UpdateProperties(int Index);
  /// Stores the editors into the selected profile; raises the silent abort when they do not
  /// pass ValidateProperties.
  void CommitProperties();
  bool ValidateProperties(std::string& Message, std::int32_t& Port);
  bool ValidatePlatform(const std::string& PlatformName) const;
  void SelectItem(int Index);
  void SetSelectedAsDefault();
  void DeleteSelected();
  int GroupFromPlatform(const std::string& PlatformName) const;
  /// The progress procedure of the cache update: the progress window, closed when done.
  bool UpdateProgress(TOTAProgressType Kind, std::int32_t Current, std::int32_t Total, const std::string& Text,
                      const std::string& Path, const std::string& File, std::int32_t FilePercent);

  const TRemoteProfileManagerPtr& WorkingCopy() const { return FProfileManager; }
  const TRenameMap& Renames() const { return FRenames; }
  /// While an options dialog holds a page's working copy.
  static bool OptionsDialogOpen() { return FOptionsDialogOpen; }

 private:
  IOTARemoteProfilePtr SelectedProfile() const { return ProfileList.Selected(); }
  void AddListItem(const IOTARemoteProfilePtr& Profile, bool Select);
  TRemoteProfileManagerPtr FProfileManager;
  TRenameMap FRenames;
  bool FInitialized = false;
  static inline bool FOptionsDialogOpen = false;
};

/// Registers the page class "TRemoteProfilePage" with the options dialog's page classes on the
/// first call; the matching shut-down unregisters it. Further calls are counted.
void RemoteProfileOptionsStartup();
void RemoteProfileOptionsShutdown();

// The searchable profile pick list that the profile selector shows: one entry per profile
// (title: its name; description: platform, host and port) filtered as the user types, with
// buttons to add a profile through the new-profile wizard and to import a profile file.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/RemoteProfileManager.h"
#include "ui/Controls.h"

/// One entry of the pick list.
class TProfileInsightItem {
 public:
  /// An empty display name is taken from the profile's platform on first use.
  TProfileInsightItem(IOTARemoteProfilePtr Profile, std::string PlatformDisplayName);
  std::string GetTitle() const;
  std::string GetDescription() const;
  const IOTARemoteProfilePtr& Profile() const { return FProfile; }

 private:
  IOTARemoteProfilePtr FProfile;
  mutable std::string FPlatformDisplayName;
};

class TChooseProfileDialog : public TForm {
 public:
  /// Profiles of PlatformName (any platform when empty) from Manager.
  TChooseProfileDialog(std::string PlatformName, TRemoteProfileManager& Manager);

  TControl SearchEdit{*this, "SearchEdit", TControlKind::Edit};
  TControl ItemList{*this, "ItemList", TControlKind::ListBox};
  TControl BottomPanel{*this, "BottomPanel", TControlKind::Panel};
  TControl AddButton{*this, "AddButton", TControlKind::Button, "&Add..."};
  TControl ImportButton{*this, "ImportButton", TControlKind::Button, "&Import..."};
  TControl OKButton{*this, "OKButton", TControlKind::Button, "OK"};
  TControl CancelButton{*this, "CancelButton", TControlKind::Button, "Cancel"};
  TOTAFileDialog OpenProfileDialog;

  void AddItem(std::unique_ptr<TProfileInsightItem> Item);
  /// The entries the search text lets through, in the list's order.
  const std::vector<TProfileInsightItem*>& VisibleItems() const { return FVisible; }
  /// The chosen profile when exactly one entry is selected, else nullptr.
  IOTARemoteProfilePtr SelectedProfile() const;

  void AddButtonClick();
  void ImportButtonOnClick();
  bool OpenProfileDialogCanClose(const std::string& FileName);
  /// Filters the list by the search text (title or description, ignoring case).
  void SearchEditChange();

 private:
  /// Adds the item; the first entry is selected when the list was empty.
  void AddNewItem(const IOTARemoteProfilePtr& Profile, const std::string& DisplayName);
  std::string FPlatformName, FDisplayName;
  TRemoteProfileManager& FManager;
  std::vector<std::unique_ptr<TProfileInsightItem>> FItems;
  std::vector<TProfileInsightItem*> FVisible;
};

/// The profile selector kept in ShowProfileSelectorFunc.
IOTARemoteProfilePtr ShowProfileSelector(const std::string& PlatformName, TRemoteProfileManager& Manager);
/// Fills ShowProfileSelectorFunc on the first call and empties it on the matching shut-down.
void SelectProfileDlgStartup();
void SelectProfileDlgShutdown();

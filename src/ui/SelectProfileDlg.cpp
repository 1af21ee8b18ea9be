// The searchable profile pick list and the profile selector (see SelectProfileDlg.h).
#include "ui/SelectProfileDlg.h"

#include <algorithm>

#include "core/ProfileHooks.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "persistence/DefaultSdkPaths.h"
#include "ui/ProfileCommands.h"

namespace {

int StartupCount = 0;

}  // namespace

// ---- TProfileInsightItem ------------------------------------------------------------------

TProfileInsightItem::TProfileInsightItem(IOTARemoteProfilePtr Profile, std::string PlatformDisplayName)
    : FProfile(std::move(Profile)), FPlatformDisplayName(std::move(PlatformDisplayName)) {}

std::string TProfileInsightItem::GetTitle() const { return FProfile->GetName(); }

std::string TProfileInsightItem::GetDescription() const {
  if (FPlatformDisplayName.empty()) FPlatformDisplayName = GetPlatformDisplayName(FProfile->GetPlatformName());
  return Format("Platform: '%s', Host: '%s', Port Number: '%d'",
                {FPlatformDisplayName, FProfile->GetHostName(), std::int64_t{FProfile->GetPortNumber()}});
}

// ---- TChooseProfileDialog -----------------------------------------------------------------

TChooseProfileDialog::TChooseProfileDialog(std::string PlatformName, TRemoteProfileManager& Manager)
    : TForm("ChooseProfileDialog"),
      FPlatformName(std::move(PlatformName)),
      FDisplayName(GetPlatformDisplayName(FPlatformName)),
      FManager(Manager) {
  SetCaption("Select Remote Profile");
  SearchEdit.OnChange = [this] { SearchEditChange(); };
  AddButton.OnClick = [this] { AddButtonClick(); };
  ImportButton.OnClick = [this] { ImportButtonOnClick(); };
  OKButton.ModalResult = mrOk;
  CancelButton.ModalResult = mrCancel;
  OpenProfileDialog.Title = "Import Remote Profile";
  OpenProfileDialog.Filter = "Profile files (*.profile)|*.profile";
  OpenProfileDialog.FileMustExist = true;
  OpenProfileDialog.CanClose = [this](const std::string& FileName) { return OpenProfileDialogCanClose(FileName); };
}

void TChooseProfileDialog::AddItem(std::unique_ptr<TProfileInsightItem> Item) {
  FItems.push_back(std::move(Item));
  SearchEditChange();
}

void TChooseProfileDialog::SearchEditChange() {
  const TProfileInsightItem* Selected =
      ItemList.ItemIndex() >= 0 && static_cast<std::size_t>(ItemList.ItemIndex()) < FVisible.size()
          ? FVisible[static_cast<std::size_t>(ItemList.ItemIndex())]
          : nullptr;
  const std::string Search = LowerCase(TrimText(SearchEdit.Text()));
  FVisible.clear();
  std::vector<std::string> Titles;
  int SelectedIndex = -1;
  for (const auto& Item : FItems) {
    if (!Search.empty() && LowerCase(Item->GetTitle()).find(Search) == std::string::npos &&
        LowerCase(Item->GetDescription()).find(Search) == std::string::npos)
      continue;
    if (Item.get() == Selected) SelectedIndex = static_cast<int>(FVisible.size());
    FVisible.push_back(Item.get());
    Titles.push_back(Item->GetTitle());
  }
  ItemList.SetItems(std::move(Titles));
  ItemList.SetItemIndex(SelectedIndex);
}

IOTARemoteProfilePtr TChooseProfileDialog::SelectedProfile() const {
  const int Index = ItemList.ItemIndex();
  return Index >= 0 && static_cast<std::size_t>(Index) < FVisible.size()
             ? FVisible[static_cast<std::size_t>(Index)]->Profile()
             : nullptr;
}

void TChooseProfileDialog::AddNewItem(const IOTARemoteProfilePtr& Profile, const std::string& DisplayName) {
  const bool WasEmpty = FItems.empty();
  // An import over a listed profile changes that profile; it is not listed twice.
  if (std::none_of(FItems.begin(), FItems.end(), [&](const auto& Item) { return Item->Profile() == Profile; }))
    AddItem(std::make_unique<TProfileInsightItem>(Profile, DisplayName));
  if (!WasEmpty) return;
  FManager.WriteEnvOptions();
  ItemList.SetItemIndex(FVisible.empty() ? -1 : 0);
}

void TChooseProfileDialog::AddButtonClick() {
  if (const IOTARemoteProfilePtr Profile = FManager.ExecuteNewProfileWizard(FPlatformName, true))
    AddNewItem(Profile, FDisplayName);
}

void TChooseProfileDialog::ImportButtonOnClick() {
  IOTAUserInterfaceServices* Ui = HostUi();
  if (!Ui || !Ui->ExecuteFileDialog(OpenProfileDialog)) return;
  const IOTARemoteProfilePtr Profile = FManager.LoadProfile(OpenProfileDialog.FileName);
  if (!Profile) return;
  FManager.SaveProfile(Profile, std::string());
  AddNewItem(Profile, "");
}

bool TChooseProfileDialog::OpenProfileDialogCanClose(const std::string& FileName) {
  const std::string Platform = FManager.GetProfilePlatformName(FileName);
  // Profiles are filed, and written, under their parent platform: a Mac's file serves iOS.
  if (ParentPlatform(Platform) == ParentPlatform(FPlatformName)) return true;
  if (!Platform.empty())
    ShowMessageDlg(Format("The selected profile is for '%s' platform, expecting profile for '%s' platform",
                          {GetPlatformDisplayName(Platform), FDisplayName}),
                   TMsgDlgType::mtError, {TMsgDlgBtn::mbOK});
  return false;
}

// ---- The profile selector -------------------------------------------------------------------

IOTARemoteProfilePtr ShowProfileSelector(const std::string& PlatformName, TRemoteProfileManager& Manager) {
  TChooseProfileDialog Dialog(PlatformName, Manager);
  if (!PlatformName.empty()) {
    Dialog.SetCaption(Format("Select Connection Profile for '%s' Platform", {GetPlatformDisplayName(PlatformName)}));
    for (std::int32_t I = 0; I < Manager.GetProfileCount(PlatformName); ++I)
      Dialog.AddItem(std::make_unique<TProfileInsightItem>(Manager.GetProfile(PlatformName, I),
                                                           GetPlatformDisplayName(PlatformName)));
  } else if (const auto& Platforms = HostServices().Platforms) {
    // Every platform the host knows, each list once: the iOS targets share the Mac's.
    std::vector<std::string> Listed;
    for (const std::string& Platform : Platforms->GetAllPlatforms()) {
      const std::string Parent = ParentPlatform(Platform);
      if (std::find(Listed.begin(), Listed.end(), Parent) != Listed.end()) continue;
      Listed.push_back(Parent);
      for (std::int32_t I = 0; I < Manager.GetProfileCount(Parent); ++I)
        Dialog.AddItem(std::make_unique<TProfileInsightItem>(Manager.GetProfile(Parent, I), ""));
    }
  }
  Dialog.HelpContext = 15062;
  return Dialog.ShowModal() == mrOk ? Dialog.SelectedProfile() : nullptr;
}

void SelectProfileDlgStartup() {
  if (StartupCount++ == 0) ShowProfileSelectorFunc = ShowProfileSelector;
}

void SelectProfileDlgShutdown() {
  if (StartupCount == 0 || --StartupCount > 0) return;
  ShowProfileSelectorFunc = nullptr;
}

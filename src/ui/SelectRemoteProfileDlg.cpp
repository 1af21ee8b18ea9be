// The small profile chooser (see SelectRemoteProfileDlg.h).
#include "ui/SelectRemoteProfileDlg.h"

#include "core/Text.h"
#include "deploy/SelectProfileHook.h"
#include "host/ActiveProject.h"
#include "host/HostServices.h"
#include "persistence/DefaultSdkPaths.h"

namespace {

const char kAddNew[] = "Add New...";
int StartupCount = 0;

/// The profile the active project uses for a platform ("" when the host knows no active project).
std::string ActiveProjectProfile(const std::string& PlatformName) {
  const auto Projects = std::dynamic_pointer_cast<IOTAActiveProjectServices>(HostServices().Projects);
  const IOTAProjectPtr Project = Projects ? Projects->GetActiveProject() : nullptr;
  const IOTAProjectPlatformsPtr Platforms = Project ? Project->GetProjectPlatforms() : nullptr;
  return Platforms ? Platforms->GetProfile(PlatformName) : std::string();
}

}  // namespace

TSelectRemoteProfileDialog::TSelectRemoteProfileDialog(std::string PlatformName)
    : TForm("SelectRemoteProfileDialog"), FPlatformName(std::move(PlatformName)), FManager(RemoteProfileMgr()) {
  SetCaption(Format("Select Connection Profile for the '%s' Platform", {GetPlatformDisplayName(FPlatformName)}));
  HelpContext = 1810;
  cbRemote.OnChange = [this] { cbRemoteChange(); };
  okButton.ModalResult = mrOk;
  okButton.SetEnabled(false);
  cancelButton.ModalResult = mrCancel;
  HelpButton.OnClick = [this] { HelpButtonClick(); };
  PopulateRemoteProfiles("");
  UpdateButtons();
}

IOTARemoteProfilePtr TSelectRemoteProfileDialog::SelectedProfile() const {
  const int Index = cbRemote.ItemIndex();
  if (!FManager || Index < 0 || Index >= FManager->GetProfileCount(FPlatformName)) return nullptr;
  return FManager->GetProfile(FPlatformName, Index);
}

void TSelectRemoteProfileDialog::PopulateRemoteProfiles(const std::string& NameToSelect) {
  const std::string Name = NameToSelect.empty() ? ActiveProjectProfile(FPlatformName) : NameToSelect;
  std::vector<std::string> Entries;
  int Remembered = -1;
  const std::int32_t Count = FManager ? FManager->GetProfileCount(FPlatformName) : 0;
  for (std::int32_t I = 0; I < Count; ++I) {
    const IOTARemoteProfilePtr Profile = FManager->GetProfile(FPlatformName, I);
    Entries.push_back(Format("%s, (Host: '%s', Port Number: '%d')",
                             {Profile->GetName(), Profile->GetHostName(), std::int64_t{Profile->GetPortNumber()}}));
    if (Profile->GetName() == Name) Remembered = I;
  }
  Entries.push_back(kAddNew);
  cbRemote.SetItems(std::move(Entries));
  cbRemote.SetItemIndex(Remembered);
  // What this list shows is the choice a cancelled "Add New..." goes back to.
  LastSelectedIndex = Remembered;
}

void TSelectRemoteProfileDialog::cbRemoteChange() {
  const int AddNewIndex = static_cast<int>(cbRemote.Items().size()) - 1;
  if (cbRemote.ItemIndex() == AddNewIndex && FManager) {
    if (const IOTARemoteProfilePtr New = FManager->ExecuteNewProfileWizard(FPlatformName, true))
      PopulateRemoteProfiles(New->GetName());
    else
      cbRemote.SetItemIndex(LastSelectedIndex < AddNewIndex ? LastSelectedIndex : -1);
  }
  LastSelectedIndex = cbRemote.ItemIndex();
  UpdateButtons();
}

void TSelectRemoteProfileDialog::UpdateButtons() { okButton.SetEnabled(SelectedProfile() != nullptr); }

void TSelectRemoteProfileDialog::HelpButtonClick() {
  if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->ShowHelp(HelpContext);
}

IOTARemoteProfilePtr SelectRemoteProfileDialog(const std::string& PlatformName) {
  TSelectRemoteProfileDialog Dialog(PlatformName);
  return Dialog.ShowModal() == mrOk ? Dialog.SelectedProfile() : nullptr;
}

void SelectRemoteProfileDlgStartup() {
  if (StartupCount++ > 0) return;
  SelectRemoteProfileDialogFunc = [](const std::string& PlatformName, TRemoteProfileManager&) {
    const IOTARemoteProfilePtr Chosen = SelectRemoteProfileDialog(PlatformName);
    return Chosen ? Chosen->GetName() : std::string();
  };
}

void SelectRemoteProfileDlgShutdown() {
  if (StartupCount == 0 || --StartupCount > 0) return;
  SelectRemoteProfileDialogFunc = nullptr;
}

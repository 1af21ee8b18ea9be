// The page "Connection Profile Manager" (see RemoteProfileOptions.h).
#include "ui/RemoteProfileOptions.h"

#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "ui/PullFilesProgressForm.h"
#include "ui/RemoteProfilePathEditDlg.h"

namespace {

const char kPageClass[] = "TRemoteProfilePage";
const char kPathItemExists[] = "The path item '%s' with the mask '%s' is already in the list";
int StartupCount = 0;

std::string PathItemText(const TOTARemoteProfilePathItem& Item) {
  return PathTypeName(Item.Type) + "  " + Item.Path + "  " + Item.Mask + (Item.IncludeSubDir ? "  subdirs" : "");
}

/// The platform SDK of the page's cache update: the profile's own local root and path items,
/// as its editors show them.
class TProfileSdk : public IOTAPlatformSDK {
 public:
  explicit TProfileSdk(IOTARemoteProfilePtr Profile) : FProfile(std::move(Profile)) {}
  std::string GetSystemRoot() const override { return FProfile->GetSystemRoot(); }
  std::string GetLocalRootPart() const override { return {}; }
  TOTARemoteProfilePathArray GetPathItems() const override { return FProfile->GetPaths(); }

 private:
  IOTARemoteProfilePtr FProfile;
};

}  // namespace

// ---- TProfilePropertyEditor ---------------------------------------------------------------

TProfilePropertyEditor::TProfilePropertyEditor(TContainer& Owner) : TFrame(Owner, "PropertyEditor") {
  AddPathButton.OnClick = [this] { AddPathButtonClick(); };
  EditPathButton.OnClick = [this] { EditPathButtonClick(); };
  PathItemsList.OnDblClick = [this] { EditPathButtonClick(); };
  RemovePathButton.OnClick = [this] { RemovePathButtonClick(); };
  PathItemsList.OnChange = [this] { UpdateButtons(); };
  Load(nullptr);
}

void TProfilePropertyEditor::Load(const IOTARemoteProfilePtr& Profile) {
  LocalRootEdit.SetText(Profile ? Profile->GetSystemRoot() : std::string());
  FPaths = Profile ? Profile->GetPaths() : TOTARemoteProfilePathArray();
  FItems = FPaths.ToVector();
  FItemsChanged = false;
  const std::string Platform = Profile ? Profile->GetPlatformName() : std::string();
  FAllowFramework = Platform.starts_with("OSX") || Platform.starts_with("iOS");  // Apple's platforms
  SetEnabled(Profile != nullptr);
  PathItemsList.SetItemIndex(-1);
  ShowItems();
}

void TProfilePropertyEditor::Store(const IOTARemoteProfilePtr& Profile) {
  Profile->SetSystemRoot(LocalRootEdit.Text());
  // The profile's own array stays when no item changed, so the profile does not change.
  if (!FItemsChanged) return;
  Profile->SetPaths(TOTARemoteProfilePathArray(FItems));
  FPaths = Profile->GetPaths();
  FItemsChanged = false;
}

void TProfilePropertyEditor::ShowItems() {
  std::vector<std::string> Lines;
  for (const TOTARemoteProfilePathItem& Item : FItems) Lines.push_back(PathItemText(Item));
  PathItemsList.SetItems(std::move(Lines));
  UpdateButtons();
}

void TProfilePropertyEditor::UpdateButtons() {
  const int Index = PathItemsList.ItemIndex();
  const bool Selected = Index >= 0 && static_cast<std::size_t>(Index) < FItems.size();
  EditPathButton.SetEnabled(Selected);
  RemovePathButton.SetEnabled(Selected);
}

bool TProfilePropertyEditor::ValidatePathItem(const TOTARemoteProfilePathItem& Item, int Editing) const {
  for (std::size_t I = 0; I < FItems.size(); ++I) {
    const TOTARemoteProfilePathItem& Other = FItems[I];
    if (static_cast<int>(I) == Editing || Other.Path != Item.Path || Other.Mask != Item.Mask || Other.Type != Item.Type)
      continue;
    ShowMessageDlg(Format(kPathItemExists, {Item.Path, Item.Mask}), TMsgDlgType::mtError, {TMsgDlgBtn::mbOK});
    return false;
  }
  return true;
}

void TProfilePropertyEditor::AddPathButtonClick() {
  TOTARemoteProfilePathItem Item{"", "*", true, ptIncludePath};
  if (!GetRemotePathInfo(Item, FAllowFramework, "Add Remote Path Item",
                         [this](const TOTARemoteProfilePathItem& New) { return ValidatePathItem(New, -1); }))
    return;
  FItems.push_back(Item);
  FItemsChanged = true;
  ShowItems();
  PathItemsList.SetItemIndex(static_cast<int>(FItems.size()) - 1);
  UpdateButtons();
}

void TProfilePropertyEditor::EditPathButtonClick() {
  const int Index = PathItemsList.ItemIndex();
  if (Index < 0 || static_cast<std::size_t>(Index) >= FItems.size()) return;
  TOTARemoteProfilePathItem Item = FItems[static_cast<std::size_t>(Index)];
  if (!GetRemotePathInfo(Item, FAllowFramework, "Edit Remote Path Item",
                         [this, Index](const TOTARemoteProfilePathItem& New) { return ValidatePathItem(New, Index); }))
    return;
  if (Item == FItems[static_cast<std::size_t>(Index)]) return;
  FItems[static_cast<std::size_t>(Index)] = Item;
  FItemsChanged = true;
  ShowItems();
}

void TProfilePropertyEditor::RemovePathButtonClick() {
  const int Index = PathItemsList.ItemIndex();
  if (Index < 0 || static_cast<std::size_t>(Index) >= FItems.size()) return;
  FItems.erase(FItems.begin() + Index);
  FItemsChanged = true;
  PathItemsList.SetItemIndex(-1);
  ShowItems();
}

// ---- TRemoteProfilePage: layout -----------------------------------------------------------

TRemoteProfilePage::TRemoteProfilePage() : TPropertySheet("RemoteProfilePage") {
  SetCaption("Connection Profile Manager");
  HelpContext = 2107;
  HostNameCombo.HistoryList = "hlRemoteProfileHostName";
  PortNumberCombo.HistoryList = "hlRemoteProfilePortNumber";
  SaveProfileDialog.Save = true;
  OpenProfileDialog.Title = "Import Connection Profile";
  OpenProfileDialog.FileMustExist = OpenProfileDialog.HideReadOnly = true;
  for (TOTAFileDialog* Dialog : {&SaveProfileDialog, &OpenProfileDialog})
    Dialog->Filter = "Profile files (*.profile)|*.profile";

  const std::pair<TControl*, TActionItem*> Bindings[] = {{&TestButton, &TestConnectionAction},
                                                         {&AddButton, &AddAction},
                                                         {&CopyButton, &CopyAction},
                                                         {&RenameButton, &RenameAction},
                                                         {&DeleteButton, &DeleteAction},
                                                         {&ExportButton, &ExportProfileAction},
                                                         {&ImportButton, &ImportProfileAction},
                                                         {&SetAsDefaultItem, &SetAsDefaultAction},
                                                         {&PullRemoteFilesItem, &PullRemoteFilesAction}};
  for (const auto& [Control, Action] : Bindings) Control->Action = Action;
  AddAction.OnExecute = [this] { AddButtonClick(); };
  CopyAction.OnExecute = [this] { CopyActionExecute(); };
  RenameAction.OnExecute = [this] { RenameActionExecute(); };
  DeleteAction.OnExecute = [this] { DeleteActionExecute(); };
  ExportProfileAction.OnExecute = [this] { ExportProfileActionExecute(); };
  ImportProfileAction.OnExecute = [this] { ImportProfileActionExecute(); };
  SetAsDefaultAction.OnExecute = [this] { SetAsDefaultItemClick(); };
  TestConnectionAction.OnExecute = [this] { TestConnectionActionExecute(); };
  PullRemoteFilesAction.OnExecute = [this] { PullRemoteFilesActionExecute(); };
  for (TActionItem* Action : {&CopyAction, &RenameAction, &DeleteAction, &ExportProfileAction})
    Action->OnUpdate = [this] { CopyActionUpdate(); };
  SetAsDefaultAction.OnUpdate = [this] { SetAsDefaultActionUpdate(); };
  TestConnectionAction.OnUpdate = [this] { TestConnectionActionUpdate(); };

  ProfileList.OnSelectItem = [this](int Index) { ProfileListSelectItem(Index); };
  ProfileList.OnDblClick = [this] { ProfileListDblClick(); };
  ProfileList.OnKeyDown = [this](TKey& Key) { ProfileListKeyDown(Key); };
  PlatformCombo.OnChange = [this] { PlatformComboChange(); };
  HostNameCombo.OnChange = [this] { HostNameComboChange(); };
  PortNumberCombo.OnChange = [this] { PortNumberComboChange(); };
  RemoteProfilePasswordFrame.PasswordEdit.OnChange = [this] { RemoteProfilePasswordFramePasswordEditChange(); };
  UpdateProperties(-1);
}

TRemoteProfilePage::~TRemoteProfilePage() = default;

// ---- The options dialog's events ----------------------------------------------------------

void TRemoteProfilePage::PropertySheetShow() {
  if (FInitialized) {
    // Other pages of the dialog may have added profiles to the working copy.
    for (int Group = 0; Group < static_cast<int>(PlatformCombo.Items().size()); ++Group) {
      const std::string Platform = PlatformCombo.PlatformAt(Group);
      if (!ValidatePlatform(Platform)) continue;
      for (std::int32_t I = 0; I < FProfileManager->GetProfileCount(Platform); ++I) {
        const IOTARemoteProfilePtr Profile = FProfileManager->GetProfile(Platform, I);
        if (ProfileList.IndexOf(Profile) < 0) ProfileList.AddItem({Profile->GetName(), Group, Profile});
      }
    }
    return;
  }
  const THostServices& Host = HostServices();
  if (!Host.Platforms || !Host.Messages || !Host.Ui) return;
  FInitialized = true;
  FProfileManager = MakeWorkingCopy(RemoteProfileMgr());
  FOptionsDialogOpen = true;
  Host.Ui->SetEditedProfileServices(FProfileManager);
  const std::string Preselect = FProfileManager->GetSelectedProfile();
  int Remembered = -1;
  for (int Group = 0; Group < static_cast<int>(PlatformCombo.Items().size()); ++Group) {
    const std::string Platform = PlatformCombo.PlatformAt(Group);
    ProfileList.AddGroup(Group, PlatformCombo.Items()[static_cast<std::size_t>(Group)]);
    if (!ValidatePlatform(Platform)) continue;
    for (std::int32_t I = 0; I < FProfileManager->GetProfileCount(Platform); ++I) {
      const IOTARemoteProfilePtr Profile = FProfileManager->GetProfile(Platform, I);
      const int Index = ProfileList.AddItem({Profile->GetName(), Group, Profile});
      if (Remembered < 0 && Profile->GetName() == Preselect) Remembered = Index;
    }
  }
  FRenames = TRenameMap();
  SelectItem(Remembered >= 0 ? Remembered : 0);
}

void TRemoteProfilePage::PropertySheetDestroy() {
  if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->SetEditedProfileServices(nullptr);
  FRenames = TRenameMap();
}

void TRemoteProfilePage::PropertySheetBroadcast(int Message, int Param, int& Result) {
  if (Message == kOptionsValidateMessage) {
    std::string Text;
    std::int32_t Port = 0;
    if (!ValidateProperties(Text, Port)) Result = 1;
  } else if (Message == kOptionsCloseMessage) {
    FOptionsDialogOpen = false;
    if (Param != 1 || !FProfileManager) return;  // cancelled: the working copy is dropped unseen
    CommitProperties();
    CommitWorkingCopy(*RemoteProfileMgr(), FProfileManager, FRenames);
  }
}

// ---- Selection and editors ----------------------------------------------------------------

void TRemoteProfilePage::SelectItem(int Index) {
  if (Index >= 0 && Index < static_cast<int>(ProfileList.ListItems().size())) {
    ProfileList.SetFocus();
    ProfileListSelectItem(Index);
  } else {
    UpdateProperties(-1);
  }
}

void TRemoteProfilePage::ProfileListSelectItem(int Index) {
  CommitProperties();  // the profile selected until now
  UpdateProperties(Index);
}

void TRemoteProfilePage::UpdateProperties(int Index) {
  const bool Valid = Index >= 0 && Index < static_cast<int>(ProfileList.ListItems().size());
  ProfileList.SetItemIndex(Valid ? Index : -1);
  const IOTARemoteProfilePtr Profile = SelectedProfile();
  for (TControl* Editor : {static_cast<TControl*>(&PlatformCombo), &HostNameCombo, &PortNumberCombo})
    Editor->SetEnabled(Profile != nullptr);
  RemoteProfilePasswordFrame.EnableUI(Profile != nullptr);
  PropertyEditor.Load(Profile);
  LoadHistory(HostNameCombo);
  LoadHistory(PortNumberCombo);
  if (!Profile) {
    PlatformCombo.SetItemIndex(-1);
    HostNameCombo.SetText("");
    PortNumberCombo.SetText("");
    RemoteProfilePasswordFrame.SetData("", true, false);
    return;
  }
  if (const int Group = GroupFromPlatform(Profile->GetPlatformName()); Group != -1) PlatformCombo.SetItemIndex(Group);
  HostNameCombo.SetText(Profile->GetHostName());
  PortNumberCombo.SetText(std::to_string(Profile->GetPortNumber()));
  RemoteProfilePasswordFrame.SetData(Profile->GetCredential());
}

bool TRemoteProfilePage::ValidateProperties(std::string& /*Message*/, std::int32_t& Port) {
  if (!SelectedProfile()) return true;
  if (!CheckPortNumber(PortNumberCombo.Text(), Port)) return false;
  if (!CheckHostName(HostNameCombo.Text())) return false;
  if (PlatformCombo.ItemIndex() < 0) {
    ShowMessageDlg(sSpecifyPlatform, TMsgDlgType::mtError, {TMsgDlgBtn::mbOK});
    PlatformCombo.SetVisible(true);
    PlatformCombo.SetFocus();
    return false;
  }
  return true;
}

void TRemoteProfilePage::CommitProperties() {
  const IOTARemoteProfilePtr Profile = SelectedProfile();
  if (!Profile) return;
  std::string Message;
  std::int32_t Port = 0;
  if (!ValidateProperties(Message, Port)) Abort();
  AddToHistory(HostNameCombo);
  AddToHistory(PortNumberCombo);
  Profile->SetPlatformName(PlatformCombo.SelectedPlatform());
  ProfileList.SetItemGroup(ProfileList.ItemIndex(), PlatformCombo.ItemIndex());
  Profile->SetHostName(HostNameCombo.Text());
  Profile->SetPortNumber(Port);
  TOTARemoteProfileCredential Credential;
  RemoteProfilePasswordFrame.GetData(Credential);
  Profile->SetCredential(Credential);
  PropertyEditor.Store(Profile);
}

bool TRemoteProfilePage::ValidatePlatform(const std::string& PlatformName) const {
  return ParentPlatform(PlatformName) == PlatformName;  // the Apple targets have their parent's profiles
}

int TRemoteProfilePage::GroupFromPlatform(const std::string& PlatformName) const {
  return PlatformCombo.IndexOf(PlatformName);
}

void TRemoteProfilePage::AddListItem(const IOTARemoteProfilePtr& Profile, bool Select) {
  const int Group = GroupFromPlatform(Profile->GetPlatformName());
  if (Group == -1) return;
  const int Index = ProfileList.AddItem({Profile->GetName(), Group, Profile});
  if (Select) SelectItem(Index);
}

void TRemoteProfilePage::PlatformComboChange() { CommitProperties(); }

void TRemoteProfilePage::HostNameComboChange() {
  std::string Message;
  std::int32_t Port = 0;
  if (!ValidateProperties(Message, Port)) Abort();
  if (const IOTARemoteProfilePtr Profile = SelectedProfile()) Profile->SetHostName(HostNameCombo.Text());
}

void TRemoteProfilePage::PortNumberComboChange() {
  std::string Message;
  std::int32_t Port = 0;
  if (!ValidateProperties(Message, Port)) Abort();
  if (const IOTARemoteProfilePtr Profile = SelectedProfile()) Profile->SetPortNumber(Port);
}

void TRemoteProfilePage::RemoteProfilePasswordFramePasswordEditChange() {
  const IOTARemoteProfilePtr Profile = SelectedProfile();
  if (!Profile) return;
  TOTARemoteProfileCredential Credential;
  RemoteProfilePasswordFrame.GetData(Credential);
  Profile->SetCredential(Credential);
}

// ---- The list -----------------------------------------------------------------------------

void TRemoteProfilePage::ProfileListDblClick() { SetSelectedAsDefault(); }

void TRemoteProfilePage::ProfileListKeyDown(TKey& Key) {
  switch (Key) {
    case vkSpace: SetSelectedAsDefault(); break;
    case vkInsert: AddButtonClick(); break;
    case vkDelete: DeleteSelected(); break;
    default: return;
  }
  Key = 0;
}

bool TRemoteProfilePage::ProfileListCustomDrawItem(int Index) const {
  if (Index < 0 || Index >= static_cast<int>(ProfileList.ListItems().size()) || !FProfileManager) return false;
  const IOTARemoteProfilePtr& Profile = ProfileList.ListItems()[static_cast<std::size_t>(Index)].Data;
  return Profile == FProfileManager->GetDefaultForPlatform(Profile->GetPlatformName());
}

// ---- Actions ------------------------------------------------------------------------------

void TRemoteProfilePage::CopyActionUpdate() {
  for (TActionItem* Action : {&CopyAction, &RenameAction, &DeleteAction, &ExportProfileAction})
    Action->SetEnabled(SelectedProfile() != nullptr);
}

void TRemoteProfilePage::SetAsDefaultActionUpdate() {
  const int Index = ProfileList.ItemIndex();
  const IOTARemoteProfilePtr Profile = SelectedProfile();
  bool Enabled = Profile != nullptr;
  if (Enabled) {
    const int Group = ProfileList.ListItems()[static_cast<std::size_t>(Index)].GroupID;
    Enabled = Group != GroupFromPlatform("Win32") && Group != GroupFromPlatform("Win64") &&
              FProfileManager->GetDefaultForPlatform(Profile->GetPlatformName()) != Profile;
  }
  SetAsDefaultAction.SetEnabled(Enabled);
}

void TRemoteProfilePage::TestConnectionActionUpdate() {
  TestConnectionAction.SetEnabled(SelectedProfile() && !TrimText(HostNameCombo.Text()).empty() &&
                                  !TrimText(PortNumberCombo.Text()).empty());
}

void TRemoteProfilePage::AddButtonClick() {
  CommitProperties();
  if (!FProfileManager) return;
  const IOTARemoteProfilePtr Profile = FProfileManager->ExecuteNewProfileWizard("", false);
  if (!Profile) return;
  const int Count = static_cast<int>(ProfileList.ListItems().size());
  AddListItem(Profile, false);
  SelectItem(Count);
}

void TRemoteProfilePage::CopyActionExecute() {
  CommitProperties();
  const IOTARemoteProfilePtr Source = SelectedProfile();
  IOTAUserInterfaceServices* Ui = HostUi();
  std::string Name;
  if (!Source || !Ui || !Ui->InputQuery("New Profile", "Enter the name for the new profile", Name)) return;
  if (const IOTARemoteProfilePtr Copy = CopyProfile(*FProfileManager, Source, Name)) AddListItem(Copy, true);
}

void TRemoteProfilePage::RenameActionExecute() {
  CommitProperties();
  const IOTARemoteProfilePtr Profile = SelectedProfile();
  IOTAUserInterfaceServices* Ui = HostUi();
  if (!Profile || !Ui) return;
  std::string Name = TrimText(Profile->GetName());
  if (!Ui->InputQuery("Rename Profile", "Enter the new name for this profile", Name)) return;
  if (RenameProfile(*FProfileManager, Profile, Name, FRenames) != TRenameResult::Renamed) return;
  const int Index = ProfileList.ItemIndex();
  UpdateProperties(Index);
  ProfileList.SetItemCaption(Index, Name);
}

void TRemoteProfilePage::DeleteActionExecute() { DeleteSelected(); }

void TRemoteProfilePage::DeleteSelected() {
  const int Index = ProfileList.ItemIndex();
  const IOTARemoteProfilePtr Profile = SelectedProfile();
  // A profile about to be deleted is not validated first.
  if (!Profile || !DeleteProfile(*FProfileManager, Profile, FRenames)) return;
  ProfileList.DeleteItem(Index);
  ProfileList.SetItemIndex(-1);
  const int Count = static_cast<int>(ProfileList.ListItems().size());
  SelectItem(Index - 1 >= 0 ? Index - 1 : (Count > 0 ? 0 : -1));
}

void TRemoteProfilePage::ExportProfileActionExecute() {
  CommitProperties();
  const IOTARemoteProfilePtr Profile = SelectedProfile();
  IOTAUserInterfaceServices* Ui = HostUi();
  if (!Profile || !Ui) return;
  SaveProfileDialog.Title = Format("Export '%s' Profile", {Profile->GetName()});
  SaveProfileDialog.FileName = Profile->GetName();
  if (!Ui->ExecuteFileDialog(SaveProfileDialog)) return;
  std::string FileName = SaveProfileDialog.FileName;
  ExportProfile(*FProfileManager, Profile, FileName);
}

void TRemoteProfilePage::ImportProfileActionExecute() {
  IOTAUserInterfaceServices* Ui = HostUi();
  if (!FProfileManager || !Ui || !Ui->ExecuteFileDialog(OpenProfileDialog)) return;
  IOTARemoteProfilePtr Profile;
  // A profile of a platform the combo lacks is refused (and reported) by ImportProfile.
  if (ImportProfile(*FProfileManager, OpenProfileDialog.FileName, Profile) != TImportResult::Imported) return;
  const int Existing = ProfileList.IndexOf(Profile);
  if (Existing < 0) {
    AddListItem(Profile, true);
    return;
  }
  // The import replaced a listed profile's contents.
  ProfileList.SetItemGroup(Existing, GroupFromPlatform(Profile->GetPlatformName()));
  if (Existing == ProfileList.ItemIndex())
    UpdateProperties(Existing);
  else
    SelectItem(Existing);
}

void TRemoteProfilePage::SetAsDefaultItemClick() { SetSelectedAsDefault(); }

void TRemoteProfilePage::SetSelectedAsDefault() {
  CommitProperties();
  if (const IOTARemoteProfilePtr Profile = SelectedProfile()) {
    FProfileManager->SetAsDefaultForPlatform(Profile);
    ProfileList.Invalidate();
  }
}

void TRemoteProfilePage::TestConnectionActionExecute() {
  CommitProperties();
  const IOTARemoteProfilePtr Profile = SelectedProfile();
  if (Profile) ShowConnectionTest(*FProfileManager, Profile);
}

void TRemoteProfilePage::PullRemoteFilesActionExecute() {
  CommitProperties();
  const IOTARemoteProfilePtr Profile = SelectedProfile();
  if (!Profile) return;
  FProfileManager->SetPlatformSDK(std::make_shared<TProfileSdk>(Profile));
  FProfileManager->GetProfileFiles(
      Profile, focAsk, nullptr,
      [this](TOTAProgressType Kind, std::int32_t Current, std::int32_t Total, const std::string& Text,
             const std::string& Path, const std::string& File,
             std::int32_t FilePercent) { return UpdateProgress(Kind, Current, Total, Text, Path, File, FilePercent); });
}

bool TRemoteProfilePage::UpdateProgress(TOTAProgressType Kind, std::int32_t Current, std::int32_t Total,
                                        const std::string& Text, const std::string& Path, const std::string& File,
                                        std::int32_t FilePercent) {
  return ::UpdateProgress(Kind, Current, Total, Text, Path, File, FilePercent, true);
}

void RemoteProfileOptionsStartup() {
  if (StartupCount++ > 0) return;
  RegisterPropertySheetClass(kPageClass, [] { return std::make_unique<TRemoteProfilePage>(); });
  if (const auto& Registry = HostServices().Registry) Registry->RegisterPropertySheetClass(kPageClass);
}

void RemoteProfileOptionsShutdown() {
  if (StartupCount == 0 || --StartupCount > 0) return;
  UnregisterPropertySheetClass(kPageClass);
  if (const auto& Registry = HostServices().Registry) Registry->UnregisterPropertySheetClass(kPageClass);
}

// The options page's and the new-profile wizard's profile commands, toolkit-free.
#include "ui/ProfileCommands.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "core/ResourceStrings.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "persistence/DefaultSdkPaths.h"

namespace {

bool IsWindowsPlatform(const std::string& PlatformName) {
  // Exact comparison, as GetDefaultForPlatform makes it.
  return PlatformName == "Win32" || PlatformName == "Win64";
}

void ShowError(const std::string& Text) { ShowMessageDlg(Text, TMsgDlgType::mtError, {TMsgDlgBtn::mbOK}); }

}  // namespace

void LoadHistory(TControl& Combo) {
  IOTAUserInterfaceServices* Ui = HostUi();
  if (Ui && !Combo.HistoryList.empty()) Combo.SetItems(Ui->GetHistory(Combo.HistoryList));
}

void AddToHistory(TControl& Combo) {
  IOTAUserInterfaceServices* Ui = HostUi();
  if (!Ui || Combo.HistoryList.empty() || TrimText(Combo.Text()).empty()) return;
  Ui->AddToHistory(Combo.HistoryList, Combo.Text());
  LoadHistory(Combo);
}

TWaitCursor::TWaitCursor() {
  if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->SetWaitCursor(true);
}

TWaitCursor::~TWaitCursor() {
  if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->SetWaitCursor(false);
}

std::string PathTypeName(TOTAPathItemType Type) {
  switch (Type) {
    case ptIncludePath: return "include";
    case ptLibraryPath: return "library";
    case ptFramework: return "framework";
    case ptOtherPath: return "other";
  }
  return std::to_string(static_cast<int>(Type));
}

void ShowConnectionTest(IOTARemoteProfileServices& Services, const IOTARemoteProfilePtr& Profile) {
  std::string ErrorMessage;
  bool Connected = false;
  {
    TWaitCursor Wait;
    Connected = Services.TestConnection(Profile, ErrorMessage, nullptr);
  }
  ShowMessageDlg(Connected
                     ? Format(sConnectionSucceeded, {Profile->GetHostName(), std::int64_t{Profile->GetPortNumber()}})
                     : ErrorMessage,
                 TMsgDlgType::mtInformation, {TMsgDlgBtn::mbOK});
}

std::string TrimText(const std::string& Text) {
  std::size_t First = 0;
  std::size_t Last = Text.size();
  while (First < Last && static_cast<unsigned char>(Text[First]) <= ' ') ++First;
  while (Last > First && static_cast<unsigned char>(Text[Last - 1]) <= ' ') --Last;
  return Text.substr(First, Last - First);
}

std::vector<std::string> PlatformChoices() {
  std::vector<std::string> Result;
  const IOTAPlatformServicesPtr& Platforms = HostServices().Platforms;
  if (!Platforms) return Result;
  // Hidden in the platform combos of the options page and the wizard: Linux 32-bit, Android,
  // iOS simulator, iOS device.
  static const char* const Hidden[] = {"Linux32", "Android", "iOSSimulator", "iOSDevice"};
  for (const std::string& Name : Platforms->GetAllPlatforms()) {
    if (std::find(std::begin(Hidden), std::end(Hidden), Name) == std::end(Hidden)) Result.push_back(Name);
  }
  return Result;
}

bool IsPlatformChoice(const std::string& PlatformName) {
  const std::vector<std::string> Choices = PlatformChoices();
  return std::find(Choices.begin(), Choices.end(), PlatformName) != Choices.end();
}

TPlatformCombo::TPlatformCombo(TContainer& Owner, std::string Name)
    : TControl(Owner, std::move(Name), TControlKind::ComboBox) {
  std::vector<std::pair<std::string, std::string>> Entries;  // display name, platform
  for (const std::string& Platform : PlatformChoices()) {
    const std::string Display = GetPlatformDisplayName(Platform);
    Entries.emplace_back(Display.empty() ? Platform : Display, Platform);
  }
  std::stable_sort(Entries.begin(), Entries.end());
  std::vector<std::string> Texts;
  for (auto& [Display, Platform] : Entries) {
    Texts.push_back(Display);
    FPlatforms.push_back(Platform);
  }
  SetItems(std::move(Texts));
}

std::string TPlatformCombo::PlatformAt(int Index) const {
  return Index >= 0 && static_cast<std::size_t>(Index) < FPlatforms.size() ? FPlatforms[static_cast<std::size_t>(Index)]
                                                                           : std::string();
}

int TPlatformCombo::IndexOf(const std::string& PlatformName) const {
  const auto Found = std::find(FPlatforms.begin(), FPlatforms.end(), PlatformName);
  return Found == FPlatforms.end() ? -1 : static_cast<int>(Found - FPlatforms.begin());
}

TDefaultCheck DefaultCheckFor(const IOTARemoteProfileServices& Services, const std::string& PlatformName) {
  if (IsWindowsPlatform(PlatformName)) return TDefaultCheck::Hidden;
  return Services.GetProfileCount(PlatformName) > 0 ? TDefaultCheck::Optional : TDefaultCheck::ForcedOn;
}

IOTARemoteProfilePtr CopyProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Source,
                                 const std::string& NewName) {
  if (!Source) return nullptr;
  const std::string Name = TrimText(NewName);
  if (!Manager.ValidateProfileName(Name)) return nullptr;
  // The copy's own path array: the host's arrays are shared by reference.
  const TOTARemoteProfilePathArray Paths(Source->GetPaths().ToVector());
  const std::string SystemRoot = ReplacePathPart(Source->GetSystemRoot(), Source->GetName(), Name);
  return Manager.AddProfile(Name, Source->GetPlatformName(), Source->GetHostName(), Source->GetPortNumber(),
                            Source->GetCredential(), SystemRoot, Paths, false);
}

void TRenameMap::Renamed(const std::string& Old, const std::string& New) {
  const auto HasValueOld = [&](const auto& Entry) { return SameText(Entry.second, Old); };
  if (std::none_of(FEntries.begin(), FEntries.end(), HasValueOld)) {
    FEntries.emplace_back(Old, New);
    return;
  }
  for (auto It = FEntries.begin(); It != FEntries.end();) {
    if (!HasValueOld(*It)) {
      ++It;
    } else if (SameText(It->first, New)) {
      It = FEntries.erase(It);  // the profile got its first name back
    } else {
      It->second = New;
      ++It;
    }
  }
}

void TRenameMap::Deleted(const std::string& Name) {
  std::erase_if(FEntries, [&](const auto& Entry) { return SameText(Entry.second, Name); });
}

TRenameResult RenameProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile,
                            const std::string& NewName, TRenameMap& Renames) {
  if (!Profile) return TRenameResult::Refused;
  const std::string Old = TrimText(Profile->GetName());
  // A change of letter case only is deliberately ignored: names compare without case.
  if (SameText(NewName, Profile->GetName())) return TRenameResult::Unchanged;
  if (!Manager.ValidateProfileName(NewName)) return TRenameResult::Refused;
  Renames.Renamed(Old, NewName);
  Profile->SetName(NewName);
  return TRenameResult::Renamed;
}

bool DeleteProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile, TRenameMap& Renames) {
  if (!Profile) return false;
  const std::string Name = Profile->GetName();
  if (ShowMessageDlg(Format(sDeleteProfileQuestion, {Name}), TMsgDlgType::mtConfirmation,
                     {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo}) != TMsgDlgBtn::mbYes)
    return false;
  Renames.Deleted(Name);
  Manager.RemoveProfile(Profile);
  return true;
}

bool ExportProfile(TRemoteProfileManager& Manager, const IOTARemoteProfilePtr& Profile, std::string& FileName) {
  if (!Profile || FileName.empty()) return false;
  if (!std::filesystem::path(FileName).has_extension()) FileName += ".profile";
  if (std::filesystem::exists(FileName) &&
      ShowMessageDlg(Format(sHostFileOverwrite, {FileName}), TMsgDlgType::mtConfirmation,
                     {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo}) != TMsgDlgBtn::mbYes)
    return false;
  Manager.SaveProfile(Profile, FileName);
  return true;
}

TImportResult ImportProfile(TRemoteProfileManager& Manager, const std::string& FileName,
                            IOTARemoteProfilePtr& Profile) {
  Profile = nullptr;
  // The platform is read first: a profile the page cannot list must not enter the profiles it
  // edits, nor change a held profile of the same name. An iOS target's profile is its Mac's.
  TRAClientFactory* Library = TRAClientFactory::GetInstance();
  const std::unique_ptr<TRAClientProfile> Reader = Library ? Library->CreateProfile() : nullptr;
  std::error_code Ignored;
  if (!Reader || !std::filesystem::exists(FileName, Ignored) || !Reader->ReadProfileSettings(FileName))
    return TImportResult::NotTaken;
  if (!IsPlatformChoice(ParentPlatform(Reader->GetPlatform()))) {
    ShowError(sImportedInvalidPlatform);
    return TImportResult::InvalidPlatform;
  }
  Profile = Manager.LoadProfile(FileName);
  return Profile ? TImportResult::Imported : TImportResult::NotTaken;
}

TRemoteProfileManagerPtr MakeWorkingCopy(const TRemoteProfileManagerPtr& Live) {
  TRemoteProfileManagerPtr Copy = TRemoteProfileManager::CreateWorkingCopy();
  if (Live) Copy->Assign(Live);
  return Copy;
}

void CommitWorkingCopy(TRemoteProfileManager& Live, const TRemoteProfileManagerPtr& Copy, const TRenameMap& Renames) {
  Live.NotifyRenames(Renames.Entries());
  Live.Assign(Copy);
  Live.WriteEnvOptions();
}

bool CheckPortNumber(const std::string& Text, std::int32_t& Port) {
  const std::string Trimmed = TrimText(Text);
  std::int64_t Value = -1;
  const char* End = Trimmed.data() + Trimmed.size();
  const auto [Ptr, Error] = std::from_chars(Trimmed.data(), End, Value);
  if (Trimmed.empty() || Error != std::errc() || Ptr != End || Value < 0 || Value > 65535) {
    ShowError(Format(sHostInvalidPort, {Text}));
    return false;
  }
  Port = static_cast<std::int32_t>(Value);
  return true;
}

bool CheckHostName(const std::string& Text) {
  if (!TrimText(Text).empty()) return true;
  ShowError(sHostNameBlank);
  return false;
}

bool CheckPathItem(const TOTARemoteProfilePathItem& Item) {
  if (!TrimText(Item.Path).empty() && !TrimText(Item.Mask).empty()) return true;
  ShowError(sHostPathItemBlank);
  return false;
}

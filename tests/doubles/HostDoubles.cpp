#include "doubles/HostDoubles.h"

#include <cstdlib>
#include <unistd.h>

#include "core/RemoteProfileManager.h"

TMsgDlgBtn TMessageBoxDouble::MessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons) {
  Shown.push_back({Text, Kind, Buttons});
  if (Answers.empty()) {
    ++UnscriptedAnswers;
    return Buttons.empty() ? TMsgDlgBtn::mbOK : Buttons.front();
  }
  const TMsgDlgBtn Answer = Answers.front();
  Answers.pop_front();
  return Answer;
}

namespace {
class TPlatformDouble : public IOTAPlatform {
 public:
  explicit TPlatformDouble(TPlatformServicesDouble::TPlatformInfo Info) : FInfo(std::move(Info)) {}
  std::string GetName() const override { return FInfo.Name; }
  std::string GetDisplayName() const override { return FInfo.DisplayName; }
  bool ProfileRequiredToCompile(const std::string&) const override { return FInfo.NeedsProfileToCompile; }
  bool ProfileRequiredToRun(const std::string&) const override { return FInfo.NeedsProfileToRun; }

 private:
  TPlatformServicesDouble::TPlatformInfo FInfo;
};
}  // namespace

TPlatformServicesDouble::TPlatformServicesDouble()
    : Platforms{{"Win32", "32-bit Windows", false, false},
                {"Win64", "64-bit Windows", false, false},
                {"OSX32", "32-bit OS X", true, true},
                {"iOSDevice", "iOS Device", true, true},
                {"iOSSimulator", "iOS Simulator", true, true},
                {"Android", "Android", false, true},
                {"Linux64", "64-bit Linux", true, true}} {}

std::vector<std::string> TPlatformServicesDouble::GetAllPlatforms() const {
  ++Calls;
  std::vector<std::string> Names;
  for (const auto& P : Platforms) Names.push_back(P.Name);
  return Names;
}

IOTAPlatformPtr TPlatformServicesDouble::GetPlatform(const std::string& PlatformName) const {
  ++Calls;
  for (const auto& P : Platforms)
    if (P.Name == PlatformName) return std::make_shared<TPlatformDouble>(P);
  return nullptr;
}

TEnvironmentDouble::TEnvironmentDouble(std::filesystem::path Root) {
  std::filesystem::create_directories(Root / "appdata");
  std::filesystem::create_directories(Root / "documents");
  AppDataDir = (Root / "appdata").string();
  DocumentsDir = (Root / "documents").string();
}

std::string TEnvironmentDouble::GetVariable(const std::string& Name) const {
  auto It = Variables.find(Name);
  return It == Variables.end() ? std::string() : It->second;
}

void TEnvironmentDouble::AddVariable(const std::string& Name, const std::string& DefaultValue) {
  Declared.emplace_back(Name, DefaultValue);
  Variables.try_emplace(Name, DefaultValue);
}

std::string TEnvironmentDouble::ExpandRootMacro(const std::string& Text) const {
  std::string Result;
  for (std::size_t I = 0; I < Text.size();) {
    const std::size_t Open = Text.find("$(", I);
    const std::size_t Close = Open == std::string::npos ? Open : Text.find(')', Open);
    if (Close == std::string::npos) {
      Result += Text.substr(I);
      break;
    }
    Result += Text.substr(I, Open - I);
    Result += GetVariable(Text.substr(Open + 2, Close - Open - 2));
    I = Close + 1;
  }
  return Result;
}

IOTAProjectPlatformsPtr TProjectDouble::GetProjectPlatforms() {
  if (!OffersPlatforms || !Self) return nullptr;
  return std::shared_ptr<IOTAProjectPlatforms>(Self, static_cast<IOTAProjectPlatforms*>(this));
}

std::string TProjectDouble::GetProfile(const std::string& PlatformName) const {
  auto It = Profiles.find(PlatformName);
  return It == Profiles.end() ? std::string() : It->second;
}

void TProjectDouble::SetProfile(const std::string& PlatformName, const std::string& ProfileName) {
  Profiles[PlatformName] = ProfileName;
}

IOTAProjectGroupPtr TProjectServicesDouble::GetMainProjectGroup() const {
  if (!GroupOpen) return nullptr;
  auto Strong = Self.lock();
  return Strong ? std::shared_ptr<IOTAProjectGroup>(Strong, static_cast<IOTAProjectGroup*>(Strong.get())) : nullptr;
}

std::shared_ptr<TProjectDouble> TProjectServicesDouble::AddProject(const std::string& FileName, bool OffersPlatforms) {
  auto Project = std::make_shared<TProjectDouble>(FileName, OffersPlatforms);
  Project->Self = Project;  // a test-lifetime cycle; the fixture clears it
  Projects.push_back(Project);
  return Project;
}

std::filesystem::path MakeTempDir(const std::string& Tag) {
  std::string Pattern = (std::filesystem::temp_directory_path() / ("zeph-" + Tag + "-XXXXXX")).string();
  if (!mkdtemp(Pattern.data())) throw std::runtime_error("mkdtemp failed");
  return Pattern;
}

void THostFixture::SetUp() {
  TempDir = MakeTempDir("test");
  Ini = std::make_shared<TMemIniFile>();
  Messages = std::make_shared<TMessageBoxDouble>();
  Platforms = std::make_shared<TPlatformServicesDouble>();
  Environment = std::make_shared<TEnvironmentDouble>(TempDir);
  EnvFile = std::make_shared<TEnvFileWriterDouble>();
  Projects = std::make_shared<TProjectServicesDouble>();
  Projects->Self = Projects;
  Host.AppIniFile = Ini;
  Host.Platforms = Platforms;
  Host.Messages = Messages;
  Host.Projects = Projects;
  Host.EnvFileWriter = EnvFile;
  Host.Environment = Environment;
  FPrevious = SetHostServices(Host);
  ResetRemoteProfileMgrForTesting();
  TRemoteProfileManager::FDisableNotifications = false;
}

void THostFixture::Reinstall() { SetHostServices(Host); }

void THostFixture::TearDown() {
  ResetRemoteProfileMgrForTesting();
  SetHostServices(FPrevious);
  for (auto& P : Projects->Projects) P->Self.reset();
  std::error_code Ignored;
  std::filesystem::remove_all(TempDir, Ignored);
}

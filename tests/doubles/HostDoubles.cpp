#include "doubles/HostDoubles.h"

#include <cstdlib>

#include "core/RemoteProfileManager.h"

TMsgDlgBtn TMessageBoxDouble::MessageDlg(const std::string& Text, TMsgDlgType Kind, const TMsgDlgButtons& Buttons) {
  Shown.push_back({Text, Kind, Buttons});
  if (Answers.empty()) return Buttons.empty() ? TMsgDlgBtn::mbOK : Buttons.front();
  const TMsgDlgBtn Answer = Answers.front();
  Answers.pop_front();
  return Answer;
}

namespace {
struct TPlatformDouble : IOTAPlatform {
  TPlatformDouble(std::string Name, std::string Display) : Name(std::move(Name)), Display(std::move(Display)) {}
  std::string GetName() const override { return Name; }
  std::string GetDisplayName() const override { return Display; }
  bool ProfileRequiredToCompile(const std::string&) const override { return false; }
  bool ProfileRequiredToRun(const std::string&) const override { return false; }
  std::string Name, Display;
};
}  // namespace

std::vector<std::string> TPlatformServicesDouble::GetAllPlatforms() const {
  std::vector<std::string> Names;
  for (const auto& P : Platforms) Names.push_back(P.first);
  return Names;
}

IOTAPlatformPtr TPlatformServicesDouble::GetPlatform(const std::string& PlatformName) const {
  for (const auto& [Name, Display] : Platforms)
    if (Name == PlatformName) return std::make_shared<TPlatformDouble>(Name, Display);
  return nullptr;
}

TEnvironmentDouble::TEnvironmentDouble(const std::filesystem::path& Root)
    : AppDataDir((Root / "appdata").string()), DocumentsDir((Root / "documents").string()) {
  std::filesystem::create_directories(AppDataDir);
  std::filesystem::create_directories(DocumentsDir);
}

std::string TEnvironmentDouble::ExpandRootMacro(const std::string& Text) const {
  std::string Result;
  std::size_t I = 0, Open = 0, Close = 0;
  while ((Open = Text.find("$(", I)) != std::string::npos && (Close = Text.find(')', Open)) != std::string::npos) {
    Result += Text.substr(I, Open - I) + GetVariable(Text.substr(Open + 2, Close - Open - 2));
    I = Close + 1;
  }
  return Result + Text.substr(I);
}

TNames NamesOf(const TRemoteProfileManager& Manager, const std::string& Platform) {
  TNames Names;
  for (std::int32_t I = 0; I < Manager.GetProfileCount(Platform); ++I)
    Names.push_back(Manager.GetProfile(Platform, I)->GetName());
  return Names;
}

std::filesystem::path MakeTempDir(const std::string& Tag) {
  std::string Pattern = (std::filesystem::temp_directory_path() / ("zeph-" + Tag + "-XXXXXX")).string();
  if (!mkdtemp(Pattern.data())) throw std::runtime_error("mkdtemp failed");
  return Pattern;
}

void THostFixture::SetUp() {
  TempDir = MakeTempDir("test");
  Host.AppIniFile = Ini = std::make_shared<TMemIniFile>();
  Host.Messages = Messages = std::make_shared<TMessageBoxDouble>();
  Host.Platforms = Platforms = std::make_shared<TPlatformServicesDouble>();
  Host.Environment = Environment = std::make_shared<TEnvironmentDouble>(TempDir);
  Host.EnvFileWriter = EnvFile = std::make_shared<TEnvFileWriterDouble>();
  Host.Projects = Projects = std::make_shared<TProjectServicesDouble>();
  FPrevious = SetHostServices(Host);
  ResetRemoteProfileMgrForTesting();
  TRemoteProfileManager::FDisableNotifications = false;
}

void THostFixture::TearDown() {
  ResetRemoteProfileMgrForTesting();
  TRemoteProfileManager::FDisableNotifications = false;
  SetHostServices(FPrevious);
  std::error_code Ignored;
  std::filesystem::remove_all(TempDir, Ignored);
}

void THostFixture::ExpectOneMessage(const std::string& Text, TMsgDlgType Kind) {
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, Text);
  EXPECT_EQ(Messages->Shown[0].Kind, Kind);
  Messages->Shown.clear();
}

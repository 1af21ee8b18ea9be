#include "hosts/linux/LinuxProjects.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <stdexcept>

#include "hosts/linux/EnvFileXml.h"
#include "hosts/linux/HostAtomicWrite.h"

namespace fs = std::filesystem;

namespace {

const char kStateInput[] = "zeph-state-input:";
const char kStateOutput[] = "zeph-state-output:";

/// A project that imports ProjectName (in its own folder, so relative items mean the same)
/// and whose one target prints the full paths the Build target's Inputs and Outputs expand to.
std::string StateProject(const std::string& ProjectName, const std::string& Inputs, const std::string& Outputs) {
  using LinuxHost::XmlEscape;
  return "<Project DefaultTargets=\"ZephCompileState\" "
         "xmlns=\"http://schemas.microsoft.com/developer/msbuild/2003\">\n"
         "  <Import Project=\"" +
         XmlEscape(ProjectName) +
         "\"/>\n"
         "  <Target Name=\"ZephCompileState\">\n"
         "    <ItemGroup>\n"
         "      <ZephStateInput Include=\"" +
         XmlEscape(Inputs) +
         "\"/>\n"
         "      <ZephStateOutput Include=\"" +
         XmlEscape(Outputs) +
         "\"/>\n"
         "    </ItemGroup>\n"
         "    <Message Importance=\"high\" Text=\"" +
         kStateInput +
         "%(ZephStateInput.FullPath)\"/>\n"
         "    <Message Importance=\"high\" Text=\"" +
         kStateOutput +
         "%(ZephStateOutput.FullPath)\"/>\n"
         "  </Target>\n"
         "</Project>\n";
}

/// The paths after Marker on the lines of the engine's output.
std::vector<std::string> PathsAfter(const std::string& Output, const std::string& Marker) {
  std::vector<std::string> Paths;
  for (std::size_t At = Output.find(Marker); At != std::string::npos; At = Output.find(Marker, At + 1)) {
    const std::size_t Start = At + Marker.size(), End = Output.find_first_of("\r\n", Start);
    if (End > Start) Paths.push_back(Output.substr(Start, End == std::string::npos ? End : End - Start));
  }
  return Paths;
}

}  // namespace

std::shared_ptr<TLinuxProject> TLinuxProject::Open(const std::string& FileName,
                                                   std::shared_ptr<TLinuxBuildServices> Engine, std::string& Error) {
  auto Project = std::make_shared<TLinuxProject>();
  if (!Project->FFile.Load(fs::absolute(FileName).lexically_normal().string(), Error)) return nullptr;
  Project->FEngine = std::move(Engine);
  return Project;
}

std::string TLinuxProject::GetCurrentPlatform() const { return FPlatform.empty() ? FFile.DefaultPlatform : FPlatform; }

std::string TLinuxProject::GetActiveConfigurationName() const {
  return FConfig.empty() ? FFile.DefaultConfig : FConfig;
}

void TLinuxProject::SetProfile(const std::string& PlatformName, const std::string& ProfileName) {
  if (FFile.GetProfile(PlatformName) == ProfileName) return;
  if (FFile.SetProfile(PlatformName, ProfileName)) FModified = true;
}

bool TLinuxProject::GetSupported(const std::string& PlatformName) const {
  return std::find(FFile.Platforms.begin(), FFile.Platforms.end(), PlatformName) != FFile.Platforms.end();
}

int TLinuxProject::GetCompileState(const std::string& Config, const std::string& Platform) {
  const std::string ConfigName = Config.empty() && Platform.empty() ? GetActiveConfigurationName() : Config;
  const std::string PlatformName = Config.empty() && Platform.empty() ? GetCurrentPlatform() : Platform;
  if (!GetSupported(PlatformName)) return 4;
  if (FFile.BuildOutputs.empty()) return 0;  // nothing declared to build (or no Build target)
  if (!FEngine) return 3;
  const std::string Properties = "Config=" + ConfigName + ";Platform=" + PlatformName;
  std::string Output, Error;
  if (Config.empty() && Platform.empty())
    FEngine->Engine().Run(FFile.GetFileName(), "Build", Properties, nullptr, Error);

  // The engine expands the declared items; a state project beside the project imports it.
  const fs::path File(FFile.GetFileName());
  std::string StateName = (File.parent_path() / ".zeph-state-XXXXXX.proj").string();
  const int Fd = ::mkstemps(StateName.data(), 5);
  if (Fd < 0) return 3;
  const std::string Text = StateProject(File.filename().string(), FFile.BuildInputs, FFile.BuildOutputs);
  const bool Written = ::write(Fd, Text.data(), Text.size()) == static_cast<ssize_t>(Text.size());
  ::close(Fd);
  const int Status = Written ? FEngine->Engine().Run(StateName, "ZephCompileState", Properties, &Output, Error) : -1;
  ::unlink(StateName.c_str());
  if (Status != 0) return 3;

  const auto ModifiedAt = [](const std::string& Path, bool& Exists) {
    std::error_code Failed;
    const auto Time = fs::last_write_time(Path, Failed);
    Exists = !Failed;
    return Time;
  };
  const std::vector<std::string> Outputs = PathsAfter(Output, kStateOutput);
  fs::file_time_type OldestOutput = fs::file_time_type::max();
  int Missing = 0;
  for (const std::string& Path : Outputs) {
    bool Exists = false;
    const auto Time = ModifiedAt(Path, Exists);
    if (Exists) OldestOutput = std::min(OldestOutput, Time);
    Missing += Exists ? 0 : 1;
  }
  if (Outputs.empty()) return 0;
  if (Missing == static_cast<int>(Outputs.size())) return 1;
  if (Missing > 0) return 2;
  for (const std::string& Path : PathsAfter(Output, kStateInput)) {
    bool Exists = false;
    if (ModifiedAt(Path, Exists) > OldestOutput || !Exists) return 2;
  }
  return 0;
}

bool TLinuxProject::SaveFile(std::string& Error) {
  const LinuxHost::TAtomicWriteResult Result = LinuxHost::AtomicWriteFile(FFile.GetFileName(), FFile.GetText(), 0644);
  if (!Result.Ok()) {
    Error = "Project file '" + FFile.GetFileName() + "' was not written: " + Result.Error;
    return false;
  }
  FModified = false;
  return true;
}

void TLinuxProject::Save() {
  std::string Error;
  if (!SaveFile(Error)) throw std::runtime_error(Error);
}

std::shared_ptr<TLinuxProjectServices> TLinuxProjectServices::OpenGroup(const std::string& FileName,
                                                                        std::shared_ptr<TLinuxBuildServices> Engine,
                                                                        TNoticeFunc Notice, std::string& Error) {
  std::ifstream In(FileName, std::ios::binary);
  const std::string Text((std::istreambuf_iterator<char>(In)), std::istreambuf_iterator<char>());
  pugi::xml_document Document;
  const pugi::xml_parse_result Parsed = Document.load_buffer(Text.data(), Text.size());
  if (!In || !Parsed || !Document.child("Project")) {
    Error = !In ? "Cannot read project group '" + FileName + "'"
                : "Project group '" + FileName + "', line " +
                      std::to_string(LinuxHost::LineAt(Text, static_cast<std::size_t>(Parsed.offset))) + ": " +
                      (Parsed ? "no <Project> element" : Parsed.description());
    return nullptr;
  }
  auto Services = std::make_shared<TLinuxProjectServices>();
  Services->FNotice = std::move(Notice);
  const fs::path Dir = fs::absolute(FileName).parent_path();
  for (const pugi::xml_node& Group : Document.child("Project").children("ItemGroup"))
    for (const pugi::xml_node& Item : Group.children("Projects")) {
      const fs::path Listed = Item.attribute("Include").value();
      TLinuxProjectPtr Project = TLinuxProject::Open((Dir / Listed).string(), Engine, Error);
      if (!Project) {
        Error = "Project group '" + FileName + "': " + Error;
        return nullptr;
      }
      Services->FProjects.push_back(std::move(Project));
    }
  return Services;
}

IOTAProjectGroupPtr TLinuxProjectServices::GetMainProjectGroup() const {
  return std::const_pointer_cast<TLinuxProjectServices>(shared_from_this());
}

IOTAProjectPtr TLinuxProjectServices::GetProject(int Index) const {
  return Index >= 0 && Index < GetProjectCount() ? FProjects[static_cast<std::size_t>(Index)] : nullptr;
}

void TLinuxProjectServices::EndUpdate() {
  if (FUpdates == 0 || --FUpdates > 0) return;
  for (const TLinuxProjectPtr& Project : FProjects) {
    std::string Error;
    if (Project->GetModified() && !Project->SaveFile(Error) && FNotice) FNotice(Error);
  }
}

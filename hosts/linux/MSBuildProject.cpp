#include "hosts/linux/MSBuildProject.h"

#include <algorithm>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>

#include "hosts/linux/EnvFileXml.h"

namespace LinuxHost {
namespace {

/// A condition with its blanks removed, so "'$(Config)' == ''" and "'$(Config)'==''" agree.
std::string Compact(std::string Text) {
  Text.erase(std::remove_if(Text.begin(), Text.end(), [](char C) { return C == ' ' || C == '\t'; }), Text.end());
  return Text;
}

/// The text of the first <Name Condition="'$(Name)'==''"> property of the file's property groups.
std::string DefaultProperty(const pugi::xml_node& Project, const std::string& Name) {
  const std::string Condition = "'$(" + Name + ")'==''";
  for (const pugi::xml_node& Group : Project.children("PropertyGroup"))
    for (const pugi::xml_node& Property : Group.children(Name.c_str()))
      if (Compact(Property.attribute("Condition").value()) == Condition) return Property.text().get();
  return {};
}

/// An attribute value as written between Quote characters.
std::string AttributeText(const std::string& Value, char Quote) {
  std::string Out = XmlEscape(Value);
  if (Quote == '\'')
    for (std::size_t At = 0; (At = Out.find('\'', At)) != std::string::npos; At += 6) Out.replace(At, 1, "&apos;");
  return Out;
}

}  // namespace

std::size_t LineAt(const std::string& Text, std::size_t Offset) {
  return 1 + static_cast<std::size_t>(std::count(Text.begin(), Text.begin() + std::min(Offset, Text.size()), '\n'));
}

bool TMSBuildProjectFile::Load(const std::string& FileName, std::string& Error) {
  std::ifstream In(FileName, std::ios::binary);
  if (!In) {
    Error = "Cannot read project file '" + FileName + "'";
    return false;
  }
  std::ostringstream Text;
  Text << In.rdbuf();
  return Parse(FileName, Text.str(), Error);
}

bool TMSBuildProjectFile::Parse(std::string FileName, std::string Text, std::string& Error) {
  FFileName = std::move(FileName);
  FText = std::move(Text);
  pugi::xml_document Document;
  const pugi::xml_parse_result Parsed =
      Document.load_buffer(FText.data(), FText.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!Parsed) {
    Error = "Project file '" + FFileName + "', line " +
            std::to_string(LineAt(FText, static_cast<std::size_t>(Parsed.offset))) + ": " + Parsed.description();
    return false;
  }
  const pugi::xml_node Project = Document.child("Project");
  if (!Project) {
    Error = "Project file '" + FFileName + "' is not an MSBuild project (no <Project> element)";
    return false;
  }
  const pugi::xml_node Entry = Project.child("ProjectExtensions").child("Zephprof");
  ProjectType = Entry.child("ProjectType").text().get();
  FEntries.clear();
  Platforms.clear();
  for (const pugi::xml_node& Platform : Entry.child("Platforms").children("Platform")) {
    const std::string Name = Platform.attribute("Name").value();
    const std::ptrdiff_t Offset = Platform.offset_debug();  // of the name, just after '<'
    if (Name.empty() || Offset < 1) continue;
    FEntries.push_back({Name, Platform.attribute("Profile").value(), static_cast<std::size_t>(Offset - 1)});
    Platforms.push_back(Name);
  }
  DefaultConfig = DefaultProperty(Project, "Config");
  DefaultPlatform = DefaultProperty(Project, "Platform");
  if (DefaultPlatform.empty() && !Platforms.empty()) DefaultPlatform = Platforms.front();
  const pugi::xml_node Build = Project.find_child_by_attribute("Target", "Name", "Build");
  BuildInputs = Build.attribute("Inputs").value();
  BuildOutputs = Build.attribute("Outputs").value();
  return true;
}

std::string TMSBuildProjectFile::GetProfile(const std::string& PlatformName) const {
  for (const TPlatformEntry& Entry : FEntries)
    if (Entry.Name == PlatformName) return Entry.Profile;
  return {};
}

bool TMSBuildProjectFile::SetProfile(const std::string& PlatformName, const std::string& ProfileName) {
  const auto Entry =
      std::find_if(FEntries.begin(), FEntries.end(), [&](const TPlatformEntry& E) { return E.Name == PlatformName; });
  if (Entry == FEntries.end()) return false;
  // Walk the start tag's attributes (the parser has checked them) to find Profile's value,
  // or the end of the last attribute, where a new one goes.
  std::size_t Pos = FText.find_first_of(" \t\r\n/>", Entry->TagOffset);
  std::size_t AfterLast = Pos;
  bool Replaced = false;
  while (!Replaced) {
    Pos = FText.find_first_not_of(" \t\r\n", Pos);
    if (FText[Pos] == '/' || FText[Pos] == '>') break;
    const std::string Name = FText.substr(Pos, FText.find_first_of(" \t\r\n=", Pos) - Pos);
    const std::size_t Open = FText.find_first_of("\"'", FText.find('=', Pos));
    const std::size_t Close = FText.find(FText[Open], Open + 1);
    if ((Replaced = Name == "Profile"))
      FText.replace(Open + 1, Close - Open - 1, AttributeText(ProfileName, FText[Open]));
    Pos = AfterLast = Close + 1;
  }
  if (!Replaced) FText.insert(AfterLast, " Profile=\"" + AttributeText(ProfileName, '"') + "\"");
  std::string Ignored;
  return Parse(FFileName, FText, Ignored);  // the entries after it have moved
}

}  // namespace LinuxHost

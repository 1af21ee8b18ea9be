#include "hosts/linux/LinuxEnvironment.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <string_view>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace LinuxHost {
namespace {

/// An environment variable's value, or "" when unset.
std::string Env(const char* Name) {
  const char* Value = std::getenv(Name);
  return Value ? Value : "";
}

/// An XDG base directory: the variable when it holds an absolute path (the XDG rule:
/// relative values are ignored), else HOME + Fallback.
std::string XdgDir(const char* Variable, const std::string& Fallback) {
  const std::string Value = Env(Variable);
  if (!Value.empty() && Value[0] == '/') return Value;
  return HomeDir() + "/" + Fallback;
}

/// XDG_DOCUMENTS_DIR="$HOME/Docs" from user-dirs.dirs (the xdg-user-dirs file), or "".
std::string DocumentsDirFromUserDirs() {
  std::ifstream In(XdgDir("XDG_CONFIG_HOME", ".config") + "/user-dirs.dirs");
  const std::string_view Key = "XDG_DOCUMENTS_DIR=\"";
  for (std::string Line; std::getline(In, Line);) {
    if (Line.compare(0, Key.size(), Key) != 0 || Line.size() < Key.size() + 1 || Line.back() != '"') continue;
    std::string Value = Line.substr(Key.size(), Line.size() - Key.size() - 1);
    if (Value.compare(0, 5, "$HOME") == 0) Value = HomeDir() + Value.substr(5);
    if (!Value.empty() && Value[0] == '/') return Value;
  }
  return {};
}

}  // namespace

void MakeDirectories(const std::string& Dir, mode_t Mode) {
  struct stat Info {};
  if (Dir.empty() || ::stat(Dir.c_str(), &Info) == 0) return;
  const std::size_t Slash = Dir.find_last_of('/');
  if (Slash != std::string::npos && Slash > 0) MakeDirectories(Dir.substr(0, Slash), Mode);
  ::mkdir(Dir.c_str(), Mode);
}

std::string HomeDir() {
  const std::string Home = Env("HOME");
  if (!Home.empty()) return Home;
  if (const passwd* Entry = ::getpwuid(::getuid()); Entry && Entry->pw_dir) return Entry->pw_dir;
  return "/";
}

std::string DefaultSettingsFileName() {
  return XdgDir("XDG_CONFIG_HOME", ".config") + "/" + ProductFolder + "/settings.ini";
}

std::string DefaultAppDataDir() { return XdgDir("XDG_DATA_HOME", ".local/share") + "/" + ProductFolder; }

std::string DefaultBaseDocumentsDir() {
  std::string Documents = Env("XDG_DOCUMENTS_DIR");
  if (Documents.empty() || Documents[0] != '/') Documents = DocumentsDirFromUserDirs();
  if (Documents.empty()) Documents = HomeDir() + "/Documents";
  return Documents + "/" + ProductFolder;
}

}  // namespace LinuxHost

TLinuxEnvironment::TLinuxEnvironment(const TLinuxEnvironmentOptions& Options)
    : FAppDataDir(Options.AppDataDir.empty() ? LinuxHost::DefaultAppDataDir() : Options.AppDataDir),
      FBaseDocumentsDir(Options.BaseDocumentsDir.empty() ? LinuxHost::DefaultBaseDocumentsDir()
                                                         : Options.BaseDocumentsDir) {}

std::string TLinuxEnvironment::fnAppDataDir() const {
  LinuxHost::MakeDirectories(FAppDataDir, 0700);
  return FAppDataDir;
}

std::string TLinuxEnvironment::fnBaseDocumentsDir() const { return FBaseDocumentsDir; }

std::string TLinuxEnvironment::GetVariable(const std::string& Name) const {
  if (const char* Value = std::getenv(Name.c_str())) return Value;
  auto It = FDeclared.find(Name);
  return It == FDeclared.end() ? std::string() : It->second;
}

void TLinuxEnvironment::AddVariable(const std::string& Name, const std::string& DefaultValue) {
  FDeclared[Name] = DefaultValue;
}

bool TLinuxEnvironment::IsVariableSet(const std::string& Name) const { return std::getenv(Name.c_str()) != nullptr; }

bool TLinuxEnvironment::IsKnown(const std::string& Name) const {
  return IsVariableSet(Name) || FDeclared.count(Name) != 0;
}

std::string TLinuxEnvironment::ExpandRootMacro(const std::string& Text) const {
  std::string Result;
  std::size_t I = 0;
  while (I < Text.size()) {
    const std::size_t Open = Text.find("$(", I);
    const std::size_t Close = Open == std::string::npos ? Open : Text.find(')', Open + 2);
    if (Close == std::string::npos) break;
    Result.append(Text, I, Open - I);
    const std::string Name = Text.substr(Open + 2, Close - Open - 2);
    if (!Name.empty() && IsKnown(Name))
      Result += GetVariable(Name);
    else
      Result.append(Text, Open, Close - Open + 1);
    I = Close + 1;
  }
  Result.append(Text, I, std::string::npos);
  return Result;
}

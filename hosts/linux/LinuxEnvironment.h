// The reference host's environment: XDG directories of the product "zephprof", the
// environment-variable list and root macros. Choices recorded in docs/DECISIONS.md.
#pragma once

#include <map>
#include <string>

#include <sys/types.h>

#include "host/Environment.h"

namespace LinuxHost {

/// The product folder under the XDG base directories.
inline constexpr const char* ProductFolder = "zephprof";

/// $XDG_CONFIG_HOME (an absolute path; else ~/.config) + "/zephprof/settings.ini".
std::string DefaultSettingsFileName();
/// $XDG_DATA_HOME (an absolute path; else ~/.local/share) + "/zephprof".
std::string DefaultAppDataDir();
/// The XDG documents directory ($XDG_DOCUMENTS_DIR, else its entry in
/// $XDG_CONFIG_HOME/user-dirs.dirs, else ~/Documents) + "/zephprof".
std::string DefaultBaseDocumentsDir();
/// $HOME, else the password database's home directory of the user.
std::string HomeDir();
/// mkdir -p; every directory it creates gets Mode. Failures are left to the first write.
void MakeDirectories(const std::string& Dir, mode_t Mode);

}  // namespace LinuxHost

/// Directories to use instead of the XDG defaults; an empty member keeps the default.
struct TLinuxEnvironmentOptions {
  std::string AppDataDir;
  std::string BaseDocumentsDir;
};

class TLinuxEnvironment : public IOTAEnvironment {
 public:
  explicit TLinuxEnvironment(const TLinuxEnvironmentOptions& Options = {});
  /// Created (mode 0700, parents too) when missing; answered even when that fails, so the
  /// failure shows where a file is written into it.
  std::string fnAppDataDir() const override;
  /// Not created: nothing is written there unless a user chooses it.
  std::string fnBaseDocumentsDir() const override;
  /// The process environment's value; else the default declared by AddVariable; else "".
  std::string GetVariable(const std::string& Name) const override;
  /// Declares a default; a variable set in the process environment wins over it.
  void AddVariable(const std::string& Name, const std::string& DefaultValue) override;
  /// Set in the process environment.
  bool IsVariableSet(const std::string& Name) const override;
  /// Replaces "$(NAME)" by GetVariable(NAME) when NAME is set or declared; an unknown
  /// macro, or "$(" without ")", is left as it is.
  std::string ExpandRootMacro(const std::string& Text) const override;

  /// The declared defaults, in name order (for a front end's "variables" listing).
  const std::map<std::string, std::string>& GetDeclaredVariables() const { return FDeclared; }

 private:
  bool IsKnown(const std::string& Name) const;
  std::string FAppDataDir;
  std::string FBaseDocumentsDir;
  std::map<std::string, std::string> FDeclared;
};

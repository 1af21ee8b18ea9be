// The host environment: directories, the environment variable list and root macros.
#pragma once

#include <memory>
#include <string>

class IOTAEnvironment {
 public:
  virtual ~IOTAEnvironment() = default;
  /// The host's per-user application-data directory (profile files, default-path files).
  virtual std::string fnAppDataDir() const = 0;
  /// The user's base documents directory of the host.
  virtual std::string fnBaseDocumentsDir() const = 0;
  /// The value of an environment variable as the host sees it ("" when unset).
  virtual std::string GetVariable(const std::string& Name) const = 0;
  /// Declares a variable with its default value in the host's variable list (start-up declares ZEPHPROFILESDIR).
  virtual void AddVariable(const std::string& Name, const std::string& DefaultValue) = 0;
  /// Whether the user set the variable, rather than only its declared default standing.
  virtual bool IsVariableSet(const std::string& Name) const = 0;
  /// Expands the host's root macros ("$(NAME)") in Text (a profile's local root, when its client is made).
  virtual std::string ExpandRootMacro(const std::string& Text) const = 0;
};
using IOTAEnvironmentPtr = std::shared_ptr<IOTAEnvironment>;

// An MSBuild project file as the reference host reads and edits it (docs/project-file-format.md):
// the default configuration and platform the file sets for a build that names none, its
// ProjectExtensions entry (project type, platforms, the profile assigned per platform), and
// the Inputs and Outputs its "Build" target declares. A profile is written back into the
// text in place, so everything else in the file stays byte for byte.
#pragma once

#include <string>
#include <vector>

namespace LinuxHost {

class TMSBuildProjectFile {
 public:
  /// Reads FileName; false with Error naming the file (and the line, for bad XML).
  bool Load(const std::string& FileName, std::string& Error);
  /// Parses Text as the file FileName; false with Error as Load.
  bool Parse(std::string FileName, std::string Text, std::string& Error);

  const std::string& GetFileName() const { return FFileName; }
  /// The file's text, with the profiles set since it was read.
  const std::string& GetText() const { return FText; }

  std::string ProjectType;
  std::string DefaultConfig;    ///< <Config Condition="'$(Config)'==''">
  std::string DefaultPlatform;  ///< <Platform Condition="'$(Platform)'==''">, else the first listed
  std::vector<std::string> Platforms;
  std::string BuildInputs, BuildOutputs;  ///< the "Build" target's attributes, as written ("" without one)

  /// The profile assigned for PlatformName ("" when none or not a platform of the file).
  std::string GetProfile(const std::string& PlatformName) const;
  /// Sets the Profile attribute of the platform's entry in the text (added when missing);
  /// false when the file lists no such platform.
  bool SetProfile(const std::string& PlatformName, const std::string& ProfileName);

 private:
  struct TPlatformEntry {
    std::string Name, Profile;
    std::size_t TagOffset;  ///< where its "<Platform" start tag begins in FText
  };
  std::string FFileName;
  std::string FText;
  std::vector<TPlatformEntry> FEntries;
};

/// The line (from 1) of Text that holds the byte at Offset (a parser's error position).
std::size_t LineAt(const std::string& Text, std::size_t Offset);

}  // namespace LinuxHost

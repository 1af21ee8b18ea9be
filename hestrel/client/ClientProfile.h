// Hestrel client: the agent library's profile object, owner of the ".profile"
// file format (docs/profile-file-format.md). The manager fills it and saves it, or reads a
// file and takes the values out. Reading never fills half a profile: a file is parsed
// into a temporary and taken only when all of it is sound. Saving replaces the file
// atomically with mode 0600 (it may hold an enciphered password).
#pragma once

#include <string>
#include <string_view>

#include "client/ProfileFileFormat.h"
#include "host/AgentClient.h"

class THestrelClientProfile : public TRAClientProfile {
 public:
  /// Reads FileName; false (values untouched, GetLastError naming the file and line) when
  /// the file is missing, unreadable, over 1 MiB, empty, binary, truncated, of another
  /// version or damaged in any way.
  bool ReadProfileSettings(const std::string& FileName) override;
  /// Writes the values to FileName atomically (temporary file, fsync, rename), mode 0600.
  bool SaveProfileSettings(const std::string& FileName) override;
  std::string GetLastError() const override { return FLastError; }

  /// The reader of ReadProfileSettings on a text already in memory; FileName only names
  /// the file in the error text. (The fuzzer and the tests drive it directly.)
  bool ReadProfileText(std::string_view Text, const std::string& FileName);

  void SetProfileName(const std::string& Value) override { FData.ProfileName = Value; }
  void SetPlatform(const std::string& Value) override { FData.Platform = Value; }
  void SetHost(const std::string& Value) override { FData.Host = Value; }
  void SetPort(std::int32_t Value) override { FData.Port = Value; }
  void SetCredential(const TRACredential& Value) override { FData.Credential = Value; }
  void SetSysRoot(const std::string& Value) override { FData.SysRoot = Value; }
  /// Replaces the list of one kind; a kind outside the four is ignored.
  void SetIncludePath(const TRAPathItems& Items, TIncludePathKind Kind) override;
  std::string GetProfileName() const override { return FData.ProfileName; }
  std::string GetPlatform() const override { return FData.Platform; }
  std::string GetHost() const override { return FData.Host; }
  std::int32_t GetPort() const override { return FData.Port; }
  /// The system root as stored; with Expand, the host's root macros ("$(NAME)") expanded
  /// when a host environment is installed.
  std::string GetSysRoot(bool Expand) const override;
  TRACredential GetCredential() const override { return FData.Credential; }
  TRAPathItems GetIncludePath(TIncludePathKind Kind) const override;

  const hestrel::TProfileFileData& GetData() const { return FData; }

 private:
  hestrel::TProfileFileData FData;
  std::string FLastError;
};

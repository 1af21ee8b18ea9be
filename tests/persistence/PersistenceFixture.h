// Shared set-up of the persistence tests: the host doubles plus an agent library whose
// profile object is the real Hestrel one (real files in the fixture's application-data
// directory) and whose Encrypt is recognisable.
#pragma once

#include <filesystem>
#include <fstream>
#include <map>

#include "core/RemoteProfileManager.h"
#include "doubles/HostDoubles.h"
#include "doubles/ProfileFileLibrary.h"
#include "persistence/ProfileFiles.h"

namespace fs = std::filesystem;

class TPersistenceFixture : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Host.AgentLibrary = Library;
    Reinstall();
  }
  fs::path AppData() const { return Environment->AppDataDir; }
  /// Writes the store's sub-section of Name: its platform, then Values.
  void Store(const std::string& Name, const std::string& Platform,
             const std::map<std::string, std::string>& Values = {}) {
    Ini->WriteString("RemoteProfiles\\" + Name, "Platform", Platform);
    for (const auto& [Ident, Value] : Values) Ini->WriteString("RemoteProfiles\\" + Name, Ident, Value);
  }
  /// Writes a profile file through the real profile object; answers its path.
  std::string WriteProfileFile(const std::string& FileName, const std::string& Name, const std::string& Platform,
                               const std::string& Host = "host",
                               const TRACredential& Credential = {"enc:00", true, true}) {
    THestrelClientProfile P;
    P.SetProfileName(Name);
    P.SetPlatform(Platform);
    P.SetHost(Host);
    P.SetPort(4000);
    P.SetCredential(Credential);
    P.SetSysRoot("/cache/" + Name);
    P.SetIncludePath({{"/usr/include", "*", false}}, TIncludePathKind::Include);
    const std::string Path = (AppData() / FileName).string();
    EXPECT_TRUE(P.SaveProfileSettings(Path)) << P.GetLastError();
    return Path;
  }
  static void WriteText(const fs::path& File, const std::string& Text) {
    std::ofstream(File, std::ios::binary) << Text;
  }
  /// A profile on one line: name|platform|host|port|password or file,is password,is enciphered|root|path count.
  static std::string Describe(const IOTARemoteProfilePtr& P) {
    if (!P) return "none";
    const TOTARemoteProfileCredential C = P->GetCredential();
    return P->GetName() + "|" + P->GetPlatformName() + "|" + P->GetHostName() + "|" +
           std::to_string(P->GetPortNumber()) + "|" + C.PasswordOrFile + "," + std::to_string(C.IsPassword) + "," +
           std::to_string(C.IsEncrypted) + "|" + P->GetSystemRoot() + "|" + std::to_string(P->GetPaths().size());
  }

  std::shared_ptr<TProfileFileLibrary> Library = std::make_shared<TProfileFileLibrary>();
};

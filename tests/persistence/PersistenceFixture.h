// Shared set-up of the persistence tests (Parts 2.1 to 2.3): the host doubles plus an agent
// library whose profile object is the real THestrelClientProfile (real files in the
// fixture's application-data directory) and whose Encrypt is recognisable.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "client/ClientProfile.h"
#include "core/RemoteProfileManager.h"
#include "doubles/HostDoubles.h"
#include "doubles/ProfileFileLibrary.h"

class TPersistenceFixture : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Library = std::make_shared<TProfileFileLibrary>();
    Host.AgentLibrary = Library;
    Reinstall();
  }

  std::filesystem::path AppData() const { return Environment->AppDataDir; }

  /// Writes a profile file through the real profile object.
  std::string WriteProfileFile(const std::string& FileName, const std::string& Name, const std::string& Platform,
                               const std::string& Host = "host", std::int32_t Port = 64211,
                               const TRACredential& Credential = {"enc:00", true, true},
                               const std::string& Root = "/root") {
    THestrelClientProfile P;
    P.SetProfileName(Name);
    P.SetPlatform(Platform);
    P.SetHost(Host);
    P.SetPort(Port);
    P.SetCredential(Credential);
    P.SetSysRoot(Root);
    P.SetIncludePath({{"/usr/include", "*", false}}, TIncludePathKind::Include);
    const std::string Path = (AppData() / FileName).string();
    EXPECT_TRUE(P.SaveProfileSettings(Path)) << P.GetLastError();
    return Path;
  }

  static void WriteText(const std::filesystem::path& File, const std::string& Text) {
    std::ofstream Out(File, std::ios::binary | std::ios::trunc);
    Out << Text;
  }

  /// Names of a platform's list, in order.
  static std::vector<std::string> NamesOf(const TRemoteProfileManager& Manager, const std::string& Platform) {
    std::vector<std::string> Names;
    auto It = Manager.GetProfiles().find(Platform);
    if (It != Manager.GetProfiles().end())
      for (const auto& P : It->second) Names.push_back(P->GetName());
    return Names;
  }

  std::shared_ptr<TProfileFileLibrary> Library;
};

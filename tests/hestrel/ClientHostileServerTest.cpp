// Hestrel client against a server that sends names escaping the local root: a real `hestrel`
// whose PATH starts with a fake `tar` and a fake `find` that answer crafted archives and
// listings. Nothing may be written outside the system root; every refusal is reported.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "ClientTestSupport.h"
#include "TestServer.h"
#include "client/HestrelClient.h"

using namespace hestrel;
using namespace hestrel_test;

namespace {

/// One ustar entry: header and content padded to 512 bytes. Type '0' file, '2' symbolic link.
std::string TarEntry(const std::string& Name, char Type, const std::string& Content = "",
                     const std::string& LinkName = "") {
  std::string Header(512, '\0');
  auto Put = [&](std::size_t At, std::size_t Width, const std::string& Text) {
    Header.replace(At, std::min(Width, Text.size()), Text.substr(0, Width));
  };
  auto Octal = [&](std::size_t At, std::size_t Width, unsigned long long Value) {
    char Text[32];
    std::snprintf(Text, sizeof Text, "%0*llo", static_cast<int>(Width - 1), Value);
    Put(At, Width - 1, Text);
  };
  Put(0, 100, Name);
  Octal(100, 8, Type == '2' ? 0777 : 0644);
  Octal(108, 8, 0);
  Octal(116, 8, 0);
  Octal(124, 12, Content.size());
  Octal(136, 12, 1500000000);
  Header[156] = Type;
  Put(157, 100, LinkName);
  Put(257, 6, std::string("ustar\0", 6));
  Put(263, 2, "00");
  Header.replace(148, 8, "        ");
  unsigned Sum = 0;
  for (unsigned char C : Header) Sum += C;
  char Check[8];
  std::snprintf(Check, sizeof Check, "%06o", Sum);
  Header.replace(148, 7, std::string(Check, 6) + '\0');
  std::string Body = Content;
  Body.resize((Content.size() + 511) / 512 * 512, '\0');
  return Header + Body;
}

/// A GNU find -printf '%y %s %T@\0%P\0%l\0' record.
std::string FindRecord(char Type, std::size_t Size, const std::string& Path, const std::string& Link = "") {
  return std::string(1, Type) + " " + std::to_string(Size) + " 1500000000.0000000000" + '\0' + Path + '\0' + Link +
         '\0';
}

class HestrelClientHostileServer : public ::testing::Test {
 protected:
  void SetUp() override {
    Outside = SysRoot.Path().parent_path() / ("hestrel-hostile-" + std::to_string(::getpid()));
    std::filesystem::create_directories(Server.Dir() / "bin");
    std::filesystem::create_directories(Server.Dir() / "sdk");  // the pulled tree (listed over SFTP)
    // Fake tools: they ignore their arguments and answer what the test prepared.
    MakeScript("tar", "exec cat '" + (Server.Dir() / "stream.tar").string() + "'");
    MakeScript("find", "exec cat '" + (Server.Dir() / "listing").string() + "'");
    Server.SetEnv("PATH", (Server.Dir() / "bin").string() + ":" + std::getenv("PATH"));
  }
  void TearDown() override {
    std::error_code Ignored;
    std::filesystem::remove_all(Outside, Ignored);
    std::filesystem::remove("/" + AbsoluteName(), Ignored);
  }
  void MakeScript(const std::string& Name, const std::string& Body) {
    const std::string Path = (Server.Dir() / "bin" / Name).string();
    MakeFile(Path, "#!/bin/sh\n" + Body + "\n");
    std::filesystem::permissions(Path, std::filesystem::perms::owner_all);
  }
  std::string AbsoluteName() const { return "hestrel-hostile-abs-" + std::to_string(::getpid()) + ".h"; }
  std::shared_ptr<THestrelClient> Connected() {
    THestrelClientOptions Options;
    Options.TarMinimumFiles = 1;
    auto Client = std::make_shared<THestrelClient>("p", AppData.Path().string(), Options);
    Client->SetHostName("127.0.0.1");
    Client->SetPort(Server.Port());
    Client->SetCredential({Server.Password(), true, false});
    Client->SetSysRoot(SysRoot.Path().string());
    EXPECT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
    return Client;
  }
  /// True when nothing the server named was written outside the system root.
  bool NothingOutside() const {
    return !std::filesystem::exists(Outside) && !std::filesystem::exists("/" + AbsoluteName()) &&
           !std::filesystem::exists(SysRoot.Path().parent_path() / "escape.h");
  }

  TTestServer Server;
  TTempDir AppData, SysRoot;
  std::filesystem::path Outside;
  TRecordingListener Listener;
};

}  // namespace

TEST_F(HestrelClientHostileServer, AnArchiveNamingPathsOutsideTheRootIsRefusedEntryByEntry) {
  const std::string Relative = std::filesystem::relative(Outside, SysRoot.Path()).string();  // "../hestrel-..."
  MakeFile((Server.Dir() / "stream.tar").string(),
           TarEntry("./ok.h", '0', "fine") + TarEntry("../escape.h", '0', "x") + TarEntry("/" + AbsoluteName(), '0', "x") +
               TarEntry("./sub/../../../" + Relative + "/up.h", '0', "x") + TarEntry("./out", '2', "", "/etc") +
               TarEntry("./up", '2', "", "../../..") + std::string(1024, '\0'));
  MakeFile((Server.Dir() / "listing").string(), FindRecord('f', 4, "ok.h"));
  ASSERT_TRUE(Server.Start()) << Server.Log();
  auto Client = Connected();
  const std::string Remote = (Server.Dir() / "sdk").string();
  EXPECT_FALSE(Client->GetFiles(Remote, true, "", nullptr, &Listener));
  EXPECT_TRUE(NothingOutside());
  const std::string Local = SysRoot.Path().string() + Remote;
  EXPECT_EQ(Slurp(Local + "/ok.h"), "fine");
  EXPECT_FALSE(std::filesystem::is_symlink(Local + "/out"));
  EXPECT_FALSE(std::filesystem::is_symlink(Local + "/up"));
  const std::string Up = Remote + "/sub/../../../" + Relative + "/up.h";
  EXPECT_EQ(Listener.ErrorTexts,
            (std::vector<std::string>{
                "Refused remote name '" + Remote + "/../escape.h': it would be written outside the local root",
                "Refused remote name '" + Remote + "//" + AbsoluteName() +
                    "': it would be written outside the local root",
                "Refused remote name '" + Up + "': it would be written outside the local root",
                "Refused symbolic link '" + Remote + "/out': it points to '/etc', outside the tree being copied",
                "Refused symbolic link '" + Remote + "/up': it points to '../../..', outside the tree being copied"}));
  EXPECT_EQ(Client->GetLastError(), Listener.ErrorTexts.back());
  EXPECT_EQ(Client->GetLastPullStatistics().FilesByTar, 1);
}

TEST_F(HestrelClientHostileServer, AListingNamingPathsOutsideTheRootIsRefused) {
  // The local tree is not empty, so the pull lists (fake find) and then fetches by name.
  const std::string Remote = (Server.Dir() / "sdk").string();
  MakeFile(SysRoot.Path().string() + Remote + "/old.h", "old");
  MakeFile((Server.Dir() / "listing").string(),
           FindRecord('f', 1, "../escape.h") + FindRecord('f', 1, "/" + AbsoluteName()) +
               FindRecord('f', 1, "a/../../escape.h") + FindRecord('l', 4, "out", "/etc") +
               FindRecord('d', 0, "../hestrel-hostile-" + std::to_string(::getpid())));
  MakeFile((Server.Dir() / "stream.tar").string(), TarEntry("./../escape.h", '0', "x") + std::string(1024, '\0'));
  ASSERT_TRUE(Server.Start()) << Server.Log();
  auto Client = Connected();
  EXPECT_FALSE(Client->GetFiles(Remote, true, "", nullptr, &Listener));
  EXPECT_TRUE(NothingOutside());
  EXPECT_FALSE(std::filesystem::is_symlink(SysRoot.Path().string() + Remote + "/out"));
  const std::string Refused = "': it would be written outside the local root";
  EXPECT_EQ(Listener.ErrorTexts,
            (std::vector<std::string>{
                "Refused remote name '" + Remote + "/../escape.h" + Refused,
                "Refused remote name '" + Remote + "//" + AbsoluteName() + Refused,
                "Refused remote name '" + Remote + "/a/../../escape.h" + Refused,
                "Refused symbolic link '" + Remote + "/out': it points to '/etc', outside the tree being copied",
                "Refused remote name '" + Remote + "/../hestrel-hostile-" + std::to_string(::getpid()) + Refused}));
  EXPECT_TRUE(Client->GetLastPullStatistics().ListedByFind);
  EXPECT_EQ(Slurp(SysRoot.Path().string() + Remote + "/old.h"), "old");  // nothing else touched
}

TEST_F(HestrelClientHostileServer, ALinkReplacedMidStreamCannotCarryALaterFileOutOfTheRoot) {
  // Each link looks inside the tree where the server says it stands, but locally "s" is ".",
  // so "s/z" lands at the tree root pointing to its parent, and each further ".." climbs one
  // level more, until "z/w/v/u" is the folder above the system root. A later entry then turns
  // "a" (a directory already written into) into that chain and names a file below it.
  const std::string Evil = "hestrel-evil-" + std::to_string(::getpid());
  MakeFile((Server.Dir() / "stream.tar").string(),
           TarEntry("./d/x", '0', "x") + TarEntry("./a", '2', "", "d") + TarEntry("./a/f", '0', "f") +
               TarEntry("./s", '2', "", ".") + TarEntry("./s/z", '2', "", "..") + TarEntry("./z/w", '2', "", "..") +
               TarEntry("./z/w/v", '2', "", "..") + TarEntry("./z/w/v/u", '2', "", "..") +
               TarEntry("./a", '2', "", "z/w/v/u") + TarEntry("./a/" + Evil, '0', "escaped") +
               std::string(1024, '\0'));
  MakeFile((Server.Dir() / "listing").string(), "");
  ASSERT_TRUE(Server.Start()) << Server.Log();
  auto Client = Connected();
  const std::string Remote = (Server.Dir() / "sdk").string();
  ASSERT_EQ(std::filesystem::path(Remote).parent_path().parent_path(), "/tmp");  // the climb below counts on it
  Client->GetFiles(Remote, true, "", nullptr, &Listener);
  const std::filesystem::path Above = SysRoot.Path().parent_path() / Evil;
  const bool Escaped = std::filesystem::exists(Above);
  std::error_code Ignored;
  std::filesystem::remove(Above, Ignored);
  EXPECT_FALSE(Escaped) << Above;
  EXPECT_NE(std::find(Listener.ErrorTexts.begin(), Listener.ErrorTexts.end(),
                      "Refused remote name '" + Remote + "/a/" + Evil + "': it would be written outside the local root"),
            Listener.ErrorTexts.end())
      << ::testing::PrintToString(Listener.ErrorTexts);
}

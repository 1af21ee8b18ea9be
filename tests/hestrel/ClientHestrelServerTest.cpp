// Hestrel client against the project's own `hestrel` server (password authentication with
// the server's password, any user name): connect, credentials, transfers, queries, run.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "ClientTestSupport.h"
#include "TestServer.h"
#include "client/ClientErrors.h"
#include "client/ClientFactory.h"
#include "client/HestrelClient.h"
#include "client/KnownHosts.h"
#include "client/LocalPaths.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;

class HestrelClientWithServer : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Server.Start()) << Server.Log();
    THestrelClientOptions Options;
    Options.ConnectTimeoutSeconds = 5;
    Options.TarMinimumFiles = 2;
    Factory = std::make_unique<THestrelClientFactory>(AppData.Path().string(), Options);
  }
  std::shared_ptr<THestrelClient> MakeClient(const TRACredential& Credential, const std::string& Host = "127.0.0.1") {
    auto Client = std::dynamic_pointer_cast<THestrelClient>(Factory->CreateClient("p", ""));
    Client->SetHostName(Host);
    Client->SetPort(Server.Port());
    Client->SetCredential(Credential);
    Client->SetSysRoot(SysRoot.Path().string());
    return Client;
  }
  std::shared_ptr<THestrelClient> Connected() {
    auto Client = MakeClient({Server.Password(), true, false});
    EXPECT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
    return Client;
  }

  TTestServer Server;
  TTempDir AppData, SysRoot, Local;
  std::unique_ptr<THestrelClientFactory> Factory;
  TRecordingListener Listener;
};

TEST_F(HestrelClientWithServer, PlainPasswordConnectsAndRecordsTheHostKey) {
  auto Client = MakeClient({Server.Password(), true, false}, "anyone@127.0.0.1");
  ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  EXPECT_NE(Slurp(KnownHostsPath(AppData.Path().string())).find("[127.0.0.1]:" + std::to_string(Server.Port())),
            std::string::npos);
}

TEST_F(HestrelClientWithServer, EncryptedPasswordConnects) {
  auto Client = MakeClient({Factory->Encrypt(Server.Password()), true, true});
  EXPECT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
}

TEST_F(HestrelClientWithServer, PasswordFileConnects) {
  auto Client = MakeClient({Server.PasswordFile().string(), false, false});
  EXPECT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
}

TEST_F(HestrelClientWithServer, WrongPasswordFailsAuthentication) {
  TScriptedConnectionListener Listener;
  Listener.RetriesGranted = 3;
  auto Client = MakeClient({"wrong", true, false}, "me@127.0.0.1");
  EXPECT_FALSE(Client->Connect(&Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrAuthFailed, {"me", "127.0.0.1", std::int64_t(Server.Port())}));
  EXPECT_EQ(Listener.RetryCalls, 0);
}

TEST_F(HestrelClientWithServer, AUserNameLibsshRefusesFailsTheConnect) {
  // libssh refuses this name and would log in as the local user instead.
  auto Client = MakeClient({Server.Password(), true, false}, "a;b@127.0.0.1");
  EXPECT_FALSE(Client->Connect(nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrInvalidUserName, {"a;b"}));
  EXPECT_FALSE(Client->IsConnected());
}

TEST_F(HestrelClientWithServer, AHostNameLibsshRefusesFailsTheConnect) {
  TScriptedConnectionListener Retry;
  Retry.RetriesGranted = 3;
  auto Client = MakeClient({Server.Password(), true, false}, "bad host!");
  EXPECT_FALSE(Client->Connect(&Retry));
  EXPECT_EQ(Client->GetLastError(), Format(sErrInvalidHostName, {"bad host!"}));
  EXPECT_EQ(Retry.RetryCalls, 0);
}

TEST_F(HestrelClientWithServer, KnownHostsFileStaysInAnApplicationDirectoryWithAPercentSign) {
  // libssh expands %d (the SSH directory), %u, ... in the known-hosts path.
  const std::string Dir = AppData / "app%d";
  THestrelClient Client("p", Dir);
  Client.SetHostName("127.0.0.1");
  Client.SetPort(Server.Port());
  Client.SetCredential({Server.Password(), true, false});
  ASSERT_TRUE(Client.Connect(nullptr)) << Client.GetLastError();
  EXPECT_NE(Slurp(KnownHostsPath(Dir)).find("[127.0.0.1]:" + std::to_string(Server.Port())), std::string::npos);
  EXPECT_EQ(TreeOf(Dir), std::vector<std::string>{"known_hosts"});
}

namespace {

/// Waits (at most 5 s) until Pid has ended (gone or a zombie: its sockets are closed).
void WaitUntilEnded(pid_t Pid) {
  const std::string Stat = "/proc/" + std::to_string(Pid) + "/stat";
  for (int I = 0; I < 500; ++I) {
    const std::string Text = Slurp(Stat);
    const auto Close = Text.rfind(')');
    if (Text.empty() || (Close != std::string::npos && Text.compare(Close + 2, 1, "Z") == 0)) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the FIN on loopback
}

}  // namespace

TEST_F(HestrelClientWithServer, ConnectReplacesASessionWhoseServerProcessDied) {
  auto Client = Connected();
  const std::vector<pid_t> Before = ChildrenOf(Server.Pid());
  ASSERT_EQ(Before.size(), 1u);
  ASSERT_EQ(::kill(Before.front(), SIGKILL), 0);  // the connection's process; the listener lives on
  WaitUntilEnded(Before.front());
  EXPECT_FALSE(Client->IsConnected());
  ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  EXPECT_TRUE(Client->DirExists(Server.Dir().string())) << Client->GetLastError();
  const std::vector<pid_t> After = ChildrenOf(Server.Pid());
  ASSERT_EQ(After.size(), 1u);
  EXPECT_NE(After.front(), Before.front());
}

TEST_F(HestrelClientWithServer, ConnectAfterTheServerStoppedReachesTheNewServer) {
  auto Client = Connected();
  const std::int64_t OldPort = Server.Port();
  const std::vector<pid_t> Before = ChildrenOf(Server.Pid());
  ASSERT_EQ(Server.Stop(), 0);
  for (const pid_t Pid : Before) WaitUntilEnded(Pid);
  EXPECT_FALSE(Client->Connect(nullptr));  // a stale session is not "connected"
  EXPECT_EQ(Client->GetLastError(), Format(sErrConnectionRefused, {"127.0.0.1", OldPort}));
  TTestServer Next;
  ASSERT_TRUE(Next.Start()) << Next.Log();
  Client->SetPort(Next.Port());
  Client->SetCredential({Next.Password(), true, false});
  ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  EXPECT_TRUE(Client->DirExists(Next.Dir().string())) << Client->GetLastError();
  EXPECT_EQ(ChildrenOf(Next.Pid()).size(), 1u);
}

TEST_F(HestrelClientWithServer, PullsATreeAndSkipsItWhenUnchanged) {
  for (int I = 0; I < 20; ++I)
    MakeFile((Server.Dir() / "sdk/inc" / ("f" + std::to_string(I) + ".h")).string(), std::string(I * 50, 'h'),
             1500000000 + I);
  MakeFile((Server.Dir() / "sdk/inc/sub/x.h").string(), "x");
  auto Client = Connected();
  const std::string RemoteRoot = (Server.Dir() / "sdk/inc").string();
  ASSERT_TRUE(Client->GetFiles(RemoteRoot, true, "*.h", nullptr, &Listener)) << Client->GetLastError();
  EXPECT_EQ(Slurp(SysRoot.Path().string() + RemoteRoot + "/f7.h"), std::string(350, 'h'));
  EXPECT_EQ(Slurp(SysRoot.Path().string() + RemoteRoot + "/sub/x.h"), "x");
  EXPECT_EQ(Client->GetLastPullStatistics().FilesByTar, 21);
  TRecordingListener Again;
  ASSERT_TRUE(Client->GetFiles(RemoteRoot, true, "*.h", nullptr, &Again)) << Client->GetLastError();
  EXPECT_EQ(Again.BytesCopiedCalls, 0);
  EXPECT_TRUE(Again.Overwrites.empty());
}

TEST_F(HestrelClientWithServer, FreshTreeComesAsOneStreamWithLinksMirrored) {
  MakeFile((Server.Dir() / "sdk/lib/libz.so.1").string(), "zlib", 1500000000);
  MakeFile((Server.Dir() / "sdk/lib/deep/x.a").string(), "x", 1500000001);
  std::filesystem::create_symlink("libz.so.1", Server.Dir() / "sdk/lib/libz.so");
  std::filesystem::create_symlink("/etc/passwd", Server.Dir() / "sdk/lib/evil");
  auto Client = Connected();
  const std::string RemoteRoot = (Server.Dir() / "sdk/lib").string();
  EXPECT_FALSE(Client->GetFiles(RemoteRoot, true, "", nullptr, &Listener));  // the evil link is refused
  EXPECT_EQ(Listener.Errors, std::vector<std::string>{RemoteRoot + "/evil"});
  const std::string Local = SysRoot.Path().string() + RemoteRoot;
  EXPECT_EQ(TreeOf(Local), (std::vector<std::string>{"deep", "deep/x.a", "libz.so", "libz.so.1"}));
  EXPECT_EQ(std::filesystem::read_symlink(Local + "/libz.so").string(), "libz.so.1");
  EXPECT_EQ(Client->GetLastPullStatistics().FilesByTar, 2);
  EXPECT_FALSE(Client->GetLastPullStatistics().ListedByFind);  // no listing at all
}

TEST_F(HestrelClientWithServer, PutsSmallAndBigFilesAndRemovesThem) {
  MakeFile(Local / "small.txt", "small", 1500000000);
  MakeFile(Local / "big.bin", std::string(3 << 20, 'b'), 1500000001);
  auto Client = Connected();
  ASSERT_TRUE(Client->PutFile(Server.Dir().string(), Local / "small.txt", 0, "", &Listener)) << Client->GetLastError();
  ASSERT_TRUE(Client->PutFile(Server.Dir().string(), Local / "big.bin", 0, "", &Listener)) << Client->GetLastError();
  EXPECT_EQ(Slurp((Server.Dir() / "small.txt").string()), "small");
  EXPECT_EQ(Slurp((Server.Dir() / "big.bin").string()), std::string(3 << 20, 'b'));
  ASSERT_TRUE(Client->RemoveRemoteFile((Server.Dir() / "big.bin").string(), &Listener)) << Client->GetLastError();
  EXPECT_FALSE(std::filesystem::exists(Server.Dir() / "big.bin"));
}

TEST_F(HestrelClientWithServer, RelativeRemoteDirectoryIsBelowTheLoginDirectory) {
  MakeFile(Local / "rel.txt", "relative");
  std::filesystem::create_directories(Server.Dir() / "up");
  auto Client = Connected();
  ASSERT_TRUE(Client->PutFile("up", Local / "rel.txt", 0, "", nullptr)) << Client->GetLastError();
  EXPECT_EQ(Slurp((Server.Dir() / "up/rel.txt").string()), "relative");
}

TEST_F(HestrelClientWithServer, QueriesAndRunWork) {
  auto Client = Connected();
  std::string Expanded;
  ASSERT_TRUE(Client->ExpandPath("$HOME", Expanded)) << Client->GetLastError();
  EXPECT_FALSE(Expanded.empty());
  EXPECT_TRUE(Client->DirExists(Server.Dir().string()));
  auto Env = Client->GetEnv();
  ASSERT_NE(Env, nullptr) << Client->GetLastError();
  EXPECT_TRUE(Env->count("PATH"));
  std::int32_t Pid = 0;
  ASSERT_TRUE(Client->Run("/bin/sh", "-c 'echo started'", Server.Dir().string(), "", nullptr, "run.out", "", Pid))
      << Client->GetLastError();
  EXPECT_GT(Pid, 0);
  for (int I = 0; I < 100 && Slurp((Server.Dir() / "run.out").string()) != "started\n"; ++I)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(Slurp((Server.Dir() / "run.out").string()), "started\n");
  EXPECT_FALSE(Client->Run("no-such-program-xyz", "", "", "", nullptr, "", "", Pid));
  EXPECT_EQ(Client->GetLastError(), Format(sErrProgramNotFound, {"no-such-program-xyz"}));
}

TEST(HestrelClientWithServerPath, DebugWithoutGdbServerOnThePathSaysSo) {
  // The server's commands inherit its environment: a PATH without gdbserver (the check uses
  // the shell's builtin `command`, so nothing else is needed from PATH).
  TTestServer Server;
  const std::string SavedPath = std::getenv("PATH") ? std::getenv("PATH") : "";
  ::setenv("PATH", "/nonexistent-hestrel-test", 1);
  const bool Started = Server.Start();
  ::setenv("PATH", SavedPath.c_str(), 1);
  ASSERT_TRUE(Started) << Server.Log();
  TTempDir AppData;
  THestrelClient Client("p", AppData.Path().string());
  Client.SetHostName("127.0.0.1");
  Client.SetPort(Server.Port());
  Client.SetCredential({Server.Password(), true, false});
  ASSERT_TRUE(Client.Connect(nullptr)) << Client.GetLastError();
  std::int32_t N1 = 1, N2 = 0, N3 = 0;
  EXPECT_FALSE(Client.Debug("/bin/true", true, N1, N2, N3));
  EXPECT_EQ(Client.GetLastError(), sErrGdbServerMissing);
  EXPECT_EQ(N3, 0);
}

// Hestrel client against a `hestrel` server that stops answering: the server's connection
// process (the listener forks one per connection) is stopped with SIGSTOP in the middle of a
// transfer. Every call must end within a few seconds of the operation timeout with the
// timed-out text, leave no partial file, and the next Connect must start a fresh session.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <thread>

#include "ClientTestSupport.h"
#include "ServerTestClient.h"
#include "TestServer.h"
#include "client/ClientErrors.h"
#include "client/HestrelClient.h"
#include "client/RemoteShell.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;

namespace {

constexpr int OperationTimeout = 2;  // seconds
constexpr auto AnswerBound = std::chrono::seconds(OperationTimeout + 6);
const std::string BigData(24 << 20, 'd');

bool HasPartFile(const std::vector<std::string>& Names) {
  for (const auto& Name : Names)
    if (Name.find(".hestrel-part") != std::string::npos) return true;
  return false;
}

}  // namespace

/// Parameter: true = the exec paths (tar stream pull, `cat` push), false = SFTP only.
class HestrelClientStall : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Server.Start()) << Server.Log();
    THestrelClientOptions Options;
    Options.ConnectTimeoutSeconds = 5;
    Options.OperationTimeoutSeconds = OperationTimeout;
    Options.UseTarStream = GetParam();
    Options.UseFindListing = GetParam();
    Options.StreamPushMinimumBytes = GetParam() ? 1 << 20 : 0;
    Client = std::make_shared<THestrelClient>("p", AppData.Path().string(), Options);
    Client->SetHostName("127.0.0.1");
    Client->SetPort(Server.Port());
    Client->SetCredential({Server.Password(), true, false});
    Client->SetSysRoot(SysRoot.Path().string());
    ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  }
  void TearDown() override {
    if (Stopped > 0) {
      ::kill(Stopped, SIGKILL);  // SIGCONT would also do: it finds its socket closed and ends
      ::kill(Stopped, SIGCONT);
    }
  }
  /// The server's process for this client's connection (the listener's only child).
  pid_t ConnectionProcess() {
    const std::vector<pid_t> Children = ChildrenOf(Server.Pid());
    EXPECT_EQ(Children.size(), 1u);
    return Children.empty() ? -1 : Children.front();
  }
  /// Stops the connection process at the first byte progress.
  void StopServerOnFirstProgress() {
    const pid_t Connection = ConnectionProcess();
    ASSERT_GT(Connection, 0);
    Listener.OnBytes = [this, Connection](std::int64_t, std::int64_t) -> std::uint8_t {
      if (Stopped == 0 && ::kill(Connection, SIGSTOP) == 0) Stopped = Connection;
      return 1;
    };
  }
  std::string TimedOut() const { return Format(sErrTimedOut, {"127.0.0.1", std::int64_t(Server.Port())}); }

  TTestServer Server;
  TTempDir AppData, SysRoot, Local;
  std::shared_ptr<THestrelClient> Client;
  TRecordingListener Listener;
  pid_t Stopped = 0;
};

TEST_P(HestrelClientStall, PullFromAServerThatStopsAnsweringTimesOut) {
  MakeFile((Server.Dir() / "sdk/lib/big.bin").string(), BigData);
  MakeFile((Server.Dir() / "sdk/lib/small.h").string(), "small");
  const std::string RemoteRoot = (Server.Dir() / "sdk/lib").string();
  StopServerOnFirstProgress();
  const auto Begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(Client->GetFiles(RemoteRoot, true, "", nullptr, &Listener));
  const auto Elapsed = std::chrono::steady_clock::now() - Begin;
  EXPECT_GT(Stopped, 0);
  EXPECT_LT(Elapsed, AnswerBound);
  EXPECT_EQ(Client->GetLastError(), TimedOut());
  const std::vector<std::string> Tree = TreeOf(SysRoot.Path().string() + RemoteRoot);
  EXPECT_FALSE(HasPartFile(Tree)) << ::testing::PrintToString(Tree);
  EXPECT_EQ(std::count(Tree.begin(), Tree.end(), "big.bin"), 0);
  EXPECT_LE(Listener.Errors.size(), 1u);  // the listener is not asked once per remaining file
}

TEST_P(HestrelClientStall, PutToAServerThatStopsAnsweringTimesOut) {
  MakeFile(Local / "big.bin", BigData);
  StopServerOnFirstProgress();
  const auto Begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(Client->PutFile(Server.Dir().string(), Local / "big.bin", 0, "", &Listener));
  const auto Elapsed = std::chrono::steady_clock::now() - Begin;
  EXPECT_GT(Stopped, 0);
  EXPECT_LT(Elapsed, AnswerBound);
  EXPECT_EQ(Client->GetLastError(), TimedOut());
  EXPECT_FALSE(std::filesystem::exists(Server.Dir() / "big.bin"));
}

TEST_P(HestrelClientStall, ConnectAfterATimeoutStartsAFreshSession) {
  MakeFile(Local / "big.bin", BigData);
  StopServerOnFirstProgress();
  EXPECT_FALSE(Client->PutFile(Server.Dir().string(), Local / "big.bin", 0, "", &Listener));
  EXPECT_EQ(Client->GetLastError(), TimedOut());
  EXPECT_FALSE(Client->IsConnected());
  ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  EXPECT_TRUE(Client->DirExists(Server.Dir().string())) << Client->GetLastError();
  TRecordingListener Quiet;
  ASSERT_TRUE(Client->PutFile(Server.Dir().string(), Local / "big.bin", 0, "", &Quiet)) << Client->GetLastError();
  EXPECT_EQ(std::filesystem::file_size(Server.Dir() / "big.bin"), BigData.size());
}

TEST_P(HestrelClientStall, ASlowListenerIsNoTimeout) {
  // A person may take longer than the operation timeout to answer: that is not silence.
  MakeFile((Server.Dir() / "sdk/a/one.bin").string(), std::string(3 << 20, '1'));
  MakeFile(Local / "two.bin", std::string(3 << 20, '2'));
  MakeFile((Server.Dir() / "two.bin").string(), "old");
  const auto Slow = std::chrono::milliseconds(OperationTimeout * 1000 + 1000);
  int Calls = 0;
  Listener.OnBytes = [&](std::int64_t, std::int64_t) -> std::uint8_t {
    if (Calls++ == 0) std::this_thread::sleep_for(Slow);
    return 1;
  };
  const std::string RemoteRoot = (Server.Dir() / "sdk/a").string();
  ASSERT_TRUE(Client->GetFiles(RemoteRoot, true, "", nullptr, &Listener)) << Client->GetLastError();
  EXPECT_EQ(std::filesystem::file_size(SysRoot.Path().string() + RemoteRoot + "/one.bin"), 3u << 20);
  Calls = 0;
  ASSERT_TRUE(Client->PutFile(Server.Dir().string(), Local / "two.bin", 0, "", &Listener)) << Client->GetLastError();
  EXPECT_EQ(std::filesystem::file_size(Server.Dir() / "two.bin"), 3u << 20);
}

INSTANTIATE_TEST_SUITE_P(ExecAndSftp, HestrelClientStall, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& Info) { return Info.param ? "Exec" : "Sftp"; });


TEST(HestrelClientStallChannel, ACommandThatCannotStartSaysWhy) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start()) << Server.Log();
  TServerTestClient Ssh;
  ASSERT_TRUE(Ssh.Connect(Server.Port()));
  ASSERT_EQ(Ssh.Login("anyone", Server.Password()), SSH_AUTH_SUCCESS);
  const long Timeout = 1;
  ASSERT_EQ(ssh_options_set(Ssh.Session(), SSH_OPTIONS_TIMEOUT, &Timeout), SSH_OK);
  const std::vector<pid_t> Children = ChildrenOf(Server.Pid());
  ASSERT_EQ(Children.size(), 1u);
  ASSERT_EQ(::kill(Children.front(), SIGSTOP), 0);  // the channel open gets no answer
  TExecChannel Channel(Ssh.Session(), "true");
  ::kill(Children.front(), SIGKILL);
  ::kill(Children.front(), SIGCONT);
  EXPECT_FALSE(Channel.IsStarted());
  EXPECT_EQ(Channel.GetError(), "The remote command cannot be started: the server did not answer the request to open a channel");
}

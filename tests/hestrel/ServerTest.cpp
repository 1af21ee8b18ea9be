// Tests of the hestrel server (hestrel/server): a real server process on a loopback port,
// driven by a libssh client. Login delay is 200 ms here (--auth-delay-ms).
#include <gtest/gtest.h>
#include <libssh/sftp.h>
#include <signal.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <thread>

#include "ServerTestClient.h"
#include "TestServer.h"

using hestrel_test::ReadFile;
using hestrel_test::TExecResult;
using hestrel_test::TServerTestClient;
using hestrel_test::TTestServer;
using hestrel_test::WriteFile;

namespace {

/// Waits until Pid no longer exists (or TimeoutMs passes); answers whether it is gone.
bool ProcessGone(pid_t Pid, int TimeoutMs) {
  auto Deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(TimeoutMs);
  while (std::chrono::steady_clock::now() < Deadline) {
    if (::kill(Pid, 0) != 0 && errno == ESRCH) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

class HestrelServer : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(Server.Start()) << Server.Log(); }

  /// A client connected and logged in with the right password.
  std::unique_ptr<TServerTestClient> LoggedIn(const std::string& User = "anyone") {
    auto Client = std::make_unique<TServerTestClient>();
    EXPECT_TRUE(Client->Connect(Server.Port()));
    EXPECT_EQ(SSH_AUTH_SUCCESS, Client->Login(User, Server.Password()));
    return Client;
  }

  TTestServer Server;
};

}  // namespace

TEST_F(HestrelServer, AnnouncesLoopbackAddressAndPort) {
  EXPECT_EQ("hestrel listening on 127.0.0.1:" + std::to_string(Server.Port()), Server.ListeningLine());
}

TEST_F(HestrelServer, OffersPasswordAuthenticationOnly) {
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  EXPECT_EQ(SSH_AUTH_METHOD_PASSWORD, Client.OfferedMethods());
}

TEST_F(HestrelServer, RightPasswordIsAcceptedForAnyUserName) {
  for (const char* User : {"root", "somebody-else"}) {
    TServerTestClient Client;
    ASSERT_TRUE(Client.Connect(Server.Port()));
    EXPECT_EQ(SSH_AUTH_SUCCESS, Client.Login(User, Server.Password())) << User;
  }
  EXPECT_NE(std::string::npos, Server.Log().find("login of user 'somebody-else' from 127.0.0.1:"));
}

TEST_F(HestrelServer, WrongPasswordIsRefusedAfterTheDelay) {
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  auto Begin = std::chrono::steady_clock::now();
  EXPECT_EQ(SSH_AUTH_DENIED, Client.Login("anyone", "wrong"));
  auto Elapsed = std::chrono::steady_clock::now() - Begin;
  EXPECT_GE(Elapsed, std::chrono::milliseconds(190));
  std::string Log = Server.Log();
  EXPECT_NE(std::string::npos, Log.find("login of user 'anyone' from 127.0.0.1:"));
  EXPECT_NE(std::string::npos, Log.find("failed (attempt 1 of 3)"));
  EXPECT_EQ(std::string::npos, Log.find("wrong")) << "the log must never hold a password";
}

TEST_F(HestrelServer, PasswordThatOnlySharesAPrefixIsRefused) {
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  EXPECT_EQ(SSH_AUTH_DENIED, Client.Login("anyone", Server.Password() + "x"));
  EXPECT_EQ(SSH_AUTH_DENIED, Client.Login("anyone", Server.Password().substr(0, 3)));
}

TEST_F(HestrelServer, ThirdFailedLoginDisconnects) {
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  for (int Attempt = 1; Attempt <= 3; ++Attempt) EXPECT_EQ(SSH_AUTH_DENIED, Client.Login("anyone", "no")) << Attempt;
  EXPECT_EQ(SSH_AUTH_ERROR, Client.Login("anyone", Server.Password()));
  EXPECT_NE(std::string::npos, Server.Log().find("after 3 failed logins"));
}

TEST_F(HestrelServer, ExecReturnsStdoutStderrAndExitStatus) {
  auto Client = LoggedIn();
  TExecResult Result = Client->Exec("printf 'out\\n'; printf 'err\\n' >&2; exit 3");
  ASSERT_TRUE(Result.Ok);
  EXPECT_EQ("out\n", Result.Out);
  EXPECT_EQ("err\n", Result.Err);
  EXPECT_EQ(3, Result.ExitStatus);
  EXPECT_EQ("", Result.ExitSignal);
  EXPECT_NE(std::string::npos, Server.Log().find("started command 'printf"));
}

TEST_F(HestrelServer, ExecRunsInTheRootDirectory) {
  auto Client = LoggedIn();
  TExecResult Result = Client->Exec("pwd");
  EXPECT_EQ(Server.Dir().string() + "\n", Result.Out);
  EXPECT_EQ(0, Result.ExitStatus);
}

TEST_F(HestrelServer, ExecPassesStdinAndEnvironmentRequests) {
  auto Client = LoggedIn();
  TExecResult Result = Client->Exec("cat; printf '%s' \"$HESTREL_TEST_VALUE\"", "line one\nline two\n",
                                    {{"HESTREL_TEST_VALUE", "from env"}});
  EXPECT_EQ("line one\nline two\nfrom env", Result.Out);
  EXPECT_EQ(0, Result.ExitStatus);
}

TEST_F(HestrelServer, ExecStreamsLargeOutputWithinTheWindow) {
  auto Client = LoggedIn();
  TExecResult Result = Client->Exec("head -c 50000000 /dev/zero");
  EXPECT_EQ(50000000u, Result.Out.size());
  EXPECT_EQ(0, Result.ExitStatus);
}

TEST_F(HestrelServer, ExecTakesLargeInput) {
  auto Client = LoggedIn();
  TExecResult Result = Client->Exec("wc -c", std::string(20000000, 'x'));
  EXPECT_EQ("20000000", Result.Out.substr(0, Result.Out.find_first_of(" \n")));
  EXPECT_EQ(0, Result.ExitStatus);
}

TEST_F(HestrelServer, CommandKilledBySignalReportsExitSignal) {
  auto Client = LoggedIn();
  TExecResult Result = Client->Exec("kill -TERM $$");
  EXPECT_EQ("TERM", Result.ExitSignal);
}

TEST_F(HestrelServer, ShellAndPtyRequestsAreRefused) {
  auto Client = LoggedIn();
  ssh_channel Channel = ssh_channel_new(Client->Session());
  ASSERT_EQ(SSH_OK, ssh_channel_open_session(Channel));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_pty(Channel));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_shell(Channel));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_subsystem(Channel, "no-such-subsystem"));
  // The channel still serves an exec afterwards.
  ASSERT_EQ(SSH_OK, ssh_channel_request_exec(Channel, "echo still here"));
  EXPECT_EQ("still here", TServerTestClient::ReadLine(Channel, 5000));
  ssh_channel_close(Channel);
  ssh_channel_free(Channel);
}

TEST_F(HestrelServer, SftpSubsystemUploadsAndDownloads) {
  auto Client = LoggedIn();
  sftp_session Sftp = sftp_new(Client->Session());
  ASSERT_NE(nullptr, Sftp);
  ASSERT_EQ(SSH_OK, sftp_init(Sftp));
  std::string Content(300000, '\0');
  for (std::size_t I = 0; I < Content.size(); ++I) Content[I] = static_cast<char>(I * 7 % 251);

  sftp_file Up = sftp_open(Sftp, "uploaded.bin", O_WRONLY | O_CREAT | O_TRUNC, 0644);
  ASSERT_NE(nullptr, Up);
  for (std::size_t Done = 0; Done < Content.size();) {
    ssize_t N = sftp_write(Up, Content.data() + Done, std::min<std::size_t>(32768, Content.size() - Done));
    ASSERT_GT(N, 0);
    Done += static_cast<std::size_t>(N);
  }
  sftp_close(Up);
  EXPECT_EQ(Content, ReadFile(Server.Dir() / "uploaded.bin"));

  WriteFile(Server.Dir() / "remote.txt", "served by sftp-server\n", 0644);
  sftp_file Down = sftp_open(Sftp, "remote.txt", O_RDONLY, 0);
  ASSERT_NE(nullptr, Down);
  char Buffer[256];
  ssize_t N = sftp_read(Down, Buffer, sizeof Buffer);
  ASSERT_GT(N, 0);
  EXPECT_EQ("served by sftp-server\n", std::string(Buffer, static_cast<std::size_t>(N)));
  sftp_close(Down);
  sftp_free(Sftp);
  EXPECT_NE(std::string::npos, Server.Log().find("started subsystem sftp"));
}

TEST_F(HestrelServer, TwoClientsAreServedAtOnce) {
  auto First = LoggedIn("first");
  auto Second = LoggedIn("second");
  // The first client's command waits for its input while the second one runs a command.
  ssh_channel Waiting = First->StartExec("read Line; echo \"got $Line\"");
  ASSERT_NE(nullptr, Waiting);
  TExecResult Other = Second->Exec("echo second");
  EXPECT_EQ("second\n", Other.Out);
  ssh_channel_write(Waiting, "go\n", 3);
  EXPECT_EQ("got go", TServerTestClient::ReadLine(Waiting, 5000));
  ssh_channel_close(Waiting);
  ssh_channel_free(Waiting);
}

TEST_F(HestrelServer, ChannelsOfOneConnectionRunInParallel) {
  auto Client = LoggedIn();
  ssh_channel Waiting = Client->StartExec("read Line; echo \"got $Line\"");
  ASSERT_NE(nullptr, Waiting);
  TExecResult Other = Client->Exec("head -c 3000000 /dev/zero");
  EXPECT_EQ(3000000u, Other.Out.size());
  ssh_channel_write(Waiting, "go\n", 3);
  EXPECT_EQ("got go", TServerTestClient::ReadLine(Waiting, 5000));
  ssh_channel_close(Waiting);
  ssh_channel_free(Waiting);
}

TEST_F(HestrelServer, ClosingTheChannelHangsUpItsCommand) {
  auto Client = LoggedIn();
  ssh_channel Channel = Client->StartExec("echo $$; exec sleep 30");
  ASSERT_NE(nullptr, Channel);
  pid_t Pid = std::atoi(TServerTestClient::ReadLine(Channel, 5000).c_str());
  ASSERT_GT(Pid, 0);
  ssh_channel_close(Channel);
  ssh_channel_free(Channel);
  EXPECT_TRUE(ProcessGone(Pid, 5000));
  // The session goes on serving.
  EXPECT_EQ("ok\n", Client->Exec("echo ok").Out);
}

TEST_F(HestrelServer, DisconnectingHangsUpRunningCommands) {
  pid_t Pid = 0;
  {
    auto Client = LoggedIn();
    ssh_channel Channel = Client->StartExec("echo $$; exec sleep 30");
    ASSERT_NE(nullptr, Channel);
    Pid = std::atoi(TServerTestClient::ReadLine(Channel, 5000).c_str());
    ASSERT_GT(Pid, 0);
    ssh_channel_free(Channel);
  }  // the client disconnects without closing the channel
  EXPECT_TRUE(ProcessGone(Pid, 5000));
  EXPECT_NE(std::string::npos, Server.Log().find("connection from 127.0.0.1:"));
}

TEST_F(HestrelServer, SigtermStopsWithStatusZeroWhileAClientIsConnected) {
  auto Client = LoggedIn();
  ssh_channel Channel = Client->StartExec("echo $$; exec sleep 30");
  ASSERT_NE(nullptr, Channel);
  pid_t Pid = std::atoi(TServerTestClient::ReadLine(Channel, 5000).c_str());
  ASSERT_GT(Pid, 0);
  auto Begin = std::chrono::steady_clock::now();
  EXPECT_EQ(0, Server.Stop());
  EXPECT_LT(std::chrono::steady_clock::now() - Begin, std::chrono::seconds(5));
  EXPECT_TRUE(ProcessGone(Pid, 2000));
  EXPECT_NE(std::string::npos, Server.Log().find("received SIGTERM: stopping"));
  ssh_channel_free(Channel);
}

TEST_F(HestrelServer, SigtermDoesNotWaitForAConnectionStuckBeforeKeyExchange) {
  int Socket = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in Address{};
  Address.sin_family = AF_INET;
  Address.sin_port = htons(static_cast<uint16_t>(Server.Port()));
  Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(0, ::connect(Socket, reinterpret_cast<sockaddr*>(&Address), sizeof Address));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));  // accepted and forked
  auto Begin = std::chrono::steady_clock::now();
  EXPECT_EQ(0, Server.Stop());
  EXPECT_LT(std::chrono::steady_clock::now() - Begin, std::chrono::seconds(2));
  ::close(Socket);
}

TEST(HestrelServerStart, ConnectionWithoutLoginIsDroppedAfterTheGraceTime) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start({"--login-grace-seconds", "1"}));
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  std::this_thread::sleep_for(std::chrono::milliseconds(1800));
  // The server has hung up: libssh answers an error or "again" (it saw the socket close).
  EXPECT_NE(SSH_AUTH_SUCCESS, Client.Login("anyone", Server.Password()));
  EXPECT_NE(std::string::npos, Server.Log().find(": no login within 1 s"));
}

TEST(HestrelServerStart, RefusesGroupReadablePasswordFile) {
  TTestServer Server;
  ::chmod(Server.PasswordFile().c_str(), 0640);
  EXPECT_FALSE(Server.Start());
  EXPECT_NE(std::string::npos, Server.Log().find("hestrel: password file " + Server.PasswordFile().string() +
                                                 " is accessible by group or others; restrict it with: chmod 600"));
}

TEST(HestrelServerStart, RefusesMissingAndEmptyPasswordFiles) {
  TTestServer Missing;
  std::filesystem::remove(Missing.PasswordFile());
  EXPECT_FALSE(Missing.Start());
  EXPECT_NE(std::string::npos, Missing.Log().find("hestrel: cannot open password file"));

  TTestServer Empty;
  WriteFile(Empty.PasswordFile(), "\n", 0600);
  EXPECT_FALSE(Empty.Start());
  EXPECT_NE(std::string::npos, Empty.Log().find("holds no password on its first line"));
}

TEST(HestrelServerStart, PasswordIsTheFirstLineWithoutItsLineEnd) {
  TTestServer Server;
  WriteFile(Server.PasswordFile(), "first line\r\nsecond line\n", 0600);
  ASSERT_TRUE(Server.Start());
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  EXPECT_EQ(SSH_AUTH_DENIED, Client.Login("u", "second line"));
  EXPECT_EQ(SSH_AUTH_SUCCESS, Client.Login("u", "first line"));
}

TEST(HestrelServerStart, CreatesHostKeyWithMode0600AndReusesItOnRestart) {
  TTestServer Server;
  ASSERT_FALSE(std::filesystem::exists(Server.HostKeyFile()));
  ASSERT_TRUE(Server.Start()) << Server.Log();
  struct stat Key {}, Dir {};
  ASSERT_EQ(0, ::stat(Server.HostKeyFile().c_str(), &Key));
  ASSERT_EQ(0, ::stat(Server.HostKeyFile().parent_path().c_str(), &Dir));
  EXPECT_EQ(0600u, Key.st_mode & 0777);
  EXPECT_EQ(0700u, Dir.st_mode & 0777);
  std::string KeyText = ReadFile(Server.HostKeyFile());
  std::string First;
  {
    TServerTestClient Client;
    ASSERT_TRUE(Client.Connect(Server.Port()));
    First = Client.ServerFingerprint();
  }
  ASSERT_EQ(0, Server.Stop());
  ASSERT_TRUE(Server.Start());
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  EXPECT_EQ(0u, First.rfind("SHA256:", 0));
  EXPECT_EQ(First, Client.ServerFingerprint());
  EXPECT_EQ(KeyText, ReadFile(Server.HostKeyFile()));
  EXPECT_NE(std::string::npos, Server.Log().find("(" + First + ")"));
}

TEST(HestrelServerStart, DefaultHostKeyLivesUnderXdgDataHome) {
  TTestServer Server;
  std::filesystem::path DataHome = Server.Dir() / "xdg";
  Server.SetEnv("XDG_DATA_HOME", DataHome.string());
  ASSERT_TRUE(Server.StartWithArgs({"--port", "0", "--password-file", Server.PasswordFile().string()}))
      << Server.Log();
  struct stat Key {}, Dir {};
  ASSERT_EQ(0, ::stat((DataHome / "hestrel" / "host_key_ed25519").c_str(), &Key));
  ASSERT_EQ(0, ::stat((DataHome / "hestrel").c_str(), &Dir));
  EXPECT_EQ(0600u, Key.st_mode & 0777);
  EXPECT_EQ(0700u, Dir.st_mode & 0777);
}

TEST(HestrelServerStart, HelpAndVersionExitZero) {
  TTestServer Server;
  std::string Output;
  EXPECT_EQ(0, Server.RunToEnd({"--version"}, Output));
  EXPECT_EQ(0u, Output.rfind("hestrel ", 0)) << Output;
  EXPECT_EQ(0, Server.RunToEnd({"--help"}, Output));
  EXPECT_NE(std::string::npos, Output.find("--password-file"));
  EXPECT_EQ(std::string::npos, Output.find("--auth-delay-ms")) << "test hooks stay out of --help";
  EXPECT_EQ(2, Server.RunToEnd({"--no-such-option"}, Output));
  EXPECT_EQ(2, Server.RunToEnd({"--port", "1"}, Output)) << "--password-file is required";
}

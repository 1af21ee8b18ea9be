// The hestrel server as a process on loopback: start-up checks, logins, the command relay,
// limits on connections, its log, and stopping.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "Support.h"
#include "client/Connection.h"
#include "client/RemoteShell.h"

using namespace hestrel;
using namespace hestrel_test;

namespace {

unsigned ModeOf(const fs::path& Path) {
  struct stat Info {};
  return ::stat(Path.c_str(), &Info) == 0 ? Info.st_mode & 0777 : 0;
}

/// A session connected to Port after the key exchange, not logged in (nullptr when refused).
TSshSessionPtr Unauthenticated(int Port) {
  TSshSessionPtr Session(ssh_new());
  int NoConfig = 0;
  ssh_options_set(Session.get(), SSH_OPTIONS_HOST, "127.0.0.1");
  ssh_options_set(Session.get(), SSH_OPTIONS_PORT, &Port);
  ssh_options_set(Session.get(), SSH_OPTIONS_PROCESS_CONFIG, &NoConfig);
  return ssh_connect(Session.get()) == SSH_OK ? std::move(Session) : nullptr;
}

int Login(const TSshSessionPtr& Session, const std::string& User, const std::string& Password) {
  return ssh_userauth_password(Session.get(), User.c_str(), Password.c_str());
}

class HestrelServer : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(Server.Start()) << Server.Log(); }
  TSshSessionPtr LoggedIn() {
    TConnectResult Result = OpenConnection({"u@127.0.0.1", Server.Port, {Server.Password, true, false}, App.Path, {}});
    EXPECT_TRUE(Result.Session) << Result.Error;
    return std::move(Result.Session);
  }
  TTestServer Server;
  TTempDir App;
};

}  // namespace

TEST(HestrelServerStart, RefusesUnsafeOrUnusableSecrets) {
  using TText = std::function<std::string(const TTestServer&)>;
  const std::pair<std::function<void(TTestServer&)>, TText> Cases[] = {
      {[](TTestServer& S) { ::chmod(S.PasswordFile.c_str(), 0640); },
       [](const TTestServer& S) {
         return "hestrel: password file " + S.PasswordFile.string() +
                " is accessible by group or others; restrict it with: chmod 600";
       }},
      {[](TTestServer& S) { fs::remove(S.PasswordFile); },
       [](const TTestServer& S) {
         return "hestrel: cannot open password file " + S.PasswordFile.string() + ": No such file or directory";
       }},
      {[](TTestServer& S) { MakeFile(S.PasswordFile, "\n", 0, 0600); },
       [](const TTestServer& S) {
         return "hestrel: password file " + S.PasswordFile.string() + " holds no password on its first line";
       }},
      {[](TTestServer& S) {
         ASSERT_TRUE(S.Start() && S.Stop() == 0) << S.Log();  // creates the key, 0600
         ::chmod(S.HostKeyFile.c_str(), 0644);
       },
       [](const TTestServer& S) {
         return "host key " + S.HostKeyFile.string() + " is accessible by group or others (chmod 600 it)";
       }},
  };
  for (const auto& [Prepare, Logged] : Cases) {
    TTestServer Server;
    Prepare(Server);
    EXPECT_FALSE(Server.Start());
    EXPECT_TRUE(Server.LogShows(Logged(Server))) << Server.Log();
  }
}

TEST(HestrelServerStart, CommandLine) {
  const std::tuple<std::string, int, std::string> Cases[] = {{"--version", 0, "hestrel "},
                                                             {"--help", 0, "--password-file"},
                                                             {"--no-such-option", 2, ""},
                                                             {"--port 1", 2, ""}};  // --password-file is required
  for (const auto& [Args, Code, Shown] : Cases) {
    FILE* Pipe = ::popen((ZEPH_HESTREL_BINARY " " + Args + " 2>/dev/null").c_str(), "r");
    std::string Output(65536, '\0');
    Output.resize(std::fread(Output.data(), 1, Output.size(), Pipe));
    EXPECT_EQ(WEXITSTATUS(::pclose(Pipe)), Code) << Args;
    EXPECT_NE(Output.find(Shown), std::string::npos) << Output;
    EXPECT_EQ(Output.find("--auth-delay-ms"), std::string::npos) << "test hooks stay out of --help";
  }
}

TEST(HestrelServerStart, KeepsAPrivateHostKeyUnderXdgDataHomeAcrossRestartsAndTakesTheFirstLineAsPassword) {
  TTestServer Server;
  TTempDir App;
  MakeFile(Server.PasswordFile, "first line\r\nsecond line\n", 0, 0600);
  Server.Env = {{"XDG_DATA_HOME", Server.Dir / "xdg"}};
  auto Client = MakeClient(App.Path, 0, {"first line", true, false});
  for (int Run = 0; Run < 2; ++Run) {  // the second run's key must match the known-hosts entry
    ASSERT_TRUE(Server.StartWithArgs({"--port", "0", "--password-file", Server.PasswordFile}));
    Client->SetPort(Server.Port);
    EXPECT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
    Client->Disconnect();
    ASSERT_EQ(0, Server.Stop());
  }
  EXPECT_EQ(0600u, ModeOf(Server.Dir / "xdg/hestrel/host_key_ed25519"));
  EXPECT_EQ(0700u, ModeOf(Server.Dir / "xdg/hestrel"));
  EXPECT_NE(Server.Log().find("_ed25519 (SHA256:"), std::string::npos) << "the log names the key's fingerprint";
  // A relative --host-key holds although commands run in --root.
  const fs::path Relative = fs::relative(Server.Dir.Path / "relative_key", fs::current_path());
  ASSERT_TRUE(
      Server.StartWithArgs({"--port", "0", "--password-file", Server.PasswordFile, "--host-key", Relative, "--root",
                            Server.Dir / "xdg", "--login-grace-seconds", "1", "--auth-delay-ms", "0"}));
  EXPECT_EQ(0600u, ModeOf(Server.Dir / "relative_key"));
  TSshSessionPtr Session = Unauthenticated(Server.Port), Idle = Unauthenticated(Server.Port);
  EXPECT_EQ(SSH_AUTH_DENIED, Login(Session, "u", "second line"));
  EXPECT_EQ(SSH_AUTH_SUCCESS, Login(Session, "u", "first line"));
  EXPECT_TRUE(Server.LogShows(": no login within 1 s"));  // Idle's connection is dropped
}

TEST_F(HestrelServer, ItsPasswordLogsInAnyUserNothingElseDoesAndFailuresAreDelayedAndCounted) {
  EXPECT_EQ("hestrel listening on 127.0.0.1:" + std::to_string(Server.Port), Server.ListeningLine);
  const std::tuple<std::string, std::string, int> Cases[] = {
      {"evil\nhestrel[1]: forged", Server.Password, SSH_AUTH_SUCCESS},
      {"anyone", Server.Password + "x", SSH_AUTH_DENIED},
      {"anyone", Server.Password.substr(0, 3), SSH_AUTH_DENIED}};
  for (const auto& [User, Password, Expected] : Cases)
    EXPECT_EQ(Expected, Login(Unauthenticated(Server.Port), User, Password)) << User << " " << Password;
  TSshSessionPtr Session = Unauthenticated(Server.Port);
  ssh_userauth_none(Session.get(), nullptr);
  EXPECT_EQ(SSH_AUTH_METHOD_PASSWORD, ssh_userauth_list(Session.get(), nullptr));
  const auto Begin = std::chrono::steady_clock::now();
  EXPECT_EQ(SSH_AUTH_DENIED, Login(Session, "anyone", "wrong"));
  EXPECT_GE(std::chrono::steady_clock::now() - Begin, std::chrono::milliseconds(190));
  EXPECT_EQ(SSH_AUTH_DENIED, Login(Session, "x", "no"));
  EXPECT_EQ(SSH_AUTH_DENIED, Login(Session, "x", "no"));
  EXPECT_EQ(SSH_AUTH_ERROR, Login(Session, "x", Server.Password));  // disconnected after the third
  const std::string Log = Server.Log();
  for (const char* Line : {"login of user 'anyone' from 127.0.0.1:", "failed (attempt 1 of 3)", "after 3 failed logins",
                           "login of user 'evil\\x0ahestrel[1]: forged' from "})
    EXPECT_NE(std::string::npos, Log.find(Line)) << Line;
  EXPECT_EQ(std::string::npos, Log.find("\nhestrel[1]: forged"));
  EXPECT_EQ(std::string::npos, Log.find("wrong")) << "the log must never hold a password";
}

TEST_F(HestrelServer, ExecRelaysOutputErrorsAndInputAndHowTheCommandEnded) {
  TSshSessionPtr Session = LoggedIn();
  const std::string Multiline = "echo first\nTOKEN=s3cr3t-value env | grep -c TOKEN";
  const std::tuple<std::string, std::string, std::string> Cases[] = {
      {"printf 'out\\n'; printf 'err\\n' >&2; exit 3", "", "out\n|err\n|3"},
      {"pwd", "", Server.Dir.Path.string() + "\n||0"},  // in the --root directory
      {"cat; echo end", "line one\nline two\n", "line one\nline two\nend\n||0"},
      {"wc -c", std::string(20000000, 'x'), "20000000\n||0"},
      {"kill -TERM $$", "", "||-1"},  // an exit-signal instead
      {Multiline, "", "first\n1\n||0"},
  };
  for (const auto& [Command, Input, Expected] : Cases) {
    const TCommandResult Result = RunCommand(Session.get(), Command, Input);
    EXPECT_EQ(Expected, Result.Out + "|" + Result.Err + "|" + std::to_string(Result.ExitStatus));
  }
  EXPECT_EQ(50000000u, RunCommand(Session.get(), "head -c 50000000 /dev/zero").Out.size());  // window-bound
  // The log names the signal that ended a command, and shows a command by its first line
  // only, never with its environment's values.
  EXPECT_TRUE(Server.LogShows("ended by signal TERM")) << Server.Log();
  EXPECT_NE(Server.Log().find("started command 'echo first ... (" + std::to_string(Multiline.size()) + " bytes)'"),
            std::string::npos);
  EXPECT_EQ(Server.Log().find("s3cr3t-value"), std::string::npos);
}

TEST_F(HestrelServer, ShellPtyAndUnknownSubsystemsAreRefusedAndTheChannelStillServesAnExec) {
  TSshSessionPtr Session = LoggedIn();
  TSshChannelPtr Channel(ssh_channel_new(Session.get()));
  char Buffer[16] = {};
  ASSERT_EQ(SSH_OK, ssh_channel_open_session(Channel.get()));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_pty(Channel.get()));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_shell(Channel.get()));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_subsystem(Channel.get(), "no-such-subsystem"));
  ASSERT_EQ(SSH_OK, ssh_channel_request_exec(Channel.get(), "echo still here"));
  EXPECT_EQ(11, ssh_channel_read(Channel.get(), Buffer, 11, 0));
  EXPECT_STREQ("still here\n", Buffer);
}

TEST_F(HestrelServer, SigtermStopsWithStatusZeroEndingTheCommandsAndWaitingForNoKeyExchange) {
  TSshSessionPtr Session = LoggedIn();
  const int Socket = ::socket(AF_INET, SOCK_STREAM, 0);  // a connection that never starts its key exchange
  const sockaddr_in Address{AF_INET, htons(static_cast<uint16_t>(Server.Port)), {htonl(INADDR_LOOPBACK)}, {}};
  ASSERT_EQ(0, ::connect(Socket, reinterpret_cast<const sockaddr*>(&Address), sizeof Address));
  TExecChannel Channel(Session.get(), "printf '%08d' $$; exec sleep 30");
  char Pid[9] = {};
  ASSERT_TRUE(Channel.ReadOutExactly(Pid, 8));
  const auto Begin = std::chrono::steady_clock::now();
  EXPECT_EQ(0, Server.Stop());
  EXPECT_LT(std::chrono::steady_clock::now() - Begin, std::chrono::seconds(4));
  EXPECT_TRUE(WaitFor([&] { return KillProcess(std::atoi(Pid), 0) != 0 && errno == ESRCH; }));
  EXPECT_NE(std::string::npos, Server.Log().find("received SIGTERM: stopping"));
  ::close(Socket);
}

TEST(HestrelServerLimits, ConnectionsBeyondTheLimitsAreClosedAtOnceAndTheirFloodIsLoggedOnce) {
  for (const std::string Limit : {"--max-connections", "--max-startups"}) {
    TTestServer Server;
    ASSERT_TRUE(Server.Start({Limit, "1"})) << Server.Log();
    TSshSessionPtr First = Unauthenticated(Server.Port);  // key exchange done, no login
    const bool Startups = Limit == "--max-startups";
    if (!Startups) Login(First, "u", Server.Password);
    for (int I = 0; I < 5; ++I) EXPECT_EQ(Unauthenticated(Server.Port), nullptr) << Limit;
    EXPECT_TRUE(Server.LogShows(Startups ? ": 1 connections not logged in yet" : ": 1 connections open"));
    const std::string Log = Server.Log();
    EXPECT_EQ(Log.find("refused connection from"), Log.rfind("refused connection from")) << Log;
    // Once the first one logs in (or leaves) it no longer counts: another user is served.
    if (!Startups) First.reset();
    EXPECT_TRUE(!Startups || Login(First, "u", Server.Password) == SSH_AUTH_SUCCESS);
    EXPECT_TRUE(WaitFor([&] {
      TSshSessionPtr Next = Unauthenticated(Server.Port);
      return Next && Login(Next, "u", Server.Password) == SSH_AUTH_SUCCESS;
    })) << Server.Log();
  }
}

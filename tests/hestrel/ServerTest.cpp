// The hestrel server as a process on loopback: start-up checks, logins, the command relay,
// limits on connections and on what one connection may ask, its log, and stopping.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <latch>
#include <thread>

#include "Support.h"
#include "client/Connection.h"
#include "client/RemoteShell.h"

using namespace hestrel;
using namespace hestrel_test;
using namespace std::string_literals;

namespace {

unsigned ModeOf(const fs::path& Path) {
  struct stat Info {};
  return ::stat(Path.c_str(), &Info) == 0 ? Info.st_mode & 0777 : 0;
}

/// A session from the address From connected to Port after the key exchange, not logged in
/// (nullptr when refused).
TSshSessionPtr Unauthenticated(int Port, const char* From = "127.0.0.1") {
  TSshSessionPtr Session(ssh_new());
  int NoConfig = 0;
  ssh_options_set(Session.get(), SSH_OPTIONS_HOST, "127.0.0.1");
  ssh_options_set(Session.get(), SSH_OPTIONS_BINDADDR, From);
  ssh_options_set(Session.get(), SSH_OPTIONS_PORT, &Port);
  ssh_options_set(Session.get(), SSH_OPTIONS_PROCESS_CONFIG, &NoConfig);
  return ssh_connect(Session.get()) == SSH_OK ? std::move(Session) : nullptr;
}

int Login(const TSshSessionPtr& Session, const std::string& User, const std::string& Password) {
  return Session ? ssh_userauth_password(Session.get(), User.c_str(), Password.c_str()) : SSH_AUTH_ERROR;
}

/// A TCP connection from From to Port that sends Text, if any, and nothing else.
int RawConnection(int Port, const char* From, const std::string& Text = "") {
  const int Socket = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in Address{AF_INET, 0, {::inet_addr(From)}, {}};
  ::bind(Socket, reinterpret_cast<const sockaddr*>(&Address), sizeof Address);
  Address.sin_port = htons(static_cast<uint16_t>(Port));
  Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(Socket, reinterpret_cast<const sockaddr*>(&Address), sizeof Address) != 0) return -1;
  (void)!::write(Socket, Text.data(), Text.size());
  return Socket;
}

/// Runs Command on a new channel after the "env" requests Env: "ok" or "refused" for each
/// request, then "|" and the command's output.
std::string RunWithEnv(ssh_session Session, const std::vector<std::pair<std::string, std::string>>& Env,
                       const std::string& Command) {
  TSshChannelPtr Channel(ssh_channel_new(Session));
  std::string Result;
  if (ssh_channel_open_session(Channel.get()) != SSH_OK) return "no channel";
  for (const auto& [Name, Value] : Env)
    Result += ssh_channel_request_env(Channel.get(), Name.c_str(), Value.c_str()) == SSH_OK ? "ok " : "refused ";
  Result += "|";
  if (ssh_channel_request_exec(Channel.get(), Command.c_str()) != SSH_OK) return Result + "no exec";
  char Buffer[4096];
  for (int N; (N = ssh_channel_read(Channel.get(), Buffer, sizeof Buffer, 0)) > 0;) Result.append(Buffer, N);
  return Result;
}

bool LoggedOnce(const std::string& Log, const std::string& Text) {
  return Log.find(Text) != std::string::npos && Log.find(Text) == Log.rfind(Text);
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
  const auto Refused = [](const char* What, const char* Why) {
    return [=](const TTestServer& S) {
      return std::string(What) + " " + (*What == 'p' ? S.PasswordFile : S.HostKeyFile).string() + Why;
    };
  };
  std::vector<std::pair<std::function<void(TTestServer&)>, TText>> Cases = {
      {[](TTestServer& S) { ::chmod(S.PasswordFile.c_str(), 0640); },
       Refused("password file", " is accessible by group or others; restrict it with: chmod 600")},
      {[](TTestServer& S) { fs::remove(S.PasswordFile); },
       [](const TTestServer& S) {
         return "hestrel: cannot open password file " + S.PasswordFile.string() + ": No such file or directory";
       }},
      {[](TTestServer& S) { MakeFile(S.PasswordFile, "\n", 0, 0600); },
       Refused("password file", " holds no password on its first line")},
      {[](TTestServer& S) {
         ASSERT_TRUE(S.Start() && S.Stop() == 0) << S.Log();  // creates the key, 0600
         ::chmod(S.HostKeyFile.c_str(), 0644);
       },
       Refused("host key", " is accessible by group or others; restrict it with: chmod 600")},
      {[](TTestServer& S) { fs::remove(S.PasswordFile), ::mkfifo(S.PasswordFile.c_str(), 0600); },
       Refused("password file", " is not a regular file")},
      {[](TTestServer& S) {
         fs::create_directories(S.HostKeyFile.parent_path()), ::mkfifo(S.HostKeyFile.c_str(), 0600);
       },
       Refused("host key", " is not a regular file")},
      {[](TTestServer& S) {
         fs::rename(S.PasswordFile, S.Dir / "real"), fs::create_symlink(S.Dir / "real", S.PasswordFile);
       },
       Refused("password file", " is a symbolic link; give the file itself")},
      {[](TTestServer& S) {
         fs::create_directories(S.HostKeyFile.parent_path()), ::chmod((S.Dir / "keys").c_str(), 0775);
       },
       [](const TTestServer& S) {
         return "the directory of host key " + S.HostKeyFile.string() + " is writable by group or others";
       }},
  };
  if (::geteuid() == 0)  // only root can give the file to another user
    Cases.emplace_back([](TTestServer& S) { (void)!::chown(S.PasswordFile.c_str(), 65534, 65534); },
                       Refused("password file", " belongs to uid 65534, not to the user running hestrel (uid 0)"));
  for (const auto& [Prepare, Logged] : Cases) {
    TTestServer Server;
    Prepare(Server);
    EXPECT_FALSE(Server.Start());
    EXPECT_TRUE(Server.LogShows(Logged(Server))) << Server.Log();
  }
}

TEST(HestrelServerStart, CommandLine) {
  const std::tuple<std::string, int, std::string> Cases[] = {
      {"--version", 0, "hestrel "},
      {"--help", 0, "--allow-root"},
      {"--no-such-option", 2, ""},
      {"--port 1", 2, ""},  // --password-file is required
      {"--password-file /dev/null", 1,
       ::geteuid() == 0 ? "hestrel: refusing to run as root: anyone with the password would run commands as root; "
                          "start it as an ordinary user, or give --allow-root"
                        : "/dev/null is not a regular file"}};
  for (const auto& [Args, Code, Shown] : Cases) {
    FILE* Pipe = ::popen((ZEPH_HESTREL_BINARY " " + Args + " 2>&1").c_str(), "r");
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
    ASSERT_TRUE(Server.StartWithArgs({"--port", "0", "--password-file", Server.PasswordFile, "--allow-root"}));
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
                            Server.Dir / "xdg", "--login-grace-seconds", "1", "--auth-delay-ms", "0", "--allow-root"}));
  EXPECT_EQ(0600u, ModeOf(Server.Dir / "relative_key"));
  TSshSessionPtr Session = Unauthenticated(Server.Port), Idle = Unauthenticated(Server.Port);
  EXPECT_EQ(SSH_AUTH_DENIED, Login(Session, "u", "second line"));
  EXPECT_EQ(SSH_AUTH_SUCCESS, Login(Session, "u", "first line"));
  EXPECT_TRUE(Server.LogShows(": no login within 1 s"));  // Idle's connection is dropped
}

TEST(HestrelServerStart, OpensDevNullOnClosedStandardDescriptors) {
  TTestServer Server;
  Server.Launcher = {"/bin/sh", "-c", "exec \"$0\" \"$@\" <&- 2>&-"};
  ASSERT_TRUE(Server.Start());
  for (const char* Fd : {"0", "2"})
    EXPECT_EQ("/dev/null", fs::read_symlink("/proc/" + std::to_string(Server.Pid) + "/fd/" + Fd)) << Fd;
}

TEST_F(HestrelServer, ItsPasswordLogsInAnyUserNothingElseDoesAndFailuresAreDelayedAndCounted) {
  EXPECT_EQ("hestrel listening on 127.0.0.1:" + std::to_string(Server.Port), Server.ListeningLine);
  const std::tuple<std::string, std::string, int> Cases[] = {
      {"evil\nhestrel[1]: forged", Server.Password, SSH_AUTH_SUCCESS},
      {"C1\xc2\x85 bidi\xe2\x80\xae invalid\xff \\x0a", Server.Password, SSH_AUTH_SUCCESS},
      {std::string(120000, 'u'), Server.Password, SSH_AUTH_SUCCESS},
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
  for (const std::string& Line : {"login of user 'anyone' from 127.0.0.1:"s, "failed (attempt 1 of 3)"s,
                                  "after 3 failed logins"s, "login of user 'evil\\x0ahestrel[1]: forged' from "s,
                                  "accepted (commands run as "s + ::getpwuid(::geteuid())->pw_name + ")",
                                  "login of user 'C1\\xc2\\x85 bidi\\xe2\\x80\\xae invalid\\xff \\\\x0a' from "s,
                                  "login of user '" + std::string(100, 'u') + " ... (120000 bytes)' from "})
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

TEST_F(HestrelServer, ShellPtyForwardingAndUnknownSubsystemsAreRefusedOnceLoggedAndChannelsAreBounded) {
  TSshSessionPtr Session = LoggedIn();
  TSshChannelPtr Channel(ssh_channel_new(Session.get()));
  char Buffer[16] = {};
  ASSERT_EQ(SSH_OK, ssh_channel_open_session(Channel.get()));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_pty(Channel.get()));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_shell(Channel.get()));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_subsystem(Channel.get(), std::string(120000, 's').c_str()));
  EXPECT_EQ(SSH_ERROR, ssh_channel_request_x11(Channel.get(), 0, nullptr, nullptr, 0));
  for (int Twice = 0; Twice < 2; ++Twice) {
    ssh_channel_request_auth_agent(Channel.get());  // answered by no reply at all
    TSshChannelPtr Forward(ssh_channel_new(Session.get()));
    EXPECT_NE(SSH_OK, ssh_channel_open_forward(Forward.get(), "127.0.0.1", 22, "127.0.0.1", 5555));
    EXPECT_NE(SSH_OK, ssh_channel_listen_forward(Session.get(), nullptr, 0, nullptr));
  }
  ASSERT_EQ(SSH_OK, ssh_channel_request_exec(Channel.get(), "echo still here"));
  EXPECT_EQ(11, ssh_channel_read(Channel.get(), Buffer, 11, 0));
  EXPECT_STREQ("still here\n", Buffer);
  std::vector<TSshChannelPtr> More;  // the default --max-channels is 10
  for (int I = 0; I < 10; ++I) More.emplace_back(ssh_channel_new(Session.get()));
  for (int I = 0; I < 10; ++I) EXPECT_EQ(I < 9 ? SSH_OK : SSH_ERROR, ssh_channel_open_session(More[I].get())) << I;
  const std::string Log = Server.Log();
  for (const std::string& Line : {"refused unknown subsystem '" + std::string(100, 's') + " ... (120000 bytes)' from ",
                                  "refused port forwarding for "s, "refused X11 forwarding for "s,
                                  "refused agent forwarding for "s, "refused a channel from 127.0.0.1:"s})
    EXPECT_TRUE(LoggedOnce(Log, Line)) << Line << "\n" << Log;
}

TEST(HestrelServerCommands, StartInANewSessionWithDefaultSignalsOnlyTheirPipesAndAFewVariables) {
  TTestServer Server;
  Server.Env = {{"SSH_AUTH_SOCK", "/tmp/agent"}, {"TOKEN", "secret"}, {"TZ", "UTC"}};
  Server.Launcher = {"/bin/sh", "-c", "trap '' USR1 USR2; exec \"$0\" \"$@\""};
  ASSERT_TRUE(Server.Start()) << Server.Log();
  TSshSessionPtr Session = Unauthenticated(Server.Port);
  ASSERT_EQ(SSH_AUTH_SUCCESS, Login(Session, "u", Server.Password));
  const std::vector<std::pair<std::string, std::string>> Asked = {
      {"LANG", "fr_FR.UTF-8"}, {"LC_TIME", "C"}, {"LD_PRELOAD", "/x.so"}, {"TOKEN2", "x"}};
  std::string ThirtyTwoOks;
  for (int I = 0; I < 32; ++I) ThirtyTwoOks += "ok ";
  const std::tuple<std::vector<std::pair<std::string, std::string>>, std::string, std::string> Cases[] = {
      {Asked, "echo ${SSH_AUTH_SOCK-none} ${TOKEN-none} ${LD_PRELOAD-none} ${TOKEN2-none} $LANG $LC_TIME $TZ",
       "ok ok refused refused |none none none none fr_FR.UTF-8 C UTC\n"},
      {std::vector(33, std::pair<std::string, std::string>("LC_ALL", "C")), "echo $LC_ALL",
       ThirtyTwoOks + "refused |C\n"},
      {{}, "grep -E '^Sig(Blk|Ign)' /proc/self/status", "|SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n"},
      {{},
       "read -r p c s pp pg sid rest </proc/$$/stat; [ $sid = $$ ] && echo leader; ls /proc/$$/fd | tr '\\n' ' '",
       "|leader\n0 1 2 "}};
  for (const auto& [Env, Command, Expected] : Cases) EXPECT_EQ(Expected, RunWithEnv(Session.get(), Env, Command));
  const std::string Log = Server.Log();
  EXPECT_TRUE(LoggedOnce(Log, "refused environment variable ")) << Log;
  EXPECT_NE(Log.find("refused environment variable 'LD_PRELOAD' from "), std::string::npos) << Log;
  EXPECT_TRUE(LoggedOnce(Log, "refused environment variables from 127.0.0.1:")) << Log;
}

TEST_F(HestrelServer, SigtermStopsWithStatusZeroEndingTheCommandsAndWaitingForNoKeyExchange) {
  TSshSessionPtr Session = LoggedIn();
  const int Socket = RawConnection(Server.Port, "127.0.0.1");  // never starts its key exchange
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

TEST(HestrelServerLimits, ConnectionsBeyondTheLimitAreClosedAtOnceAndTheirFloodIsLoggedOnce) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start({"--max-connections", "1"})) << Server.Log();
  TSshSessionPtr First = Unauthenticated(Server.Port);
  Login(First, "u", Server.Password);
  for (int I = 0; I < 5; ++I) EXPECT_EQ(Unauthenticated(Server.Port), nullptr);
  EXPECT_TRUE(Server.LogShows(": 1 connections open"));
  EXPECT_TRUE(LoggedOnce(Server.Log(), "refused connection from")) << Server.Log();
  First.reset();  // once it leaves, another user is served
  EXPECT_TRUE(WaitFor([&] {
    TSshSessionPtr Next = Unauthenticated(Server.Port);
    return Next && Login(Next, "u", Server.Password) == SSH_AUTH_SUCCESS;
  })) << Server.Log();
}

TEST(HestrelServerLimits, IdleConnectionsOfOneAddressMakeRoomForAUserFromAnotherAndAreDroppedSoon) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start({"--max-startups", "4", "--banner-grace-seconds", "1"})) << Server.Log();
  std::vector<int> Idle;
  for (int I = 0; I < 8; ++I) Idle.push_back(RawConnection(Server.Port, "127.0.0.2"));
  const int Closes = RawConnection(Server.Port, "127.0.0.3"),
            Old = RawConnection(Server.Port, "127.0.0.3", "SSH-1.5-x\r\n");
  ::close(Closes);
  TSshSessionPtr User = Unauthenticated(Server.Port, "127.0.0.4");
  EXPECT_EQ(SSH_AUTH_SUCCESS, Login(User, "u", Server.Password)) << Server.Log();
  char Buffer[256];
  EXPECT_TRUE(WaitFor([&] { return ::recv(Idle.back(), Buffer, sizeof Buffer, MSG_DONTWAIT) == 0; }, 3000));
  for (const char* Line : {"closed the connection from 127.0.0.2:", "the most of them from 127.0.0.2",
                           "failed: the client closed the connection before sending its banner",
                           "failed: the client's banner 'SSH-1.5-x' is not SSH 2.0", ": no key exchange within 1 s"})
    EXPECT_TRUE(Server.LogShows(Line)) << Line << "\n" << Server.Log();
  for (int Socket : Idle) ::close(Socket);
  ::close(Old);
}

TEST(HestrelServerLimits, FailedLoginsOfOneAddressWaitLongerThenRefuseItWhileOthersGetInAtOnce) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start({"--auth-delay-ms", "100"})) << Server.Log();
  const auto Timed = [](const std::function<void()>& Call) {
    const auto Begin = std::chrono::steady_clock::now();
    Call();
    return std::chrono::steady_clock::now() - Begin;
  };
  std::vector<std::chrono::steady_clock::duration> Waits;
  for (TSshSessionPtr Guesser; Waits.size() < 10;) {
    if (Waits.size() % 3 == 0) Guesser = Unauthenticated(Server.Port, "127.0.0.2");
    Waits.push_back(Timed([&] { EXPECT_NE(SSH_AUTH_SUCCESS, Login(Guesser, "u", "guess")); }));
  }
  // 100 ms, doubled after every three failures; the tenth is refused without a wait.
  EXPECT_TRUE(Waits[0] >= std::chrono::milliseconds(100) && Waits[8] >= std::chrono::milliseconds(400));
  EXPECT_LT(Waits[9], Waits[0]);
  EXPECT_EQ(nullptr, Unauthenticated(Server.Port, "127.0.0.2"));
  TSshSessionPtr User = Unauthenticated(Server.Port, "127.0.0.3");
  EXPECT_LT(Timed([&] { EXPECT_EQ(SSH_AUTH_SUCCESS, Login(User, "u", Server.Password)); }), Waits[0]);
  EXPECT_TRUE(LoggedOnce(Server.Log(), "refusing logins from 127.0.0.2 for 60 s after 10 failed logins"))
      << Server.Log();
  EXPECT_TRUE(Server.LogShows("refused connection from 127.0.0.2:"));
}

TEST(HestrelServerLimits, ThirtyTwoSimultaneousLoginsLeaveRoomForAFullSetOfNewConnections) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start({"--max-startups", "32"})) << Server.Log();
  std::vector<TSshSessionPtr> Sessions(32);
  std::vector<int> Results(32, -1);
  std::latch Connected(32);
  std::vector<std::thread> Threads;
  for (int I = 0; I < 32; ++I)
    Threads.emplace_back([&, I] {
      Sessions[I] = Unauthenticated(Server.Port);
      Connected.arrive_and_wait();
      if (Sessions[I]) Results[I] = Login(Sessions[I], "u", Server.Password);
    });
  for (auto& Thread : Threads) Thread.join();
  EXPECT_EQ(std::vector<int>(32, SSH_AUTH_SUCCESS), Results);
  std::vector<TSshSessionPtr> Fresh;  // held at once: --max-startups of them
  for (int I = 0; I < 32; ++I) EXPECT_NE(nullptr, Fresh.emplace_back(Unauthenticated(Server.Port))) << I;
  EXPECT_EQ(std::string::npos, Server.Log().find("refused connection")) << Server.Log();
  EXPECT_EQ(std::string::npos, Server.Log().find("to make room")) << Server.Log();
}

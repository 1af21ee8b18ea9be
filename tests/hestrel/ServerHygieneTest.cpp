// Tests of the hestrel server's guards: what its log may hold (no forged lines, no command
// environment values), a private host key that must stay private, a relative --host-key,
// and the bound on connections served at once.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "ServerTestClient.h"
#include "TestServer.h"

using hestrel_test::TExecResult;
using hestrel_test::TServerTestClient;
using hestrel_test::TTestServer;

namespace {

/// Waits until the server's log holds Text (or TimeoutMs passes).
bool LogShows(const TTestServer& Server, const std::string& Text, int TimeoutMs = 3000) {
  const auto Deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(TimeoutMs);
  while (std::chrono::steady_clock::now() < Deadline) {
    if (Server.Log().find(Text) != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

}  // namespace

TEST(HestrelServerLog, AUserNameCannotForgeALogLine) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start()) << Server.Log();
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  EXPECT_EQ(SSH_AUTH_SUCCESS, Client.Login("evil\nhestrel[1]: forged", Server.Password()));
  EXPECT_TRUE(LogShows(Server, "login of user 'evil\\x0ahestrel[1]: forged' from ")) << Server.Log();
  EXPECT_EQ(std::string::npos, Server.Log().find("\nhestrel[1]: forged"));
}

TEST(HestrelServerLog, ACommandIsLoggedByItsFirstLineOnly) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start()) << Server.Log();
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  ASSERT_EQ(SSH_AUTH_SUCCESS, Client.Login("u", Server.Password()));
  const std::string Command = "echo first\nTOKEN=s3cr3t-value env | grep -c TOKEN";
  const TExecResult Result = Client.Exec(Command);
  ASSERT_TRUE(Result.Ok);
  EXPECT_EQ("first\n1\n", Result.Out);
  EXPECT_TRUE(LogShows(Server, "started command 'echo first ... (" + std::to_string(Command.size()) + " bytes)'"))
      << Server.Log();
  EXPECT_EQ(std::string::npos, Server.Log().find("s3cr3t-value"));
}

TEST(HestrelServerStart, RefusesAHostKeyOthersCanRead) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start()) << Server.Log();  // creates the key, 0600
  ASSERT_EQ(0, Server.Stop());
  ::chmod(Server.HostKeyFile().c_str(), 0644);
  EXPECT_FALSE(Server.Start());
  EXPECT_TRUE(LogShows(Server, "host key " + Server.HostKeyFile().string() +
                                   " is accessible by group or others (chmod 600 it)"))
      << Server.Log();
}

TEST(HestrelServerStart, ARelativeHostKeyPathWorksAlthoughCommandsRunElsewhere) {
  TTestServer Server;
  const std::filesystem::path Relative =
      std::filesystem::relative(Server.Dir() / "relative_key", std::filesystem::current_path());
  ASSERT_TRUE(Relative.is_relative());
  ASSERT_TRUE(Server.StartWithArgs({"--port", "0", "--password-file", Server.PasswordFile().string(), "--host-key",
                                    Relative.string(), "--root", (Server.Dir() / "..").string()}))
      << Server.Log();
  EXPECT_TRUE(std::filesystem::exists(Server.Dir() / "relative_key"));
  TServerTestClient Client;
  ASSERT_TRUE(Client.Connect(Server.Port()));
  EXPECT_EQ(SSH_AUTH_SUCCESS, Client.Login("u", Server.Password()));
}

/// Connects and logs in, retrying for a while (the listener learns of logins and ends of
/// connections through signals, a moment after they happen).
bool ServedSoon(const TTestServer& Server) {
  for (int Attempt = 0; Attempt < 50; ++Attempt) {
    TServerTestClient Client;
    if (Client.Connect(Server.Port()) && Client.Login("u", Server.Password()) == SSH_AUTH_SUCCESS) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return false;
}

TEST(HestrelServerStart, ConnectionsBeyondTheLimitAreClosedAtOnce) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start({"--max-connections", "1"})) << Server.Log();
  {
    TServerTestClient First;
    ASSERT_TRUE(First.Connect(Server.Port()));
    ASSERT_EQ(SSH_AUTH_SUCCESS, First.Login("u", Server.Password()));
    TServerTestClient Second;
    EXPECT_FALSE(Second.Connect(Server.Port()));
    EXPECT_TRUE(LogShows(Server, ": 1 connections open")) << Server.Log();
  }
  EXPECT_TRUE(ServedSoon(Server)) << Server.Log();  // the first one is gone
}

TEST(HestrelServerStart, IdleConnectionsThatNeverLogInCannotShutOutTheUsers) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start({"--max-startups", "1"})) << Server.Log();
  TServerTestClient Idle;
  ASSERT_TRUE(Idle.Connect(Server.Port()));  // key exchange done, no login
  TServerTestClient Second;
  EXPECT_FALSE(Second.Connect(Server.Port()));
  EXPECT_TRUE(LogShows(Server, ": 1 connections not logged in yet")) << Server.Log();
  // Once the idle one logs in it no longer counts: another user is served beside it.
  ASSERT_EQ(SSH_AUTH_SUCCESS, Idle.Login("u", Server.Password()));
  EXPECT_TRUE(ServedSoon(Server)) << Server.Log();
}

TEST(HestrelServerStart, AFloodOfRefusalsIsLoggedOnceWithItsCount) {
  TTestServer Server;
  ASSERT_TRUE(Server.Start({"--max-startups", "1"})) << Server.Log();
  TServerTestClient Idle;
  ASSERT_TRUE(Idle.Connect(Server.Port()));
  for (int I = 0; I < 5; ++I) {
    TServerTestClient Refused;
    EXPECT_FALSE(Refused.Connect(Server.Port()));
  }
  EXPECT_TRUE(LogShows(Server, "connections not logged in yet")) << Server.Log();
  const std::string Log = Server.Log();
  std::size_t Lines = 0;
  for (std::size_t At = Log.find("refused connection from"); At != std::string::npos;
       At = Log.find("refused connection from", At + 1))
    ++Lines;
  EXPECT_EQ(Lines, 1u) << Log;
}

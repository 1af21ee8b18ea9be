// Hestrel client against a real OpenSSH sshd on loopback: connecting, host keys,
// authentication failures, unreachable hosts and the retry listener.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sodium.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>

#include "ClientTestSupport.h"
#include "client/ClientErrors.h"
#include "client/ClientFactory.h"
#include "client/HestrelClient.h"
#include "client/KnownHosts.h"
#include "client/PasswordCipher.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;

class HestrelClientConnect : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    Sshd = new TTestSshd;
    ASSERT_TRUE(Sshd->Start()) << Sshd->Log();
  }
  static void TearDownTestSuite() {
    delete Sshd;
    Sshd = nullptr;
  }
  std::shared_ptr<THestrelClient> MakeClient(const std::string& Host, int Port, THestrelClientOptions Options) {
    auto Client = std::make_shared<THestrelClient>("test", AppData.Path().string(), Options);
    Client->SetHostName(Host);
    Client->SetPort(Port);
    Client->SetCredential({"", true, false});
    return Client;
  }
  std::shared_ptr<THestrelClient> MakeClient() { return MakeClient("127.0.0.1", Sshd->Port(), Sshd->Options()); }

  static TTestSshd* Sshd;
  TTempDir AppData;
};
TTestSshd* HestrelClientConnect::Sshd = nullptr;

TEST_F(HestrelClientConnect, KeyAuthenticationConnectsAndRecordsTheHostKey) {
  auto Client = MakeClient();
  ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  EXPECT_TRUE(Client->IsConnected());
  const std::string Known = Slurp(KnownHostsPath(AppData.Path().string()));
  EXPECT_EQ(Known.rfind("[127.0.0.1]:" + std::to_string(Sshd->Port()) + " ", 0), 0u) << Known;
  Client->Disconnect();
  EXPECT_FALSE(Client->IsConnected());
  ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();  // the recorded key matches
}

TEST_F(HestrelClientConnect, UserInTheHostNameIsUsed) {
  auto Client = MakeClient("root@127.0.0.1", Sshd->Port(), Sshd->Options());
  ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  auto Nobody = MakeClient("nobody@127.0.0.1", Sshd->Port(), Sshd->Options());
  EXPECT_FALSE(Nobody->Connect(nullptr));  // sshd refuses nobody (no login shell, no key)
  EXPECT_EQ(Nobody->GetLastError(), Format(sErrAuthFailed, {"nobody", "127.0.0.1", std::int64_t(Sshd->Port())}));
}

TEST_F(HestrelClientConnect, ChangedHostKeyRefusesTheConnectionNamingHostAndPort) {
  TTempDir Keys;
  ASSERT_EQ(Shell("ssh-keygen -q -t ed25519 -N '' -f " + Keys / "other" + " >/dev/null"), 0);
  std::filesystem::create_directories(AppData.Path());
  const std::string Known = KnownHostsPath(AppData.Path().string());
  MakeFile(Known, "[127.0.0.1]:" + std::to_string(Sshd->Port()) + " " + Slurp(Keys / "other.pub"));
  TScriptedConnectionListener Listener;
  Listener.RetriesGranted = 5;
  auto Client = MakeClient();
  EXPECT_FALSE(Client->Connect(&Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrHostKeyChanged, {"127.0.0.1", std::int64_t(Sshd->Port()), Known}));
  EXPECT_EQ(Listener.RetryCalls, 0);  // not a network failure: retrying would not help
  EXPECT_FALSE(Client->IsConnected());
}

TEST_F(HestrelClientConnect, KeyThatIsNotAuthorisedFailsAuthentication) {
  TTempDir Empty;
  THestrelClientOptions Options = Sshd->Options();
  Options.SshDirectory = Empty.Path().string();
  auto Client = MakeClient("root@127.0.0.1", Sshd->Port(), Options);
  EXPECT_FALSE(Client->Connect(nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrAuthFailed, {"root", "127.0.0.1", std::int64_t(Sshd->Port())}));
}

TEST_F(HestrelClientConnect, PasswordRefusedByTheServerFailsAuthentication) {
  auto Client = MakeClient("root@127.0.0.1", Sshd->Port(), Sshd->Options());
  Client->SetCredential({"wrong", true, false});
  EXPECT_FALSE(Client->Connect(nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrAuthFailed, {"root", "127.0.0.1", std::int64_t(Sshd->Port())}));
}

TEST_F(HestrelClientConnect, TamperedStoredPasswordIsReportedAndNotSent) {
  std::string Stored = TPasswordCipher(AppData.Path().string()).Encrypt("pw");
  Stored[8] = Stored[8] == 'x' ? 'y' : 'x';
  auto Client = MakeClient();
  Client->SetCredential({Stored, true, true});
  EXPECT_FALSE(Client->Connect(nullptr));
  EXPECT_EQ(Client->GetLastError(),
            Format(sErrPasswordTampered, {TPasswordCipher(AppData.Path().string()).KeyFilePath()}));
}

TEST_F(HestrelClientConnect, MissingPasswordFileIsReported) {
  auto Client = MakeClient();
  Client->SetCredential({AppData / "none.passfile", false, false});
  EXPECT_FALSE(Client->Connect(nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrPasswordFile, {AppData / "none.passfile"}));
}

TEST_F(HestrelClientConnect, UnknownHostIsReportedWithoutRetry) {
  TScriptedConnectionListener Listener;
  Listener.RetriesGranted = 5;
  auto Client = MakeClient("nonexistent.invalid", 2222, Sshd->Options());
  EXPECT_FALSE(Client->Connect(&Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrHostNotFound, {"nonexistent.invalid", std::int64_t(2222)}));
  EXPECT_EQ(Listener.RetryCalls, 0);
}

TEST_F(HestrelClientConnect, RefusedPortAsksTheListenerAndRetriesWhileItAgrees) {
  const int Port = FreeLoopbackPort();
  TScriptedConnectionListener Listener;
  Listener.RetriesGranted = 1;
  auto Client = MakeClient("127.0.0.1", Port, Sshd->Options());
  EXPECT_FALSE(Client->Connect(&Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrConnectionRefused, {"127.0.0.1", std::int64_t(Port)}));
  EXPECT_EQ(Listener.RetryCalls, 2);  // yes once (a second attempt), then no
  EXPECT_EQ(Listener.AbortCalls, 1);
}

TEST_F(HestrelClientConnect, AbortStopsRetrying) {
  TScriptedConnectionListener Listener;
  Listener.RetriesGranted = 5;
  Listener.AbortAnswer = true;
  auto Client = MakeClient("127.0.0.1", FreeLoopbackPort(), Sshd->Options());
  EXPECT_FALSE(Client->Connect(&Listener));
  EXPECT_EQ(Listener.RetryCalls, 1);
  EXPECT_EQ(Listener.AbortCalls, 1);
}

TEST_F(HestrelClientConnect, SilentServerTimesOutWithinTheBoundAndAsksToRetry) {
  // A socket that listens but never answers: the TCP handshake completes, no SSH banner comes.
  const int Fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in Address{};
  Address.sin_family = AF_INET;
  Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(::bind(Fd, reinterpret_cast<sockaddr*>(&Address), sizeof Address), 0);
  ASSERT_EQ(::listen(Fd, 8), 0);
  socklen_t Length = sizeof Address;
  ::getsockname(Fd, reinterpret_cast<sockaddr*>(&Address), &Length);
  const int Port = ntohs(Address.sin_port);
  THestrelClientOptions Options = Sshd->Options();
  Options.ConnectTimeoutSeconds = 1;
  TScriptedConnectionListener Listener;
  auto Client = MakeClient("127.0.0.1", Port, Options);
  const auto Start = std::chrono::steady_clock::now();
  EXPECT_FALSE(Client->Connect(&Listener));
  const auto Elapsed = std::chrono::steady_clock::now() - Start;
  ::close(Fd);
  EXPECT_EQ(Client->GetLastError(), Format(sErrTimedOut, {"127.0.0.1", std::int64_t(Port)}));
  EXPECT_LT(Elapsed, std::chrono::seconds(4));
  EXPECT_EQ(Listener.RetryCalls, 1);
}

TEST_F(HestrelClientConnect, FactoryMakesClientsAndProfiles) {
  THestrelClientFactory Factory(AppData.Path().string(), Sshd->Options());
  TRAClientPtr Client = Factory.CreateClient("profile-a", "");
  ASSERT_NE(Client, nullptr);
  EXPECT_EQ(Client->GetName(), "profile-a");
  Client->SetHostName("127.0.0.1");
  Client->SetPort(Sshd->Port());
  Client->SetCredential({"", true, false});
  EXPECT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  EXPECT_NE(Factory.CreateProfile(), nullptr);
}

TEST_F(HestrelClientConnect, OperationsWithoutAConnectionFailWithNotConnected) {
  auto Client = MakeClient();
  std::string Expanded;
  EXPECT_FALSE(Client->ExpandPath("~", Expanded));
  EXPECT_EQ(Client->GetLastError(), sErrNotConnected);
  EXPECT_EQ(Client->GetEnv(), nullptr);
  EXPECT_FALSE(Client->DirExists("/"));
}

namespace {

constexpr unsigned char Mask = 0x5a;  // the searched bytes are kept masked, so the test holds no copy

/// Counts the places in this process's writable memory (heap, anonymous maps, stacks, data)
/// that hold the bytes whose masked form is Masked. The memory is read through /proc/self/mem,
/// so a page that cannot be read is an error to skip, not a crash, and the reads are not
/// AddressSanitizer's business (it would see freed memory read on purpose). Regions of 1 GiB
/// or more are passed over: only AddressSanitizer's reserved shadow is that big here.
int CopiesInMemory(const std::vector<unsigned char>& Masked) {
  constexpr std::size_t MaxRegion = std::size_t{1} << 30;
  constexpr std::size_t Chunk = std::size_t{1} << 20;
  const int Mem = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  if (Mem < 0) return -1;
  std::ifstream Maps("/proc/self/maps");
  std::vector<unsigned char> Buffer(Chunk + Masked.size());
  int Found = 0;
  for (std::string Line; std::getline(Maps, Line);) {
    unsigned long Begin = 0, End = 0;
    char Perms[5] = {};
    if (std::sscanf(Line.c_str(), "%lx-%lx %4s", &Begin, &End, Perms) != 3 || std::strncmp(Perms, "rw", 2) != 0 ||
        End - Begin >= MaxRegion)
      continue;
    // Chunks overlap by the pattern's length, so a copy across a chunk border is still seen.
    for (unsigned long At = Begin; At < End; At += Chunk) {
      const std::size_t Want = std::min<std::size_t>(Buffer.size(), End - At);
      const ssize_t Got = ::pread(Mem, Buffer.data(), Want, static_cast<off_t>(At));
      if (Got < static_cast<ssize_t>(Masked.size())) continue;
      const std::size_t Last = std::min<std::size_t>(static_cast<std::size_t>(Got) - Masked.size(), Chunk - 1);
      const unsigned char First = Masked[0] ^ Mask;
      for (const unsigned char* P = Buffer.data(); (P = static_cast<const unsigned char*>(
                                                        std::memchr(P, First, Buffer.data() + Last + 1 - P)));
           ++P) {
        std::size_t J = 1;
        while (J < Masked.size() && (P[J] ^ Mask) == Masked[J]) ++J;
        if (J == Masked.size()) ++Found;
      }
    }
  }
  ::close(Mem);
  return Found;
}

}  // namespace

TEST_F(HestrelClientConnect, ALongPasswordFileLineLeavesNoCopyInMemory) {
  // 20,000 random letters, longer than any stream buffer; written with write(2) and wiped, so
  // only the client's reading can leave copies behind. Three slices of it are looked for.
  std::vector<unsigned char> Password(20000);
  for (auto& C : Password) C = static_cast<unsigned char>('a' + randombytes_uniform(26));
  std::vector<std::vector<unsigned char>> Slices;
  for (const std::size_t At : {300u, 8500u, 17000u}) {
    Slices.emplace_back(Password.begin() + At, Password.begin() + At + 64);
    for (auto& C : Slices.back()) C ^= Mask;
  }
  const std::string File = AppData / "password";
  const int Fd = ::open(File.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ASSERT_GE(Fd, 0);
  ASSERT_EQ(::write(Fd, Password.data(), Password.size()), static_cast<ssize_t>(Password.size()));
  ASSERT_EQ(::write(Fd, "\nsecond line\n", 13), 13);
  ::close(Fd);
  sodium_memzero(Password.data(), Password.size());
  for (const auto& Slice : Slices) ASSERT_EQ(CopiesInMemory(Slice), 0);
  {
    auto Client = MakeClient();  // this sshd takes keys only: the password is read, never sent
    Client->SetCredential({File, false, false});
    EXPECT_FALSE(Client->Connect(nullptr));
  }
  int Copies = 0;
  for (const auto& Slice : Slices) Copies += CopiesInMemory(Slice);
  EXPECT_EQ(Copies, 0);
}

TEST_F(HestrelClientConnect, APasswordFileWithoutALineEndWithinReachIsRefused) {
  const std::string File = AppData / "huge";
  MakeFile(File, std::string(70000, 'p'));
  auto Client = MakeClient();
  Client->SetCredential({File, false, false});
  EXPECT_FALSE(Client->Connect(nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrPasswordFile, {File}));
}

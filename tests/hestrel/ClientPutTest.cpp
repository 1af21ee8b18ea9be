// Hestrel client against a real OpenSSH sshd: PutFile (overwrite questions, whole files,
// times kept, cancel) and RemoveRemoteFile.
#include <sys/stat.h>

#include "ClientSshdFixture.h"
#include "client/ClientErrors.h"
#include "client/LocalPaths.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;

namespace {
std::int64_t MTime(const std::string& Path) {
  struct stat St;
  return stat(Path.c_str(), &St) == 0 ? St.st_mtim.tv_sec : -1;
}
}  // namespace

class HestrelClientPut : public TSshdClientTest {};

TEST_F(HestrelClientPut, PutFileCopiesTheFileKeepingItsTime) {
  MakeFile(Local / "app.bin", "payload", 1500000123);
  ASSERT_TRUE(Client->PutFile(Remote.Path().string(), Local / "app.bin", 0, "", &Listener)) << Client->GetLastError();
  EXPECT_EQ(Slurp(Remote / "app.bin"), "payload");
  EXPECT_EQ(MTime(Remote / "app.bin"), 1500000123);
  EXPECT_TRUE(Listener.Overwrites.empty());
  EXPECT_EQ(Listener.LastS1, Remote / "app.bin");
  EXPECT_EQ(Listener.LastS2, Local / "app.bin");
  EXPECT_EQ(Listener.LastS3, Remote / "app.bin");
  EXPECT_EQ(Listener.LastDone, 7);
  EXPECT_EQ(TreeOf(Remote.Path().string()), std::vector<std::string>{"app.bin"});
}

TEST_F(HestrelClientPut, RemoteNameAndBackslashSeparatorsAreHonoured) {
  MakeFile(Local / "app.bin", "payload");
  std::filesystem::create_directories(Remote.Path() / "a" / "b");
  ASSERT_TRUE(Client->PutFile(Remote / "a\\b", Local / "app.bin", 0, "renamed.bin", nullptr)) << Client->GetLastError();
  EXPECT_EQ(Slurp(Remote / "a/b/renamed.bin"), "payload");
}

TEST_F(HestrelClientPut, ExistingRemoteFileIsKeptWhenOverwriteSaysNo) {
  MakeFile(Remote / "app.bin", "old remote", 1400000000);
  MakeFile(Local / "app.bin", "new", 1500000000);
  Listener.OverwriteAnswer = false;
  ASSERT_TRUE(Client->PutFile(Remote.Path().string(), Local / "app.bin", 0, "", &Listener)) << Client->GetLastError();
  EXPECT_EQ(Slurp(Remote / "app.bin"), "old remote");
  ASSERT_EQ(Listener.Overwrites.size(), 1u);
  EXPECT_EQ(Listener.Overwrites[0].File, Remote / "app.bin");
  EXPECT_EQ(Listener.Overwrites[0].Size1, 10);
  EXPECT_EQ(Listener.Overwrites[0].Time1, FromUnixSeconds(1400000000));
  EXPECT_EQ(Listener.Overwrites[0].Size2, 3);
  EXPECT_EQ(Listener.Overwrites[0].Time2, FromUnixSeconds(1500000000));
  EXPECT_EQ(Listener.BytesCopiedCalls, 0);
}

TEST_F(HestrelClientPut, ExistingRemoteFileIsReplacedWhenOverwriteSaysYes) {
  MakeFile(Remote / "app.bin", "old remote", 1400000000);
  MakeFile(Local / "app.bin", "new", 1500000000);
  ASSERT_TRUE(Client->PutFile(Remote.Path().string(), Local / "app.bin", 0, "", &Listener)) << Client->GetLastError();
  EXPECT_EQ(Slurp(Remote / "app.bin"), "new");
  EXPECT_EQ(MTime(Remote / "app.bin"), 1500000000);
  EXPECT_EQ(Listener.Overwrites.size(), 1u);
  EXPECT_EQ(TreeOf(Remote.Path().string()), std::vector<std::string>{"app.bin"});
}

TEST_F(HestrelClientPut, BigFileIsStreamedWhole) {
  std::string Data(5 << 20, '\0');
  for (size_t I = 0; I < Data.size(); ++I) Data[I] = static_cast<char>(I * 31 % 251);
  MakeFile(Local / "big.bin", Data, 1500000000);
  ASSERT_TRUE(Client->PutFile(Remote.Path().string(), Local / "big.bin", 0, "", &Listener)) << Client->GetLastError();
  EXPECT_TRUE(Slurp(Remote / "big.bin") == Data);
  EXPECT_EQ(MTime(Remote / "big.bin"), 1500000000);
  EXPECT_EQ(Listener.LastDone, static_cast<std::int64_t>(Data.size()));
  EXPECT_EQ(Listener.LastTotal, static_cast<std::int64_t>(Data.size()));
}

TEST_F(HestrelClientPut, CancelLeavesNoRemoteFile) {
  MakeFile(Local / "big.bin", std::string(5 << 20, 'x'));
  MakeFile(Local / "small.bin", std::string(200000, 'y'));
  Listener.OnBytes = [](std::int64_t, std::int64_t) -> std::uint8_t { return 2; };
  EXPECT_FALSE(Client->PutFile(Remote.Path().string(), Local / "big.bin", 0, "", &Listener));
  EXPECT_EQ(Client->GetLastError(), sErrCancelled);
  EXPECT_FALSE(Client->PutFile(Remote.Path().string(), Local / "small.bin", 0, "", &Listener));
  EXPECT_EQ(Listener.BytesCopiedCalls, 2);
  EXPECT_TRUE(TreeOf(Remote.Path().string()).empty());
}

TEST_F(HestrelClientPut, MissingLocalFileAndMissingRemoteDirectoryAreReported) {
  EXPECT_FALSE(Client->PutFile(Remote.Path().string(), Local / "none", 0, "", nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrLocalFileMissing, {Local / "none"}));
  MakeFile(Local / "a", "a");
  EXPECT_FALSE(Client->PutFile(Remote / "no/such/dir", Local / "a", 0, "", nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteFileMissing, {Remote / "no/such/dir/a"}));
}

TEST_F(HestrelClientPut, RemoveRemoteFileDeletesAndTellsTheListener) {
  MakeFile(Remote / "gone.txt", "x");
  ASSERT_TRUE(Client->RemoveRemoteFile(Remote / "gone.txt", &Listener)) << Client->GetLastError();
  EXPECT_FALSE(std::filesystem::exists(Remote / "gone.txt"));
  EXPECT_EQ(Listener.DeletedFiles, std::vector<std::string>{Remote / "gone.txt"});
  EXPECT_EQ(Listener.DeletedHosts, std::vector<std::string>{"127.0.0.1"});
  EXPECT_FALSE(Client->RemoveRemoteFile(Remote / "gone.txt", &Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteFileMissing, {Remote / "gone.txt"}));
  EXPECT_EQ(Listener.DeletedFiles.size(), 1u);
}

TEST_F(HestrelClientPut, RemotePermissionDeniedIsReported) {
  // /sys refuses new files even to root.
  MakeFile(Local / "small.bin", "x");
  MakeFile(Local / "big.bin", std::string(2 << 20, 'x'));
  EXPECT_FALSE(Client->PutFile("/sys", Local / "small.bin", 0, "", nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemotePermission, {"/sys/small.bin"}));
  EXPECT_FALSE(Client->PutFile("/sys", Local / "big.bin", 0, "", nullptr));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemotePermission, {"/sys/big.bin"}));
}

TEST_F(HestrelClientPut, LocalPermissionDeniedIsReportedOnPull) {
  MakeFile(Remote / "inc/a.h", "a");
  Client->SetSysRoot("/sys/hestrel-test-root");
  TRecordingListener Pull;
  EXPECT_FALSE(Client->GetFiles(Remote / "inc", false, "*.h", nullptr, &Pull));
  EXPECT_EQ(Client->GetLastError().rfind("Permission denied: '/sys/hestrel-test-root", 0), 0u) << Client->GetLastError();
  EXPECT_EQ(Pull.Errors, std::vector<std::string>{Remote / "inc/a.h"});
}

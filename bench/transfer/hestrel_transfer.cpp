// Transfer benchmark driver (issue 4): one pull or push through the Hestrel client library,
// timed from after the connection to the end of the transfer, so that bench/transfer/run.sh
// can set it beside rsync, tar over ssh and scp measured in the same run.
//
//   hestrel_transfer pull PORT PASSWORD_FILE APPDATA REMOTE_DIR LOCAL_ROOT
//   hestrel_transfer push PORT PASSWORD_FILE APPDATA LOCAL_FILE REMOTE_DIR
//   hestrel_transfer make-sdk DIR        the synthetic SDK tree (same bytes every time)
//   hestrel_transfer make-file FILE MIB  one file of random bytes
//
// pull/push print one line: "seconds=S files_tar=N files_sftp=N find=0|1 bytes_reported=B".
// Exit status 0 on success, 1 when the transfer failed (the client's text on stderr), 2 usage.
#include <chrono>
#include <filesystem>
#include <random>
#include <vector>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

#include "client/HestrelClient.h"

namespace {

/// Replaces every file without asking and counts the bytes the client reports.
class TCountingListener : public IFileListener {
 public:
  bool Overwrite(const std::string&, TDateTime, std::int64_t, TDateTime, std::int64_t) override { return true; }
  std::uint8_t BytesCopied(const std::string&, const std::string&, const std::string&, std::int64_t Done,
                           std::int64_t Total, TStream*) override {
    if (Done == Total) Bytes += Total;
    return 1;
  }
  void PreCopy(const std::string&, const std::string&, const std::string&, std::int64_t) override {}
  std::uint8_t Accept(const std::string&, const std::string&, bool, std::int32_t&) override { return 1; }
  bool ContinueOnError(const std::string& File, const std::string& Error) override {
    std::cerr << "error: " << File << ": " << Error << '\n';
    return true;
  }
  void Deleted(const std::string&, const std::string&) override {}
  std::int64_t Bytes = 0;
};

std::string FirstLine(const std::string& FileName) {
  std::ifstream In(FileName);
  std::string Line;
  std::getline(In, Line);
  return Line;
}

/// Writes Size bytes taken from Pool at a pseudo-random offset (incompressible, reproducible).
bool WriteSlice(const std::filesystem::path& File, const std::vector<char>& Pool, std::size_t Size, std::mt19937& Random) {
  std::ofstream Out(File, std::ios::binary | std::ios::trunc);
  const std::size_t Offset = std::uniform_int_distribution<std::size_t>(0, Pool.size() - Size)(Random);
  Out.write(Pool.data() + Offset, static_cast<std::streamsize>(Size));
  return static_cast<bool>(Out);
}

std::vector<char> RandomPool(std::size_t Size, std::mt19937& Random) {
  std::vector<char> Pool(Size);
  for (char& C : Pool) C = static_cast<char>(Random());
  return Pool;
}

/// The SDK of perf-baselines.md: 20,000 files of 1 to 8 KiB in 400 folders (two levels) and
/// 20 files of 5 to 50 MiB.
int MakeSdk(const std::filesystem::path& Root) {
  std::mt19937 Random(4);
  const std::vector<char> Small = RandomPool(64 * 1024, Random);
  const std::vector<char> Big = RandomPool(std::size_t{64} << 20, Random);
  std::uniform_int_distribution<std::size_t> SmallSize(1024, 8192), BigMiB(5, 50);
  char Name[64];
  for (int D = 0; D < 400; ++D) {
    std::snprintf(Name, sizeof Name, "usr/include/g%02d/d%03d", D / 20, D);
    const std::filesystem::path Dir = Root / Name;
    std::filesystem::create_directories(Dir);
    for (int F = 0; F < 50; ++F) {
      std::snprintf(Name, sizeof Name, "h%02d.h", F);
      if (!WriteSlice(Dir / Name, Small, SmallSize(Random), Random)) return 1;
    }
  }
  std::filesystem::create_directories(Root / "usr/lib");
  for (int F = 0; F < 20; ++F) {
    std::snprintf(Name, sizeof Name, "lib%02d.a", F);
    if (!WriteSlice(Root / "usr/lib" / Name, Big, BigMiB(Random) << 20, Random)) return 1;
  }
  return 0;
}

int MakeFile(const std::string& File, std::size_t MiB) {
  std::mt19937 Random(7);
  const std::vector<char> Block = RandomPool(std::size_t{8} << 20, Random);
  std::ofstream Out(File, std::ios::binary | std::ios::trunc);
  for (std::size_t Done = 0; Done < MiB; Done += 8) {
    const std::size_t N = std::min<std::size_t>(8, MiB - Done) << 20;
    Out.write(Block.data(), static_cast<std::streamsize>(N));
  }
  return Out ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "make-sdk") return MakeSdk(argv[2]);
  if (argc == 4 && std::string(argv[1]) == "make-file") return MakeFile(argv[2], std::stoul(argv[3]));
  if (argc != 7 || (std::string(argv[1]) != "pull" && std::string(argv[1]) != "push")) {
    std::cerr << "usage: hestrel_transfer pull|push PORT PASSWORD_FILE APPDATA SOURCE DESTINATION\n";
    return 2;
  }
  const std::string Mode = argv[1];
  hestrel::THestrelClient Client("bench", argv[4]);
  Client.SetHostName("127.0.0.1");
  Client.SetPort(std::stoi(argv[2]));
  Client.SetCredential({FirstLine(argv[3]), true, false});
  if (!Client.Connect(nullptr)) {
    std::cerr << "connect: " << Client.GetLastError() << '\n';
    return 1;
  }
  TCountingListener Listener;
  const auto Start = std::chrono::steady_clock::now();
  bool Ok = false;
  if (Mode == "pull") {
    Client.SetSysRoot(argv[6]);
    Ok = Client.GetFiles(argv[5], true, "", nullptr, &Listener);
  } else {
    Ok = Client.PutFile(argv[6], argv[5], 0, "", &Listener);
  }
  const double Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
  Client.Disconnect();
  if (!Ok) {
    std::cerr << Mode << ": " << Client.GetLastError() << '\n';
    return 1;
  }
  const auto Stats = Client.GetLastPullStatistics();
  std::printf("seconds=%.3f files_tar=%d files_sftp=%d find=%d bytes_reported=%lld\n", Seconds, Stats.FilesByTar,
              Stats.FilesBySftp, Stats.ListedByFind ? 1 : 0, static_cast<long long>(Listener.Bytes));
  return 0;
}

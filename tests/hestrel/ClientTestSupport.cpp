// Test helpers for the Hestrel client (see ClientTestSupport.h).
#include "ClientTestSupport.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace hestrel_test {

TTempDir::TTempDir() {
  std::string Template = (std::filesystem::temp_directory_path() / "hestrel-client-XXXXXX").string();
  FPath = ::mkdtemp(Template.data());
}

TTempDir::~TTempDir() {
  std::error_code Ignored;
  std::filesystem::remove_all(FPath, Ignored);
}

int FreeLoopbackPort() {
  const int Fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in Address{};
  Address.sin_family = AF_INET;
  Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::bind(Fd, reinterpret_cast<sockaddr*>(&Address), sizeof Address);
  socklen_t Length = sizeof Address;
  ::getsockname(Fd, reinterpret_cast<sockaddr*>(&Address), &Length);
  ::close(Fd);
  return ntohs(Address.sin_port);
}

int Shell(const std::string& Command) {
  const int Status = std::system(Command.c_str());
  return WIFEXITED(Status) ? WEXITSTATUS(Status) : -1;
}

void MakeFile(const std::string& Path, const std::string& Text, std::int64_t Modified) {
  std::filesystem::create_directories(std::filesystem::path(Path).parent_path());
  std::ofstream(Path, std::ios::binary | std::ios::trunc) << Text;
  const timespec Times[2] = {{static_cast<time_t>(Modified), 0}, {static_cast<time_t>(Modified), 0}};
  ::utimensat(AT_FDCWD, Path.c_str(), Times, 0);
}

std::string Slurp(const std::string& Path) {
  std::ifstream In(Path, std::ios::binary);
  std::stringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

std::vector<std::string> TreeOf(const std::string& Dir) {
  std::vector<std::string> Names;
  std::error_code Ec;
  for (auto It = std::filesystem::recursive_directory_iterator(Dir, Ec); !Ec && It != decltype(It){}; It.increment(Ec))
    Names.push_back(It->path().string().substr(Dir.size() + (Dir.back() == '/' ? 0 : 1)));  // links unresolved
  std::sort(Names.begin(), Names.end());
  return Names;
}

std::vector<pid_t> ChildrenOf(pid_t Parent) {
  std::vector<pid_t> Children;
  std::error_code Ec;
  for (const auto& Entry : std::filesystem::directory_iterator("/proc", Ec)) {
    const std::string Name = Entry.path().filename().string();
    if (Name.find_first_not_of("0123456789") != std::string::npos) continue;
    // /proc/PID/stat: "pid (comm) state ppid ..."; comm may hold spaces and parentheses.
    const std::string Stat = Slurp(Entry.path().string() + "/stat");
    const auto Close = Stat.rfind(')');
    if (Close == std::string::npos) continue;
    std::istringstream Fields(Stat.substr(Close + 1));
    std::string State;
    long PPid = 0;
    if (Fields >> State >> PPid && PPid == Parent) Children.push_back(static_cast<pid_t>(std::stol(Name)));
  }
  return Children;
}

TTestSshd::TTestSshd() = default;

TTestSshd::~TTestSshd() { Stop(); }

bool TTestSshd::Start() {
  const std::string Dir = FDir.Path().string();
  std::filesystem::create_directories(ClientSshDir());
  ::mkdir("/run/sshd", 0755);  // sshd's privilege-separation directory
  if (Shell("ssh-keygen -q -t ed25519 -N '' -f " + HostKeyFile() + " >/dev/null 2>&1") != 0 ||
      Shell("ssh-keygen -q -t ed25519 -N '' -f " + ClientSshDir() + "/id_ed25519 >/dev/null 2>&1") != 0)
    return false;
  std::filesystem::copy_file(ClientSshDir() + "/id_ed25519.pub", Dir + "/authorized_keys");
  FPort = FreeLoopbackPort();
  std::ofstream(Dir + "/sshd_config") << "Port " << FPort << "\nListenAddress 127.0.0.1\nHostKey " << HostKeyFile()
                                      << "\nPidFile " << Dir << "/sshd.pid\nAuthorizedKeysFile " << Dir
                                      << "/authorized_keys\nPermitRootLogin yes\nStrictModes no\nUsePAM no\n"
                                         "PasswordAuthentication no\nKbdInteractiveAuthentication no\n"
                                         "MaxStartups 100\nMaxSessions 100\nLogLevel ERROR\n"
                                         "Subsystem sftp /usr/lib/openssh/sftp-server\n";
  FPid = ::fork();
  if (FPid == 0) {
    const int Log = ::open((Dir + "/sshd.log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(Log, STDERR_FILENO);
    ::execl("/usr/sbin/sshd", "/usr/sbin/sshd", "-D", "-e", "-f", (Dir + "/sshd_config").c_str(), nullptr);
    ::_exit(127);
  }
  for (int I = 0; I < 100; ++I) {  // wait until it accepts connections (at most 5 s)
    const int Fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    Address.sin_port = htons(static_cast<uint16_t>(FPort));
    Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool Up = ::connect(Fd, reinterpret_cast<sockaddr*>(&Address), sizeof Address) == 0;
    ::close(Fd);
    if (Up) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

void TTestSshd::Stop() {
  if (FPid <= 0) return;
  ::kill(FPid, SIGTERM);
  ::waitpid(FPid, nullptr, 0);
  FPid = -1;
}

hestrel::THestrelClientOptions TTestSshd::Options() const {
  hestrel::THestrelClientOptions Options;
  Options.SshDirectory = ClientSshDir();
  Options.ConnectTimeoutSeconds = 5;
  return Options;
}

std::string TTestSshd::Log() const { return Slurp((FDir.Path() / "sshd.log").string()); }

bool TRecordingListener::Overwrite(const std::string& FileName, TDateTime Time1, std::int64_t Size1, TDateTime Time2,
                                   std::int64_t Size2) {
  Overwrites.push_back({FileName, Size1, Size2, Time1, Time2});
  return OverwriteAnswer;
}

std::uint8_t TRecordingListener::BytesCopied(const std::string& S1, const std::string& S2, const std::string& S3,
                                             std::int64_t Done, std::int64_t Total, TStream*) {
  ++BytesCopiedCalls;
  LastDone = Done;
  LastTotal = Total;
  LastS1 = S1;
  LastS2 = S2;
  LastS3 = S3;
  return OnBytes ? OnBytes(Done, Total) : 1;
}

void TRecordingListener::PreCopy(const std::string& S1, const std::string&, const std::string&, std::int64_t) {
  PreCopied.push_back(S1);
}

std::uint8_t TRecordingListener::Accept(const std::string& S1, const std::string&, bool, std::int32_t&) {
  Accepted.push_back(S1);
  return AcceptAnswer;
}

bool TRecordingListener::ContinueOnError(const std::string& S1, const std::string& S2) {
  Errors.push_back(S1);
  ErrorTexts.push_back(S2);
  return ContinueAnswer;
}

void TRecordingListener::Deleted(const std::string& S1, const std::string& S2) {
  DeletedFiles.push_back(S1);
  DeletedHosts.push_back(S2);
}

}  // namespace hestrel_test

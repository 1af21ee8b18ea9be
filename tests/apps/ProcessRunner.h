// End-to-end tests of zephprof: run a program as a process with a given standard input and
// environment, and collect its standard output, standard error and exit status.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

struct TProcessResult {
  int Status = -1;  ///< exit status; 128 + signal when killed
  std::string Out;
  std::string Err;
};

/// Runs Program with Args; Environment entries are set (an empty value unsets), the rest
/// of this process's environment is inherited. Stdin is written to the program's input.
TProcessResult RunProcess(const std::string& Program, const std::vector<std::string>& Args, const std::string& Stdin,
                          const std::map<std::string, std::string>& Environment);

/// A started background process (a server) whose output is read until a line appears.
class TBackgroundProcess {
 public:
  TBackgroundProcess() = default;
  TBackgroundProcess(const TBackgroundProcess&) = delete;
  TBackgroundProcess& operator=(const TBackgroundProcess&) = delete;
  ~TBackgroundProcess();
  /// Starts Program; answers false when it could not be started.
  bool Start(const std::string& Program, const std::vector<std::string>& Args);
  /// Reads standard output until a line containing Text arrives (or TimeoutMs passes);
  /// answers that line, or "" on time-out or end of output.
  std::string WaitForLine(const std::string& Text, int TimeoutMs);
  /// SIGTERM, then waits.
  void Stop();

 private:
  int FPid = -1;
  int FOut = -1;
  std::string FBuffer;
};

/// A program on a pseudo-terminal: what a user at a terminal types and sees.
class TPtyProcess {
 public:
  TPtyProcess() = default;
  TPtyProcess(const TPtyProcess&) = delete;
  TPtyProcess& operator=(const TPtyProcess&) = delete;
  ~TPtyProcess();
  bool Start(const std::string& Program, const std::vector<std::string>& Args,
             const std::map<std::string, std::string>& Environment);
  /// Reads until Text has appeared in the output after the last match (or TimeoutMs
  /// passes); answers whether it did.
  bool WaitFor(const std::string& Text, int TimeoutMs = 10000);
  /// Types Text.
  void Type(const std::string& Text);
  /// Reads to the end and answers the exit status.
  int Wait();
  /// Everything shown so far.
  const std::string& Output() const { return FOutput; }

 private:
  bool ReadSome(int TimeoutMs);
  int FPid = -1;
  int FMaster = -1;
  std::string FOutput;
  std::size_t FSearchFrom = 0;
};

/// The built zephprof (its path compiled in).
std::string ZephprofPath();
/// The built hestrel server, or "" when it was not built.
std::string HestrelPath();
/// A TCP port on 127.0.0.1 that was free a moment ago.
int FreeLoopbackPort();
/// The whole content of a file ("" when missing).
std::string ReadWholeFile(const std::filesystem::path& File);
/// Every file below Dir, recursively.
std::vector<std::filesystem::path> FilesBelow(const std::filesystem::path& Dir);

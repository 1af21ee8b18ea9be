// End-to-end tests of zephprof: the built program run as a process against a settings file
// and data directory of its own, on a pseudo-terminal, and against a hestrel server.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace fs = std::filesystem;

using TEnvironment = std::map<std::string, std::string>;  ///< variables set; an empty value unsets

struct TProcessResult {
  int Status = -1;  ///< exit status; 128 + signal when killed
  std::string Out, Err;
};

std::string ReadWholeFile(const fs::path& File);

/// Whether Text is Pattern, each "…" of which stands for any text ("…" alone: anything).
bool Matches(const std::string& Text, const std::string& Pattern);

/// One run of zephprof, and what it must answer.
struct TStep {
  TStep(std::vector<std::string> Args, int Status = 0, std::string Out = "…", std::string Err = "…",
        std::string Stdin = "")
      : Args(std::move(Args)), Status(Status), Out(std::move(Out)), Err(std::move(Err)), Stdin(std::move(Stdin)) {}
  std::vector<std::string> Args;
  int Status;
  std::string Out, Err, Stdin;
};

/// zephprof with a settings file, data directory, HOME and XDG folders in a fresh folder.
class TZephprofTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  TProcessResult Z(const std::vector<std::string>& Args, const std::string& Stdin = "") const;
  /// Runs the steps in order, each checked against its expectations.
  void Run(const std::vector<TStep>& Steps) const;
  /// Runs zephprof on a pseudo-terminal, typing each answer once its prompt has been shown;
  /// Out holds everything shown, Status is -1 when a prompt did not come.
  TProcessResult OnTerminal(const std::vector<std::string>& Args,
                            const std::vector<std::pair<std::string, std::string>>& Dialogue) const;
  /// Starts the built hestrel server on a free loopback port with a password of its own;
  /// answers the port (0 when it did not start). Stopped at the end of the test.
  int StartHestrel(const fs::path& Root, const std::string& Password);
  fs::path Dir, Settings, Data;

 private:
  TEnvironment Environment() const;
  std::vector<std::string> WithStore(std::vector<std::string> Args) const;
  int FServerPid = -1;
};

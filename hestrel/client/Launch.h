// Hestrel client, launch: starting programs and gdbserver detached on the remote
// machine (nohup, background) with POSIX sh; every argument shell-quoted.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/Session.h"

namespace hestrel {

struct TRunRequest {
  std::string Program;     ///< a path, or a name looked up on the remote PATH
  std::string Parameters;  ///< a command line: split into words (SplitCommandLine), each quoted
  std::string WorkingDir;  ///< empty: the login directory; ~ and $NAME expanded
  std::string Launcher;    ///< empty, or a program that runs Program (checked instead of it)
  std::vector<std::string> Environment;  ///< "NAME=value" entries added to the environment
  std::string OutputFile;  ///< stdout and stderr; empty: /dev/null
  std::string InputFile;   ///< stdin; empty: /dev/null
};

/// The sh script that checks and starts the request (exposed for tests).
std::string RunScript(const TRunRequest& Request);

/// Starts the program; its process id in ProcessNumber. False with a specific Error when
/// the program is missing or not executable or the working directory is missing.
bool RunDetached(ssh_session Ssh, const TRunRequest& Request, std::int32_t& ProcessNumber, std::string& Error);

/// Starts gdbserver: attached to process N1 (Attach) or running Program, listening on port
/// Port (0: any; the port it chose comes back). Its process id in ProcessNumber.
bool StartGdbServer(ssh_session Ssh, const std::string& Program, bool Attach, std::int32_t N1, std::int32_t& Port,
                    std::int32_t& ProcessNumber, std::string& Error);

}  // namespace hestrel

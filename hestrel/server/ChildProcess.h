// Hestrel server: a command run for a channel, with its three standard streams on pipes.
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

#include "server/Handles.h"

namespace hestrel::server {

using TEnvironment = std::vector<std::pair<std::string, std::string>>;

struct TChildProcess {
  pid_t Pid = -1;
  TUniqueFd Stdin;   ///< write end, non-blocking
  TUniqueFd Stdout;  ///< read end, non-blocking
  TUniqueFd Stderr;  ///< read end, non-blocking
};

/// Starts Argv[0] (a path) with Argv in the current directory, with the server's environment
/// plus Extra (later entries win). The child leads a process group of its own, so that a
/// hang-up or shutdown can signal everything it started. False with Error on failure.
bool SpawnChild(const std::vector<std::string>& Argv, const TEnvironment& Extra, TChildProcess& Child,
                std::string& Error);

/// Sends Signal to the child's process group (and to the child itself, in case it left it).
void SignalChildGroup(pid_t Pid, int Signal);

/// The SSH name of a signal ("TERM", "KILL", ...): the name without "SIG" (RFC 4254 6.10).
std::string SshSignalName(int Signal);

}  // namespace hestrel::server

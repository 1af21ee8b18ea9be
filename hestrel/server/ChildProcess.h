// Hestrel server: a command run for a channel, with its three standard streams on pipes.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
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

/// Whether a client's "env" request may set Name: LANG and LC_* only (the client library
/// itself sends none; a launch passes its variables on the command line).
bool ClientMayPass(std::string_view Name);

/// Starts Argv[0] (a path) with Argv in the current directory, in a clean environment (of the
/// server's own only PATH, HOME, USER, LOGNAME, SHELL, LANG, LC_* and TZ, so an operator's
/// agent socket or tokens never reach a client; then Client's, which win), as the leader of a new session: no
/// controlling terminal, a process group of its own (so that a hang-up or shutdown can signal everything it started),
/// every signal at its default and none blocked, and no descriptor of the server but its three pipes (close_range, else
/// each descriptor closed in turn). False with Error when it cannot start; a program that
/// cannot be executed exits with status 127 and the reason on its stderr.
bool SpawnChild(const std::vector<std::string>& Argv, const TEnvironment& Client, TChildProcess& Child,
                std::string& Error);

/// Sends Signal to the child's process group (and to the child itself, in case it left it).
void SignalChildGroup(pid_t Pid, int Signal);

/// The SSH name of a signal ("TERM", "KILL", ...): the name without "SIG" (RFC 4254 6.10).
std::string SshSignalName(int Signal);

}  // namespace hestrel::server

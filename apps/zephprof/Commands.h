// zephprof: the commands. Each Add...Commands registers its subcommands with CLI11; the
// chosen one leaves its action in Action, which main runs once the host is in place.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "AppContext.h"

using TAction = std::function<int(TAppContext&)>;

void AddProfileCommands(CLI::App& App, TAction& Action);  // list show add copy rename remove set default
void AddPathCommands(CLI::App& App, TAction& Action);     // paths default-paths
void AddFileCommands(CLI::App& App, TAction& Action);     // export import
void AddRemoteCommands(CLI::App& App, TAction& Action);   // test update-cache put rm env expand exists ls symlink run
void AddDeployCommands(CLI::App& App, TAction& Action);   // ensure assign deploy env-file (CmdDeploy.cpp)

// ---- shared by the commands (CommandSupport.cpp) ----------------------------------------
/// A type by name or number 0 to 3; false when it names none.
bool ParsePathType(const std::string& Text, TOTAPathItemType& Type);
/// A platform the platform combo offers; reports a usage error naming the choices otherwise.
bool CheckPlatformArgument(TAppContext& Context, const std::string& PlatformName);
/// A platform the host knows (display name not empty); reports a usage error otherwise.
bool CheckKnownPlatform(TAppContext& Context, const std::string& PlatformName);
/// "OSX32 (macOS)" or the identifier alone when the host has no display name.
std::string PlatformLabel(const std::string& PlatformName);
/// The host's "\r\n" as "\n" for the terminal.
std::string TerminalText(const std::string& Text);
/// Lines "  N  type  path  mask  [subdirs]" or a JSON array of the items.
void PrintPathItems(TAppContext& Context, const TOTARemoteProfilePathArray& Paths);
std::string PathItemsJson(const TOTARemoteProfilePathArray& Paths);

/// False (reported) when Root, macros expanded and made absolute, is the application-data
/// directory or a folder above it: a cache pull there could overwrite the profile files and the
/// password key. An empty root passes.
bool CheckLocalRoot(TAppContext& Context, const std::string& ProfileName, const std::string& Root);
/// What File is when it is not a regular file ("does not exist", "is a directory", ...); "" when it is one.
std::string NotARegularFile(const std::string& File);

/// The credential options of add and set.
struct TCredentialArgs {
  bool PasswordStdin = false;
  std::string PassFile;
  bool AskPassword = false;
};
void AddCredentialOptions(CLI::App& Command, TCredentialArgs& Args, bool WithAsk);
/// The credential the options give; Given false when they give none. False (reported)
/// when a given source could not be read.
bool ReadCredential(TAppContext& Context, const TCredentialArgs& Args, bool PromptWhenNone,
                    TOTARemoteProfileCredential& Credential, bool& Given);

void AddRunCommand(CLI::App& App, TAction& Action);  // run (CmdRun.cpp)
/// The command line (without the program name) with "--" put after the PROGRAM of run, so
/// every argument after it reaches the program, also one that starts with '-' or names an
/// option of zephprof. Any other command line is answered as it is.
std::vector<std::string> WithProgramArgumentsApart(CLI::App& App, std::vector<std::string> Args);

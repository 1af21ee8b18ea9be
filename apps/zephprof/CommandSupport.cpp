// zephprof: helpers shared by the commands (see Commands.h).
#include <algorithm>
#include <filesystem>
#include <ostream>

#include "Commands.h"
#include "Json.h"
#include "core/Text.h"
#include "host/HostServices.h"
#include "hosts/linux/LocalRoot.h"
#include "persistence/DefaultSdkPaths.h"
#include "ui/ProfileCommands.h"

bool ParsePathType(const std::string& Text, TOTAPathItemType& Type) {
  for (int Value = 0; Value <= 3; ++Value) {
    const auto Candidate = static_cast<TOTAPathItemType>(Value);
    if (SameText(Text, PathTypeName(Candidate)) || Text == std::to_string(Value)) {
      Type = Candidate;
      return true;
    }
  }
  return false;
}

bool CheckPlatformArgument(TAppContext& Context, const std::string& PlatformName) {
  if (IsPlatformChoice(PlatformName)) return true;
  std::string Choices;
  for (const std::string& Choice : PlatformChoices()) Choices += (Choices.empty() ? "" : ", ") + Choice;
  Context.Error(Format("'%s' is not a platform a profile can be made for (one of: %s)", {PlatformName, Choices}));
  return false;
}

bool CheckKnownPlatform(TAppContext& Context, const std::string& PlatformName) {
  if (!GetPlatformDisplayName(PlatformName).empty()) return true;
  Context.Error(Format("Unknown platform '%s'", {PlatformName}));
  return false;
}

std::string PlatformLabel(const std::string& PlatformName) {
  const std::string Display = GetPlatformDisplayName(PlatformName);
  return Display.empty() ? PlatformName : PlatformName + " (" + Display + ")";
}

std::string TerminalText(const std::string& Text) {
  std::string Result;
  for (std::size_t I = 0; I < Text.size(); ++I)
    if (!(Text[I] == '\r' && I + 1 < Text.size() && Text[I + 1] == '\n')) Result += Text[I];
  return Result;
}

std::string PathItemsJson(const TOTARemoteProfilePathArray& Paths) {
  std::vector<std::string> Items;
  for (const TOTARemoteProfilePathItem& Item : Paths)
    Items.push_back(TJsonObject()
                        .Add("path", Item.Path)
                        .Add("mask", Item.Mask)
                        .Add("includeSubDir", Item.IncludeSubDir)
                        .Add("type", PathTypeName(Item.Type))
                        .Text());
  return JsonArray(Items);
}

void PrintPathItems(TAppContext& Context, const TOTARemoteProfilePathArray& Paths) {
  if (Context.Json()) {
    Context.Out() << PathItemsJson(Paths) << '\n';
    return;
  }
  for (std::size_t I = 0; I < Paths.size(); ++I) {
    const TOTARemoteProfilePathItem& Item = Paths[I];
    Context.Out() << "  " << I << "  " << PathTypeName(Item.Type) << "  " << Item.Path << "  " << Item.Mask
                  << (Item.IncludeSubDir ? "  subdirs" : "") << '\n';
  }
}

bool CheckLocalRoot(TAppContext& Context, const std::string& ProfileName, const std::string& Root) {
  const std::string Refusal = LinuxHost::LocalRootRefusal(ProfileName, Root);
  if (!Refusal.empty()) Context.Error(Refusal);
  return Refusal.empty();
}

std::string NotARegularFile(const std::string& File) {
  std::error_code Ec;
  switch (std::filesystem::status(File, Ec).type()) {
    case std::filesystem::file_type::regular: return {};
    case std::filesystem::file_type::directory: return "is a directory";
    case std::filesystem::file_type::fifo: return "is a named pipe (FIFO)";
    case std::filesystem::file_type::block:
    case std::filesystem::file_type::character: return "is a device";
    case std::filesystem::file_type::socket: return "is a socket";
    case std::filesystem::file_type::not_found: return "does not exist";
    default: return Ec ? "cannot be read: " + Ec.message() : "is not a regular file";
  }
}

void AddCredentialOptions(CLI::App& Command, TCredentialArgs& Args, bool WithAsk) {
  auto* Stdin = Command.add_flag("--password-stdin", Args.PasswordStdin,
                                 "read the password from the first line of standard input");
  auto* File = Command.add_option("--passfile", Args.PassFile, "use a password file instead of a password");
  Stdin->excludes(File);
  if (WithAsk) {
    auto* Ask = Command.add_flag("--ask-password", Args.AskPassword, "ask for a new password on the terminal");
    Ask->excludes(Stdin)->excludes(File);
  }
}

bool ReadCredential(TAppContext& Context, const TCredentialArgs& Args, bool PromptWhenNone,
                    TOTARemoteProfileCredential& Credential, bool& Given) {
  Given = true;
  if (!Args.PassFile.empty()) {
    if (const std::string What = NotARegularFile(Args.PassFile); !What.empty()) {
      Context.Error(Format("Password file '%s' %s", {Args.PassFile, What}));
      return false;
    }
    // As the wizard stores it: a password file is the file's name, not a password, stored as it is.
    Credential = {std::filesystem::absolute(Args.PassFile).string(), false, true};
    return true;
  }
  std::string Password;
  if (Args.PasswordStdin) {
    if (!ReadPasswordFromStdin(Context.In(), Password)) {
      Context.Error("no password on standard input");
      return false;
    }
  } else if (Args.AskPassword || (PromptWhenNone && Context.StdinIsTerminal())) {
    if (!PromptPassword(Context.Err(), Password)) {
      Context.Error("no terminal to ask for the password (use --password-stdin or --passfile)");
      return false;
    }
  } else {
    Given = false;
    return true;
  }
  // A typed password: not in stored form yet, so saving the profile enciphers it.
  Credential = {Password, true, false};
  return true;
}

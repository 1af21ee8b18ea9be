// Hestrel client, queries and launches: every argument of a remote POSIX sh command goes
// through these helpers, so no remote name or user text is ever run as shell syntax.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hestrel {

/// One literal shell word: 'text' with each ' written as '\''.
std::string ShellQuote(std::string_view Text);

/// A shell word that expands exactly a leading ~ or ~user and $NAME / ${NAME} references,
/// as the remote shell would, and nothing else (no command substitution, no globbing, no
/// word splitting: each reference becomes "${NAME}").
std::string ShellExpandableWord(std::string_view Text);

/// Splits a parameter string into words the way a command line is read: blanks separate,
/// '...' and "..." group (the quotes are removed), a backslash keeps the next character.
std::vector<std::string> SplitCommandLine(std::string_view Text);

}  // namespace hestrel

// Small text helpers shared by every Part: case-insensitive comparison of profile names
// (Overview: "Profile names are compared ignoring case everywhere") and Format with the
// host's %s / %d / %n:d specifiers, used for every resource string.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

/// ASCII case folding; other UTF-8 bytes compare exactly (docs/DECISIONS.md).
std::string LowerCase(std::string_view Text);
bool SameText(std::string_view A, std::string_view B);

/// One argument of Format: text or an integer.
using TFormatArg = std::variant<std::string, std::int64_t>;

/// Delphi-style Format: "%s" and "%d" take the next argument, "%n:s" / "%n:d" take
/// argument n (0-based) and continue from n + 1, "%%" is a percent sign. A specifier
/// whose argument is missing or of the other kind is copied as it stands.
std::string Format(std::string_view Pattern, std::initializer_list<TFormatArg> Args);

/// The connection-failed text of Parts 3.1, 3.4 and 3.5, with host name and port.
std::string ConnectionFailedText(const std::string& HostName, std::int32_t Port);

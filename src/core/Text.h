// Small text helpers shared by the whole system: case-insensitive comparison (profile
// names are compared ignoring case everywhere) and Format, which fills the specifiers of
// every resource string.
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

/// Fills Pattern with Args: "%s" (text) and "%d" (integer) take the next argument,
/// "%n:s" / "%n:d" take argument n (0-based) and the ones after continue from n + 1, "%%"
/// is a percent sign. A specifier whose argument is missing or of the other kind, and any
/// other letter after "%", is copied as it stands.
std::string Format(std::string_view Pattern, std::initializer_list<TFormatArg> Args);

/// The connection-failed text of the connection test, the remote queries and launches,
/// with host name and port.
std::string ConnectionFailedText(const std::string& HostName, std::int32_t Port);

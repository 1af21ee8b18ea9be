// The build-environment file's content (what WriteEnvOptions updates): an MSBuild
// project of property groups, each with a condition and properties, kept in file order.
// Reads back the subset of XML that Render writes (with comments and blanks anywhere).
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace LinuxHost {

struct TEnvPropertyGroup {
  std::string Condition;  ///< "" for a group without a condition
  std::vector<std::pair<std::string, std::string>> Properties;
};

struct TEnvDocument {
  std::vector<TEnvPropertyGroup> Groups;
};

/// Text as XML character data or a double-quoted attribute value: & < > " escaped (an
/// apostrophe stays, as in MSBuild conditions), tab, line feed and
/// carriage return as character references; other control bytes (not allowed in XML 1.0)
/// are dropped.
std::string XmlEscape(std::string_view Text);

/// A valid XML element name of the simple kind MSBuild properties use ([A-Za-z_][A-Za-z0-9_.-]*).
bool IsPropertyName(std::string_view Name);

/// The file text: declaration, <Project xmlns=...>, one <PropertyGroup> per group that
/// has properties, two-blank indentation.
std::string RenderEnvDocument(const TEnvDocument& Document);

/// Parses Text into Document; answers "" or the reason with its line ("line 3: ...").
std::string ParseEnvDocument(std::string_view Text, TEnvDocument& Document);

}  // namespace LinuxHost

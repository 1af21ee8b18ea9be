#include "hosts/linux/EnvFileXml.h"

#include <algorithm>
#include <cstdint>

namespace LinuxHost {
namespace {

constexpr std::string_view MSBuildNamespace = "http://schemas.microsoft.com/developer/msbuild/2003";

bool IsNameStart(char C) { return (C >= 'A' && C <= 'Z') || (C >= 'a' && C <= 'z') || C == '_'; }
bool IsNameChar(char C) { return IsNameStart(C) || (C >= '0' && C <= '9') || C == '.' || C == '-' || C == ':'; }

void AppendUtf8(std::string& Out, std::uint32_t Code) {
  if (Code < 0x80) {
    Out += static_cast<char>(Code);
  } else if (Code < 0x800) {
    Out += static_cast<char>(0xC0 | (Code >> 6));
    Out += static_cast<char>(0x80 | (Code & 0x3F));
  } else if (Code < 0x10000) {
    Out += static_cast<char>(0xE0 | (Code >> 12));
    Out += static_cast<char>(0x80 | ((Code >> 6) & 0x3F));
    Out += static_cast<char>(0x80 | (Code & 0x3F));
  } else {
    Out += static_cast<char>(0xF0 | (Code >> 18));
    Out += static_cast<char>(0x80 | ((Code >> 12) & 0x3F));
    Out += static_cast<char>(0x80 | ((Code >> 6) & 0x3F));
    Out += static_cast<char>(0x80 | (Code & 0x3F));
  }
}

/// A cursor over the text with the line number for messages; Fail records the first error.
class TXmlReader {
 public:
  explicit TXmlReader(std::string_view Text) : FText(Text) {}
  std::string Error;

  bool Fail(const std::string& Reason) {
    if (Error.empty()) Error = "line " + std::to_string(Line()) + ": " + Reason;
    return false;
  }
  bool AtEnd() const { return FPos >= FText.size(); }
  bool LooksAt(std::string_view S) const { return FText.substr(FPos, S.size()) == S; }

  /// Skips blanks, comments and processing instructions (<?xml ...?>).
  bool SkipMisc() {
    for (;;) {
      while (!AtEnd() && (FText[FPos] == ' ' || FText[FPos] == '\t' || FText[FPos] == '\n' || FText[FPos] == '\r'))
        ++FPos;
      const char* Close = LooksAt("<!--") ? "-->" : LooksAt("<?") ? "?>" : nullptr;
      if (!Close) return true;
      const std::size_t End = FText.find(Close, FPos + 2);
      if (End == std::string_view::npos) return Fail("unterminated comment or declaration");
      FPos = End + std::string_view(Close).size();
    }
  }

  /// Reads "<Name attr='v' ...>" or ".../>"; Name empty when at a closing tag.
  bool OpenTag(std::string& Name, std::vector<std::pair<std::string, std::string>>& Attributes, bool& Empty) {
    Attributes.clear();
    if (!LooksAt("<") || LooksAt("</")) return Fail("expected an element");
    ++FPos;
    Name = ReadName();
    if (Name.empty()) return Fail("expected an element name");
    for (;;) {
      SkipBlanks();
      if (LooksAt("/>") || LooksAt(">")) {
        Empty = LooksAt("/>");
        FPos += Empty ? 2 : 1;
        return true;
      }
      std::string Attribute = ReadName();
      SkipBlanks();
      if (Attribute.empty() || !LooksAt("=")) return Fail("malformed attribute in <" + Name + ">");
      ++FPos;
      SkipBlanks();
      if (AtEnd() || (FText[FPos] != '"' && FText[FPos] != '\'')) return Fail("attribute value without quotes");
      const char Quote = FText[FPos++];
      const std::size_t End = FText.find(Quote, FPos);
      if (End == std::string_view::npos) return Fail("unterminated attribute value");
      std::string Value;
      if (!Unescape(FText.substr(FPos, End - FPos), Value)) return false;
      FPos = End + 1;
      Attributes.emplace_back(std::move(Attribute), std::move(Value));
    }
  }

  bool CloseTag(const std::string& Name) {
    SkipMisc();
    const std::string Expected = "</" + Name;
    if (!LooksAt(Expected)) return Fail("expected </" + Name + ">");
    FPos += Expected.size();
    SkipBlanks();
    if (!LooksAt(">")) return Fail("expected </" + Name + ">");
    ++FPos;
    return true;
  }

  /// Character data up to the next '<'.
  bool Text(std::string& Value) {
    const std::size_t End = FText.find('<', FPos);
    if (End == std::string_view::npos) return Fail("unterminated element");
    if (!Unescape(FText.substr(FPos, End - FPos), Value)) return false;
    FPos = End;
    return true;
  }

 private:
  std::size_t Line() const { return 1 + std::count(FText.begin(), FText.begin() + std::min(FPos, FText.size()), '\n'); }
  void SkipBlanks() {
    while (!AtEnd() && (FText[FPos] == ' ' || FText[FPos] == '\t' || FText[FPos] == '\n' || FText[FPos] == '\r'))
      ++FPos;
  }
  std::string ReadName() {
    const std::size_t Start = FPos;
    if (!AtEnd() && IsNameStart(FText[FPos]))
      while (!AtEnd() && IsNameChar(FText[FPos])) ++FPos;
    return std::string(FText.substr(Start, FPos - Start));
  }
  bool Unescape(std::string_view Raw, std::string& Out) {
    Out.clear();
    for (std::size_t I = 0; I < Raw.size(); ++I) {
      if (Raw[I] != '&') {
        Out += Raw[I];
        continue;
      }
      const std::size_t Semi = Raw.find(';', I);
      if (Semi == std::string_view::npos) return Fail("'&' without ';'");
      const std::string_view Entity = Raw.substr(I + 1, Semi - I - 1);
      if (Entity == "amp") Out += '&';
      else if (Entity == "lt") Out += '<';
      else if (Entity == "gt") Out += '>';
      else if (Entity == "quot") Out += '"';
      else if (Entity == "apos") Out += '\'';
      else if (Entity.size() > 1 && Entity[0] == '#') {
        const bool Hex = Entity[1] == 'x';
        std::uint32_t Code = 0;
        const std::string_view Digits = Entity.substr(Hex ? 2 : 1);
        if (Digits.empty() || Digits.size() > 7) return Fail("bad character reference");
        for (char C : Digits) {
          const int D = (C >= '0' && C <= '9') ? C - '0'
                        : Hex && (C | 0x20) >= 'a' && (C | 0x20) <= 'f' ? (C | 0x20) - 'a' + 10 : -1;
          if (D < 0) return Fail("bad character reference");
          Code = Code * (Hex ? 16 : 10) + static_cast<std::uint32_t>(D);
        }
        if (Code == 0 || Code > 0x10FFFF) return Fail("bad character reference");
        AppendUtf8(Out, Code);
      } else {
        return Fail("unknown entity &" + std::string(Entity) + ";");
      }
      I = Semi;
    }
    return true;
  }

  std::string_view FText;
  std::size_t FPos = 0;
};

bool ParseGroup(TXmlReader& Reader, bool Empty, TEnvPropertyGroup& Group) {
  if (Empty) return true;
  std::string Name;
  std::vector<std::pair<std::string, std::string>> Attributes;
  for (;;) {
    if (!Reader.SkipMisc()) return false;
    if (Reader.LooksAt("</")) return Reader.CloseTag("PropertyGroup");
    bool PropertyEmpty = false;
    if (!Reader.OpenTag(Name, Attributes, PropertyEmpty)) return false;
    std::string Value;
    if (!PropertyEmpty && (!Reader.Text(Value) || !Reader.CloseTag(Name))) return false;
    Group.Properties.emplace_back(Name, Value);
  }
}

}  // namespace

std::string XmlEscape(std::string_view Text) {
  std::string Out;
  Out.reserve(Text.size());
  for (char C : Text) {
    switch (C) {
      case '&': Out += "&amp;"; break;
      case '<': Out += "&lt;"; break;
      case '>': Out += "&gt;"; break;
      case '"': Out += "&quot;"; break;
      case '\t': Out += "&#9;"; break;
      case '\n': Out += "&#10;"; break;
      case '\r': Out += "&#13;"; break;
      default:
        if (static_cast<unsigned char>(C) >= 0x20 && C != 0x7F) Out += C;
    }
  }
  return Out;
}

bool IsPropertyName(std::string_view Name) {
  if (Name.empty() || !IsNameStart(Name[0])) return false;
  return std::all_of(Name.begin(), Name.end(), [](char C) { return IsNameChar(C) && C != ':'; });
}

std::string RenderEnvDocument(const TEnvDocument& Document) {
  std::string Out = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Project xmlns=\"";
  Out += MSBuildNamespace;
  Out += "\">\n";
  for (const TEnvPropertyGroup& Group : Document.Groups) {
    if (Group.Properties.empty()) continue;
    Out += "  <PropertyGroup";
    if (!Group.Condition.empty()) Out += " Condition=\"" + XmlEscape(Group.Condition) + "\"";
    Out += ">\n";
    for (const auto& [Name, Value] : Group.Properties)
      Out += "    <" + Name + ">" + XmlEscape(Value) + "</" + Name + ">\n";
    Out += "  </PropertyGroup>\n";
  }
  Out += "</Project>\n";
  return Out;
}

std::string ParseEnvDocument(std::string_view Text, TEnvDocument& Document) {
  Document.Groups.clear();
  if (Text.substr(0, 3) == "\xEF\xBB\xBF") Text.remove_prefix(3);
  TXmlReader Reader(Text);
  std::string Name;
  std::vector<std::pair<std::string, std::string>> Attributes;
  bool Empty = false;
  if (!Reader.SkipMisc()) return Reader.Error;
  if (Reader.AtEnd()) return {};  // an empty file is an empty project
  if (!Reader.OpenTag(Name, Attributes, Empty)) return Reader.Error;
  if (Name != "Project") return "line 1: the root element must be <Project>";
  while (!Empty) {
    if (!Reader.SkipMisc()) return Reader.Error;
    if (Reader.LooksAt("</")) {
      if (!Reader.CloseTag("Project")) return Reader.Error;
      break;
    }
    bool GroupEmpty = false;
    if (!Reader.OpenTag(Name, Attributes, GroupEmpty)) return Reader.Error;
    if (Name != "PropertyGroup") {
      Reader.Fail("<" + Name + "> is not supported here; only <PropertyGroup> is");
      return Reader.Error;
    }
    TEnvPropertyGroup Group;
    for (const auto& [Attribute, Value] : Attributes)
      if (Attribute == "Condition") Group.Condition = Value;
    if (!ParseGroup(Reader, GroupEmpty, Group)) return Reader.Error;
    Document.Groups.push_back(std::move(Group));
  }
  if (!Reader.SkipMisc()) return Reader.Error;
  if (!Reader.AtEnd()) {
    Reader.Fail("text after </Project>");
    return Reader.Error;
  }
  return {};
}

}  // namespace LinuxHost

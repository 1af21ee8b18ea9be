#include "hosts/linux/EnvFileXml.h"

#include <gtest/gtest.h>

using namespace LinuxHost;

TEST(EnvFileXml, EscapesMarkupAndKeepsApostrophes) {
  EXPECT_EQ(XmlEscape("'$(Platform)'=='OSX32' & <\"x\">"), "'$(Platform)'=='OSX32' &amp; &lt;&quot;x&quot;&gt;");
  EXPECT_EQ(XmlEscape("Grüße"), "Grüße");
}

TEST(EnvFileXml, ControlBytesOtherThanTabAndLineBreaksAreDropped) {
  EXPECT_EQ(XmlEscape(std::string("a\x01" "b\x7f" "c\r\n\t", 8)), "abc&#13;&#10;&#9;");
}

TEST(EnvFileXml, PropertyNames) {
  EXPECT_TRUE(IsPropertyName("DefaultProfile"));
  EXPECT_TRUE(IsPropertyName("_a.b-1"));
  EXPECT_FALSE(IsPropertyName(""));
  EXPECT_FALSE(IsPropertyName("1a"));
  EXPECT_FALSE(IsPropertyName("a b"));
  EXPECT_FALSE(IsPropertyName("a:b"));
}

TEST(EnvFileXml, RenderThenParseGivesTheSameDocument) {
  TEnvDocument Document;
  Document.Groups.push_back({"'$(Platform)'=='OSX32'", {{"DefaultProfile", "Mac & \"Co\"\nx"}, {"B", "ü<>"}}});
  Document.Groups.push_back({"", {{"P", "v"}}});
  TEnvDocument Back;
  ASSERT_EQ(ParseEnvDocument(RenderEnvDocument(Document), Back), "");
  ASSERT_EQ(Back.Groups.size(), 2u);
  EXPECT_EQ(Back.Groups[0].Condition, Document.Groups[0].Condition);
  EXPECT_EQ(Back.Groups[0].Properties, Document.Groups[0].Properties);
  EXPECT_EQ(Back.Groups[1].Condition, "");
  EXPECT_EQ(Back.Groups[1].Properties, Document.Groups[1].Properties);
}

TEST(EnvFileXml, EmptyTextIsAnEmptyProject) {
  TEnvDocument Document;
  EXPECT_EQ(ParseEnvDocument(" \n", Document), "");
  EXPECT_TRUE(Document.Groups.empty());
}

TEST(EnvFileXml, ParseErrorsNameTheLine) {
  TEnvDocument Document;
  EXPECT_EQ(ParseEnvDocument("<Other/>", Document), "line 1: the root element must be <Project>");
  EXPECT_EQ(ParseEnvDocument("<Project>\n<ItemGroup/>\n</Project>", Document),
            "line 2: <ItemGroup> is not supported here; only <PropertyGroup> is");
  EXPECT_EQ(ParseEnvDocument("<Project>\n<PropertyGroup>\n<A>&bogus;</A>", Document), "line 3: unknown entity &bogus;");
  EXPECT_EQ(ParseEnvDocument("<Project></Project>\nx", Document), "line 2: text after </Project>");
  EXPECT_EQ(ParseEnvDocument("<Project>\n<!-- open", Document), "line 2: unterminated comment or declaration");
}

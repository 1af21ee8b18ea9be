#include <gtest/gtest.h>

#include "core/ResourceStrings.h"
#include "core/Text.h"

TEST(Text, FormatFillsStringsAndIntegersInOrder) {
  EXPECT_EQ(Format("Connection to '%s' on port %d succeeded", {std::string("mac"), std::int64_t{64211}}),
            "Connection to 'mac' on port 64211 succeeded");
}

TEST(Text, FormatIndexSpecifierReusesAnArgument) {
  EXPECT_EQ(ConnectionFailedText("mac.local", 64211),
            "Connection to 'mac.local' on port 64211 failed.\r\n\r\nPlease make sure that 'Hestrel' is running on "
            "the host machine and is configured to use port 64211");
}

TEST(Text, FormatKeepsPercentSignsAndUnmatchedSpecifiers) {
  EXPECT_EQ(Format("100%% of %s %x", {std::string("it")}), "100% of it %x");
  EXPECT_EQ(Format("%s and %s", {std::string("one")}), "one and %s");
  EXPECT_EQ(Format("%d", {std::string("text")}), "%d");
}

TEST(Text, SameTextIgnoresAsciiCaseOnly) {
  EXPECT_TRUE(SameText("Office Mac", "office MAC"));
  EXPECT_FALSE(SameText("Mac", "Mac "));
  EXPECT_FALSE(SameText("\xC3\x84", "\xC3\xA4"));  // Ä / ä compare exactly
  EXPECT_EQ(LowerCase("AbC-1"), "abc-1");
}

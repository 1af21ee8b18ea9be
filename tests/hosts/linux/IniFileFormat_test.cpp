#include "hosts/linux/IniFileFormat.h"

#include <gtest/gtest.h>

using namespace LinuxHost;

TEST(IniFileFormat, ValueEscapesOnlyWhatALineCannotHold) {
  EXPECT_EQ(EscapeValue("a=b;c#[d]\\e"), "a=b;c#[d]\\e");
  EXPECT_EQ(EscapeValue(" two  blanks "), "%20two  blanks%20");
  EXPECT_EQ(EscapeValue("50%\r\n\t"), "50%25%0D%0A%09");
  EXPECT_EQ(EscapeValue("Grüße"), "Grüße");
  EXPECT_EQ(EscapeValue(""), "");
}

TEST(IniFileFormat, NamesEscapeTheirSeparators) {
  EXPECT_EQ(EscapeValueName("a=b"), "a%3Db");
  EXPECT_EQ(EscapeValueName(";x#y[z"), "%3Bx#y[z");
  EXPECT_EQ(EscapeValueName("[x"), "%5Bx");
  EXPECT_EQ(EscapeValueName("#x"), "%23x");
  EXPECT_EQ(EscapeSectionName("Remote\\a]b[c"), "Remote\\a%5Db[c");
}

TEST(IniFileFormat, UnescapeUndoesEveryEscapeAndRefusesBrokenOnes) {
  EXPECT_EQ(Unescape("%20a%3d%0A%25"), " a=\n%");
  EXPECT_EQ(Unescape("plain"), "plain");
  EXPECT_FALSE(Unescape("50%"));
  EXPECT_FALSE(Unescape("%4"));
  EXPECT_FALSE(Unescape("%zz"));
}

TEST(IniFileFormat, ParseIntegerReadsDecimalHexAndRefusesTheRest) {
  EXPECT_EQ(ParseInteger(" 64211 "), 64211);
  EXPECT_EQ(ParseInteger("-5"), -5);
  EXPECT_EQ(ParseInteger("0x10"), 16);
  EXPECT_EQ(ParseInteger("$FF"), 255);
  EXPECT_EQ(ParseInteger("-2147483648"), INT32_MIN);
  EXPECT_FALSE(ParseInteger("2147483648"));
  EXPECT_FALSE(ParseInteger("12a"));
  EXPECT_FALSE(ParseInteger(""));
  EXPECT_FALSE(ParseInteger("-"));
}

TEST(IniFileFormat, CaseInsensitiveHashAgreesWithEquality) {
  TCaseInsensitiveHash Hash;
  EXPECT_EQ(Hash("RemoteProfiles\\Mac"), Hash("remoteprofiles\\MAC"));
  EXPECT_TRUE(TCaseInsensitiveEqual()("PortNumber", "PORTNUMBER"));
  EXPECT_FALSE(TCaseInsensitiveEqual()("Ä", "ä"));  // only ASCII letters fold
}

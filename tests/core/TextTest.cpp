// The text helpers: Format, case-insensitive comparison, and the two path helpers.
#include <gtest/gtest.h>

#include "core/PathFunctions.h"
#include "core/Text.h"
#include "doubles/HostDoubles.h"

namespace {

using TRows = std::vector<std::pair<std::string, std::string>>;  // (actual, expected)

void ExpectRows(const TRows& Rows) {
  for (std::size_t I = 0; I < Rows.size(); ++I) EXPECT_EQ(Rows[I].first, Rows[I].second) << "row " << I;
}

TEST(Text, FormatFillsSpecifiersAndCopiesWhatItCannotFill) {
  const std::string It = "it";
  ExpectRows({
      {ConnectionFailedText("mac.local", 64211),  // "%s", "%d", then "%1:d" again
       "Connection to 'mac.local' on port 64211 failed.\r\n\r\nPlease make sure that 'Hestrel' is running on the host "
       "machine and is configured to use port 64211"},
      {Format("%1:s %0:s %s", {std::string("a"), std::string("b")}), "b a b"},  // an index continues from there
      {Format("100%% of %s %x", {It}), "100% of it %x"},
      {Format("%s and %s", {It}), "it and %s"},
      {Format("%d", {It}), "%d"},
      {Format("%1:x 50%", {It}), "%1:x 50%"},
  });
}

TEST(Text, SameTextIgnoresTheCaseOfAsciiLettersOnly) {
  EXPECT_TRUE(SameText("Office Mac", "office MAC"));
  EXPECT_FALSE(SameText("Mac", "Mac "));
  EXPECT_FALSE(SameText("\xC3\x84", "\xC3\xA4"));  // Ä and ä differ
  EXPECT_EQ(LowerCase("AbC-1\xC3\x84"), "abc-1\xC3\x84");
}

TEST(PathFunctions, ReplacePathPartReplacesWholeComponentsBetweenBackslashesOrSlashes) {
  ExpectRows({
      {ReplacePathPart("C:\\Profiles\\Mac\\cache\\mac", "Mac", "Mini"), "C:\\Profiles\\Mini\\cache\\Mini"},
      {ReplacePathPart("\\\\server\\Mac\\\\x\\", "Mac", "Mini"), "server\\Mini\\x"},             // empty parts go
      {ReplacePathPart("\\\\server\\Other\\\\x\\", "Mac", "Mini"), "\\\\server\\Other\\\\x\\"},  // no match: as it was
      {ReplacePathPart("/home/u/SDKs/Mac", "Mac", "Office"), "/home/u/SDKs/Office"},  // the leading '/' stays
      {ReplacePathPart("/home//u/SDKs\\Mac/", "Mac", "Office"), "/home/u/SDKs/Office"},
      {ReplacePathPart("rel/Macs/x", "Mac", "Office"), "rel/Macs/x"},
      {ReplacePathPart("a\\\\Mac", "Mac", "Mac"), "a\\\\Mac"},
  });
}

class PlatformDisplayName : public THostFixture {};

TEST_F(PlatformDisplayName, ComesFromTheHostByExactIdentifier) {
  ExpectRows({{GetPlatformDisplayName("OSX32"), "32-bit OS X"},
              {GetPlatformDisplayName("osx32"), ""},
              {GetPlatformDisplayName("Symbian"), ""}});
  Host.Platforms = nullptr;
  Reinstall();
  EXPECT_EQ(GetPlatformDisplayName("OSX32"), "");
}

}  // namespace

// Hestrel client: path validation (nothing lands outside the local root) and shell quoting.
#include <gtest/gtest.h>

#include <cerrno>

#include "ClientTestSupport.h"
#include "client/FindListing.h"
#include "client/Launch.h"
#include "client/LocalPaths.h"
#include "client/ShellQuote.h"

using namespace hestrel;
using namespace hestrel_test;

TEST(HestrelLocalPaths, EntryNamesThatCouldClimbOrNestAreUnsafe) {
  EXPECT_TRUE(IsSafeEntryName("stdio.h"));
  EXPECT_TRUE(IsSafeEntryName("..hidden"));
  EXPECT_FALSE(IsSafeEntryName(".."));
  EXPECT_FALSE(IsSafeEntryName("."));
  EXPECT_FALSE(IsSafeEntryName(""));
  EXPECT_FALSE(IsSafeEntryName("a/b"));
  EXPECT_FALSE(IsSafeEntryName("/etc"));
  EXPECT_FALSE(IsSafeEntryName(std::string("a\0b", 3)));
}

TEST(HestrelLocalPaths, RelativePathsMustNotClimbOrStartAtTheRoot) {
  EXPECT_TRUE(IsSafeRelativePath("usr/include/x.h"));
  EXPECT_FALSE(IsSafeRelativePath("usr/../../etc/passwd"));
  EXPECT_FALSE(IsSafeRelativePath("/etc/passwd"));
  EXPECT_FALSE(IsSafeRelativePath(""));
}

TEST(HestrelLocalPaths, RemotePathMapsBelowTheRoot) {
  std::string Local;
  ASSERT_TRUE(LocalPathUnderRoot("/cache", "/usr/include/x.h", Local));
  EXPECT_EQ(Local, "/cache/usr/include/x.h");
  ASSERT_TRUE(LocalPathUnderRoot("/cache/", "//usr/./include//", Local));
  EXPECT_EQ(Local, "/cache/usr/include");
  ASSERT_TRUE(LocalPathUnderRoot("/cache", "sdk/lib", Local));
  EXPECT_EQ(Local, "/cache/sdk/lib");
}

TEST(HestrelLocalPaths, RemotePathWithDotDotIsRefused) {
  std::string Local = "unchanged";
  EXPECT_FALSE(LocalPathUnderRoot("/cache", "/usr/../../etc/passwd", Local));
  EXPECT_FALSE(LocalPathUnderRoot("/cache", "..", Local));
  EXPECT_FALSE(LocalPathUnderRoot("", "/usr", Local));
  EXPECT_EQ(Local, "unchanged");
}

TEST(HestrelLocalPaths, LinkTargetsResolveLexically) {
  EXPECT_EQ(ResolveLinkTarget("/sdk/lib", "libz.so.1"), "/sdk/lib/libz.so.1");
  EXPECT_EQ(ResolveLinkTarget("/sdk/lib", "../include/z.h"), "/sdk/include/z.h");
  EXPECT_EQ(ResolveLinkTarget("/sdk/lib", "/etc/passwd"), "/etc/passwd");
  EXPECT_EQ(ResolveLinkTarget("/sdk", "../../../../x"), "");
  EXPECT_EQ(ResolveLinkTarget("sdk/lib", "../x"), "sdk/x");
}

TEST(HestrelLocalPaths, TreeMembership) {
  EXPECT_TRUE(IsWithinTree("/sdk", "/sdk"));
  EXPECT_TRUE(IsWithinTree("/sdk", "/sdk/a/b"));
  EXPECT_FALSE(IsWithinTree("/sdk", "/sdkother/a"));
  EXPECT_FALSE(IsWithinTree("/sdk", "/etc"));
  EXPECT_TRUE(IsWithinTree("/", "/etc"));
}

TEST(HestrelLocalPaths, RelativePathBetweenDirectories) {
  EXPECT_EQ(RelativePath("/sdk/lib", "/sdk/lib/libz.so.1"), "libz.so.1");
  EXPECT_EQ(RelativePath("/sdk/lib", "/sdk/include/z.h"), "../include/z.h");
  EXPECT_EQ(RelativePath("/F.framework", "/F.framework/Versions/Current/Headers"), "Versions/Current/Headers");
}

TEST(HestrelLocalPaths, LocalDirectoryBehindALinkOutOfTheRootIsDetected) {
  TTempDir Root, Outside;
  std::filesystem::create_directories(Root.Path() / "inside");
  std::filesystem::create_directory_symlink(Outside.Path(), Root.Path() / "escape");
  EXPECT_TRUE(LocalDirectoryInsideRoot(Root / "inside", Root.Path().string()));
  EXPECT_FALSE(LocalDirectoryInsideRoot(Root / "escape", Root.Path().string()));
}

TEST(HestrelLocalPaths, TempFileLeavesNothingUnlessCommitted) {
  TTempDir Dir;
  {
    TLocalTempFile Temp(Dir / "x.h");
    ASSERT_TRUE(Temp.IsOpen());
    Temp.Write("abc", 3);
  }
  EXPECT_TRUE(TreeOf(Dir.Path().string()).empty());
  {
    TLocalTempFile Temp(Dir / "x.h");
    Temp.Write("abc", 3);
    ASSERT_TRUE(Temp.Commit(1500000000));
  }
  EXPECT_EQ(TreeOf(Dir.Path().string()), std::vector<std::string>{"x.h"});
  std::int64_t Size = 0, Time = 0;
  ASSERT_TRUE(LocalFileInfo(Dir / "x.h", Size, Time));
  EXPECT_EQ(Size, 3);
  EXPECT_EQ(Time, 1500000000);
}

TEST(HestrelLocalPaths, TemporaryNamesFollowTheExactPattern) {
  TTempDir Dir;
  const std::string Final = Dir / "x.h";
  TLocalTempFile Temp(Final);
  EXPECT_TRUE(IsTemporaryName(std::filesystem::path(Temp.GetTempPath()).filename().string()));
  EXPECT_TRUE(IsTemporaryName(".a.h.0123abcd.hestrel-part"));
  EXPECT_TRUE(IsTemporaryName("..profile.89abcdef.hestrel-part"));
  EXPECT_FALSE(IsTemporaryName(".a.h.0123ABCD.hestrel-part"));  // upper case
  EXPECT_FALSE(IsTemporaryName(".a.h.0123abc.hestrel-part"));   // seven digits
  EXPECT_FALSE(IsTemporaryName("a.h.0123abcd.hestrel-part"));   // no leading dot
  EXPECT_FALSE(IsTemporaryName("..0123abcd.hestrel-part"));     // no name
  EXPECT_FALSE(IsTemporaryName(".a.h-0123abcd.hestrel-part"));
  EXPECT_FALSE(IsTemporaryName(".a.h.0123abcd.hestrel-part~"));
  EXPECT_FALSE(IsTemporaryName(".hestrel-part"));
}

TEST(HestrelShellQuote, QuotesEverythingLiterally) {
  EXPECT_EQ(ShellQuote("a b"), "'a b'");
  EXPECT_EQ(ShellQuote("it's"), "'it'\\''s'");
  EXPECT_EQ(ShellQuote("$(rm -rf /)"), "'$(rm -rf /)'");
  EXPECT_EQ(ShellQuote(""), "''");
}

TEST(HestrelShellQuote, ExpandableWordKeepsOnlyTildeAndVariables) {
  EXPECT_EQ(ShellExpandableWord("~/sdk"), "~/'sdk'");
  EXPECT_EQ(ShellExpandableWord("~/"), "~/");
  EXPECT_EQ(ShellExpandableWord("~root"), "~root");
  EXPECT_EQ(ShellExpandableWord("$HOME/x y"), "\"${HOME}\"'/x y'");
  EXPECT_EQ(ShellExpandableWord("${SDK}/$(id)"), "\"${SDK}\"'/$(id)'");
  EXPECT_EQ(ShellExpandableWord("a~b"), "'a~b'");
  EXPECT_EQ(ShellExpandableWord("~x;rm"), "'~x;rm'");  // not a user name: literal
  EXPECT_EQ(ShellExpandableWord(""), "''");
}

TEST(HestrelShellQuote, CommandLineIsSplitIntoWords) {
  EXPECT_EQ(SplitCommandLine("  -a  'b c' \"d \\\"e\\\"\" f\\ g "),
            (std::vector<std::string>{"-a", "b c", "d \"e\"", "f g"}));
  EXPECT_TRUE(SplitCommandLine("").empty());
  EXPECT_EQ(SplitCommandLine("''"), std::vector<std::string>{""});
}

TEST(HestrelShellQuote, RunScriptQuotesEveryArgument) {
  TRunRequest R;
  R.Program = "/bin/echo";
  R.Parameters = "a '$(touch /tmp/pwned)'";
  R.Environment = {"A=1 2", "bad"};
  const std::string Script = RunScript(R);
  EXPECT_NE(Script.find("nohup env 'A=1 2' \"$p\" 'a' '$(touch /tmp/pwned)' </dev/null >/dev/null 2>&1 &"),
            std::string::npos)
      << Script;
  EXPECT_EQ(Script.find("bad"), std::string::npos);
}

TEST(HestrelLocalPaths, LocalErrorsHaveSpecificTexts) {
  EXPECT_EQ(LocalErrorText("/x", EACCES), "Permission denied: '/x'");
  EXPECT_EQ(LocalErrorText("/x", ENOSPC), "Disk full while writing '/x'");
  EXPECT_EQ(LocalErrorText("/x", ENOENT), "Local file '/x' does not exist");
}

TEST(HestrelFindListing, RecordsAreSortedIntoTheirDirectories) {
  using namespace std::string_literals;
  const std::string Output = "d 4096 1500000000.5\0sub\0\0"s
                             "f 12 1500000001.0000000000\0sub/a b.h\0\0"s
                             "l 3 1500000002.1\0link\0sub\0"s
                             "f 0 1500000003\0top\nline\0\0"s;
  TTreeListing Listing;
  ASSERT_TRUE(ParseFindRecords("/r", Output, Listing));
  ASSERT_EQ(Listing.size(), 2u);
  ASSERT_EQ(Listing["/r"].size(), 3u);
  EXPECT_EQ(Listing["/r"][0].Name, "sub");
  EXPECT_EQ(Listing["/r"][0].Type, TRemoteType::Directory);
  EXPECT_EQ(Listing["/r"][1].Name, "link");
  EXPECT_EQ(Listing["/r"][1].Type, TRemoteType::SymLink);
  EXPECT_EQ(Listing["/r"][1].LinkTarget, "sub");
  EXPECT_EQ(Listing["/r"][2].Name, "top\nline");
  ASSERT_EQ(Listing["/r/sub"].size(), 1u);
  EXPECT_EQ(Listing["/r/sub"][0].Name, "a b.h");
  EXPECT_EQ(Listing["/r/sub"][0].Size, 12);
  EXPECT_EQ(Listing["/r/sub"][0].Modified, 1500000001);
}

TEST(HestrelFindListing, EmptyOutputIsAnEmptyRootAndMalformedOutputIsRefused) {
  using namespace std::string_literals;
  TTreeListing Listing;
  ASSERT_TRUE(ParseFindRecords("/r", "", Listing));
  EXPECT_EQ(Listing.size(), 1u);
  EXPECT_TRUE(Listing["/r"].empty());
  EXPECT_FALSE(ParseFindRecords("/r", "f 12 15\0name\0"s, Listing));           // a field missing
  EXPECT_FALSE(ParseFindRecords("/r", "find: unknown predicate\0x\0\0"s, Listing));
  EXPECT_FALSE(ParseFindRecords("/r", "f 1x 15\0name\0\0"s, Listing));
}

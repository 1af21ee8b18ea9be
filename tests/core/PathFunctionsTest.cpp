// Part 2.3: GetPlatformDisplayName and ReplacePathPart (core/PathFunctions.cpp).
#include <gtest/gtest.h>

#include "core/PathFunctions.h"
#include "doubles/HostDoubles.h"

namespace {

class PathFunctions : public THostFixture {};

TEST_F(PathFunctions, ReplacePathPartReplacesEveryMatchingComponent) {
  EXPECT_EQ(ReplacePathPart("C:\\Profiles\\Mac\\cache\\mac", "Mac", "Mini"), "C:\\Profiles\\Mini\\cache\\Mini");
}

TEST_F(PathFunctions, ReplacePathPartLosesLeadingSeparatorsOnAMatch) {
  EXPECT_EQ(ReplacePathPart("\\\\server\\Mac\\\\x\\", "Mac", "Mini"), "server\\Mini\\x");
}

TEST_F(PathFunctions, ReplacePathPartWithoutAMatchKeepsTheExactText) {
  EXPECT_EQ(ReplacePathPart("\\\\server\\Other\\\\x\\", "Mac", "Mini"), "\\\\server\\Other\\\\x\\");
  EXPECT_EQ(ReplacePathPart("/home/ann/Mac", "Mac", "Mini"), "/home/ann/Mac");  // backslash is the only separator
  EXPECT_EQ(ReplacePathPart("", "Mac", "Mini"), "");
  EXPECT_EQ(ReplacePathPart("a\\Mac", "", "Mini"), "a\\Mac");
  EXPECT_EQ(ReplacePathPart("a\\\\Mac", "Mac", "Mac"), "a\\\\Mac");
}

TEST_F(PathFunctions, ReplacePathPartSplitsOnBackslashesOnlyAsPart23Writes) {
  // A POSIX root is one component: it never follows (docs/DECISIONS.md).
  EXPECT_EQ(ReplacePathPart("/home/u/SDKs/Mac", "Mac", "Office"), "/home/u/SDKs/Mac");
  EXPECT_EQ(ReplacePathPart("/home/u/Mac/SDKs", "Mac", "Office"), "/home/u/Mac/SDKs");
  // Only a part between backslashes is replaced, whatever slashes it holds.
  EXPECT_EQ(ReplacePathPart("/home/u/SDKs\\Mac", "Mac", "Office"), "/home/u/SDKs\\Office");
  EXPECT_EQ(ReplacePathPart("/home/u/SDKs/Mac", "/home/u/SDKs/Mac", "/x"), "/x");
}

TEST_F(PathFunctions, DisplayNameOfTheEmptyStringAsksNoHost) {
  EXPECT_EQ(GetPlatformDisplayName(""), "");
  EXPECT_EQ(Platforms->Calls, 0);
}

TEST_F(PathFunctions, DisplayNameComesFromTheHostByExactIdentifier) {
  EXPECT_EQ(GetPlatformDisplayName("OSX32"), "32-bit OS X");
  EXPECT_EQ(GetPlatformDisplayName("osx32"), "");
  EXPECT_EQ(GetPlatformDisplayName("Symbian"), "");
  Host.Platforms = nullptr;
  Reinstall();
  EXPECT_EQ(GetPlatformDisplayName("OSX32"), "");
}

}  // namespace

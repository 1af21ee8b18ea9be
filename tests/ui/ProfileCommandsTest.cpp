// The copy command below the page's controls.
#include <gtest/gtest.h>

#include "doubles/HostDoubles.h"
#include "ui/ProfileCommands.h"

namespace {

using ProfileCommands = THostFixture;

TEST_F(ProfileCommands, ACopyGetsATrimmedNameItsOwnPathItemsAndALocalRootFollowingTheName) {
  const TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(nullptr);
  const auto Mac = Manager->AddProfile("Mac", "OSX32", "box", 1, {}, "C:\\SDKs\\Mac\\x", {{"/usr", "*", true}}, false);
  const auto Copy = CopyProfile(*Manager, Mac, " Mac2 ");
  EXPECT_EQ(Copy->GetName() + "|" + Copy->GetHostName() + "|" + Copy->GetSystemRoot(), "Mac2|box|C:\\SDKs\\Mac2\\x");
  EXPECT_TRUE(Copy->GetPaths().SameItems(Mac->GetPaths()));
  EXPECT_FALSE(Copy->GetPaths().SameArray(Mac->GetPaths()));
  EXPECT_FALSE(CopyProfile(*Manager, Mac, "MAC"));
  ASSERT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(Messages->Shown[0].Text, "A profile named 'MAC' already exists");
}

}  // namespace

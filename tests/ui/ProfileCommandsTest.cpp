// The page's own commands below its controls: the copy and the export.
#include <gtest/gtest.h>

#include <fstream>

#include "doubles/HostDoubles.h"
#include "doubles/ProfileFileLibrary.h"
#include "ui/ProfileCommands.h"

namespace {

class ProfileCommands : public THostFixture {
 protected:
  std::vector<std::string> Shown() const {
    std::vector<std::string> Result;
    for (const auto& Message : Messages->Shown) Result.push_back(Message.Text);
    return Result;
  }
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(nullptr);
};

TEST_F(ProfileCommands, ACopyGetsATrimmedNameItsOwnPathItemsAndALocalRootFollowingTheName) {
  const auto Mac = Manager->AddProfile("Mac", "OSX32", "box", 1, {}, "C:\\SDKs\\Mac\\x", {{"/usr", "*", true}}, false);
  const auto Copy = CopyProfile(*Manager, Mac, " Mac2 ");
  EXPECT_EQ(Copy->GetName() + "|" + Copy->GetHostName() + "|" + Copy->GetSystemRoot(), "Mac2|box|C:\\SDKs\\Mac2\\x");
  EXPECT_TRUE(Copy->GetPaths().SameItems(Mac->GetPaths()));
  EXPECT_FALSE(Copy->GetPaths().SameArray(Mac->GetPaths()));
  EXPECT_FALSE(CopyProfile(*Manager, Mac, "MAC"));
  EXPECT_EQ(Shown(), std::vector<std::string>{"A profile named 'MAC' already exists"});
}

TEST_F(ProfileCommands, ExportAsksBeforeReplacingAFile) {
  Host.AgentLibrary = std::make_shared<TProfileFileLibrary>();
  Reinstall();
  const std::string Existing = (TempDir / "mac.profile").string();
  std::ofstream(Existing) << "keep";
  const auto Mac = Manager->AddProfile("Mac", "OSX32", "h", 1, {"enc:00", true, true}, "", {}, false);
  Messages->Answers = {TMsgDlgBtn::mbNo, TMsgDlgBtn::mbYes};
  for (const bool Written : {false, true}) {
    std::string FileName = (TempDir / "mac").string();  // the extension is appended
    EXPECT_EQ(ExportProfile(*Manager, Mac, FileName), Written);
    EXPECT_EQ(FileName, Existing);
    EXPECT_EQ(std::filesystem::file_size(Existing) != 4, Written);
  }
  EXPECT_EQ(Shown().back(), "File '" + Existing + "' already exists.  Do you want to replace it?");
}

}  // namespace

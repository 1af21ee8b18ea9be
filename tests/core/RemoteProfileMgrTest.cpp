// Part 1.2: RemoteProfileMgr, the process-wide manager — created on the first call with the
// installed host's settings store (AppIniFile), loaded at once, the same object afterwards.
#include <gtest/gtest.h>

#include "ManagerTestSupport.h"
#include "core/RemoteProfileManager.h"
#include "doubles/HostDoubles.h"

namespace {

using Log = std::vector<std::string>;

class ProcessManager : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Ini->WriteString("RemoteProfiles\\Mac", "Platform", "OSX32");
    Ini->WriteString("RemoteProfiles\\Mac", "HostName", "mac.local");
    Ini->WriteString("RemoteProfiles\\Droid", "Platform", "Android");
    Ini->WriteString("RemoteProfiles", "Default_Android", "Droid");
    Ini->Log.clear();
  }
};

}  // namespace

TEST_F(ProcessManager, FirstCallCreatesItFromTheInstalledStoreAndLoadsAtOnce) {
  EXPECT_EQ(Ini->Log, Log{});  // nothing is made before the first call
  const TRemoteProfileManagerPtr M = RemoteProfileMgr();
  ASSERT_TRUE(M);
  EXPECT_EQ(M->GetSettings(), Ini);
  ASSERT_FALSE(Ini->Log.empty());
  EXPECT_EQ(Ini->Log.front(), "ReadSections(RemoteProfiles)");
  EXPECT_EQ(NamesOf(*M, "OSX32"), (std::vector<std::string>{"Mac"}));
  EXPECT_EQ(NamesOf(*M, "Android"), (std::vector<std::string>{"Droid"}));
  EXPECT_EQ(M->GetProfile("Mac")->GetHostName(), "mac.local");
  EXPECT_EQ(M->GetProfile("Mac")->GetPortNumber(), 64211);
  EXPECT_EQ(M->GetDefaultForPlatform("Android"), M->GetProfile("Droid"));
}

TEST_F(ProcessManager, LaterCallsAnswerTheSameObjectWithoutLoadingAgain) {
  const TRemoteProfileManagerPtr First = RemoteProfileMgr();
  const std::size_t CallsAfterLoad = Ini->Log.size();
  Ini->WriteString("RemoteProfiles\\Late", "Platform", "OSX32");  // stored after the load
  const Log Before = Ini->Log;
  EXPECT_EQ(RemoteProfileMgr(), First);
  EXPECT_EQ(RemoteProfileMgr(), First);
  EXPECT_EQ(Ini->Log, Before);  // no second load
  EXPECT_EQ(Ini->Log.size(), CallsAfterLoad + 1);
  EXPECT_EQ(First->GetProfile("Late"), nullptr);
  // A profile added through one answer is seen through the next.
  Add(*RemoteProfileMgr(), "Added", "OSX32");
  EXPECT_EQ(NamesOf(*RemoteProfileMgr(), "OSX32"), (std::vector<std::string>{"Mac", "Added"}));
}

TEST_F(ProcessManager, TheStoreIsTheOneInstalledAtTheFirstCall) {
  const auto Other = std::make_shared<TMemIniFile>();
  Other->WriteString("RemoteProfiles\\Other", "Platform", "Linux64");
  Host.AppIniFile = Other;
  Reinstall();
  const TRemoteProfileManagerPtr M = RemoteProfileMgr();
  EXPECT_EQ(M->GetSettings(), Other);
  EXPECT_EQ(NamesOf(*M, "Linux64"), (std::vector<std::string>{"Other"}));
  EXPECT_EQ(M->GetProfile("Mac"), nullptr);
  EXPECT_EQ(Ini->Log, Log{});  // the fixture's store was not read
  // Installing yet another store later does not make a new manager.
  Host.AppIniFile = Ini;
  Reinstall();
  EXPECT_EQ(RemoteProfileMgr(), M);
  EXPECT_EQ(RemoteProfileMgr()->GetSettings(), Other);
}

TEST_F(ProcessManager, WithoutAStoreTheManagerStartsEmpty) {
  Host.AppIniFile = nullptr;
  Reinstall();
  const TRemoteProfileManagerPtr M = RemoteProfileMgr();
  ASSERT_TRUE(M);
  EXPECT_EQ(M->GetSettings(), nullptr);
  EXPECT_TRUE(M->GetProfiles().empty());
  EXPECT_EQ(RemoteProfileMgr(), M);
}

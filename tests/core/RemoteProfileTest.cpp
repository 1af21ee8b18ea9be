// Part 1.1: Remote profile — setters, update bracket and the edge cases of the Part.
#include <gtest/gtest.h>

#include "core/RemoteProfile.h"

namespace {

/// A profile whose three callbacks record what fired, in order.
struct TRecordedProfile {
  std::vector<std::string> Fired;
  std::shared_ptr<TRemoteProfile> Profile;

  explicit TRecordedProfile(std::string SystemRoot = "/cache/Mac") {
    Profile = std::make_shared<TRemoteProfile>(
        "Mac", "OSX32", "mac.local", 64211, TOTARemoteProfileCredential{"secret", true, true}, std::move(SystemRoot),
        TOTARemoteProfilePathArray{}, [this](TRemoteProfile&) { Fired.push_back("Change"); },
        [this](TRemoteProfile&, const std::string& Old) { Fired.push_back("NameChange(" + Old + ")"); },
        [this](TRemoteProfile&, const std::string& Old) { Fired.push_back("PlatformChange(" + Old + ")"); });
  }
};

}  // namespace

TEST(RemoteProfile, ConstructorStoresEveryFieldAndFiresNothing) {
  TRecordedProfile R;
  EXPECT_EQ(R.Profile->GetName(), "Mac");
  EXPECT_EQ(R.Profile->GetPlatformName(), "OSX32");
  EXPECT_EQ(R.Profile->GetHostName(), "mac.local");
  EXPECT_EQ(R.Profile->GetPortNumber(), 64211);
  EXPECT_EQ(R.Profile->GetCredential(), (TOTARemoteProfileCredential{"secret", true, true}));
  EXPECT_EQ(R.Profile->GetSystemRoot(), "/cache/Mac");
  EXPECT_TRUE(R.Profile->GetPaths().empty());
  EXPECT_EQ(R.Profile->ClientUseCount(), 0);
  EXPECT_FALSE(R.Profile->HasClient());
  EXPECT_TRUE(R.Fired.empty());
}

TEST(RemoteProfile, SetterWithSameValueDoesNothing) {
  TRecordedProfile R;
  R.Profile->SetHostName("mac.local");
  R.Profile->SetPortNumber(64211);
  R.Profile->SetSystemRoot("/cache/Mac");
  R.Profile->SetPlatformName("OSX32");
  R.Profile->SetName("Mac");
  EXPECT_TRUE(R.Fired.empty());
}

TEST(RemoteProfile, HostNameComparisonIsCaseSensitive) {
  TRecordedProfile R;
  R.Profile->SetHostName("MAC.local");
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change"}));
  EXPECT_EQ(R.Profile->GetHostName(), "MAC.local");
}

TEST(RemoteProfile, UpdateBracketDeliversTwoChangesOnceAtEndUpdate) {
  TRecordedProfile R;
  R.Profile->BeginUpdate();
  R.Profile->SetHostName("other");
  R.Profile->SetPortNumber(1234);
  EXPECT_TRUE(R.Fired.empty());
  R.Profile->EndUpdate();
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change"}));
}

TEST(RemoteProfile, NestedBeginUpdateFiresOnlyAtOutermostEndUpdate) {
  TRecordedProfile R;
  R.Profile->BeginUpdate();
  R.Profile->BeginUpdate();
  R.Profile->SetHostName("other");
  R.Profile->EndUpdate();
  EXPECT_TRUE(R.Fired.empty());
  R.Profile->EndUpdate();
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change"}));
}

TEST(RemoteProfile, EndUpdateWithoutChangeFiresNothing) {
  TRecordedProfile R;
  R.Profile->BeginUpdate();
  R.Profile->EndUpdate();
  EXPECT_TRUE(R.Fired.empty());
}

TEST(RemoteProfile, SetNameToSameStringDoesNothing) {
  TRecordedProfile R;
  R.Profile->SetName("Mac");
  EXPECT_TRUE(R.Fired.empty());
  EXPECT_EQ(R.Profile->GetName(), "Mac");
}

TEST(RemoteProfile, SetNameDifferingOnlyInCaseIsARename) {
  TRecordedProfile R("/cache/other");
  R.Profile->SetName("MAC");
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change", "NameChange(Mac)"}));
  EXPECT_EQ(R.Profile->GetName(), "MAC");
}

TEST(RemoteProfile, SetNameMovesSystemRootOutsideUpdateFiresChangeTwiceThenRename) {
  TRecordedProfile R("C:\\Users\\me\\Mac\\sdk");
  R.Profile->SetName("Office");
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change", "Change", "NameChange(Mac)"}));
  EXPECT_EQ(R.Profile->GetSystemRoot(), "C:\\Users\\me\\Office\\sdk");
}

TEST(RemoteProfile, SetNameLeavesAPosixSystemRootAsItIs) {
  // Part 2.3 kept as written: ReplacePathPart splits on backslashes only, so a POSIX local
  // root does not follow a rename (docs/DECISIONS.md).
  TRecordedProfile R("/home/u/SDKs/Mac");
  R.Profile->SetName("Office");
  EXPECT_EQ(R.Profile->GetName(), "Office");
  EXPECT_EQ(R.Profile->GetSystemRoot(), "/home/u/SDKs/Mac");
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change", "NameChange(Mac)"}));  // no change of the root
}

TEST(RemoteProfile, SetNameMovesSystemRootInsideUpdateRenameAtOnceChangeOnceAtEnd) {
  TRecordedProfile R("C:\\Users\\me\\Mac\\sdk");
  R.Profile->BeginUpdate();
  R.Profile->SetName("Office");
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"NameChange(Mac)"}));
  R.Profile->EndUpdate();
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"NameChange(Mac)", "Change"}));
}

TEST(RemoteProfile, RenameAndPlatformCallbacksFireInsideUpdate) {
  TRecordedProfile R("/cache/x");
  R.Profile->BeginUpdate();
  R.Profile->SetPlatformName("Linux64");
  R.Profile->SetName("Box");
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"PlatformChange(OSX32)", "NameChange(Mac)"}));
  R.Profile->EndUpdate();
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"PlatformChange(OSX32)", "NameChange(Mac)", "Change"}));
}

TEST(RemoteProfile, SetPlatformNameOutsideUpdateFiresChangeThenPlatformChange) {
  TRecordedProfile R;
  R.Profile->SetPlatformName("Linux64");
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change", "PlatformChange(OSX32)"}));
}

TEST(RemoteProfile, SetCredentialWithOnlyIsEncryptedChangedKeepsOldFlagAndFiresNothing) {
  TRecordedProfile R;
  R.Profile->SetCredential({"secret", true, false});
  EXPECT_TRUE(R.Fired.empty());
  EXPECT_TRUE(R.Profile->GetCredential().IsEncrypted);
}

TEST(RemoteProfile, SetCredentialCopiesWholeRecordWhenPasswordDiffers) {
  TRecordedProfile R;
  R.Profile->SetCredential({"typed", true, false});
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change"}));
  EXPECT_EQ(R.Profile->GetCredential(), (TOTARemoteProfileCredential{"typed", true, false}));
}

TEST(RemoteProfile, SetCredentialIsPasswordChangeIsAChange) {
  TRecordedProfile R;
  R.Profile->SetCredential({"secret", false, true});
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change"}));
  EXPECT_FALSE(R.Profile->GetCredential().IsPassword);
}

TEST(RemoteProfile, SetPathsComparesIdentityNotContents) {
  TRecordedProfile R;
  TOTARemoteProfilePathArray Paths{{"/usr/include", "*", false, ptIncludePath}};
  R.Profile->SetPaths(Paths);
  EXPECT_EQ(R.Fired, (std::vector<std::string>{"Change"}));

  // Edited in place and passed back: the same array, so no change and no notification.
  TOTARemoteProfilePathArray Same = R.Profile->GetPaths();
  Same[0].Mask = "*.h";
  R.Profile->SetPaths(Same);
  EXPECT_EQ(R.Fired.size(), 1u);
  EXPECT_EQ(R.Profile->GetPaths()[0].Mask, "*.h");

  // Equal contents in another array: a change.
  R.Profile->SetPaths(TOTARemoteProfilePathArray{{"/usr/include", "*.h", false, ptIncludePath}});
  EXPECT_EQ(R.Fired.size(), 2u);
}

TEST(RemoteProfile, UnbalancedEndUpdateIsNotGuarded) {
  TRecordedProfile R;
  R.Profile->EndUpdate();  // count -1
  R.Profile->SetHostName("other");
  EXPECT_TRUE(R.Fired.empty());  // a change is pending while the count is not 0
  R.Profile->BeginUpdate();      // back to 0, but only EndUpdate delivers
  EXPECT_TRUE(R.Fired.empty());
}

TEST(RemoteProfile, CredentialConversionCopiesFieldForField) {
  TRACredential Dst;
  TOTARemoteProfileCredential2TRACredential({"/home/me/x.passfile", false, true}, Dst);
  EXPECT_EQ(Dst, (TRACredential{"/home/me/x.passfile", false, true}));
  EXPECT_EQ(ToOTACredential(Dst), (TOTARemoteProfileCredential{"/home/me/x.passfile", false, true}));
}

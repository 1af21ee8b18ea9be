// The options page's rules where a user notices them: enabled states, delete's neighbour, the
// Windows default rule and the checks that block; and the copy command below its controls.
#include <gtest/gtest.h>

#include "UiTestSupport.h"
#include "ui/ProfileCommands.h"

namespace {

class Page : public TPageFixture {};

TEST_F(Page, AnEmptyListLeavesOnlyAddAndImportAndEmptyDisabledEditors) {
  TRemoteProfilePage& P = Open({});
  std::string States;
  for (TControl* C : std::initializer_list<TControl*>{
           &P.AddButton, &P.ImportButton, &P.CopyButton, &P.RenameButton, &P.DeleteButton, &P.ExportButton,
           &P.SetAsDefaultItem, &P.TestButton, &P.PlatformCombo, &P.HostNameCombo, &P.PortNumberCombo,
           &P.RemoteProfilePasswordFrame.PasswordEdit, &P.PropertyEditor.LocalRootEdit})
    States += (C->CanFocus() ? "+" : "-") + C->Name() + (C->Text().empty() ? "" : "=" + C->Text()) + " ";
  EXPECT_EQ(States,
            "+AddButton +ImportButton -CopyButton -RenameButton -DeleteButton -ExportButton -SetAsDefaultItem "
            "-TestButton -PlatformCombo -HostNameCombo -PortNumberCombo -PasswordEdit -LocalRootEdit ");
  EXPECT_EQ(P.ProfileList.Groups().size(), 4u);  // the combo's platforms; the hidden ones have no group
}

TEST_F(Page, DeleteAsksAndSelectsTheNeighbourOrClearsTheEditors) {
  TRemoteProfilePage& P = Open({{"Linux64", "A"}, {"Linux64", "B"}, {"Linux64", "C"}});
  Messages->Answers = {TMsgDlgBtn::mbNo};
  P.DeleteButton.Click();
  EXPECT_EQ(LastMessage(), "Are you sure you want to delete the profile named 'A'?");
  struct TRow {
    int Select;
    std::string Selected, Left;
  };
  for (const TRow& Row : std::vector<TRow>{{0, "B", "B C "}, {1, "B", "B "}, {0, "", ""}}) {
    P.ProfileList.Select(Row.Select);
    P.ProfileList.KeyDown(vkDelete);
    const auto Selected = P.ProfileList.Selected();
    EXPECT_EQ(Selected ? Selected->GetName() : "", Row.Selected);
    EXPECT_EQ(P.HostNameCombo.Text(), Selected ? "h" : "");
    EXPECT_EQ(CaptionsOf(P), Row.Left);
  }
  EXPECT_EQ(P.WorkingCopy()->GetProfileCount("Linux64"), 0);
  EXPECT_EQ(Live()->GetProfileCount("Linux64"), 3);
}

TEST_F(Page, OnlyTheActionRefusesWindowsProfilesAndTheDefaultIsDrawnBold) {
  TRemoteProfilePage& P = Open({{"Win32", "W"}, {"Linux64", "L1"}, {"Linux64", "L2"}});
  const auto State = [&] {
    std::string Text;
    for (int I = 0; I < 3; ++I) {
      P.ProfileList.Select(I);
      Text += P.ProfileList.Selected()->GetName() + (P.SetAsDefaultItem.Enabled() ? "+" : "-") +
              (P.ProfileListCustomDrawItem(I) ? "B " : " ");
    }
    return Text;
  };
  EXPECT_EQ(State(), "W- L1-B L2+ ");
  P.ProfileList.Select(2);
  P.SetAsDefaultItem.Click();
  P.ProfileList.Select(0);
  P.ProfileList.KeyDown(vkSpace);  // not subject to the action's rule
  EXPECT_EQ(P.WorkingCopy()->GetProfile("Win32", 0)->GetName(), "W");
  EXPECT_EQ(State(), "W- L1+ L2-B ");
}

TEST_F(Page, APortOrHostTheChecksRefuseBlocksSelectionActionsAndOk) {
  TRemoteProfilePage& P = Open({{"Linux64", "A"}, {"Linux64", "B"}});
  const std::string Port = "' is not a valid port number (a whole number from 0 to 65535)";
  for (const auto& [PortText, HostText, Message] :
       std::vector<std::tuple<std::string, std::string, std::string>>{{"65536", "h", "'65536" + Port},
                                                                      {"-1", "h", "'-1" + Port},
                                                                      {"x22", "h", "'x22" + Port},
                                                                      {"22", " ", "Host name cannot be blank"}}) {
    P.PortNumberCombo.SetText(PortText);
    P.HostNameCombo.SetText(HostText);
    Messages->Shown.clear();
    EXPECT_FALSE(P.ProfileList.Select(1));
    EXPECT_FALSE(P.CopyAction.Execute());
    EXPECT_FALSE(Dialog->Accept());
    EXPECT_EQ(P.ProfileList.ItemIndex(), 0);
    EXPECT_EQ(Messages->Shown.size(), 3u);
    EXPECT_EQ(LastMessage(), Message);
  }
  EXPECT_FALSE(P.PortNumberCombo.EditText("70000"));
  EXPECT_EQ(P.WorkingCopy()->GetProfile("A")->GetPortNumber(), 64211);
  EXPECT_TRUE(Ui->Log.empty());  // Copy never asked for a name
  P.HostNameCombo.SetText("mac");
  EXPECT_TRUE(P.PortNumberCombo.EditText("22"));
  EXPECT_TRUE(Dialog->Accept());
  EXPECT_EQ(Live()->GetProfile("A")->GetHostName() + ":" + std::to_string(Live()->GetProfile("A")->GetPortNumber()),
            "mac:22");
}

TEST_F(Page, ACopyGetsATrimmedNameItsOwnPathItemsAndALocalRootFollowingTheName) {
  const auto Mac = Live()->AddProfile("Mac", "OSX32", "box", 1, {}, "C:\\SDKs\\Mac\\x", {{"/usr", "*", true}}, false);
  const auto Copy = CopyProfile(*Live(), Mac, " Mac2 ");
  EXPECT_EQ(Copy->GetName() + "|" + Copy->GetHostName() + "|" + Copy->GetSystemRoot(), "Mac2|box|C:\\SDKs\\Mac2\\x");
  EXPECT_TRUE(Copy->GetPaths().SameItems(Mac->GetPaths()));
  EXPECT_FALSE(Copy->GetPaths().SameArray(Mac->GetPaths()));
  EXPECT_FALSE(CopyProfile(*Live(), Mac, "MAC"));
  EXPECT_EQ(Messages->Shown.size(), 1u);
  EXPECT_EQ(LastMessage(), "A profile named 'MAC' already exists");
}

}  // namespace

// Shared by the user-interface tests: the host doubles with the user interface double, the
// units started, and the options dialog with the profile page on the live manager.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "doubles/ProfileFileLibrary.h"
#include "doubles/UiDoubles.h"
#include "host/startup/HostIntegration.h"
#include "ui/RemoteProfileOptions.h"
#include "ui/RemoteProfileWizard.h"

class TPageFixture : public THostFixture {
 protected:
  void SetUp() override {
    THostFixture::SetUp();
    Host.Ui = Ui;
    Host.AgentLibrary = std::make_shared<TProfileFileLibrary>();
    Reinstall();
    RemoteProfileManagerStartup();  // the project monitor
    RemoteProfileOptionsStartup();
    RemoteProfileWizardStartup();
  }
  void TearDown() override {
    Dialog.reset();
    RemoteProfileWizardShutdown();
    RemoteProfileOptionsShutdown();
    RemoteProfileManagerShutdown();
    THostFixture::TearDown();
  }
  TRemoteProfileManagerPtr Live() const { return RemoteProfileMgr(); }
  /// The live manager given Profiles (platform, name; host "h"), then the options dialog shown.
  TRemoteProfilePage& Open(const std::vector<std::pair<std::string, std::string>>& Profiles) {
    for (const auto& [Platform, Name] : Profiles) Live()->AddProfile(Name, Platform, "h", 64211, {}, "", {}, false);
    Dialog = std::make_unique<TOptionsDialog>(std::vector<std::string>{"TRemoteProfilePage"});
    Dialog->Show();
    return static_cast<TRemoteProfilePage&>(*Dialog->Pages().at(0));
  }
  std::string LastMessage() const { return Messages->Shown.empty() ? "" : Messages->Shown.back().Text; }
  static std::string CaptionsOf(const TRemoteProfilePage& P) {
    std::string Text;
    for (const auto& Item : P.ProfileList.ListItems()) Text += Item.Caption + " ";
    return Text;
  }
  static std::string RenamesOf(const TRemoteProfilePage& P) {
    std::string Text;
    for (const auto& [Old, New] : P.Renames().Entries()) Text += (Text.empty() ? "" : " ") + Old + ">" + New;
    return Text;
  }
  std::shared_ptr<TUserInterfaceDouble> Ui = std::make_shared<TUserInterfaceDouble>();
  std::unique_ptr<TOptionsDialog> Dialog;
};

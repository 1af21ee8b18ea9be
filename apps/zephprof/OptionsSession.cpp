// zephprof: the options page as the editing commands use it (see OptionsSession.h).
#include "OptionsSession.h"

#include "core/Text.h"
#include "ui/RemoteProfileAddInOptions.h"

TOptionsSession::TOptionsSession(TAppContext& Context) : FContext(Context), FDialog(AddInPageClasses()) {
  FPage = &dynamic_cast<TRemoteProfilePage&>(*FDialog.Pages().at(0));
  FDialog.Show();
}

bool TOptionsSession::Select(const std::string& Name) {
  const auto& Items = FPage->ProfileList.ListItems();
  for (std::size_t I = 0; I < Items.size(); ++I)
    if (SameText(Items[I].Data->GetName(), Name)) return FPage->ProfileList.Select(static_cast<int>(I));
  FContext.Error(Format("'%s' is not listed on the options page (its platform is not offered there)", {Name}));
  return false;
}

bool TOptionsSession::Accept() {
  return FContext.CommitMerging(*FPage->WorkingCopy(), [this] { return FDialog.Accept(); });
}

void TOptionsSession::EnterCredential(TRemoteProfilePasswordFrame& Frame,
                                      const TOTARemoteProfileCredential& Credential) {
  if (!Credential.IsPassword) {
    FContext.Ui().PresetFile(Credential.PasswordOrFile);
    Frame.SelectPassFileButton.Click();
    return;
  }
  Frame.PasswordEdit.KeyPress(' ');
  Frame.PasswordEdit.EditText(Credential.PasswordOrFile);
}

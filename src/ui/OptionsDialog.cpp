// The options dialog as its pages see it (see OptionsDialog.h).
#include "ui/OptionsDialog.h"

#include <map>

namespace {

std::map<std::string, TPropertySheetFactory>& Classes() {
  static std::map<std::string, TPropertySheetFactory> Registered;
  return Registered;
}

}  // namespace

void RegisterPropertySheetClass(const std::string& ClassName, TPropertySheetFactory Factory) {
  Classes()[ClassName] = std::move(Factory);
}

void UnregisterPropertySheetClass(const std::string& ClassName) { Classes().erase(ClassName); }

std::unique_ptr<TPropertySheet> CreatePropertySheet(const std::string& ClassName) {
  const auto Found = Classes().find(ClassName);
  return Found == Classes().end() ? nullptr : Found->second();
}

TOptionsDialog::TOptionsDialog(const std::vector<std::string>& PageClasses) {
  for (const std::string& ClassName : PageClasses)
    if (auto Page = CreatePropertySheet(ClassName)) FPages.push_back(std::move(Page));
}

TOptionsDialog::~TOptionsDialog() {
  if (!FClosed) Cancel();
}

void TOptionsDialog::Show() {
  for (const auto& Page : FPages) Page->Dispatch([&] { Page->PropertySheetShow(); });
}

bool TOptionsDialog::Accept() {
  for (const auto& Page : FPages) {
    int Result = 0;
    Page->Dispatch([&] { Page->PropertySheetBroadcast(kOptionsValidateMessage, 0, Result); });
    if (Result == 1) return false;
  }
  bool Closed = true;
  for (const auto& Page : FPages) {
    int Result = 0;
    Closed = Page->Dispatch([&] { Page->PropertySheetBroadcast(kOptionsCloseMessage, 1, Result); }) && Closed;
  }
  if (!Closed) return false;  // a page's commit ended in the silent abort or an error
  Destroy();
  return true;
}

void TOptionsDialog::Cancel() {
  for (const auto& Page : FPages) {
    int Result = 0;
    Page->Dispatch([&] { Page->PropertySheetBroadcast(kOptionsCloseMessage, 0, Result); });
  }
  Destroy();
}

void TOptionsDialog::Destroy() {
  FClosed = true;
  for (const auto& Page : FPages) Page->Dispatch([&] { Page->PropertySheetDestroy(); });
}

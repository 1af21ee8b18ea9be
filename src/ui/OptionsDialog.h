// The host's options dialog as its pages see it: pages made by class name, shown, asked
// whether the dialog may close with OK (message 110), and told that it closes (message 273,
// parameter 1 when accepted). A front end runs its options dialog through TOptionsDialog.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/Controls.h"

/// Asks each page whether the dialog may close with OK; a page sets the result to 1 to keep
/// it open.
inline constexpr int kOptionsValidateMessage = 110;
/// The dialog closes; the parameter is 1 when the user accepted it.
inline constexpr int kOptionsCloseMessage = 273;

/// A page of the options dialog.
class TPropertySheet : public TForm {
 public:
  using TForm::TForm;
  virtual void PropertySheetShow() = 0;
  virtual void PropertySheetDestroy() = 0;
  virtual void PropertySheetBroadcast(int Message, int Param, int& Result) = 0;
};

using TPropertySheetFactory = std::function<std::unique_ptr<TPropertySheet>()>;
/// The page classes the options dialog can make, by class name.
void RegisterPropertySheetClass(const std::string& ClassName, TPropertySheetFactory Factory);
void UnregisterPropertySheetClass(const std::string& ClassName);
/// A new page of a registered class, or nullptr.
std::unique_ptr<TPropertySheet> CreatePropertySheet(const std::string& ClassName);

class TOptionsDialog {
 public:
  /// Makes the pages of the registered classes named, in order (unknown names are skipped).
  explicit TOptionsDialog(const std::vector<std::string>& PageClasses);
  ~TOptionsDialog();
  TOptionsDialog(const TOptionsDialog&) = delete;
  TOptionsDialog& operator=(const TOptionsDialog&) = delete;

  const std::vector<std::unique_ptr<TPropertySheet>>& Pages() const { return FPages; }
  /// Every page shown (again).
  void Show();
  /// OK: every page asked (110); when none objects, every page told (273 with 1) and destroyed.
  /// False when a page kept the dialog open.
  bool Accept();
  /// Cancel: every page told (273 with 0) and destroyed.
  void Cancel();

 private:
  void Destroy();
  std::vector<std::unique_ptr<TPropertySheet>> FPages;
  bool FClosed = false;
};

// The controls of the user-interface models (see Controls.h).
#include "ui/Controls.h"

#include <algorithm>
#include <stdexcept>

#include "host/HostServices.h"

IOTAUserInterfaceServices* HostUi() { return HostServices().Ui.get(); }

// ---- TControl ---------------------------------------------------------------------------

TControl::TControl(TContainer& Owner, std::string Name, TControlKind Kind, std::string Caption)
    : FOwner(&Owner), FName(std::move(Name)), FKind(Kind), FCaption(std::move(Caption)) {
  Owner.FChildren.push_back(this);
}

TControl::TControl(std::string Name, TControlKind Kind) : FName(std::move(Name)), FKind(Kind) {}

std::string TControl::Path() const {
  if (!FOwner) return {};
  const std::string Above = FOwner->Path();
  return Above.empty() ? FName : Above + "." + FName;
}

TForm& TControl::Form() {
  TControl* Root = this;
  while (Root->FOwner) Root = Root->FOwner;
  return static_cast<TForm&>(*Root);
}

void TControl::Changed(TControlProperty Property) { Form().OnPropertyChanged.Send(Path(), Property); }

void TControl::SetChecked(bool Value) {
  if (Value && FKind == TControlKind::RadioButton && FOwner) {
    for (TControl* Sibling : FOwner->Children())
      if (Sibling != this && Sibling->FKind == TControlKind::RadioButton && Sibling->Group == Group)
        Sibling->Set(Sibling->FChecked, false, TControlProperty::Checked);
  }
  Set(FChecked, Value, TControlProperty::Checked);
}

bool TControl::CanFocus() const {
  for (const TControl* C = this; C; C = C->FOwner)
    if (!C->FEnabled || !C->FVisible) return false;
  return true;
}

void TControl::SetFocus() {
  if (CanFocus()) Form().SetActiveControl(Path());
}

bool TControl::Click() {
  if (!CanFocus()) return false;
  if (Action) return Action->Execute();
  return Form().Dispatch([this] {
    if (FKind == TControlKind::CheckBox) SetChecked(!FChecked);
    if (FKind == TControlKind::RadioButton) SetChecked(true);
    if (OnClick) OnClick();
    if (ModalResult != mrNone) Form().CloseModal(ModalResult);
  });
}

bool TControl::DblClick() {
  if (!CanFocus()) return false;
  return Form().Dispatch([this] {
    if (OnDblClick) OnDblClick();
  });
}

bool TControl::EditText(const std::string& Value) {
  if (!CanFocus()) return false;
  return Form().Dispatch([&] {
    SetText(Value);
    if (OnChange) OnChange();
  });
}

bool TControl::Select(int Index) {
  if (!CanFocus()) return false;
  return Form().Dispatch([&] {
    if (OnSelectItem) {
      OnSelectItem(Index);
      return;
    }
    SetItemIndex(Index);
    if (FKind == TControlKind::ListBox) SetSelection({Index});
    if (FKind == TControlKind::ComboBox && Index >= 0 && static_cast<std::size_t>(Index) < FItems.size())
      SetText(FItems[static_cast<std::size_t>(Index)]);
    if (OnChange) OnChange();
  });
}

bool TControl::KeyDown(TKey Key) {
  if (!CanFocus()) return false;
  return Form().Dispatch([&] {
    if (OnKeyDown) OnKeyDown(Key);
  });
}

bool TControl::KeyPress(char Key) {
  if (!CanFocus()) return false;
  return Form().Dispatch([&] {
    if (OnKeyPress) OnKeyPress(Key);
  });
}

bool TActionItem::Execute() {
  return Form().Dispatch([this] {
    if (OnUpdate) OnUpdate();
    if (Enabled() && OnExecute) OnExecute();
  });
}

// ---- TListView --------------------------------------------------------------------------

void TListView::AddGroup(int GroupID, std::string Header) {
  FGroups.push_back({GroupID, std::move(Header)});
  Changed(TControlProperty::Items);
}

int TListView::AddItem(TItem Item) {
  FListItems.push_back(std::move(Item));
  Changed(TControlProperty::Items);
  return static_cast<int>(FListItems.size()) - 1;
}

void TListView::DeleteItem(int Index) {
  FListItems.erase(FListItems.begin() + Index);
  if (ItemIndex() == Index) SetItemIndex(-1);
  if (ItemIndex() > Index) SetItemIndex(ItemIndex() - 1);
  Changed(TControlProperty::Items);
}

void TListView::SetItemCaption(int Index, std::string Caption) {
  FListItems.at(static_cast<std::size_t>(Index)).Caption = std::move(Caption);
  Changed(TControlProperty::Items);
}

void TListView::SetItemGroup(int Index, int GroupID) {
  FListItems.at(static_cast<std::size_t>(Index)).GroupID = GroupID;
  Changed(TControlProperty::Items);
}

int TListView::IndexOf(const IOTARemoteProfilePtr& Profile) const {
  const auto Found =
      std::find_if(FListItems.begin(), FListItems.end(), [&](const TItem& Item) { return Item.Data == Profile; });
  return Found == FListItems.end() ? -1 : static_cast<int>(Found - FListItems.begin());
}

IOTARemoteProfilePtr TListView::Selected() const {
  const int Index = ItemIndex();
  return Index >= 0 && static_cast<std::size_t>(Index) < FListItems.size()
             ? FListItems[static_cast<std::size_t>(Index)].Data
             : nullptr;
}

// ---- TContainer -------------------------------------------------------------------------

TControl* TContainer::Find(std::string_view Path) const {
  const std::size_t Dot = Path.find('.');
  const std::string_view Head = Path.substr(0, Dot);
  for (TControl* Child : FChildren) {
    if (Child->Name() != Head) continue;
    if (Dot == std::string_view::npos) return Child;
    const auto* Frame = dynamic_cast<const TContainer*>(Child);
    return Frame ? Frame->Find(Path.substr(Dot + 1)) : nullptr;
  }
  return nullptr;
}

TControl& TContainer::operator[](std::string_view Path) const {
  if (TControl* Found = Find(Path)) return *Found;
  throw std::out_of_range("no control '" + std::string(Path) + "' on '" + Name() + "'");
}

void TContainer::ForEach(const std::function<void(TControl&)>& Visit) {
  for (TControl* Child : FChildren) {
    Visit(*Child);
    if (auto* Frame = dynamic_cast<TContainer*>(Child)) Frame->ForEach(Visit);
  }
}

// ---- TForm ------------------------------------------------------------------------------

bool TForm::Dispatch(const std::function<void()>& Handler) {
  bool Completed = false;
  try {
    Handler();
    Completed = true;
  } catch (const EAbort&) {
    // The silent abort: the user action ends here, without a message.
  } catch (const std::exception& Error) {
    // As the host's application handler does for an error no handler caught.
    ShowMessageDlg(Error.what(), TMsgDlgType::mtError, {TMsgDlgBtn::mbOK});
  }
  UpdateActions();
  return Completed;
}

void TForm::UpdateActions() {
  ForEach([](TControl& Control) {
    if (auto* Action = dynamic_cast<TActionItem*>(&Control); Action && Action->OnUpdate) Action->OnUpdate();
  });
  ForEach([](TControl& Control) {
    if (!Control.Action) return;
    Control.SetCaption(Control.Action->Caption());
    Control.SetEnabled(Control.Action->Enabled());
  });
}

TModalResult TForm::ShowModal() {
  IOTAUserInterfaceServices* Ui = HostUi();
  FModalResult = mrNone;
  if (!Ui) return mrCancel;  // nobody to answer
  FShowing = FModal = true;
  UpdateActions();
  Ui->ShowForm(*this, TShowMode::Modal);
  try {
    while (FModalResult == mrNone) Ui->HandleMessage();
  } catch (...) {
    FShowing = FModal = false;
    Ui->HideForm(*this);
    throw;
  }
  FShowing = FModal = false;
  Ui->HideForm(*this);
  return FModalResult;
}

void TForm::Show(TShowMode Mode) {
  FShowing = true;
  FModal = false;
  if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->ShowForm(*this, Mode);
}

void TForm::CloseModal(TModalResult Result) {
  if (OnCloseQuery && !OnCloseQuery(Result)) return;
  FModalResult = Result;
}

void TForm::Close() {
  if (FModal) {
    CloseModal(mrCancel);
    return;
  }
  if (!FShowing) return;
  FShowing = false;
  if (IOTAUserInterfaceServices* Ui = HostUi()) Ui->HideForm(*this);
  if (OnClose) OnClose();  // last: the handler may release the form
}

// The controls of the user-interface models. Every page, wizard, frame, dialog and window is a
// form of named controls holding the properties that decide behaviour; the model wires its
// handlers to them. A front end binds its widgets to controls by path ("Frame.Control"),
// redraws what OnPropertyChanged names, and forwards the user's clicks, keys, text changes and
// selections through the controls' user methods (Click, EditText, Select, KeyDown, KeyPress),
// which run the handlers and end quietly on the host's silent abort.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Events.h"
#include "host/ToolsApi.h"
#include "host/UserInterface.h"

enum class TControlKind {
  Form,
  Frame,
  Label,
  Edit,
  ComboBox,
  CheckBox,
  RadioButton,
  Button,
  GroupBox,
  Panel,
  Bevel,
  Image,
  ListView,
  ListBox,
  ProgressBar,
  MenuItem,
  Action,
};

enum class TControlProperty {
  Caption,
  Text,
  Hint,
  Enabled,
  Visible,
  Checked,
  Items,
  ItemIndex,
  Selection,
  Position,
  Max,
  Top,
  Height,
  Focus,
};

using TKey = std::uint16_t;
inline constexpr TKey vkSpace = 0x20;
inline constexpr TKey vkInsert = 0x2D;
inline constexpr TKey vkDelete = 0x2E;

class TActionItem;
class TContainer;
class TForm;

/// The installed host's user interface, or nullptr.
IOTAUserInterfaceServices* HostUi();

class TControl {
 public:
  TControl(TContainer& Owner, std::string Name, TControlKind Kind, std::string Caption = {});
  virtual ~TControl() = default;
  TControl(const TControl&) = delete;
  TControl& operator=(const TControl&) = delete;

  const std::string& Name() const { return FName; }
  TControlKind Kind() const { return FKind; }
  TContainer* Owner() const { return FOwner; }
  /// Names from below the form down to this control, joined by '.'; "" for the form.
  std::string Path() const;
  TForm& Form();

  // Properties. Setters tell the form's view when a value changes; they never run handlers.
  const std::string& Caption() const { return FCaption; }
  void SetCaption(std::string Value) { Set(FCaption, std::move(Value), TControlProperty::Caption); }
  const std::string& Text() const { return FText; }
  void SetText(std::string Value) { Set(FText, std::move(Value), TControlProperty::Text); }
  const std::string& Hint() const { return FHint; }
  void SetHint(std::string Value) { Set(FHint, std::move(Value), TControlProperty::Hint); }
  bool Enabled() const { return FEnabled; }
  void SetEnabled(bool Value) { Set(FEnabled, Value, TControlProperty::Enabled); }
  bool Visible() const { return FVisible; }
  void SetVisible(bool Value) { Set(FVisible, Value, TControlProperty::Visible); }
  bool Checked() const { return FChecked; }
  void SetChecked(bool Value);
  const std::vector<std::string>& Items() const { return FItems; }
  void SetItems(std::vector<std::string> Value) { Set(FItems, std::move(Value), TControlProperty::Items); }
  int ItemIndex() const { return FItemIndex; }
  void SetItemIndex(int Value) { Set(FItemIndex, Value, TControlProperty::ItemIndex); }
  /// The selected lines of a multiple-selection list.
  const std::vector<int>& Selection() const { return FSelection; }
  void SetSelection(std::vector<int> Value) { Set(FSelection, std::move(Value), TControlProperty::Selection); }
  int Position() const { return FPosition; }
  void SetPosition(int Value) { Set(FPosition, Value, TControlProperty::Position); }
  int Max() const { return FMax; }
  void SetMax(int Value) { Set(FMax, Value, TControlProperty::Max); }
  int Top() const { return FTop; }
  void SetTop(int Value) { Set(FTop, Value, TControlProperty::Top); }
  int Height() const { return FHeight; }
  void SetHeight(int Value) { Set(FHeight, Value, TControlProperty::Height); }

  // Layout, fixed when the form is made.
  std::string HistoryList;            ///< a combo box's history list: its items
  char PasswordChar = '\0';           ///< an edit that shows this character for each one typed
  std::string Group;                  ///< radio buttons of one group: checking one unchecks the others
  TModalResult ModalResult = mrNone;  ///< a button that closes its modal form with this result
  TActionItem* Action = nullptr;      ///< a button or menu item that runs an action and shows its state

  // Handlers the model wires.
  std::function<void()> OnClick;
  std::function<void()> OnChange;
  std::function<void()> OnDblClick;
  std::function<void(TKey& Key)> OnKeyDown;
  std::function<void(char& Key)> OnKeyPress;
  std::function<void(int Index)> OnSelectItem;  ///< a list: the user picks an item; the handler selects it

  /// Visible and enabled, and so is every container it sits in.
  bool CanFocus() const;
  /// Focuses the control when it can be focused.
  void SetFocus();

  // What the user does, forwarded by a view. Each is ignored (false) when the control cannot
  // be used, runs the handlers through the form's dispatch and answers false when they ended in
  // the silent abort or an error.
  bool Click();
  bool DblClick();
  bool EditText(const std::string& Value);
  bool Select(int Index);
  bool KeyDown(TKey Key);
  bool KeyPress(char Key);

 protected:
  TControl(std::string Name, TControlKind Kind);  // a form, owned by nobody
  void Changed(TControlProperty Property);
  template <typename T>
  void Set(T& Field, T Value, TControlProperty Property) {
    if (Field == Value) return;
    Field = std::move(Value);
    Changed(Property);
  }

 private:
  TContainer* FOwner = nullptr;
  std::string FName;
  TControlKind FKind;
  std::string FCaption, FText, FHint;
  bool FEnabled = true, FVisible = true, FChecked = false;
  std::vector<std::string> FItems;
  int FItemIndex = -1;
  std::vector<int> FSelection;
  int FPosition = 0, FMax = 100, FTop = 0, FHeight = 0;
};

/// An action: a caption, an enabled state its update handler decides, and what it does.
/// Buttons and menu items bound to it show its caption and state.
class TActionItem : public TControl {
 public:
  TActionItem(TContainer& Owner, std::string Name, std::string Caption)
      : TControl(Owner, std::move(Name), TControlKind::Action, std::move(Caption)) {}
  std::function<void()> OnExecute;
  std::function<void()> OnUpdate;
  /// Runs the update handler, then the execute handler when the action is enabled. Answers
  /// whether it ran to its end.
  bool Execute();
};

/// A report-style list view with groups; each item carries a profile.
class TListView : public TControl {
 public:
  struct TGroup {
    int GroupID;
    std::string Header;
  };
  struct TItem {
    std::string Caption;
    int GroupID;
    IOTARemoteProfilePtr Data;
  };
  TListView(TContainer& Owner, std::string Name) : TControl(Owner, std::move(Name), TControlKind::ListView) {}
  const std::vector<TGroup>& Groups() const { return FGroups; }
  const std::vector<TItem>& ListItems() const { return FListItems; }
  void AddGroup(int GroupID, std::string Header);
  int AddItem(TItem Item);  ///< answers the new item's index
  void DeleteItem(int Index);
  void SetItemCaption(int Index, std::string Caption);
  void SetItemGroup(int Index, int GroupID);
  /// The index of the item carrying Profile, or -1.
  int IndexOf(const IOTARemoteProfilePtr& Profile) const;
  /// The selected item's profile, or nullptr.
  IOTARemoteProfilePtr Selected() const;
  /// The items are drawn again (their bold state may have changed).
  void Invalidate() { Changed(TControlProperty::Items); }

 private:
  std::vector<TGroup> FGroups;
  std::vector<TItem> FListItems;
};

/// A form or a frame: controls, and frames of controls, found by path.
class TContainer : public TControl {
 public:
  TContainer(TContainer& Owner, std::string Name) : TControl(Owner, std::move(Name), TControlKind::Frame) {}
  const std::vector<TControl*>& Children() const { return FChildren; }
  /// "Name" or "Frame.Name"; nullptr when there is no such control.
  TControl* Find(std::string_view Path) const;
  /// As Find; a missing control is a programming error (std::out_of_range).
  TControl& operator[](std::string_view Path) const;
  /// Every control below, depth first.
  void ForEach(const std::function<void(TControl&)>& Visit);

 protected:
  TContainer(std::string Name, TControlKind Kind) : TControl(std::move(Name), Kind) {}

 private:
  friend class TControl;
  std::vector<TControl*> FChildren;
};

using TFrame = TContainer;

class TForm : public TContainer {
 public:
  explicit TForm(std::string Name) : TContainer(std::move(Name), TControlKind::Form) {}

  /// What changed: the control's path ("" for the form) and the property.
  TEvent2<std::string, TControlProperty> OnPropertyChanged;
  int HelpContext = 0;
  /// Asked before the form closes with Result; false keeps it open.
  std::function<bool(TModalResult Result)> OnCloseQuery;
  /// A modeless form was closed.
  std::function<void()> OnClose;

  TModalResult ModalResult() const { return FModalResult; }
  bool Showing() const { return FShowing; }
  /// The path of the focused control ("" when none).
  const std::string& ActiveControl() const { return FActiveControl; }
  void SetActiveControl(std::string Path) { Set(FActiveControl, std::move(Path), TControlProperty::Focus); }

  /// Runs a handler as the host runs an event: the silent abort ends it quietly, any other
  /// error is shown in an error box; the actions are updated afterwards. Answers whether the
  /// handler ran to its end.
  bool Dispatch(const std::function<void()>& Handler);
  /// Runs every action's update handler; bound buttons and menu items follow.
  void UpdateActions();
  /// Shows the form and handles the user's events until it closes; answers how.
  TModalResult ShowModal();
  void Show(TShowMode Mode);
  /// Ends the modal run with Result unless OnCloseQuery refuses.
  void CloseModal(TModalResult Result);
  /// The user closes the window: a modal form ends with mrCancel, a modeless one is hidden.
  void Close();

 private:
  TModalResult FModalResult = mrNone;
  bool FShowing = false, FModal = false;
  std::string FActiveControl;
};

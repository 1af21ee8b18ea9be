// The host's user interface as a double: input queries and file dialogs answer from queues,
// shown forms are driven by scripted steps, and what the models ask of the host is logged.
// Also project services that know an active project.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "doubles/HostDoubles.h"
#include "host/ActiveProject.h"
#include "ui/Controls.h"

class TUserInterfaceDouble : public IOTAUserInterfaceServices {
 public:
  using TAnswer = std::optional<std::string>;  ///< nullopt: the user cancels

  /// InputQuery's answers; with none left the user cancels.
  std::deque<TAnswer> Inputs;
  /// The files chosen in file dialogs, one per confirmation: a file CanClose refuses keeps the
  /// dialog open for the next one; with none left the user cancels.
  std::deque<TAnswer> Files;
  /// What the user does in a shown form, one step per HandleMessage; with none left the
  /// topmost form is closed (a modal one ends with mrCancel).
  std::deque<std::function<void(TForm&)>> Steps;
  /// "Input(caption|prompt|value)", "File(title|name)", "Show(caption)", "Hide(caption)".
  std::vector<std::string> Log;
  std::map<std::string, std::vector<std::string>> History;
  std::vector<TForm*> Shown;
  std::string Clipboard;

  /// A step for a form of type T (a test failure when the topmost form is another).
  template <typename T>
  static std::function<void(TForm&)> On(std::function<void(T&)> Act) {
    return [Act](TForm& Form) {
      if (auto* Typed = dynamic_cast<T*>(&Form)) return Act(*Typed);
      ADD_FAILURE() << "a step for another form ran on '" << Form.Caption() << "'";
      Form.Close();
    };
  }

  bool InputQuery(const std::string& Caption, const std::string& Prompt, std::string& Value) override {
    Log.push_back("Input(" + Caption + "|" + Prompt + "|" + Value + ")");
    const TAnswer Answer = Next(Inputs);
    if (Answer) Value = *Answer;
    return Answer.has_value();
  }
  bool ExecuteFileDialog(TOTAFileDialog& Dialog) override {
    Log.push_back("File(" + Dialog.Title + "|" + Dialog.FileName + ")");
    for (TAnswer Answer = Next(Files); Answer; Answer = Next(Files))
      if (!Dialog.CanClose || Dialog.CanClose(*Answer)) return Dialog.FileName = *Answer, true;
    return false;
  }
  std::vector<std::string> GetHistory(const std::string& ListName) const override {
    const auto Found = History.find(ListName);
    return Found == History.end() ? std::vector<std::string>{} : Found->second;
  }
  void AddToHistory(const std::string& ListName, const std::string& Text) override {
    auto& List = History[ListName];
    std::erase(List, Text);
    List.insert(List.begin(), Text);
  }
  void SetWaitCursor(bool) override {}
  void ShowForm(TForm& Form, TShowMode) override {
    Log.push_back("Show(" + Form.Caption() + ")");
    Shown.push_back(&Form);
  }
  void HideForm(TForm& Form) override {
    Log.push_back("Hide(" + Form.Caption() + ")");
    std::erase(Shown, &Form);
  }
  void ProcessMessages() override {}
  void HandleMessage() override {
    if (Shown.empty()) return;
    TForm& Top = *Shown.back();
    if (Steps.empty()) return Top.Close();
    const auto Act = std::move(Steps.front());
    Steps.pop_front();
    Act(Top);
  }
  void ShowHelp(int) override {}
  void SetClipboardText(const std::string& Text) override { Clipboard = Text; }
  void SetEditedProfileServices(const IOTARemoteProfileServicesPtr&) override {}

 private:
  static TAnswer Next(std::deque<TAnswer>& Queue) {
    if (Queue.empty()) return std::nullopt;
    TAnswer Answer = std::move(Queue.front());
    Queue.pop_front();
    return Answer;
  }
};

/// Project services whose active project is Active.
class TActiveProjectServicesDouble : public TProjectServicesDouble, public IOTAActiveProjectServices {
 public:
  IOTAProjectPtr GetActiveProject() const override { return Active; }
  IOTAProjectPtr Active;
};

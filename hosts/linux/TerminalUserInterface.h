// The reference host's user interface on a terminal (IOTAUserInterfaceServices). A command
// prepares what it already knows (the text an input query asks, the file a file dialog asks,
// how a form is filled in) and those answers are taken first, in order. Otherwise an input
// query or a file dialog asks on the terminal, and a form nobody fills in is closed, as its
// Cancel would. History lists live as long as the process.
#pragma once

#include <deque>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "host/UserInterface.h"
#include "ui/HistoryLists.h"

class TTerminalUserInterface : public IOTAUserInterfaceServices {
 public:
  /// Reads answers from In, prompting on Err, only when Interactive.
  TTerminalUserInterface(bool Interactive, std::istream& In, std::ostream& Err);

  void PresetFile(std::string FileName) { FFiles.push_back(std::move(FileName)); }
  /// Fills in the next form shown (for a modal form: until its OK or Cancel).
  void PresetForm(std::function<void(TForm&)> Fill) { FForms.push_back(std::move(Fill)); }

  bool InputQuery(const std::string& Caption, const std::string& Prompt, std::string& Value) override;
  bool ExecuteFileDialog(TOTAFileDialog& Dialog) override;
  std::vector<std::string> GetHistory(const std::string& ListName) const override;
  void AddToHistory(const std::string& ListName, const std::string& Text) override;
  void SetWaitCursor(bool) override {}
  void ShowForm(TForm& Form, TShowMode Mode) override;
  void HideForm(TForm& Form) override;
  void ProcessMessages() override {}
  void HandleMessage() override;
  void ShowHelp(int) override {}
  void SetClipboardText(const std::string&) override {}
  void SetEditedProfileServices(const IOTARemoteProfileServicesPtr&) override {}

 private:
  /// One line from the terminal after Prompt; false without a terminal or at the end of input.
  bool ReadLine(const std::string& Prompt, std::string& Line);

  bool FInteractive;
  std::istream& FIn;
  std::ostream& FErr;
  std::deque<std::string> FFiles;
  std::deque<std::function<void(TForm&)>> FForms;
  THistoryLists FHistory;
  std::vector<TForm*> FShown;
};

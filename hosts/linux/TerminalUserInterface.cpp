// The reference host's user interface on a terminal (see TerminalUserInterface.h).
#include "hosts/linux/TerminalUserInterface.h"

#include <algorithm>
#include <filesystem>
#include <istream>
#include <ostream>

#include "ui/Controls.h"

TTerminalUserInterface::TTerminalUserInterface(bool Interactive, std::istream& In, std::ostream& Err)
    : FInteractive(Interactive), FIn(In), FErr(Err) {}

bool TTerminalUserInterface::ReadLine(const std::string& Prompt, std::string& Line) {
  if (!FInteractive) return false;
  FErr << Prompt << std::flush;
  if (std::getline(FIn, Line)) return true;
  FErr << '\n';
  return false;
}

bool TTerminalUserInterface::InputQuery(const std::string& Caption, const std::string& Prompt, std::string& Value) {
  std::string Line;
  if (!ReadLine(Caption + ": " + Prompt + (Value.empty() ? "" : " [" + Value + "]") + ": ", Line)) return false;
  if (!Line.empty()) Value = Line;  // an empty answer keeps the proposal
  return true;
}

bool TTerminalUserInterface::ExecuteFileDialog(TOTAFileDialog& Dialog) {
  for (;;) {
    std::string FileName;
    const bool Preset = !FFiles.empty();
    if (Preset) {
      FileName = FFiles.front();
      FFiles.pop_front();
    } else if (!ReadLine(Dialog.Title + " [" + Dialog.FileName + "]: ", FileName)) {
      return false;
    }
    if (FileName.empty()) FileName = Dialog.FileName;
    std::error_code Ignored;
    if (Dialog.FileMustExist && !std::filesystem::is_regular_file(FileName, Ignored)) {
      FErr << "File '" << FileName << "' does not exist\n";
    } else if (!Dialog.CanClose || Dialog.CanClose(FileName)) {
      Dialog.FileName = FileName;
      return true;
    }
    if (Preset && FFiles.empty() && !FInteractive) return false;  // the command's file was refused
  }
}

std::vector<std::string> TTerminalUserInterface::GetHistory(const std::string& ListName) const {
  return FHistory.Get(ListName);
}

void TTerminalUserInterface::AddToHistory(const std::string& ListName, const std::string& Text) {
  FHistory.Add(ListName, Text);
}

void TTerminalUserInterface::ShowForm(TForm& Form, TShowMode /*Mode*/) { FShown.push_back(&Form); }

void TTerminalUserInterface::HideForm(TForm& Form) { std::erase(FShown, &Form); }

void TTerminalUserInterface::HandleMessage() {
  if (FShown.empty()) return;
  TForm& Top = *FShown.back();
  if (FForms.empty()) return Top.Close();  // nothing prepared: as its Cancel
  const auto Fill = std::move(FForms.front());
  FForms.pop_front();
  Fill(Top);
}

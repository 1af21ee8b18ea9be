// The reference host's progress display on a terminal (IProgressDisplay):
// a bar with the overall items, the current file and its bytes on a terminal; one line per
// finished step otherwise. Ctrl-C (SIGINT) makes UpdateProgress answer false, which cancels
// the way the progress window's Cancel does. Errors (notice type 2) are collected and
// listed at the end. On a terminal, control characters in the texts (remote file names)
// are shown escaped, never sent to the terminal.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "host/ProgressDisplay.h"

class TTerminalProgress : public IProgressDisplay {
 public:
  /// IsTerminal: redraw one line in place (Width columns); else one line per step.
  TTerminalProgress(std::ostream& Out, bool IsTerminal, int Width = 80);
  bool UpdateProgress(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count, const std::string& Text,
                      const std::string& Detail1, const std::string& Detail2, std::int32_t Position,
                      bool CloseWhenDone) override;

  /// Clears the drawn bar line so that other text (a question) starts on a clean line; the
  /// next notice draws it again.
  void ClearLine();
  /// Lists the errors not listed yet (an operation cancelled sends no finished notice).
  void Finish();
  const std::vector<std::string>& Errors() const { return FErrors; }
  bool Cancelled() const { return FCancelled; }

  /// Ctrl-C sets a flag that the next UpdateProgress reads; a second Ctrl-C ends the
  /// process as usual. Installed once per process.
  static void InstallInterruptHandler();
  /// Tests: as if Ctrl-C had been pressed (or the flag cleared).
  static void SetInterruptedForTesting(bool Value);

 private:
  void Start(std::int32_t Count, const std::string& Title);
  void Step(std::int32_t Index, std::int32_t Count, const std::string& Text, const std::string& Detail1,
            const std::string& Detail2, std::int32_t Position);
  void Draw();
  /// Text as the terminal shows it: control characters and broken UTF-8 as "\xHH".
  std::string Shown(const std::string& Text) const;
  void ListErrors();

  std::ostream& FOut;
  bool FIsTerminal;
  int FWidth;
  bool FOpen = false;
  bool FCancelled = false;
  bool FLineDrawn = false;
  std::int32_t FIndex = 0;
  std::int32_t FCount = 0;
  std::string FStatus;
  std::string FFile;
  std::int32_t FPosition = -1;
  std::string FLastStep;
  std::vector<std::string> FErrors;
  std::size_t FListed = 0;
};

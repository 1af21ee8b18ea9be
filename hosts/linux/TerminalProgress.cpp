// The reference host's progress display on a terminal (see TerminalProgress.h).
#include "hosts/linux/TerminalProgress.h"

#include <csignal>
#include <ostream>

#include "hosts/linux/TerminalText.h"

namespace {

volatile std::sig_atomic_t Interrupted = 0;

extern "C" void OnInterrupt(int) { Interrupted = 1; }

std::string Fit(const std::string& Text, std::size_t Width) {
  if (Text.size() <= Width) return Text;
  if (Width < 4) return Text.substr(0, Width);
  return "..." + Text.substr(Text.size() - (Width - 3));  // keep the end: the file name
}

/// The host's "\r\n" line breaks as "\n", later lines indented under the first.
std::string TerminalLines(const std::string& Text) {
  std::string Result;
  for (char C : Text) {
    if (C == '\r') continue;
    Result += C;
    if (C == '\n') Result += "  ";
  }
  return Result;
}

}  // namespace

TTerminalProgress::TTerminalProgress(std::ostream& Out, bool IsTerminal, int Width)
    : FOut(Out), FIsTerminal(IsTerminal), FWidth(Width < 20 ? 20 : Width) {}

void TTerminalProgress::InstallInterruptHandler() {
  struct sigaction Action {};
  Action.sa_handler = OnInterrupt;
  sigemptyset(&Action.sa_mask);
  // The first Ctrl-C cancels through UpdateProgress; the handler then resets itself so a
  // second Ctrl-C ends a process that does not come back to report.
  Action.sa_flags = SA_RESETHAND;
  sigaction(SIGINT, &Action, nullptr);
}

void TTerminalProgress::SetInterruptedForTesting(bool Value) { Interrupted = Value ? 1 : 0; }

bool TTerminalProgress::UpdateProgress(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count,
                                       const std::string& Text, const std::string& Detail1,
                                       const std::string& Detail2, std::int32_t Position, bool /*CloseWhenDone*/) {
  switch (ProgressType) {
    case ptStart: Start(Count, Text); break;
    case ptProgress: Step(Index, Count, Text, Detail1, Detail2, Position); break;
    case ptError:
      // An empty error text is logged as "Unknown Error", as the progress window does.
      FErrors.push_back(Text.empty() ? "Unknown Error" : Text);
      break;
    case ptFinished:
      ClearLine();
      FOut << (FCancelled ? "Cancelled." : "Operation completed") << '\n';
      ListErrors();
      FOpen = false;
      return true;
  }
  if (Interrupted && !FCancelled) {
    FCancelled = true;
    ClearLine();
    FOut << "Cancelling (Ctrl-C)...\n" << std::flush;
  }
  return !FCancelled;
}

std::string TTerminalProgress::Shown(const std::string& Text) const {
  return FIsTerminal ? LinuxHost::EscapeForTerminal(Text) : Text;
}

void TTerminalProgress::Start(std::int32_t Count, const std::string& Title) {
  FOpen = true;
  FIndex = 0;
  FCount = Count;
  FStatus.clear();
  FFile.clear();
  FPosition = -1;
  FLastStep.clear();
  FOut << Shown(Title);
  if (Count > 0) FOut << " (" << Count << (Count == 1 ? " item)" : " items)");
  FOut << '\n' << std::flush;
}

void TTerminalProgress::Step(std::int32_t Index, std::int32_t Count, const std::string& Text,
                             const std::string& Detail1, const std::string& Detail2, std::int32_t Position) {
  // Known counts move the overall bar; -1 means "not given".
  const bool Known = Index != -1 && Count != -1;
  if (Known) {
    FIndex = Index;
    FCount = Count;
  }
  FStatus = Text;
  FFile = !Detail2.empty() ? Detail2 : Detail1;
  FPosition = Position;
  if (FIsTerminal) {
    Draw();
    return;
  }
  // Without a terminal: one line per step of the operation; byte counts are not steps.
  if (!Known || Text == FLastStep) return;
  FLastStep = Text;
  if (Index > 0 && Count > 0)
    FOut << '[' << Index << '/' << Count << "] " << Text << '\n';
  else
    FOut << Text << '\n';
  FOut << std::flush;
}

void TTerminalProgress::Draw() {
  const int BarWidth = 20;
  const int Filled = FCount > 0 ? static_cast<int>(static_cast<long long>(BarWidth) * FIndex / FCount) : 0;
  std::string Line = "[" + std::string(Filled, '#') + std::string(BarWidth - Filled, '.') + "] ";
  if (FCount > 0) Line += std::to_string(FIndex) + "/" + std::to_string(FCount) + " ";
  Line += FStatus;
  if (FPosition >= 0) Line += " " + std::to_string(FPosition) + "%";
  if (!FFile.empty()) Line += "  " + FFile;
  FOut << "\r\x1b[K" << Fit(Shown(Line), static_cast<std::size_t>(FWidth - 1)) << std::flush;
  FLineDrawn = true;
}

void TTerminalProgress::ClearLine() {
  if (!FLineDrawn) return;
  FOut << "\r\x1b[K" << std::flush;
  FLineDrawn = false;
}

void TTerminalProgress::ListErrors() {
  if (FListed >= FErrors.size()) return;
  const std::size_t Count = FErrors.size() - FListed;
  FOut << Count << (Count == 1 ? " error:" : " errors:") << '\n';
  for (; FListed < FErrors.size(); ++FListed) FOut << "  " << Shown(TerminalLines(FErrors[FListed])) << '\n';
  FOut << std::flush;
}

void TTerminalProgress::Finish() {
  ClearLine();
  if (FOpen && FCancelled) FOut << "Cancelled." << '\n';
  FOpen = false;
  ListErrors();
}

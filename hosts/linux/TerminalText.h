// Text shown on a terminal: names, host names and remote file names may hold bytes that a
// terminal would take as commands (escape sequences, C1 controls, stray bytes of a broken
// UTF-8 sequence). They are shown as "\xHH" instead, the form the profile files and the
// server's log use for such bytes.
#pragma once

#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace LinuxHost {

/// Text with every control character but line feed and tab (C0, DEL, and C1 as its two UTF-8
/// bytes) and every byte that is not part of valid UTF-8 written as "\xHH".
std::string EscapeForTerminal(std::string_view Text);

/// A stream buffer that writes what it is given to Target through EscapeForTerminal, a line
/// at a time (and on flush). Put on a stream that is a terminal.
class TTerminalSafeBuffer : public std::streambuf {
 public:
  explicit TTerminalSafeBuffer(std::streambuf* Target) : FTarget(Target) {}
  ~TTerminalSafeBuffer() override { Send(FPending.size()); }
  std::streambuf* Target() const { return FTarget; }

 protected:
  int_type overflow(int_type C) override;
  std::streamsize xsputn(const char* Text, std::streamsize Count) override;
  int sync() override;

 private:
  /// Writes the first Length pending bytes, escaped.
  void Send(std::size_t Length);
  std::streambuf* FTarget;
  std::string FPending;
};

/// Puts a TTerminalSafeBuffer on Stream while it lives; the stream's own buffer comes back,
/// flushed, when it goes.
class TTerminalSafeStream {
 public:
  explicit TTerminalSafeStream(std::ostream& Stream) : FStream(Stream), FBuffer(Stream.rdbuf()) {
    FStream.rdbuf(&FBuffer);
  }
  ~TTerminalSafeStream() {
    FStream.flush();
    FStream.rdbuf(FBuffer.Target());
  }
  TTerminalSafeStream(const TTerminalSafeStream&) = delete;
  TTerminalSafeStream& operator=(const TTerminalSafeStream&) = delete;

 private:
  std::ostream& FStream;
  TTerminalSafeBuffer FBuffer;
};

}  // namespace LinuxHost

// Hestrel server: signalfd wrapper (see Signals.h).
#include "server/Signals.h"

#include <signal.h>
#include <sys/signalfd.h>

#include <cerrno>

namespace hestrel::server {

namespace {

sigset_t HandledSignals() {
  sigset_t Set;
  sigemptyset(&Set);
  sigaddset(&Set, SIGTERM);
  sigaddset(&Set, SIGINT);
  sigaddset(&Set, SIGHUP);
  sigaddset(&Set, SIGCHLD);
  return Set;
}

}  // namespace

TSignalFd::TSignalFd() {
  sigset_t Set = HandledSignals();
  ::sigprocmask(SIG_BLOCK, &Set, nullptr);
  FFd.Reset(::signalfd(-1, &Set, SFD_NONBLOCK | SFD_CLOEXEC));
}

int TSignalFd::Next() {
  signalfd_siginfo Info{};
  for (;;) {
    ssize_t N = ::read(FFd.Get(), &Info, sizeof Info);
    if (N < 0 && errno == EINTR) continue;
    if (N != static_cast<ssize_t>(sizeof Info)) return 0;
    return static_cast<int>(Info.ssi_signo);
  }
}

void BlockStopSignals(bool Blocked) {
  sigset_t Set;
  sigemptyset(&Set);
  sigaddset(&Set, SIGTERM);
  sigaddset(&Set, SIGINT);
  sigaddset(&Set, SIGHUP);
  ::sigprocmask(Blocked ? SIG_BLOCK : SIG_UNBLOCK, &Set, nullptr);
}

void IgnoreSigPipe() { ::signal(SIGPIPE, SIG_IGN); }

}  // namespace hestrel::server

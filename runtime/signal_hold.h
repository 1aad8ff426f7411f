// The signals that end the program in an orderly way, and a scope that holds them back.
#pragma once

#include <array>
#include <csignal>

namespace quellmark::runtime {

/// The fatal signals, in the order in which their handler is installed. SIGIOT and SIGABRT are one
/// signal; installing its handler twice is harmless and kept. SIGALRM is left out on purpose: it
/// ends an unanswered prompt without touching the status files.
inline constexpr std::array<int, 14> kFatalSignals = {SIGHUP,  SIGINT, SIGQUIT, SIGILL,  SIGIOT,
                                                      SIGABRT, SIGFPE, SIGBUS,  SIGSEGV, SIGSYS,
                                                      SIGTERM, SIGURG, SIGXCPU, SIGXFSZ};

/// Holds back all signals during its lifetime, including those whose default action ends the
/// program. A signal that is sent meanwhile arrives at its end. Put it around the few lines that
/// must not stop half way. Scopes may be nested. A screen that accepts nothing would block the
/// process inside the scope, so what the log has for the screen waits until the end of the
/// outermost scope.
class SignalHold {
 public:
  SignalHold() noexcept;
  SignalHold(const SignalHold&) = delete;
  SignalHold& operator=(const SignalHold&) = delete;
  ~SignalHold();

  /// Whether this thread is inside such a scope.
  [[nodiscard]] static bool IsHeld() noexcept;

 private:
  sigset_t saved_;  // mask before the outermost scope
};

}  // namespace quellmark::runtime

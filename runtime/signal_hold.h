// The signals that end the program in an orderly way, and a scope that holds them back.
#pragma once

#include <array>
#include <csignal>

namespace quellmark::runtime {

/// The signals that are fatal, in the order in which their handler is installed. SIGIOT and SIGABRT
/// are one signal: installed twice, harmless and kept. SIGALRM is deliberately none of them: it
/// ends an unanswered prompt without touching the status files.
inline constexpr std::array<int, 14> kFatalSignals = {SIGHUP,  SIGINT, SIGQUIT, SIGILL,  SIGIOT,
                                                      SIGABRT, SIGFPE, SIGBUS,  SIGSEGV, SIGSYS,
                                                      SIGTERM, SIGURG, SIGXCPU, SIGXFSZ};

/// Holds all signals back while it lives, also those whose default ends the program; one that was
/// sent meanwhile arrives at its end. To be put around the few lines that must not be left half
/// done. Scopes may be nested. A screen that takes nothing would make the process deaf to them:
/// what the log has for the screen waits until the end of the outermost scope.
class SignalHold {
 public:
  SignalHold() noexcept;
  SignalHold(const SignalHold&) = delete;
  SignalHold& operator=(const SignalHold&) = delete;
  ~SignalHold();

  /// Whether this thread is within such a scope.
  [[nodiscard]] static bool IsHeld() noexcept;

 private:
  sigset_t saved_;  // of the outermost scope
};

}  // namespace quellmark::runtime

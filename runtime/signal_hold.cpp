#include "runtime/signal_hold.h"

namespace quellmark::runtime {

SignalHold::SignalHold() noexcept {
  sigset_t fatal;
  sigemptyset(&fatal);
  for (const int number : kFatalSignals) sigaddset(&fatal, number);
  pthread_sigmask(SIG_BLOCK, &fatal, &saved_);
}

SignalHold::~SignalHold() { pthread_sigmask(SIG_SETMASK, &saved_, nullptr); }

}  // namespace quellmark::runtime

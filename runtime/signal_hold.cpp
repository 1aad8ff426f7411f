#include "runtime/signal_hold.h"

namespace quellmark::runtime {

SignalHold::SignalHold() noexcept {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &saved_);
}

SignalHold::~SignalHold() { pthread_sigmask(SIG_SETMASK, &saved_, nullptr); }

}  // namespace quellmark::runtime

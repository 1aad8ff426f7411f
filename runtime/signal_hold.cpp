#include "runtime/signal_hold.h"

#include "runtime/log.h"

namespace quellmark::runtime {
namespace {

constinit thread_local int depth = 0;

}  // namespace

SignalHold::SignalHold() noexcept {
  if (depth++ > 0) return;
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &saved_);
}

SignalHold::~SignalHold() {
  if (--depth > 0) return;
  pthread_sigmask(SIG_SETMASK, &saved_, nullptr);
  Log().WriteDeferred();
}

bool SignalHold::IsHeld() noexcept { return depth > 0; }

}  // namespace quellmark::runtime

// SPDX-License-Identifier: ISC
#include "tools/common/interrupt.h"

#include <csignal>
#include <cstdlib>

#include "tools/common/errors.h"

namespace quellard {
namespace {

volatile std::sig_atomic_t arrivedSignal = 0;

void noteSignal(int number) { arrivedSignal = number; }

}  // namespace

void watchSignals() {
  struct sigaction action = {};
  action.sa_handler = noteSignal;
  for (int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGXCPU}) {
    struct sigaction old = {};
    sigaction(number, nullptr, &old);
    // A signal that is ignored stays so: nohup and shells set that for background jobs.
    if (old.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
}

void throwIfInterrupted() {
  if (arrivedSignal != 0) throw Interrupted();
}

void dieOfSignal() {
  const int number = arrivedSignal != 0 ? static_cast<int>(arrivedSignal) : SIGINT;
  std::signal(number, SIG_DFL);
  std::raise(number);
  // NOLINTNEXTLINE(concurrency-mt-unsafe): the last thing that this process does
  std::exit(128 + number);
}

}  // namespace quellard

// SPDX-License-Identifier: ISC
// Ctrl+C, Ctrl+Break, a closed console, the user's log-off and the machine's shutdown.
#include <atomic>
#include <windows.h>

#include "tools/common/errors.h"
#include "tools/common/interrupt.h"

namespace quellard {
namespace {

std::atomic<bool> hasArrived = false;

// Called on a thread of its own. Of the last three Windows ends the process as soon as this
// returns, or some seconds later.
BOOL WINAPI noteEvent(DWORD event) {
  hasArrived = true;
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(4000);
  return TRUE;
}

}  // namespace

void watchSignals() { SetConsoleCtrlHandler(noteEvent, TRUE); }

void throwIfInterrupted() {
  if (hasArrived) throw Interrupted();
}

void dieOfSignal() {
  constexpr UINT kEndedByCtrlC = 0xC000013A;
  ExitProcess(kEndedByCtrlC);
}

}  // namespace quellard

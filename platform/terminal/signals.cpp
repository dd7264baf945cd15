#include "platform/terminal/signals.h"

#include <csignal>

#include "platform/events.h"
#include "platform/linux/system/ending.h"

namespace {

volatile std::sig_atomic_t firstSignal = 0;

bool isQuitSent = false;

}  // namespace

void CatchSignals() {
  CatchEndingSignals([](int signal) {
    if (firstSignal == 0) firstSignal = signal;
  });
}

void DeliverSignals() {
  if (firstSignal == 0 || isQuitSent) return;
  isQuitSent = true;
  (void)SendCommand(nullptr, kHICommandQuit);
}

int ExitStatusOfSignals() {
  return firstSignal == 0 ? 0 : 128 + firstSignal;
}

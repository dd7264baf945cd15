#include "platform/terminal/signals.h"

#include <algorithm>
#include <csignal>

#include "platform/events.h"

namespace {

constexpr int kCommandSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t interrupts = 0;
volatile std::sig_atomic_t endingSignal = 0;  ///< the first SIGTERM or SIGHUP

bool isStopSent = false;
bool isQuitSent = false;

void CountSignal(int signal) {
  if (signal == SIGINT) {
    interrupts = std::min<std::sig_atomic_t>(interrupts + 1, 2);
  } else if (endingSignal == 0) {
    endingSignal = signal;
  }
}

bool IsIgnored(int signal) {
  struct sigaction action;
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

void CatchSignals() {
  struct sigaction action {};
  action.sa_handler = CountSignal;
  action.sa_flags = SA_RESTART;
  for (const int signal : kCommandSignals) sigaddset(&action.sa_mask, signal);
  for (const int signal : kCommandSignals) {
    if (!IsIgnored(signal)) sigaction(signal, &action, nullptr);
  }
}

void DeliverSignals() {
  if (interrupts > 0 && !isStopSent) {
    isStopSent = true;
    (void)SendCommand(nullptr, kHICommandCancel);
  }
  if (IsQuitSignalled() && !isQuitSent) {
    isQuitSent = true;
    (void)SendCommand(nullptr, kHICommandQuit);
  }
}

bool IsQuitSignalled() {
  return interrupts > 1 || endingSignal != 0;
}

int ExitStatusOfSignals() {
  if (endingSignal != 0) return 128 + endingSignal;
  return interrupts > 0 ? 128 + SIGINT : 0;
}

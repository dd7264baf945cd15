#include "platform/terminal/signals.h"

#include <csignal>

#include "platform/events.h"
#include "platform/linux/system/ending.h"

namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t firstSignal = 0;

bool isQuitSent = false;

void NoteSignal(int signal) {
  NoteEnding();
  if (firstSignal == 0) firstSignal = signal;
}

bool IsIgnored(int signal) {
  struct sigaction action;
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

void CatchSignals() {
  struct sigaction action {};
  action.sa_handler = NoteSignal;
  action.sa_flags = SA_RESTART;
  for (const int signal : kEndingSignals) sigaddset(&action.sa_mask, signal);
  for (const int signal : kEndingSignals) {
    if (!IsIgnored(signal)) sigaction(signal, &action, nullptr);
  }
}

void DeliverSignals() {
  if (firstSignal == 0 || isQuitSent) return;
  isQuitSent = true;
  (void)SendCommand(nullptr, kHICommandQuit);
}

int ExitStatusOfSignals() {
  return firstSignal == 0 ? 0 : 128 + firstSignal;
}

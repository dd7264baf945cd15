#include "platform/linux/system/ending.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t isEnding = 0;
FolderInHand inHand;
void (*noteSignal)(int signal) = nullptr;

}  // namespace

void NoteEnding() {
  isEnding = 1;
}

void CatchEndingSignals(void (*note)(int signal)) {
  constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};
  noteSignal = note;
  struct sigaction action {};
  action.sa_handler = [](int signal) {
    NoteEnding();
    noteSignal(signal);
  };
  action.sa_flags = SA_RESTART;
  for (const int signal : kEndingSignals) (void)sigaddset(&action.sa_mask, signal);
  for (const int signal : kEndingSignals) {
    struct sigaction before;
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
      (void)sigaction(signal, &action, nullptr);
  }
}

bool IsEnding() {
  return isEnding != 0;
}

void KeepFolderInHand() {
  inHand.isKept = inHand.isTaken;
}

bool IsDeletionCalledOff() {
  return isEnding != 0 || inHand.isKept;
}

const FolderInHand &TheFolderInHand() {
  return inHand;
}

void NoteFolderTaken() {
  inHand = {inHand.number + 1, true, true, false};
}

void NoteFolderMoved() {
  inHand.hasFilesToMove = false;
}

void NoteFolderDone() {
  inHand = {inHand.number, false, false, false};
}

#include "platform/linux/system/ending.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t isEnding = 0;
FolderInHand inHand;

}  // namespace

void NoteEnding() {
  isEnding = 1;
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

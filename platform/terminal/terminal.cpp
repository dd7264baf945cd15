#include "platform/terminal/terminal.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "platform/journal.h"
#include "platform/linux/files/admission.h"
#include "platform/linux/system/descriptor.h"
#include "platform/linux/system/standard_streams.h"
#include "platform/linux/tree/item_location.h"
#include "platform/preferences.h"
#include "platform/processes.h"
#include "platform/terminal/event_loop.h"
#include "platform/terminal/signals.h"
#include "platform/terminal/status_view.h"
#include "platform/terminal/terminal_text.h"
#include "platform/workspace.h"

namespace {

/// A folder cannot be used, or output cannot be written.
bool hasFailed = false;
bool isAnythingLeft = false;

}  // namespace

void StartTerminal(bool isQuiet) {
  PrepareStandardStreams();
  CatchSignals();
  StartStatusView(isQuiet);
}

std::vector<UnusableOperand> TakeOperands(const std::vector<std::string> &operands, bool isForced) {
  std::vector<FSRef> folders;
  std::vector<UnusableOperand> unusable;
  for (const std::string &operand : operands) {
    const Admission admission = AdmitFolder(operand, isForced);
    if (admission.folder) {
      folders.push_back(*admission.folder);
      continue;
    }
    const char *const way = admission.isProtected ? "; --force flattens it all the same" : "";
    unusable.push_back({operand, admission.reason + way});
    ReportUnusable(operand, unusable.back().reason);
  }
  OpenWhenLoopStarts(std::move(folders));
  return unusable;
}

void ReportUnusable(std::string_view name, std::string_view reason) {
  hasFailed = true;
  ReportProblem(std::string(name).append(": ").append(reason));
}

void ReportProblem(std::string_view problem) {
  PrintLine("vannerly-cli: " + TerminalTextFromDisk(problem));
}

void PrintNotice(std::string_view line) {
  PrintLine(TerminalTextFromDisk(line));
}

bool WriteOutput(std::string_view bytes) {
  const int error = WriteAll(STDOUT_FILENO, bytes);
  if (error != 0) ReportUnusable("standard output", std::strerror(error));
  return error == 0;
}

void NoteFailure() {
  hasFailed = true;
}

void NoteAnythingLeft() {
  isAnythingLeft = true;
}

int TerminalExitStatus() {
  if (const int status = ExitStatusOfSignals(); status != 0) return status;
  if (hasFailed) return kUnusable;
  return isAnythingLeft ? kSomethingLeft : 0;
}

bool WaitForBusyFolder(const FSRef &folder, const std::string &reason) {
  ReportUnusable(PathOnDisk(folder), reason);
  return false;
}

OSErr SetFrontProcess(const ProcessSerialNumber &) {
  return noErr;
}

void ExitToShell() {
  ClearStatus();
  (void)CFPreferencesAppSynchronize();
  std::_Exit(TerminalExitStatus());
}

void NSBeep() {
  BeepOnTerminal();
}

#include "platform/terminal/terminal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/icons.h"
#include "platform/journal.h"
#include "platform/posix/admission.h"
#include "platform/posix/item_location.h"
#include "platform/preferences.h"
#include "platform/processes.h"
#include "platform/terminal/event_loop.h"
#include "platform/terminal/signals.h"
#include "platform/terminal/status_view.h"
#include "platform/terminal/terminal_text.h"
#include "platform/workspace.h"

namespace {

/// An operand cannot be used, or output cannot be written.
bool hasFailed = false;

/// A closed standard stream would give its number to the next file opened, and status texts would
/// be written to that.
void OpenStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (fcntl(stream, F_GETFD) < 0) (void)open("/dev/null", O_RDWR);
  }
}

}  // namespace

void StartTerminal(bool isQuiet) {
  OpenStandardStreams();
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
    hasFailed = true;
    const char *const way = admission.isProtected ? "; --force flattens it all the same" : "";
    unusable.push_back({operand, admission.reason + way});
    ReportProblem(operand + ": " + unusable.back().reason);
  }
  OpenWhenLoopStarts(std::move(folders));
  return unusable;
}

void ReportProblem(std::string_view problem) {
  PrintLine("vannerly-cli: " + TerminalTextFromDisk(problem));
}

void PrintNotice(std::string_view line) {
  PrintLine(TerminalTextFromDisk(line));
}

void WriteOutput(std::string_view bytes) {
  const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
  if (isWritten && std::fflush(stdout) == 0) return;
  hasFailed = true;
  ReportProblem(std::string("standard output: ") + std::strerror(errno));
}

int TerminalExitStatus() {
  if (const int status = ExitStatusOfSignals(); status != 0) return status;
  return hasFailed ? 1 : 0;
}

bool WaitForBusyFolder(const FSRef &folder, const std::string &reason) {
  hasFailed = true;
  ReportProblem(PathOnDisk(folder) + ": " + reason);
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

OSStatus RegisterIconRefFromFSRef(OSType, OSType, const FSRef &, IconRef *) {
  return paramErr;  // A terminal shows no icon.
}

void NSBeep() {
  BeepOnTerminal();
}

void SysBeep(std::int16_t) {
  BeepOnTerminal();
}

bool NSWorkspace::openURL(const std::string &) {
  return false;
}

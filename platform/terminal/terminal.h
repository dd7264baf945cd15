/// What the program on a terminal tells its platform beforehand, and asks of it in the end.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/windows.h"

/// Exit statuses; beside them there is 128 and its number for a signal that has stopped or ended
/// the run.
inline constexpr int kUnusable = 1;  ///< a folder, a preference or standard output
inline constexpr int kWrongUsage = 2;
inline constexpr int kSomethingLeft = 3;  ///< in place, or otherwise not as it was to be

/// Takes over the signals and standard error. Call it once, first of all.
///
/// `isQuiet` keeps the status of runs off standard error; problems are still reported there.
void StartTerminal(bool isQuiet);

/// What stands for the main window, with its six controls.
WindowRef TerminalWindow();

/// Finds the folders that the user named, resolving links, and keeps them for the event loop, which
/// opens all in one event. Each that is missing, is not a folder or is refused is reported, and the
/// exit status tells of it. Refused are the root folder and the user's home folder itself, unless
/// `isForced`. Answers those that cannot be used.
struct UnusableOperand {
  std::string operand;
  std::string reason;
};
std::vector<UnusableOperand> TakeOperands(const std::vector<std::string> &operands, bool isForced);

/// Writes the line "vannerly-cli: PROBLEM" to standard error; what could do harm there is shown as
/// "?".
void ReportProblem(std::string_view problem);

/// The same for "NAME: REASON", where what is named could not be used; the exit status tells of it.
void ReportUnusable(std::string_view name, std::string_view reason);

/// Writes a line to standard error, quiet or not. The same is shown as "?".
void PrintNotice(std::string_view line);

/// Writes to standard output. A failure is reported as unusable, and answered with false.
bool WriteOutput(std::string_view bytes);

/// The exit status tells that something could not be used or done.
void NoteFailure();

/// The exit status tells, unless there is worse to tell, that a run has left something other than
/// it was to be.
void NoteAnythingLeft();

/// 130, 143 or 129 when SIGINT, SIGTERM or SIGHUP has ended the program, else kUnusable when
/// anything was reported so, else kSomethingLeft or 0.
int TerminalExitStatus();

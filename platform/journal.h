/// The journal of a run: every change to a dropped folder is written down before it is made, so
/// that a run that was killed can be put right at the next start, and so that two processes never
/// work in the same folder at once. docs/journal.md describes the files.
#pragma once

#include <string>
#include <vector>

#include "platform/file_manager.h"

/// How a run ends, for the journal's last line.
enum class RunEnd { kDone, kStopped };

/// Begins the journal of a run on `folder` and takes the folder for this process until
/// EndRunJournal. fBsyErr, and nothing has begun, when another process is at work in the same
/// folder, in one above it or in one below it; `reason` then says which.
///
/// Nothing else is an error: where a journal cannot be written, the user is told once and the run
/// goes on without one, and without the protection from other processes.
OSErr BeginRunJournal(const FSRef &folder, std::string *reason);
void EndRunJournal(RunEnd end);

/// Called between the two when no further file will be moved up: what is in the sub-folders now
/// stays there, or goes with them. The window asks before a Stop only as long as it can still save
/// a file.
void EndRunMoves();

/// Called after fBsyErr. The window answers true after a moment: ask again. The terminal tells the
/// user and answers false: pass the folder over.
bool WaitForBusyFolder(const FSRef &folder, const std::string &reason);

/// Looks for runs that were killed and puts the item that each was moving back under its old name
/// in its old folder, or ends the move when only its last step is missing. Never replaces anything,
/// and leaves alone what is no longer as the journal says. An undo or redo that was killed is taken
/// to its end. Answers what there is to tell, one line an item or undo, each told once; the user
/// has been told.
std::vector<std::string> RecoverInterruptedRuns();

/// Tells the user a line, as bytes with names as they are on disk. With no handler set, lines go
/// to the system log alone.
using JournalLineHandler = void (*)(const std::string &line);
void JournalSetLineHandler(JournalLineHandler handler);

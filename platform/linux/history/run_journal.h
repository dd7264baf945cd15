/// The journal of the run in hand, and where lines about journals go.
#pragma once

#include <optional>
#include <string>

#include "platform/journal.h"
#include "platform/linux/history/journal_folder.h"
#include "platform/linux/history/journal_reader.h"
#include "platform/linux/history/journal_writer.h"

/// What a run is beside one that flattens.
struct RunOrder {
  JournalOfTakingBack takesBack;
  std::string goesOn;  ///< the journal that is gone on with, as that of a stopped undo
};

/// Like BeginRunJournal. The journal that is taken back is not deleted to make room.
OSErr BeginRunJournalFor(const RunOrder &order, const FSRef &folder, std::string *reason);

/// Another process's run in the same folder, in one above it or in one below it. `ownName` is that
/// of the journal that this process has locked itself; it can be empty.
std::optional<JournalHeader> FindOverlappingRun(const CJournalFolder &journals,
                                                const JournalHeader &own,
                                                const std::string &ownName);

/// Null while none is kept.
CJournalWriter *JournalInHand();

/// Tells the user, and the system log, a line about journals.
void TellOfJournals(const std::string &line);

/// Tells, once, that runs go on without a journal.
void TellThatNoneIsKept(int error);

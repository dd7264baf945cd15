/// The journal of the run in hand, as the one place through which all changes go sees it.
#pragma once

#include <string>

#include "platform/posix/tree_changes.h"

/// Writes a change down that is about to be made. Does nothing when no journal is being kept, and
/// for a change outside the run's folder. Never fails: a journal that cannot be written any
/// more ends there.
void RecordChange(const TreeChange &change);

/// Writes down that the change recorded last was not made.
void RecordFailure(int error);

/// Tells the user, and the system log, a line about journals.
void TellOfJournals(const std::string &line);

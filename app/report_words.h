/// What both reports of the terminal program call items, results and ends.
#pragma once

#include <string>

#include "engine/run_report.h"

/// The item's absolute path as bytes on disk, however long it is; empty for a reference to nothing.
std::string ItemPath(const FSRef &item);

/// A result code as the sources call it, and in words.
struct ResultWords {
  const char *name;
  const char *reason;
};
ResultWords WordsOf(OSErr error);

/// How the work on a folder ended, in a word or two that scripts may rely on.
const char *WordsOf(RunOutcome outcome);

/// What the results window shows.
#pragma once

#include "platform/history.h"
#include "platform/types.h"

/// The command that shows them; available once a run has begun.
inline constexpr OSType kShowResultsCommand = FourChars("rslt");

/// Notes what a run does from now on. To be called once, before the first run.
void WatchRunsForResults();

/// Shows the latest run, and follows it while it is on.
void ShowRunResults();

/// Shows a run of the history.
void ShowResultsOf(const PastRun &run);

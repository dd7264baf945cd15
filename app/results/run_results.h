/// The results of the latest run, as the window shows them.
#pragma once

#include "platform/types.h"

/// The command that shows them; available once a run has begun.
inline constexpr OSType kShowResultsCommand = FourChars("rslt");

/// Notes what a run does from now on. To be called once, before the first run.
void WatchRunsForResults();

/// Shows the window, which follows the run while it is on.
void ShowRunResults();

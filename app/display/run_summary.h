/// What came of a run, in one line of the main window beside the two status lines.
#pragma once

#include <string>

#include "engine/run_events.h"

/// "60,000 moved, 5,400 of them renamed, 12 left in place"; what is 0 is not named. In UTF-8.
std::string SummaryOf(const RunCounts &counts, bool isRedo = false);

/// From now on each run is summed up when it is over, all its folders together, with a button that
/// shows the results. The line goes when the next run begins.
void SummarizeRunsInWindow();

/// What the exit status of vannerly-cli tells of runs.
#pragma once

/// From now on a folder that is none any more by its turn is reported as one that could not be
/// used, and whatever is left other than it was to be is noted.
void WatchRunsForExitStatus();

/// What the exit status of vannerly-cli tells of runs.
#pragma once

/// From now on a folder that is none any more when its turn comes is reported as one that could not
/// be used, and it is noted when anything is left other than it should be.
void WatchRunsForExitStatus();

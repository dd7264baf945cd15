/// What the results window shows.
#pragma once

#include <string>
#include <vector>

#include "app/results/result_source.h"
#include "platform/history.h"
#include "platform/types.h"

/// The command that shows them; available once a run has begun.
inline constexpr OSType kShowResultsCommand = FourChars("rslt");

/// Notes what a run does from now on. To be called once, before the first run.
void WatchRunsForResults();

/// Shows the latest run, and follows it while it is on.
void ShowRunResults();

/// The journal of each folder of the latest run; empty where none was kept.
struct RunOfFolder {
  std::string path;
  std::string journal;
};
std::vector<RunOfFolder> LatestRunByFolder();

/// Shows a run of the history.
void ShowResultsOf(const PastRun &run);

/// Shows a plan, which has to stay, and lets it be carried out.
void ShowPlan(CResultSource *plan);
/// Shows the run that follows in the window that shows something else, which stays where it is.
void GoOnToLatestRun();

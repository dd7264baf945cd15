// vannerly: the program in a window.
#include <cstdlib>

#include "app/display/run_display.h"
#include "app/display/run_in_background.h"
#include "app/display/run_problems.h"
#include "app/display/run_summary.h"
#include "app/results/run_results.h"
#include "app/start_up.h"
#include "platform/desktop/desktop.h"

int main(int argc, char **argv) {
  if (const auto exitStatus = OpenDesktop(argc, argv)) return *exitStatus;
  ShowRunsInWindow();
  SummarizeRunsInWindow();
  TellProblemsOfRuns();
  ShowRunsInBackground();
  WatchRunsForResults();
  const OSStatus status = RunVannerly();
  CloseDesktop();
  // What is missing has been told as it was missed.
  return status == noErr ? EXIT_SUCCESS : EXIT_FAILURE;
}

/// The list of the results window as tests read it.
#pragma once

#include <string>
#include <vector>

#include "app/results/run_results.h"
#include "tests/support/recorder.h"

/// From now on runs have results, however many tests of a process ask for it.
inline void WatchRunsOnce() {
  static const bool isWatched = (WatchRunsForResults(), true);
  (void)isWatched;
}

inline CResultList &Results() {
  return *Recorder().Results();
}

/// Takes in all that there is now.
inline ResultsToCome Follow() {
  ResultsToCome toCome = ResultsToCome::kNow;
  while (toCome == ResultsToCome::kNow) (void)Results().Follow(1000, &toCome);
  return toCome;
}

/// Every row: "ITEM | WHAT | WHERE", the made-up part of a new name left out.
inline std::vector<std::string> Rows() {
  std::vector<std::string> rows;
  for (std::size_t row = 0; row < Results().Count(); ++row) {
    std::string line;
    for (int column = 0; column < kResultColumns; ++column) {
      std::string text = Results().TextOf(row, static_cast<ResultColumn>(column));
      for (std::size_t dash = text.find(" - "); dash != std::string::npos;
           dash = text.find(" - ", dash + 3)) {
        text.replace(dash + 3, 36, "UUID");
      }
      line += (column > 0 ? " | " : "") + text;
    }
    rows.push_back(line);
  }
  return rows;
}

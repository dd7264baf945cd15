#include "app/display/run_summary.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

TEST(RunSummary, NamesWhatThereIsWithItsNumber) {
  using enum RunEvent;
  using Counts = std::vector<std::pair<RunEvent, std::int64_t>>;
  const std::pair<Counts, const char *> kCases[] = {
      {{}, "Nothing to move"},
      {{{kFound, 3}, {kHandled, 3}, {kAlreadyInPlace, 3}}, "Nothing to move"},
      {{{kFound, 60012}, {kHandled, 60012}, {kMoved, 60000}, {kRenamed, 5400}, {kLeftInPlace, 12}},
       "60,000 moved, 5,400 of them renamed, 12 left in place"},
      {{{kFound, 1'234'567}, {kHandled, 999}, {kMoved, 999}}, "999 moved, 1,233,568 not reached"},
      {{{kFolderNotRead, 1}, {kFileDeleted, 2}, {kFolderDeleted, 1}, {kNotDeleted, 1}},
       "1 folder not looked into, 2 files deleted, 1 not deleted, 1 folder deleted"},
      {{{kFolderNotRead, 2}, {kTrashed, 2}, {kCollated, 4}, {kNotCollated, 1}},
       "2 folders not looked into, 1 not sorted, 2 folders moved to the trash, 4 sorted by "
       "extension"},
      {{{kPutBack, 1}, {kNotPutBack, 2}, {kLost, 3}},
       "1 put back, 2 not put back, 3 deleted for good"},
  };
  for (const auto &[counts, expected] : kCases) {
    RunCounts all{};
    for (const auto &[event, count] : counts) all[static_cast<std::size_t>(event)] = count;
    EXPECT_EQ(SummaryOf(all), expected);
  }
}

}  // namespace

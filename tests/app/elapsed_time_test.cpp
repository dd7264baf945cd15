#include "app/display/elapsed_time.h"

#include <gtest/gtest.h>

namespace {

TEST(ElapsedTime, LeavesOutUnitsOfZeroAndEndsWithASpace) {
  for (const auto &[seconds, words] : {std::pair{0U, "0 secs"},
                                       {1U, "1 sec "},
                                       {59U, "59 secs "},
                                       {60U, "1 min "},
                                       {61U, "1 min 1 sec "},
                                       {125U, "2 mins 5 secs "},
                                       {3600U, "1 hr "},
                                       {3601U, "1 hr 1 sec "},
                                       {3661U, "1 hr 1 min 1 sec "},
                                       {7200U, "2 hrs "},
                                       {7322U, "2 hrs 2 mins 2 secs "},
                                       {0U - 1U, "1193046 hrs 28 mins 15 secs "}}) {
    ShortString text = "";
    FormatElapsedTime(seconds, text);
    EXPECT_STREQ(text, words);
  }
}

}  // namespace

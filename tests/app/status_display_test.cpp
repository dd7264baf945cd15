#include "app/display/status_display.h"

#include "tests/support/program_test.h"

namespace {

using StatusDisplay = CProgramTest;
using List = std::vector<std::string>;

TEST_F(StatusDisplay, EachTextIsDrawnAndYieldsOnce) {
  SetStatusText("one", 1);
  SetStatusText("two", 2);
  SetStatusText("none", 0);
  SetStatusText("none", 3);
  EXPECT_EQ(Recorder().Calls(), (List{"SetControlData 1 \"one\"", "Draw1Control 1", "WaitNextEvent",
                                      "SetControlData 6 \"two\"", "Draw1Control 6", "WaitNextEvent",
                                      "WaitNextEvent", "WaitNextEvent"}));
}

}  // namespace

#include "app/display/status_display.h"

#include "app/display/main_window.h"
#include "fsutil/item_info.h"
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

TEST_F(StatusDisplay, LongTextsAreCut) {
  const std::string text(300, 'x');
  SetStatusText(text.c_str(), 1);
  EXPECT_EQ(Recorder().Control(1).text, text.substr(0, 255));
  FormatStatusText(2, "Moving File: %s", text.substr(0, 255).c_str());
  EXPECT_EQ(Recorder().Control(6).text, "Moving File: " + text.substr(0, 242));
}

TEST_F(StatusDisplay, MissingControlIsLetPass) {
  PascalString text = {1, 'x'};
  EXPECT_EQ(SetControlTextAndDraw(nullptr, text, true), paramErr);
  EXPECT_EQ(SetControlTextAndDraw(MainWindow.statusLine1, text, false), noErr);
  EXPECT_EQ(Recorder().Calls(), List{"SetControlData 1 \"x\""});
  MainWindow.statusLine1 = nullptr;
  SetStatusText("x", 1);
  EXPECT_EQ(Recorder().Calls().back(), "WaitNextEvent");
}

TEST_F(StatusDisplay, NamesAreShownAsTheyAre) {
  files.WriteFile(std::string(255, 'x'));
  ShortString name = "";
  for (const auto &[bytes, shown] :
       {std::pair{"caf\xC3\xA9", "caf\xC3\xA9"},
        {"e\xCC\x81", "e\xCC\x81"},                                // an accent by itself
        {"\xE6\x97\xA5\xE6\x9C\xAC", "\xE6\x97\xA5\xE6\x9C\xAC"},  // Japanese
        {"\xD7\xA9\xD7\x9C.txt", "\xD7\xA9\xD7\x9C.txt"},          // Hebrew
        {"a\xF0\x9F\x98\x80", "a\xF0\x9F\x98\x80"},                // beyond 16 bits
        {"b\xFF\xC3.txt", "b\xEF\xBF\xBD\xEF\xBF\xBD.txt"}}) {     // bytes that are no text
    files.WriteFile(bytes);
    EXPECT_EQ(GetItemNameAsCString(Ref(bytes), name), noErr);
    EXPECT_STREQ(name, shown);
  }
  EXPECT_EQ(GetItemNameAsCString(Ref(std::string(255, 'x')), name), noErr);
  EXPECT_EQ(std::string(name), std::string(255, 'x'));

  const FSRef gone = Ref("caf\xC3\xA9");
  files.Remove("caf\xC3\xA9");
  EXPECT_EQ(GetItemNameAsCString(gone, name), fnfErr);
  EXPECT_EQ(std::string(name), std::string(255, 'x')) << "left as it was";
}

}  // namespace

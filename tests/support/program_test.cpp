#include "tests/support/program_test.h"

#include <cstdlib>

#include "app/display/main_window.h"
#include "app/display/run_display.h"
#include "engine/dropped_items.h"
#include "engine/flatten_run.h"
#include "platform/linux/preferences/preference_domain.h"

namespace {

void BuildMainWindow() {
  static const bool isShown = (ShowRunsInWindow(), true);
  (void)isShown;
  MainWindow = {};
  IBNibRef nib = nullptr;
  ASSERT_EQ(CreateNibReference("main", &nib), noErr);
  ASSERT_EQ(CreateWindowFromNib(nib, "MainWindow", &MainWindow.window), noErr);
  FetchMainWindowControls();
  DisposeNibReference(nib);
}

}  // namespace

CProgramTest::CProgramTest() {
  setenv("XDG_CONFIG_HOME", home.Path().c_str(), 1);
  setenv("XDG_CONFIG_DIRS", home.PathOf("system").c_str(), 1);
  setenv("XDG_STATE_HOME", home.PathOf("state").c_str(), 1);
  setenv("XDG_DATA_HOME", home.PathOf("data").c_str(), 1);
  ForgetPreferences();
  ResetRecorder();
  FlattenRun = {};
  DroppedItemList = {};
  BuildMainWindow();
  Recorder().ForgetCalls();
}

CProgramTest::~CProgramTest() {
  ResetRecorder();
  MainWindow = {};
}

FSRef CProgramTest::Ref(std::string_view relative) const {
  FSRef ref{};
  EXPECT_EQ(FSPathMakeRef(files.PathOf(relative).c_str(), &ref, nullptr), noErr) << relative;
  return ref;
}

void CProgramTest::Flatten(const std::vector<std::string_view> &dropped) {
  ASSERT_EQ(AECreateList(nullptr, 0, false, &DroppedItemList), noErr);
  for (const std::string_view item : dropped) {
    const FSRef ref = Ref(item);
    ASSERT_EQ(AEPutPtr(&DroppedItemList, 0, typeFSRef, &ref, sizeof ref), noErr);
  }
  FlattenTimerProc(nullptr, nullptr);
}

std::vector<std::string> CProgramTest::TextsOfLine(int line) {
  const std::string prefix = line == 1 ? "SetControlData 1 \"" : "SetControlData 6 \"";
  std::vector<std::string> texts = Recorder().CallsBeginningWith(prefix);
  for (std::string &text : texts)
    text = text.substr(prefix.size(), text.size() - prefix.size() - 1);
  return texts;
}

void SetPreference(std::string_view key, const CFPreferenceValue &value) {
  CFPreferencesSetAppValue(key, value);
}

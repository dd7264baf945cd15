#include "app/display/preferences_sheet.h"

#include "app/display/status_display.h"
#include "prefs/preferences.h"
#include "tests/support/commands.h"
#include "tests/support/program_test.h"

namespace {

constexpr char kSheet[] = "PreferencesWindow";

class CPreferencesSheetTest : public CProgramTest {
 protected:
  ~CPreferencesSheetTest() override { Click("not!"); }

  static OSStatus Click(const char (&commandID)[5]) {
    return SendCommandTo(PreferencesSheetHandler, FourChars(commandID));
  }
  static void Choose(std::int32_t id, std::int16_t value) {
    Recorder().Control(id, kSheet).value = value;
  }
  static std::int16_t Shown(std::int32_t id) { return Recorder().Control(id, kSheet).value; }
};

TEST_F(CPreferencesSheetTest, OpensWithTheStoredValues) {
  SetPreference("Operation", std::int64_t{2});
  SetPreference("DeleteEmptiedFolders", true);
  EXPECT_EQ(ShowPreferencesSheet(), noErr);
  EXPECT_EQ(Shown(11), 2);
  EXPECT_EQ((std::vector{Shown(4), Shown(7), Shown(8), Shown(9), Shown(10)}),
            (std::vector<std::int16_t>{0, 1, 1, 1, 0}));
  EXPECT_EQ(Recorder().Calls().back(), "ShowSheetWindow \"PreferencesWindow\"");
  EXPECT_EQ(TextsOfLine(1), std::vector<std::string>{kIdleHint});
}

TEST_F(CPreferencesSheetTest, EachClickIsSavedAtOnceAndPassedOn) {
  ShowPreferencesSheet();
  const struct {
    std::int32_t id;
    const char (&command)[5];
    bool (*getter)();
  } kCheckBoxes[] = {{4, "Qwdo", GetQuitWhenDone},     {7, "TBAF", GetIgnoreApplications},
                     {8, "RNME", GetRenameDuplicates}, {9, "DLTE", GetDeleteEmptiedFolders},
                     {12, "Trsh", GetDeleteToTrash},   {10, "CFWD", GetAggregateFilesWhenDone},
                     {13, "Prvw", GetPreviewFirst}};
  for (const auto &[id, command, getter] : kCheckBoxes) {
    for (const bool on : {!getter(), getter()}) {
      Choose(id, on ? 1 : 0);
      EXPECT_EQ(Click(command), eventNotHandledErr) << command;
      EXPECT_EQ(getter(), on) << command;
    }
  }
  EXPECT_EQ(Recorder().CallsBeginningWith("EnableControl PreferencesWindow.12").size(), 1u)
      << "once, while the sub-folders are deleted";
  Choose(11, 2);
  EXPECT_EQ(Click("Oper"), eventNotHandledErr);
  EXPECT_EQ(GetOperation(), 2);
  EXPECT_EQ(Click("quit"), eventNotHandledErr);
}

TEST_F(CPreferencesSheetTest, TurningDeletionOnChoosesTheTrashUntilTheUserHasChosen) {
  ShowPreferencesSheet();
  Choose(9, 1);
  Click("DLTE");
  EXPECT_TRUE(GetDeleteToTrash());
  EXPECT_EQ(Shown(12), 1);
  Choose(12, 0);
  Click("Trsh");
  for (const bool on : {false, true}) {
    Choose(9, on ? 1 : 0);
    Click("DLTE");
  }
  EXPECT_TRUE(GetDeleteEmptiedFolders());
  EXPECT_FALSE(GetDeleteToTrash()) << "the user had cleared it";
  EXPECT_EQ(Shown(12), 0);
}

TEST_F(CPreferencesSheetTest, OpenSheetIsRefreshedExceptForTheOperation) {
  ShowPreferencesSheet();
  SetPreference("QuitWhenDone", true);
  SetPreference("Operation", std::int64_t{2});
  Recorder().ForgetCalls();
  EXPECT_EQ(ShowPreferencesSheet(), noErr);
  EXPECT_TRUE(Recorder().CallsBeginningWith("CreateWindowFromNib").empty());
  EXPECT_EQ(Shown(4), 1);
  EXPECT_EQ(Shown(11), 1);
  EXPECT_EQ(TextsOfLine(1), std::vector<std::string>{kIdleHint});
}

}  // namespace

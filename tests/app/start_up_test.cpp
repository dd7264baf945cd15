#include "app/start_up.h"

#include "app/display/main_window.h"
#include "app/help_links.h"
#include "app/open_documents.h"
#include "engine/dropped_items.h"
#include "engine/flatten_run.h"
#include "platform/common/event_dispatch.h"
#include "platform/common/timers.h"
#include "tests/support/commands.h"
#include "tests/support/program_test.h"

namespace {

using List = std::vector<std::string>;

class StartUp : public CProgramTest {
 protected:
  // The program builds its window itself here.
  StartUp() {
    ResetRecorder();
    MainWindow = {};
  }
};

TEST_F(StartUp, FailingInterfaceEndsItAtThatStep) {
  Recorder().missingWindows = {"MainWindow"};
  EXPECT_EQ(RunVannerly(), kIBCarbonRuntimeCantFindObject);
  EXPECT_EQ(Recorder().Calls().back(), "CreateWindowFromNib \"MainWindow\"");
  Recorder().missingWindows = {"MenuBar"};
  EXPECT_EQ(RunVannerly(), kIBCarbonRuntimeCantFindObject);
  EXPECT_EQ(Recorder().Calls().back(), "SetMenuBarFromNib \"MenuBar\"");
  Recorder().interfaceFileMissing = true;
  EXPECT_EQ(RunVannerly(), kIBCarbonRuntimeCantFindNibFile);
  EXPECT_EQ(Recorder().Calls().back(), "CreateNibReference \"main\"");
}

TEST_F(StartUp, WorksWithoutHelpMenuAndControls) {
  files.WriteFile("top/sub/a", "1");
  Recorder().helpMenuMissing = true;
  Recorder().missingControls = {1, 2, 4, 5, 6, 7};
  Recorder().AtEventLoop([this] { EXPECT_EQ(SendOpenDocuments({Ref("top")}), noErr); });
  EXPECT_EQ(RunVannerly(), menuItemNotFoundErr);
  EXPECT_EQ(files.ReadFile("top/a"), "1");
}

TEST_F(StartUp, DropIsFlattenedAndTheProgramSaysGoodbye) {
  files.WriteFile("top/sub/a", "1");
  SetPreference("QuitWhenDone", true);
  Recorder().AtEventLoop([this] { EXPECT_EQ(SendOpenDocuments({Ref("top")}), noErr); });
  EXPECT_THROW((void)RunVannerly(), ExitedToShell);
  EXPECT_EQ(files.ReadFile("top/a"), "1");
  const List &calls = Recorder().Calls();
  EXPECT_EQ(List(calls.end() - 5, calls.end()),
            (List{"SetControlData 1 \"Bye.\"", "Draw1Control 1", "WaitNextEvent",
                  "TransitionWindow \"MainWindow\"", "ExitToShell"}));
}

TEST_F(StartUp, QuitIsNotedAndStillQuits) {
  Recorder().AtEventLoop([] { (void)SendCommand(nullptr, kHICommandQuit); });
  EXPECT_EQ(RunVannerly(), noErr);
  EXPECT_TRUE(FlattenRun.QuitRequested);
  EXPECT_EQ(Recorder().Calls().back(), "QuitApplicationEventLoop");
}

TEST_F(StartUp, HelpLinksOpenTheirPages) {
  EXPECT_EQ(SendCommandTo(HelpMenuCommandHandler, FourChars("WEB1")), noErr);
  EXPECT_EQ(SendCommandTo(HelpMenuCommandHandler, FourChars("MAS1")), noErr);
  EXPECT_EQ(SendCommandTo(HelpMenuCommandHandler, FourChars("quit")), eventNotHandledErr);
  const CarbonEvent noCommand{kEventClassCommand, kEventCommandProcess, {}};
  EXPECT_EQ(HelpMenuCommandHandler(nullptr, &noCommand, nullptr), eventNotHandledErr);
  const List opened = Recorder().CallsBeginningWith("openURL");
  ASSERT_EQ(opened.size(), 2u);
  EXPECT_TRUE(opened[0].starts_with("openURL \"http://"));
  EXPECT_TRUE(opened[1].starts_with("openURL \"https://"));
}

TEST_F(StartUp, EventWithoutItemsChangesNothing) {
  files.MakeFolder("top");
  Flatten({"top"});
  Recorder().ForgetCalls();
  AppleEvent event;
  EXPECT_EQ(HandleOpenDocuments(event, nullptr, 0), errAEDescNotFound);
  std::int32_t count = 0;
  EXPECT_EQ(AECountItems(DroppedItemList, &count), noErr);
  EXPECT_EQ(count, 1);
  EXPECT_FALSE(NextTimerDue());
}

}  // namespace

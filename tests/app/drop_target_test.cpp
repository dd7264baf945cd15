#include "app/drop_target.h"

#include <cstring>

#include "app/display/main_window.h"
#include "app/open_documents.h"
#include "engine/dropped_items.h"
#include "fsutil/item_info.h"
#include "platform/common/timers.h"
#include "tests/support/program_test.h"

namespace {

using List = std::vector<std::string>;

class DropTarget : public CProgramTest {
 protected:
  DropTarget() {
    files.MakeFolder("folder");
    files.WriteFile("file");
    EXPECT_EQ(
        AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, HandleOpenDocuments, 0, false),
        noErr);
    EXPECT_EQ(InstallDropTarget(MainWindow.window), noErr);
  }

  /// An item of a drag, by its path; "text" has no flavor of the file system, "gone" no item, and
  /// the data of "unreadable" cannot be had.
  RecordedDragItem Item(std::string_view name) const {
    if (name == "text") return {{FourChars("TEXT"), {'x'}}};
    if (name == "unreadable") return {{flavorTypeHFS, {}}};
    HFSFlavor flavor{};
    if (name != "gone") {
      EXPECT_EQ(GetItemFSSpec(Ref(name), &flavor.fileSpec), noErr);
    }
    std::vector<std::uint8_t> data(sizeof flavor);
    std::memcpy(data.data(), &flavor, sizeof flavor);
    return {{flavorTypeHFS, std::move(data)}};
  }

  static std::int32_t Dropped() {
    std::int32_t count = 0;
    return AECountItems(DroppedItemList, &count) == noErr ? count : -1;
  }
};

TEST_F(DropTarget, HoldsTheGoodItemsOfADropWhoseLastItemIsGood) {
  const struct {
    std::vector<std::string_view> names;
    OSErr error;
    List calls;
    std::int32_t dropped;  ///< -1: nothing was
  } kCases[] = {{{}, dragNotAcceptedErr, {}, -1},
                {{"text"}, dragNotAcceptedErr, {}, -1},
                {{"gone", "text"}, dragNotAcceptedErr, {}, -1},
                {{"folder", "text"}, paramErr, {"SysBeep 30"}, -1},
                {{"folder", "gone"}, paramErr, {"SysBeep 30"}, -1},
                {{"folder", "unreadable"}, ioErr, {}, -1},
                {{"text", "gone", "folder"}, noErr, {"SetFrontProcess"}, 1},
                {{"file", "folder"}, noErr, {"SetFrontProcess"}, 2}};
  for (const auto &[names, error, calls, dropped] : kCases) {
    files.WriteFile("folder/sub/a", "1");
    DroppedItemList = {};
    Recorder().ForgetCalls();
    OpaqueDrag drag;
    for (const std::string_view name : names) drag.items.push_back(Item(name));
    EXPECT_EQ(Recorder().TrackDrag(kDragTrackingEnterHandler, &drag),
              error == dragNotAcceptedErr ? error : noErr);
    EXPECT_EQ(Recorder().DropDrag(&drag), error);
    EXPECT_EQ(Recorder().Calls(), calls);
    EXPECT_EQ(Dropped(), dropped);
    EXPECT_TRUE(files.Exists("folder/sub/a")) << "never inside the drag's handler";
    Recorder().RunEventLoop();
    EXPECT_EQ(files.Exists("folder/a"), dropped > 0);
    EXPECT_TRUE(files.Exists("file"));
  }
}

TEST_F(DropTarget, WarnsOfDeletionForGoodWhileAFolderIsOverTheWindow) {
  OpaqueDrag folder{{Item("folder")}};
  OpaqueDrag text{{Item("text")}};
  const struct {
    bool deletes;
    bool usesTrash;
    OpaqueDrag *drag;
    bool warns;
  } kCases[] = {{false, false, &folder, false},
                {true, true, &folder, false},
                {true, false, &text, false},
                {true, false, &folder, true}};
  for (const auto &[deletes, usesTrash, drag, warns] : kCases) {
    SetPreference("DeleteEmptiedFolders", deletes);
    SetPreference("DeleteToTrash", usesTrash);
    OpaqueControl &warning = Recorder().Control(15);
    warning.shown = false;
    (void)Recorder().TrackDrag(kDragTrackingEnterHandler, drag);
    (void)Recorder().TrackDrag(kDragTrackingEnterWindow, drag);
    EXPECT_EQ(warning.shown, warns);
    EXPECT_EQ(Recorder().Control(1).shown, !warns) << "they have one place";
    EXPECT_EQ(warning.text.find("deleted for good") != std::string::npos, warns);
    (void)Recorder().TrackDrag(kDragTrackingLeaveWindow, drag);
    EXPECT_FALSE(warning.shown);
    EXPECT_TRUE(Recorder().Control(1).shown);
  }
}

TEST_F(DropTarget, EventWithoutItemsChangesNothing) {
  Flatten({"folder"});
  EXPECT_EQ(HandleOpenDocuments(AppleEvent(), nullptr, 0), errAEDescNotFound);
  EXPECT_EQ(Dropped(), 1);
  EXPECT_FALSE(NextTimerDue());
}

}  // namespace

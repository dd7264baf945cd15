#include "app/drop_target.h"

#include <cstring>

#include "app/display/main_window.h"
#include "app/open_documents.h"
#include "engine/dropped_items.h"
#include "fsutil/item_info.h"
#include "tests/support/program_test.h"

namespace {

using List = std::vector<std::string>;

class DropTarget : public CProgramTest {
 protected:
  DropTarget() {
    files.WriteFile("folder/sub/a", "1");
    files.WriteFile("file");
    EXPECT_EQ(
        AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, HandleOpenDocuments, 0, false),
        noErr);
    EXPECT_EQ(InstallDropTarget(MainWindow.window), noErr);
    Recorder().ForgetCalls();
  }

  FSSpec Spec(std::string_view name) const {
    FSSpec spec;
    EXPECT_EQ(GetItemFSSpec(Ref(name), &spec), noErr);
    return spec;
  }

  /// An item of a drag, by its path; "text" has no flavor of the file system and "gone" no item.
  RecordedDragItem Item(std::string_view name) const {
    if (name == "text") return {{{typeText, {'x'}}}, false};
    HFSFlavor flavor{};
    if (name != "gone") flavor.fileSpec = Spec(name);
    std::vector<std::uint8_t> data(sizeof flavor);
    std::memcpy(data.data(), &flavor, sizeof flavor);
    return {{{flavorTypeHFS, std::move(data)}}, false};
  }

  OpaqueDrag Drag(const std::vector<std::string_view> &names) const {
    OpaqueDrag drag;
    for (const std::string_view name : names) drag.items.push_back(Item(name));
    return drag;
  }

  static std::int32_t Dropped() {
    std::int32_t count = 0;
    return AECountItems(DroppedItemList, &count) == noErr ? count : -1;
  }
};

TEST_F(DropTarget, RefusesWhatHoldsNoFileWithoutABeep) {
  for (const auto &names : {std::vector<std::string_view>{}, {"text"}, {"gone", "text"}}) {
    OpaqueDrag drag = Drag(names);
    EXPECT_EQ(Recorder().TrackDrag(kDragTrackingEnterHandler, &drag), dragNotAcceptedErr);
    EXPECT_EQ(Recorder().TrackDrag(kDragTrackingEnterWindow, &drag), noErr);
    EXPECT_EQ(Recorder().TrackDrag(kDragTrackingLeaveWindow, &drag), noErr);
    EXPECT_EQ(Recorder().DropDrag(&drag), dragNotAcceptedErr);
  }
  EXPECT_TRUE(Recorder().Calls().empty());
  EXPECT_EQ(Dropped(), -1);
}

TEST_F(DropTarget, DroppedFolderIsFlattenedAfterTheDrop) {
  OpaqueDrag drag = Drag({"file", "folder"});
  EXPECT_EQ(Recorder().DropDrag(&drag), noErr);
  EXPECT_EQ(Recorder().Calls(), List{"SetFrontProcess"});
  EXPECT_EQ(Dropped(), 2);
  EXPECT_TRUE(files.Exists("folder/sub/a")) << "never inside the drag's handler";
  Recorder().RunEventLoop();
  EXPECT_EQ(files.ReadFile("folder/a"), "1");
  EXPECT_TRUE(files.Exists("file"));
}

TEST_F(DropTarget, MixedDropHoldsItsGoodItems) {
  OpaqueDrag drag = Drag({"text", "gone", "folder"});
  EXPECT_EQ(Recorder().DropDrag(&drag), noErr);
  EXPECT_EQ(Dropped(), 1);
  Recorder().RunEventLoop();
  EXPECT_EQ(files.ReadFile("folder/a"), "1");
}

TEST_F(DropTarget, LastItemDecides) {
  for (const std::string_view last : {"text", "gone"}) {
    Recorder().ForgetCalls();
    OpaqueDrag drag = Drag({"folder", last});
    EXPECT_NE(Recorder().DropDrag(&drag), noErr);
    EXPECT_EQ(Recorder().Calls(), List{"SysBeep 30"});
    EXPECT_EQ(Dropped(), -1);
  }
}

TEST_F(DropTarget, UnreadableItemEndsTheDropWithoutABeep) {
  OpaqueDrag drag = Drag({"folder", "file"});
  drag.items[1].unreadable = true;
  EXPECT_EQ(Recorder().DropDrag(&drag), ioErr);
  EXPECT_TRUE(Recorder().Calls().empty());
  EXPECT_EQ(Dropped(), -1);
}

}  // namespace

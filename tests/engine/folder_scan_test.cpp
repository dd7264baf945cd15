#include "engine/folder_scan.h"

#include "app/display/run_display.h"
#include "engine/flatten_run.h"
#include "fsutil/item_info.h"
#include "tests/support/program_test.h"

namespace {

class FolderScan : public CProgramTest {
 protected:
  void MakeFiles(std::string_view folder, int count) const {
    for (int i = 100; i < 100 + count; ++i) {
      files.WriteFile(std::string(folder) + "/" + std::to_string(i));
    }
  }

  std::int32_t Count(std::string_view folder) {
    FlattenRun.CollectedFiles.count = 0;
    EXPECT_EQ(CountFilesInFolder(Ref(folder)), noErr);
    return FlattenRun.CollectedFiles.count;
  }

  /// Collects as many as were counted and answers their names.
  std::u16string Collect(std::string_view folder) {
    CollectedFileList &list = FlattenRun.CollectedFiles;
    list.refs.reset(
        static_cast<FSRef *>(NewPtr(static_cast<std::size_t>(list.count) * sizeof(FSRef))));
    list.collected = 0;
    EXPECT_EQ(CollectFilesInFolder(Ref(folder)), noErr);
    std::u16string names;
    const auto count = static_cast<std::size_t>(std::min(list.count, list.collected));
    for (std::size_t i = 0; i < count; ++i) {
      HFSUniStr255 name;
      EXPECT_TRUE(CopyItemName(list.refs[i], &name));
      names.append(name.View()).append(u" ");
    }
    return names;
  }
};

TEST_F(FolderScan, YieldsAtEveryHundredthItem) {
  MakeFiles("top", 250);
  EXPECT_EQ(Count("top"), 250);
  EXPECT_EQ(Recorder().Yields(), 1 + 2);
  EXPECT_EQ(TextsOfLine(1), std::vector<std::string>{"Counting files in top..."});

  Recorder().ForgetCalls();
  Collect("top");
  EXPECT_EQ(Recorder().Yields(), 3 + 1 + 250 + 2);
  const std::vector<std::string> counters = TextsOfLine(2);
  ASSERT_EQ(counters.size(), 250u);
  EXPECT_EQ(counters.front(), "(1 of 250)");
  EXPECT_EQ(counters.back(), "(250 of 250)");
  EXPECT_EQ(Recorder().CallsBeginningWith("SetControlValue 5").back(), "SetControlValue 5 32767");

  std::vector<std::string> calls = Recorder().Calls();
  calls.resize(11);
  EXPECT_EQ(calls, (std::vector<std::string>{
                       "SetControlData 1 \"Collecting files in top...\"", "Draw1Control 1",
                       "WaitNextEvent", "SetControlMaximum 5 32767", "SetControlMinimum 5 0",
                       "ShowControl 5", "ShowControl 6", "SetControlValue 5 131",
                       "SetControlData 6 \"(1 of 250)\"", "Draw1Control 6", "WaitNextEvent"}));
  EXPECT_EQ(Recorder().Calls().back(), "HideControl 6");
  EXPECT_FALSE(Recorder().Control(5).shown);
}

TEST_F(FolderScan, SurplusIsCountedButNotStored) {
  MakeFiles("top", 3);
  EXPECT_EQ(Count("top"), 3);
  files.WriteFile("top/000");
  EXPECT_EQ(Collect("top"), u"000 100 101 ");
  EXPECT_EQ(FlattenRun.CollectedFiles.collected, 4);
  EXPECT_EQ(Recorder().Control(5).value, 32767) << "at its end, not beyond";
}

TEST_F(FolderScan, FolderThatIsGoneLeavesTheCountersAlone) {
  files.MakeFolder("top");
  const FSRef gone = Ref("top");
  files.Remove("top");
  FlattenRun.CollectedFiles.count = 7;
  EXPECT_EQ(CountFilesInFolder(gone), fnfErr);
  EXPECT_EQ(CollectFilesInFolder(gone), fnfErr);
  EXPECT_EQ(FlattenRun.CollectedFiles.count, 7);
  EXPECT_TRUE(Recorder().Calls().empty()) << "no text, no progress bar";
}

TEST(Progress, IsProportionalAtAnyNumberOfFiles) {
  EXPECT_EQ(ProgressValue(3, 4), 24575);
  EXPECT_EQ(ProgressValue(65538, 65538), 32767);
  EXPECT_EQ(ProgressValue(204476, 300000), 22333);
  EXPECT_EQ(ProgressValue(2147483647, 2147483647), 32767);
  EXPECT_EQ(ProgressValue(2147483647, 1), 32767) << "at its end when more come than were counted";
}

}  // namespace

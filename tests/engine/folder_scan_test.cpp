#include "engine/folder_scan.h"

#include "app/display/run_display.h"
#include "engine/flatten_run.h"
#include "tests/support/program_test.h"

namespace {

using FolderScan = CProgramTest;

TEST_F(FolderScan, YieldsAtEveryHundredthItem) {
  for (int i = 100; i < 350; ++i) files.WriteFile("top/" + std::to_string(i));
  CollectedFileList &list = FlattenRun.CollectedFiles;
  list.count = 0;
  EXPECT_EQ(CountFilesInFolder(Ref("top")), noErr);
  EXPECT_EQ(list.count, 250);
  EXPECT_EQ(Recorder().Yields(), 1 + 2);

  list.refs.reset(static_cast<FSRef *>(NewPtr(250 * sizeof(FSRef))));
  list.collected = 0;
  EXPECT_EQ(CollectFilesInFolder(Ref("top")), noErr);
  EXPECT_EQ(Recorder().Yields(), 3 + 1 + 250 + 2);
  const std::vector<std::string> counters = TextsOfLine(2);
  ASSERT_EQ(counters.size(), 250u);
  EXPECT_EQ(counters.front(), "(1 of 250)");
  EXPECT_EQ(counters.back(), "(250 of 250)");
  EXPECT_EQ(Recorder().CallsBeginningWith("SetControlValue 5").back(), "SetControlValue 5 32767");
}

TEST(Progress, IsProportionalAtAnyNumberOfFiles) {
  EXPECT_EQ(ProgressValue(3, 4), 24575);
  EXPECT_EQ(ProgressValue(65538, 65538), 32767);
  EXPECT_EQ(ProgressValue(204476, 300000), 22333);
  EXPECT_EQ(ProgressValue(2147483647, 2147483647), 32767);
  EXPECT_EQ(ProgressValue(2147483647, 1), 32767) << "at its end when more come than were counted";
}

}  // namespace

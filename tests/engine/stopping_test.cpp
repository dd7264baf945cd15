#include "app/commands.h"
#include "engine/flatten_run.h"
#include "tests/support/commands.h"
#include "tests/support/program_test.h"

namespace {

using Contents = CTemporaryFolder::Contents;

/// Each of these acts during the first yield at which a status line shows a text.
class Stopping : public CProgramTest {
 protected:
  Stopping() { MakeFolders(); }

  void MakeFolders() const {
    for (const char *folder : {"one", "two"}) {
      for (const char *name : {"a", "b", "c"}) {
        files.WriteFile(std::string(folder) + "/sub/" + name, name);
      }
    }
  }

  static void WhenShown(std::string text, std::function<void()> action) {
    Recorder().AtEachYield(
        [text = std::move(text), action = std::move(action), done = false](int) mutable {
          if (done || (Recorder().Control(1).text != text && Recorder().Control(6).text != text))
            return;
          done = true;
          action();
        });
  }

  static void Command(const char (&commandID)[5]) {
    (void)SendCommandTo(HandleCommand, FourChars(commandID));
  }

  /// How many files have been moved up in a folder.
  int Moved(const std::string &folder) const {
    int moved = 0;
    for (const char *name : {"a", "b", "c"}) {
      const bool up = files.Exists(folder + "/" + name);
      EXPECT_NE(up, files.Exists(folder + "/sub/" + name)) << "a file is in one place, never none";
      moved += up ? 1 : 0;
    }
    return moved;
  }
};

TEST_F(Stopping, StopEndsOneFolderAndQuitAll) {
  const struct {
    const char *text;
    int movedByStop;
  } kMoments[] = {{"Counting files in one...", 0},
                  {"Collecting files in one...", 0},
                  {"(1 of 3)", 0},  // of the collecting pass
                  {"Moving File: a", 1},
                  {"Moving File: b", 2},
                  {"Moving File: c", 3}};
  for (const auto &[text, moved] : kMoments) {
    for (const bool quits : {false, true}) {
      files.Remove("one");
      files.Remove("two");
      MakeFolders();
      Recorder().Control(1).text.clear();
      Recorder().Control(6).text.clear();
      FlattenRun.QuitRequested = false;
      WhenShown(text, [quits] { quits ? Command("quit") : Command("not!"); });
      Flatten({"one", "two"});
      EXPECT_EQ(Moved("one"), moved) << text;
      EXPECT_EQ(Moved("two"), quits ? 0 : 3) << text;
      EXPECT_EQ(Recorder().Control(1).text,
                "Drop a folder on the application or this window to flatten it.");
      EXPECT_FALSE(Recorder().Control(5).shown);
    }
  }
}

TEST_F(Stopping, RemovalAndSortingStillRunAfterAStop) {
  files.WriteFile("one/x.txt", "x");
  SetPreference("DeleteEmptiedFolders", true);
  SetPreference("AggregateFilesWhenDone", true);
  WhenShown("Moving File: a", [] { Command("not!"); });
  Flatten({"one"});
  EXPECT_EQ(files.Tree("one"), (Contents{{"a", "a"}, {"txt/", ""}, {"txt/x.txt", "x"}}));
}

}  // namespace

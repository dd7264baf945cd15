#include "engine/flatten_run.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>

#include "engine/run_observers.h"
#include "platform/common/timers.h"
#include "tests/support/program_test.h"
#include "tests/support/tree_change_fault.h"

namespace {

namespace fs = std::filesystem;
using Contents = CTemporaryFolder::Contents;
using List = std::vector<std::string>;

/// Takes down "FILE: error" of every file left in place, and where it is when that is elsewhere.
class CNotes final : public CRunObserver {
 public:
  List left;
  void BeginFolder(const FSRef &) noexcept override { left.clear(); }
  void TakeNote(const RunNote &note) noexcept override {
    if (note.event != RunEvent::kLeftInPlace) return;
    const std::string name = Name(note.item);
    const std::string now = note.now != nullptr ? Name(*note.now) : name;
    left.push_back(name + ": " + std::to_string(note.error) + (now != name ? " " + now : ""));
  }

 private:
  static std::string Name(const FSRef &item) {
    char path[4096];
    EXPECT_EQ(FSRefMakePath(item, path, sizeof path), noErr);
    return std::string(path).substr(std::string(path).rfind('/') + 1);
  }
};

CNotes &Notes() {
  static CNotes notes;
  static const bool isAdded = (AddRunObserver(&notes), true);
  (void)isAdded;
  return notes;
}

class FlattenRunTest : public CProgramTest {
 protected:
  FlattenRunTest() { Notes().left.clear(); }
  ~FlattenRunTest() override { SetTreeChangeFault(nullptr); }

  /// Three files at the top, two below, one of whose names is taken.
  void MakeClash() const {
    files.WriteFile("top/a.txt", "1");
    files.WriteFile("top/b", "2");
    files.WriteFile("top/c", "3");
    files.WriteFile("top/sub/a.txt", "4");
    files.WriteFile("top/sub/sub/d", "5");
  }

  static int TimersArmed() {
    int timers = 0;
    while (const auto due = NextTimerDue()) {
      EXPECT_THROW(FireDueTimers(*due), ExitedToShell);
      ++timers;
    }
    return timers;
  }
};

TEST_F(FlattenRunTest, DoesEverythingInOrder) {
  files.WriteFile("top/a.txt", "1");
  files.WriteFile("top/sub/b", "2");
  SetPreference("DeleteEmptiedFolders", true);
  SetPreference("AggregateFilesWhenDone", true);
  Flatten({"top"});
  List calls;
  for (const std::string &call : Recorder().Calls()) {
    // Each text is drawn and each drawing is followed by a yield; that is tested elsewhere.
    if (call.starts_with("Draw1Control") || call == "WaitNextEvent") continue;
    calls.push_back(call.starts_with("SetControlData 6 \"Elapsed time: ") ? "elapsed" : call);
  }
  const std::string idle =
      R"(SetControlData 1 "Drop a folder on the application or this window to flatten it.")";
  EXPECT_EQ(calls, (List{"SetWindowTitle \"top\"",
                         "SetWindowProxyFSSpec \"MainWindow\"",
                         "SetWindowModified false",
                         "ShowControl 2",
                         "HideControl 4",
                         "EnableControl 7",
                         "ShowControl 7",
                         "SetControlData 1 \"Counting files in top...\"",
                         "SetControlData 1 \"Collecting files in top...\"",
                         "SetControlMaximum 5 32767",
                         "SetControlMinimum 5 0",
                         "ShowControl 5",
                         "ShowControl 6",
                         "SetControlValue 5 16383",
                         "SetControlData 6 \"(1 of 2)\"",
                         "SetControlValue 5 32767",
                         "SetControlData 6 \"(2 of 2)\"",
                         "HideControl 5",
                         "HideControl 6",
                         "SetControlMaximum 5 32767",
                         "SetControlMinimum 5 0",
                         "ShowControl 5",
                         "ShowControl 6",
                         "SetControlData 1 \"Moving File: a.txt\"",
                         "SetControlData 6 \"(1 of 2)\"",
                         "SetControlValue 5 0",
                         "SetControlData 1 \"Moving File: b\"",
                         "SetControlData 6 \"(2 of 2)\"",
                         "SetControlValue 5 16383",
                         "HideControl 5",
                         "SetControlData 1 \"Deleting emptied folders...\"",
                         "SetControlData 1 \"Deleting emptied folders...\"",
                         "SetControlData 1 \"Collating files...\"",
                         "HideControl 2",
                         "ShowControl 4",
                         "HideControl 7",
                         "DisableControl 7",
                         "elapsed",
                         idle}));
  EXPECT_EQ(files.Tree("top"), (Contents{{"b", "2"}, {"txt/", ""}, {"txt/a.txt", "1"}}));
  EXPECT_EQ(FlattenRun.CollectedFiles.refs, nullptr) << "given back when the folder is done";
  for (const auto &open : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    EXPECT_FALSE(fs::read_symlink(open, error).string().starts_with(files.Path()))
        << "an idle program must not keep a volume busy";
  }
  EXPECT_EQ(TimersArmed(), 0) << "it stays open unless told otherwise";
}

TEST_F(FlattenRunTest, TreeThatChangesBetweenThePassesIsNotTouched) {
  for (const bool grows : {true, false}) {
    MakeClash();
    Recorder().AtEachYield([&](int) {
      if (Recorder().Control(1).text != "Collecting files in top...") return;
      if (grows) files.WriteFile("top/sub/new", "6");
      if (!grows && files.Exists("top/b")) files.Remove("top/b");
    });
    Contents expected = files.Tree();
    Flatten({"top"});
    if (grows) expected["top/sub/new"] = "6";
    if (!grows) expected.erase("top/b");
    EXPECT_EQ(files.Tree(), expected);
    EXPECT_TRUE(Recorder().CallsBeginningWith("SetControlData 1 \"Moving").empty());
    EXPECT_FALSE(Recorder().Control(6).shown) << "the elapsed time goes into a hidden control";
    EXPECT_EQ(ReportOfFolder.outcome, RunOutcome::kCountsDiffer);
    EXPECT_EQ(ReportOfFolder.CountOf(RunEvent::kHandled), 0);
    EXPECT_EQ(ShortfallsOf(ReportOfFolder.counts).notReached,
              ReportOfFolder.CountOf(RunEvent::kFound));
    files.Remove("top");
  }
}

/// A volume whose times are too coarse for a listing to be kept: each pass lists a folder anew,
/// however long ago it was made.
struct CoarseTimes : CTreeLayer {
  int Look(int folder, const char *name, ItemStatus *status) override {
    const int error = CTreeLayer::Look(folder, name, status);
    if (error == 0) status->changed -= status->changed % 1'000'000'000;
    return error;
  }
};

TEST_F(FlattenRunTest, WhatTheScanLackedMemoryForIsToldAndNotDeleted) {
  // It runs out in the second pass, for a folder with a file in it or without.
  struct : CoarseTimes {
    int List(int folder, const ItemVisitor &visit) override {
      const std::string path = fs::read_symlink("/proc/self/fd/" + std::to_string(folder));
      const bool isSecondPass = Recorder().Control(1).text == "Collecting files in top...";
      if (isSecondPass && path.ends_with(failing)) throw std::bad_alloc();
      return CTreeLayer::List(folder, visit);
    }
    std::string failing;
  } layer;
  SetPreference("DeleteEmptiedFolders", true);
  const Contents before = {{"sub/", ""}, {"sub/a", "1"}, {"void/", ""}};
  const struct {
    bool looksForPackages;  // before the walk enters a folder: that one is kept whole
    const char *failing;
    RunOutcome outcome;
    Contents expected;
  } kCases[] = {{false, "/sub", RunOutcome::kCountsDiffer, before},
                {false, "/void", RunOutcome::kFinished, {{"a", "1"}, {"sub/", ""}, {"void/", ""}}},
                {true, "/sub", RunOutcome::kFinished, {{"sub/", ""}, {"sub/a", "1"}}}};
  for (const auto &[looksForPackages, failing, outcome, expected] : kCases) {
    files.WriteFile("top/sub/a", "1");
    files.MakeFolder("top/void");
    SetPreference("IgnoreApplications", looksForPackages);
    layer.failing = failing;
    PutLayerOnDisk(&layer);
    Flatten({"top"});
    RemoveLayer(&layer);
    EXPECT_EQ(files.Tree("top"), expected);
    EXPECT_EQ(ReportOfFolder.outcome, outcome);
    EXPECT_EQ(ReportOfFolder.CountOf(RunEvent::kFolderNotRead), looksForPackages ? 0 : 1);
    EXPECT_EQ(ReportOfFolder.CountOf(RunEvent::kNotDeleted), 1);
    files.Remove("top");
  }
}

TEST_F(FlattenRunTest, AFolderThatCannotBeReadKeepsAllThatIsInIt) {
  enum Call { kOpen, kList, kLook };
  enum When { kAlways, kUntilTheFirstChange, kInTheSecondPass };
  struct : CoarseTimes {
    int ErrorFor(Call asked, const std::string &name) const {
      const bool isSecondPass = Recorder().Control(1).text == "Collecting files in top...";
      const bool isNow = when != kInTheSecondPass || isSecondPass;
      return asked == call && name == "bad" && isNow ? error : 0;
    }
    static std::string NameOf(int folder, const std::string &name) {
      if (!name.empty()) return name;
      return fs::read_symlink("/proc/self/fd/" + std::to_string(folder)).filename();
    }
    int OpenFolder(int folder, const char *name, FolderUse use, int *descriptor) override {
      const int failure = ErrorFor(kOpen, name);
      return failure != 0 ? failure : CTreeLayer::OpenFolder(folder, name, use, descriptor);
    }
    int List(int folder, const ItemVisitor &visit) override {
      const int failure = ErrorFor(kList, NameOf(folder, ""));
      return failure != 0 ? failure : CTreeLayer::List(folder, visit);
    }
    int Look(int folder, const char *name, ItemStatus *status) override {
      const int failure = ErrorFor(kLook, NameOf(folder, name));
      return failure != 0 ? failure : CoarseTimes::Look(folder, name, status);
    }
    int Change(const TreeChange &change) override {
      if (when == kUntilTheFirstChange) error = 0;
      return CTreeLayer::Change(change);
    }
    Call call = kOpen;
    When when = kAlways;
    int error = 0;
  } layer;
  SetPreference("DeleteEmptiedFolders", true);
  const Contents kept = {
      {"bad/", ""}, {"bad/in/", ""}, {"bad/in/secret", "1"}, {"bad/secret.txt", "2"}};
  for (const When when : {kAlways, kUntilTheFirstChange, kInTheSecondPass}) {
    for (const Call call : {kOpen, kList, kLook}) {
      for (const int error : {ENOENT, ENOTDIR, EIO, ENOTCONN, ESTALE, EACCES}) {
        for (const auto &[path, content] : kept) {
          if (!content.empty()) files.WriteFile("top/" + path, content);
        }
        files.WriteFile("top/before/in/a", "3");
        files.WriteFile("top/later/b", "4");
        layer.when = when;
        layer.call = call;
        layer.error = error;
        PutLayerOnDisk(&layer);
        Flatten({"top"});
        RemoveLayer(&layer);
        Contents expected = kept;
        // What was counted and not collected keeps all from being moved; the rest goes by rule.
        if (when != kInTheSecondPass) expected.insert({{"a", "3"}, {"b", "4"}});
        EXPECT_EQ(files.Tree("top"), expected) << when << call << strerrorname_np(error);
        EXPECT_EQ(ReportOfFolder.CountOf(RunEvent::kFolderNotRead),
                  when == kInTheSecondPass ? 0 : 1);
        files.Remove("top");
      }
    }
  }
}

TEST_F(FlattenRunTest, FileThatIsGoneIsSkippedButTheCounterGoesOn) {
  files.WriteFile("top/sub/a", "1");
  files.WriteFile("top/sub/b", "2");
  Recorder().AtEachYield([&](int) {
    if (Recorder().Control(1).text == "Moving File: a" && files.Exists("top/sub/b")) {
      files.Remove("top/sub/b");
    }
  });
  Flatten({"top"});
  EXPECT_EQ(files.Tree("top"), (Contents{{"a", "1"}, {"sub/", ""}}));
  EXPECT_EQ(FlattenRun.CollectedFiles.collected, 1);
  EXPECT_EQ(TextsOfLine(2)[3], "(2 of 2)");
  EXPECT_EQ(Notes().left, List{"b: " + std::to_string(fnfErr)});
}

TEST_F(FlattenRunTest, NameTakenByAnotherProgramMeanwhileIsResolved) {
  // More files than lookups that are made before the program relies on what it knows of the folder.
  for (int i = 10; i < 60; ++i) files.WriteFile("top/sub/" + std::to_string(i), "ours");
  Recorder().AtEachYield([&](int) {
    if (Recorder().Control(1).text == "Moving File: 58") files.WriteFile("top/59", "theirs");
  });
  Flatten({"top"});
  const Contents tree = files.Tree("top");
  EXPECT_EQ(tree.at("59"), "theirs");
  EXPECT_EQ(std::ranges::count_if(tree, [](const auto &item) { return item.second == "ours"; }),
            50);
  EXPECT_EQ(tree.size(), 52U) << "with the folder, so that all 50 have come up";
  EXPECT_EQ(ReportOfFolder.CountOf(RunEvent::kMoved), 50);
  EXPECT_EQ(ReportOfFolder.CountOf(RunEvent::kRenamed), 1);
}

TEST_F(FlattenRunTest, FailingMovesLoseNothing) {
  MakeClash();
  const Contents before = files.Tree();
  SetTreeChangeFault([](const TreeChange &change) {
    // Only a file that bears its own name is refused: undoing works.
    return std::string_view(change.name) == "517A7274" || std::string_view(change.name) == "d" ? EIO
                                                                                               : 0;
  });
  Flatten({"top"});
  SetTreeChangeFault(nullptr);
  Contents expected = before;
  // The undoing fails too, so that one file is left under its temporary name, in its own folder.
  expected["top/sub/517A7274"] = expected["top/sub/a.txt"];
  expected.erase("top/sub/a.txt");
  EXPECT_EQ(files.Tree(), expected);
  const std::string error = ": " + std::to_string(ioErr);
  EXPECT_EQ(Notes().left, (List{"a.txt" + error + " 517A7274", "d" + error}));
}

}  // namespace

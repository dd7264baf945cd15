#include "engine/flatten_run.h"

#include <cerrno>
#include <cstdio>
#include <set>

#include "platform/common/timers.h"
#include "platform/posix/tree_changes.h"
#include "tests/support/program_test.h"

namespace {

using Contents = CTemporaryFolder::Contents;
using List = std::vector<std::string>;

class FlattenRunTest : public CProgramTest {
 protected:
  ~FlattenRunTest() override { SetTreeChangeFault(nullptr); }

  /// Three files at the top, two below, one of whose names is taken.
  void MakeClash() const {
    files.WriteFile("top/a.txt", "1");
    files.WriteFile("top/b", "2");
    files.WriteFile("top/c", "3");
    files.WriteFile("top/sub/a.txt", "4");
    files.WriteFile("top/sub/sub/d", "5");
  }

  /// What lies below, with each identifier in a name as "U".
  Contents TreeWithoutIdentifiers(std::string_view folder) const {
    Contents tree;
    for (const auto &[path, content] : files.Tree(folder)) {
      tree[WithoutIdentifiers(path)] = content;
    }
    return tree;
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
                         "SetControlData 1 "
                         "\"Drop a folder on the application or this window to flatten it.\""}));
  EXPECT_EQ(files.Tree("top"), (Contents{{"b", "2"}, {"txt/", ""}, {"txt/a.txt", "1"}}));
  EXPECT_EQ(FlattenRun.CollectedFiles.refs, nullptr) << "given back when the folder is done";
}

TEST_F(FlattenRunTest, FilesMoveUpAndTakenNamesAreResolved) {
  MakeClash();
  Flatten({"top"});
  EXPECT_EQ(TreeWithoutIdentifiers("top"), (Contents{{"a - U.txt", "4"},
                                                     {"a.txt", "1"},
                                                     {"b", "2"},
                                                     {"c", "3"},
                                                     {"d", "5"},
                                                     {"sub/", ""},
                                                     {"sub/sub/", ""}}));
  EXPECT_EQ(TextsOfLine(2)[9], "(5 of 5)");
}

TEST_F(FlattenRunTest, WithoutRenamingAClashStaysAndGoesWithItsFolder) {
  MakeClash();
  SetPreference("RenameDuplicates", false);
  Flatten({"top"});
  Contents expected = {{"a.txt", "1"}, {"b", "2"},         {"c", "3"},      {"d", "5"},
                       {"sub/", ""},   {"sub/a.txt", "4"}, {"sub/sub/", ""}};
  EXPECT_EQ(files.Tree("top"), expected);

  SetPreference("DeleteEmptiedFolders", true);
  Flatten({"top"});
  expected.erase("sub/");
  expected.erase("sub/a.txt");
  expected.erase("sub/sub/");
  EXPECT_EQ(files.Tree("top"), expected);
}

TEST_F(FlattenRunTest, EveryFileOfManyWithOneNameIsKept) {
  std::string kept;
  for (int i = 10; i < 30; ++i) {
    files.WriteFile("top/" + std::to_string(i) + "/same.name", std::to_string(i) + " ");
    kept += std::to_string(i) + " ";
  }
  SetPreference("DeleteEmptiedFolders", true);
  Flatten({"top"});
  const Contents tree = files.Tree("top");
  EXPECT_EQ(tree.size(), 20u);
  EXPECT_EQ(tree.at("same.name"), "10 ") << "the first in order keeps its name";
  std::set<std::string> contents;
  for (const auto &[path, content] : tree) contents.insert(content);
  std::string found;
  for (const std::string &content : contents) found += content;
  EXPECT_EQ(found, kept);
}

TEST_F(FlattenRunTest, FoldersAreTakenInTurnAndFilesPassedOver) {
  files.WriteFile("file", "alone");
  files.WriteFile("one/sub/a", "1");
  files.WriteFile("two/sub/b", "2");
  files.MakeSymbolicLink("link", "one");
  SetPreference("QuitWhenDone", true);
  Flatten({"file", "one", "link", "two"});
  EXPECT_EQ(files.Tree(), (Contents{{"file", "alone"},
                                    {"link", "-> one"},
                                    {"one/", ""},
                                    {"one/a", "1"},
                                    {"one/sub/", ""},
                                    {"two/", ""},
                                    {"two/b", "2"},
                                    {"two/sub/", ""}}));
  EXPECT_EQ(Recorder().CallsBeginningWith("SetWindowTitle"),
            (List{"SetWindowTitle \"one\"", "SetWindowTitle \"two\""}));
  EXPECT_EQ(TimersArmed(), 2) << "one for each folder";
  EXPECT_EQ(Recorder().Calls().back(), "ExitToShell");
}

TEST_F(FlattenRunTest, NothingDroppedShowsNothing) {
  FlattenTimerProc(nullptr, nullptr);
  Flatten({});
  EXPECT_TRUE(Recorder().Calls().empty());
}

TEST_F(FlattenRunTest, EmptyFolderStillEndsProperly) {
  files.MakeFolder("top/empty");
  SetPreference("DeleteEmptiedFolders", true);
  Flatten({"top"});
  EXPECT_EQ(files.Tree("top"), Contents{});
  EXPECT_TRUE(Recorder().CallsBeginningWith("SetControlData 1 \"Moving").empty());
  ASSERT_EQ(TextsOfLine(2).size(), 1u);
  EXPECT_TRUE(TextsOfLine(2)[0].starts_with("Elapsed time: "));
  EXPECT_EQ(TimersArmed(), 0);
}

TEST_F(FlattenRunTest, ProgressLagsBehindByOneFile) {
  for (const char *name : {"a", "b", "c", "d"}) files.WriteFile(std::string("top/") + name);
  Flatten({"top"});
  const List values = Recorder().CallsBeginningWith("SetControlValue 5");
  ASSERT_EQ(values.size(), 8u);
  EXPECT_EQ(List(values.begin() + 4, values.end()),
            (List{"SetControlValue 5 0", "SetControlValue 5 8191", "SetControlValue 5 16383",
                  "SetControlValue 5 24575"}));
}

TEST_F(FlattenRunTest, PackagesMoveWholeUnlessTheyAreOpenedUp) {
  files.WriteFile("top/sub/X.app/Contents/1", "1");
  Flatten({"top"});
  EXPECT_EQ(
      files.Tree("top"),
      (Contents{{"X.app/", ""}, {"X.app/Contents/", ""}, {"X.app/Contents/1", "1"}, {"sub/", ""}}));
  SetPreference("IgnoreApplications", false);
  SetPreference("DeleteEmptiedFolders", true);
  Flatten({"top"});
  EXPECT_EQ(files.Tree("top"), (Contents{{"1", "1"}, {"X.app/", ""}, {"X.app/Contents/", ""}}))
      << "a package is never deleted, opened up or not";
}

TEST_F(FlattenRunTest, AliasesAreMadeOfAllFilesAndNothingMoves) {
  files.WriteFile("top/a", "1");
  files.WriteFile("top/sub/b", "2");
  files.WriteFile("top/sub/quo\"te", "3");
  SetPreference("Operation", std::int64_t{2});
  Flatten({"top"});
  EXPECT_EQ(files.Tree("top"), (Contents{{"a", "1"},
                                         {"a alias", "-> " + files.PathOf("top/a")},
                                         {"b", "-> " + files.PathOf("top/sub/b")},
                                         {"sub/", ""},
                                         {"sub/b", "2"},
                                         {"sub/quo\"te", "3"}}));
  EXPECT_EQ(Recorder().CallsBeginningWith("NSBeep").size(), 1u);
  EXPECT_EQ(Recorder().CallsBeginningWith("SetControlData 1 \"Moving File: ").size(), 3u);
}

TEST_F(FlattenRunTest, PreferencesTakeEffectAtTheNextFile) {
  files.WriteFile("top/sub/a", "1");
  files.WriteFile("top/sub/b", "2");
  files.WriteFile("top/sub/c", "3");
  Recorder().AtEachYield([](int) {
    if (Recorder().Control(1).text == "Moving File: b") SetPreference("Operation", std::int64_t{3});
  });
  Flatten({"top"});
  EXPECT_EQ(files.Tree("top"),
            (Contents{{"a", "1"}, {"sub/", ""}, {"sub/b", "2"}, {"sub/c", "3"}}));
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
    files.Remove("top");
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
}

TEST_F(FlattenRunTest, NameTakenByAnotherProgramMeanwhileIsResolved) {
  // More files than lookups that are made before the program relies on what it knows of the folder.
  for (int i = 10; i < 60; ++i) files.WriteFile("top/sub/" + std::to_string(i), "ours");
  Recorder().AtEachYield([&](int) {
    if (Recorder().Control(1).text == "Moving File: 58") files.WriteFile("top/59", "theirs");
  });
  Flatten({"top"});
  Contents tree = TreeWithoutIdentifiers("top");
  EXPECT_EQ(tree["59"], "theirs");
  EXPECT_EQ(tree["59 - U"], "ours");
  EXPECT_EQ(tree.size(), 52U);
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
}

TEST_F(FlattenRunTest, DeepTreesAndStrangeNamesArrive) {
  files.MakeDeepTree("top", 500, "level", "bottom", "deep");
  files.WriteFile("top/sub/line\nbreak", "1");
  files.WriteFile("top/sub/\xFF\xC3 bytes", "2");
  files.WriteFile("top/sub/%s%n%d", "3");
  files.WriteFile("top/sub/" + std::string(255, 'x'), "4");
  files.WriteFile(std::string("top/") + std::string(255, 'x'), "5");
  SetPreference("DeleteEmptiedFolders", true);
  files.MakeFolder("top/keep.app");
  ASSERT_EQ(rename(files.PathOf("top/sub/" + std::string(255, 'x')).c_str(),
                   files.PathOf("top/keep.app/" + std::string(255, 'x')).c_str()),
            0);
  SetPreference("IgnoreApplications", false);
  Flatten({"top"});
  EXPECT_EQ(files.Tree("top"), (Contents{{"%s%n%d", "3"},
                                         {"bottom", "deep"},
                                         {"keep.app/", ""},
                                         {"keep.app/" + std::string(255, 'x'), "4"},
                                         {"line\nbreak", "1"},
                                         {std::string(255, 'x'), "5"},
                                         {"\xFF\xC3 bytes", "2"}}))
      << "a new name that would be too long is refused, and the file stays under its own";
}

}  // namespace

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>

#include "engine/take_back_run.h"
#include "platform/history.h"
#include "tests/app/results_list.h"
#include "tests/support/program_test.h"
#include "tests/support/tree_change_fault.h"

namespace {

using List = std::vector<std::string>;
using Json = nlohmann::json;

class CResultsTest : public CProgramTest {
 protected:
  CResultsTest() {
    WatchRunsOnce();
    SetPreference("DeleteEmptiedFolders", true);
    SetPreference("AggregateFilesWhenDone", true);
  }
  ~CResultsTest() override {
    SetTreeChangeFault(nullptr);
    if (isOpen_) Results().Close();
  }

  /// The list as the window has it when the user opens it.
  CResultList &Open() {
    ShowRunResults();
    Results().Open([this] { ++runsBegun; });
    isOpen_ = true;
    return Results();
  }

  /// The document saved as JSON.
  static Json Saved() {
    std::string saved;
    EXPECT_TRUE(Results().Save(ResultFormat::kJson, [&](std::string_view text) {
      saved += text;
      return true;
    }));
    return Json::parse(saved);
  }

  static List KindsWithCounts() {
    List kinds;
    for (const ResultKind &kind : Results().Kinds()) {
      kinds.push_back(kind.name + " " + std::to_string(kind.count));
    }
    return kinds;
  }

  static std::optional<unsigned> Kind(std::string_view name) {
    for (const ResultKind &kind : Results().Kinds()) {
      if (kind.name == name) return kind.kind;
    }
    ADD_FAILURE() << name;
    return std::nullopt;
  }

  int runsBegun = 0;

 private:
  bool isOpen_ = false;
};

/// A change that fails: moving a file of that name.
int FailForStuck(const TreeChange &change) {
  return change.name != nullptr && std::strcmp(change.name, "stuck") == 0 ? EACCES : 0;
}

TEST_F(CResultsTest, TellOfEachItemWhatHappenedToIt) {
  files.WriteFile("drop/a.txt");
  files.WriteFile("drop/sub/a.txt");
  files.WriteFile("drop/sub/deep/b");
  files.WriteFile("drop/sub/stuck");
  SetTreeChangeFault(FailForStuck);
  Flatten({"drop"});
  Open();
  EXPECT_EQ(Follow(), ResultsToCome::kNone);
  EXPECT_EQ(Results().Folders(), List{files.PathOf("drop")});
  EXPECT_EQ(Results().WhatIsMissing(), "");
  // First what no journal tells.
  EXPECT_EQ(Rows(),
            (List{"sub/stuck | left in place | permission is denied",
                  "sub/stuck | not deleted | permission is denied",
                  "sub/a.txt | moved under another name | a - UUID.txt", "sub/deep/b | moved | b",
                  "sub/deep | folder deleted | ", "txt | folder made | ",
                  "a - UUID.txt | collated | txt/a - UUID.txt", "a.txt | collated | txt/a.txt"}));
  EXPECT_EQ(Results().PathOf(0), files.PathOf("drop/sub/stuck"));
  EXPECT_EQ(Results().PathOf(7), files.PathOf("drop/txt/a.txt"));
  EXPECT_EQ(KindsWithCounts(),
            (List{"moved 1", "left in place 1", "moved under another name 1", "folder deleted 1",
                  "not deleted 1", "folder made 1", "collated 2"}));
}

TEST_F(CResultsTest, OfSeveralFoldersHaveTheirNamesAndTheNextRunTakesTheirPlace) {
  files.WriteFile("one/sub/a");
  files.WriteFile("two/sub/b");
  files.WriteFile("three/sub/c");
  SetPreference("DeleteEmptiedFolders", false);
  Flatten({"one", "two"});
  Open();
  Results().SortBy(ResultColumn::kItem, true);
  Follow();
  EXPECT_EQ(Rows(), (List{"two/sub/b | moved | two/b", "one/sub/a | moved | one/a"}));
  EXPECT_EQ(runsBegun, 0);
  Flatten({"three"});
  EXPECT_EQ(runsBegun, 1);
  Follow();
  EXPECT_EQ(Rows(), List{"sub/c | moved | c"});
}

TEST_F(CResultsTest, FollowTheRunThatIsOn) {
  for (int i = 0; i < 50; ++i) files.WriteFile("drop/sub/" + std::to_string(i));
  std::size_t most = 0;
  Recorder().AtEachYield([&](int) {
    if (!files.Exists("drop/sub")) return;
    if (Recorder().Results() == nullptr) Open();
    (void)Follow();
    const std::size_t rows = Results().Count();
    EXPECT_GE(rows, most);
    most = rows;
    const std::size_t moved = files.Tree("drop").size() - files.Tree("drop/sub").size() - 1;
    EXPECT_GE(rows, moved);
  });
  Flatten({"drop"});
  EXPECT_GE(most, 40u);
  EXPECT_EQ(Follow(), ResultsToCome::kNone);
  EXPECT_EQ(Results().Count(), 50u + 1);  // and the sub-folder
}

TEST_F(CResultsTest, SayWhenOnlyExceptionsAreKnown) {
  home.WriteFile("state/vannerly", "in the way of the journals");
  files.WriteFile("drop/a.txt");
  files.WriteFile("drop/sub/a.txt");
  files.WriteFile("drop/sub/b");
  Flatten({"drop"});
  Open();
  Follow();
  EXPECT_NE(Results().WhatIsMissing(), "");
  EXPECT_EQ(Rows(),
            (List{"sub/a.txt | moved under another name | a - UUID.txt", "sub | folder deleted | ",
                  "txt | folder made | ", "txt | collated | items moved into it: 2"}));
}

TEST_F(CResultsTest, OfAnUndo) {
  files.WriteFile("drop/a");
  files.WriteFile("drop/sub/a");
  files.WriteFile("drop/sub/b");
  Flatten({"drop"});
  // Somebody else's file has taken the place of one.
  files.WriteFile("drop/sub/b", "new");
  TakeBackOrder order{};
  std::string reason;
  ASSERT_EQ(FindRunToTakeBack(TakeBack::kUndo, nullptr, &order.run, &reason), noErr) << reason;
  order.folder = Ref("drop");
  TakeBackOrders.push_back(order);
  TakeBackTimerProc(nullptr, nullptr);
  Open();
  Follow();
  List rows = Rows();
  EXPECT_EQ(rows, (List{"b | not put back | its name is taken; it belongs at sub/b",
                        "a - UUID | put back | sub/a"}));
  const Json undone = Saved()["folders"][0];
  EXPECT_EQ(undone["counts"]["putBack"], 1);
  EXPECT_EQ(undone["notPutBack"][0]["path"], files.PathOf("drop/b"));
  EXPECT_EQ(undone["notPutBack"][0]["oldPath"], files.PathOf("drop/sub/b"));
  ASSERT_EQ(undone["changes"].size(), 1u);
  EXPECT_EQ(undone["changes"][0]["change"], "moved");
  EXPECT_EQ(undone["changes"][0]["newPath"], files.PathOf("drop/sub/a"));

  // Of the run itself the history knows what was changed, and says no more than that.
  const std::vector<PastRun> history = ListPastRuns({});
  ASSERT_EQ(history.size(), 1u);
  ShowResultsOf(history[0]);
  const Json document = Saved();
  const Json &flattened = document["folders"][0];
  EXPECT_TRUE(document["complete"]);
  EXPECT_EQ(flattened["time"], history[0].time);
  EXPECT_EQ(flattened["counts"],
            Json::parse(R"({"moved": 2, "renamed": 1, "aliased": 0, "deletedFiles": 0,
                            "deletedFolders": 1, "trashed": 0, "foldersMade": 0, "collated": 0})"));
  EXPECT_EQ(flattened["renamed"].size(), 1u);
  EXPECT_EQ(flattened["changes"].size(), 3u);
  EXPECT_FALSE(flattened.contains("leftInPlace") || flattened.contains("seconds"));
}

TEST_F(CResultsTest, AreFilteredSearchedAndSorted) {
  files.WriteFile("drop/B/k\u00c4se 1.TXT");
  files.WriteFile("drop/a/x.txt");
  files.WriteFile("drop/a-b/m");
  files.WriteFile("drop/a/z");
  files.WriteFile("drop/z");
  SetPreference("DeleteEmptiedFolders", false);
  SetPreference("AggregateFilesWhenDone", false);
  Flatten({"drop"});
  Open();
  Follow();
  const std::string cheese = "B/k\u00c4se 1.TXT | moved | k\u00c4se 1.TXT";
  const std::string x = "a/x.txt | moved | x.txt";
  const std::string z = "a/z | moved under another name | z - UUID";
  const std::string m = "a-b/m | moved | m";
  // Folder by folder, without regard to case.
  Results().SortBy(ResultColumn::kItem, false);
  EXPECT_EQ(Rows(), (List{x, z, m, cheese}));
  Results().SortBy(ResultColumn::kItem, true);
  EXPECT_EQ(Rows(), (List{cheese, m, z, x}));
  Results().SortBy(ResultColumn::kWhere, false);
  EXPECT_EQ(Rows(), (List{cheese, m, x, z}));
  Results().SortBy(ResultColumn::kHappened, false);
  EXPECT_EQ(Rows().back(), z);
  const std::size_t number = Results().NumberOf(3);
  Results().SortBy(std::nullopt, false);
  EXPECT_EQ(Rows(), (List{cheese, x, z, m}));
  EXPECT_EQ(Results().NumberOf(2), number);

  for (const auto &[search, found] : {std::pair<std::string, List>{"txt", {cheese, x}},
                                      {"\u00e4SE", {cheese}},
                                      {"a/", {x, z}},
                                      {"a/x", {x}},
                                      {"moved", {}},
                                      {"", {cheese, x, z, m}}}) {
    Results().Select(std::nullopt, search);
    EXPECT_EQ(Rows(), found) << search;
  }
  Results().Select(Kind("moved under another name"), "");
  EXPECT_EQ(Rows(), List{z});
  Results().Select(Kind("moved"), "t");
  EXPECT_EQ(Rows(), (List{cheese, x}));
}

TEST_F(CResultsTest, AreSavedAsCommaSeparatedValues) {
  files.WriteFile("drop/s,b/say \"a\"\nb\xff");
  SetPreference("DeleteEmptiedFolders", false);
  SetPreference("AggregateFilesWhenDone", false);
  Flatten({"drop"});
  Open();
  Follow();
  std::string saved;
  EXPECT_TRUE(Results().Save(ResultFormat::kCsv, [&](std::string_view text) {
    saved += text;
    return true;
  }));
  const std::string name = "say \"\"a\"\"\nb\xef\xbf\xbd";
  EXPECT_EQ(saved, "\"Item\",\"What happened\",\"Where to or why\",\"Path\"\r\n\"s,b/" + name +
                       "\",\"moved\",\"" + name + "\",\"" + files.PathOf("drop/") + name +
                       "\"\r\n");
  EXPECT_FALSE(Results().Save(ResultFormat::kCsv, [](std::string_view) { return false; }));
}

}  // namespace

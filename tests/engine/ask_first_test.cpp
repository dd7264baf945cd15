#include "engine/ask_first.h"

#include <cstdlib>

#include "engine/flatten_run.h"
#include "engine/run_observers.h"
#include "tests/support/program_test.h"

namespace {

class COutcomes final : public CRunObserver {
 public:
  std::vector<RunOutcome> outcomes;
  void EndFolder(const FolderReport &report) noexcept override {
    outcomes.push_back(report.outcome);
  }
};

COutcomes &Outcomes() {
  static COutcomes outcomes;
  static const bool isAdded = (AddRunObserver(&outcomes), true);
  (void)isAdded;
  return outcomes;
}

class AskFirstTest : public CProgramTest {
 protected:
  AskFirstTest() {
    Outcomes().outcomes.clear();
    SetPreference("DeleteEmptiedFolders", true);
    SetPreference("AggregateFilesWhenDone", true);
    FlattenRun.askFirst = AskFirst::kBeforeWork;
  }
};

TEST_F(AskFirstTest, OnlyTheFolderThatHoldsACheckoutIsLeftAsItIs) {
  files.WriteFile("plain/sub/.gitignore");
  files.WriteFile("plain/sub/git");
  files.WriteFile("work/a/b/deep/.git");
  files.WriteFile("work/a/c/.svn/entries");
  files.MakeFolder("empty/.hg");
  files.WriteFile("last/sub/file.txt");
  const auto before = files.Tree("work");
  Flatten({"work", "plain", "empty", "last"});
  EXPECT_EQ(Outcomes().outcomes, (std::vector{RunOutcome::kAsksFirst, RunOutcome::kFinished,
                                              RunOutcome::kAsksFirst, RunOutcome::kFinished}));
  EXPECT_EQ(files.Tree("work"), before);
  EXPECT_TRUE(files.Exists("empty/.hg")) << "deleted, though nothing was there to be moved";
  EXPECT_TRUE(files.Exists("plain/git"));
  EXPECT_TRUE(files.Exists("last/txt/file.txt"));

  for (const AskFirst how : {AskFirst::kNotes, AskFirst::kNever}) {
    FlattenRun.askFirst = how;
    Flatten({"empty"});
    EXPECT_FALSE(files.Exists("empty/.hg"));
    EXPECT_EQ(FlattenRun.whyAsk.checkouts, how == AskFirst::kNotes ? 1 : 0);
    files.MakeFolder("empty/.hg");
  }
  FlattenRun.askFirst = AskFirst::kNotes;
  Flatten({"work"});
  EXPECT_EQ(FlattenRun.whyAsk.checkouts, 2);
  EXPECT_EQ(FlattenRun.whyAsk.first, files.PathOf("work/a/b/deep/.git"));
}

TEST_F(AskFirstTest, StoppedWhileItCountsItDeletesNothingEither) {
  files.WriteFile("work/.git/config");
  for (int i = 0; i < 300; ++i) files.WriteFile("work/sub/" + std::to_string(i));
  Recorder().AtEachYield([](int) { FlattenRun.StopRequested = true; });
  Flatten({"work"});
  EXPECT_EQ(Outcomes().outcomes, std::vector{RunOutcome::kStopped});
  EXPECT_TRUE(files.Exists("work/.git/config"));
}

TEST_F(AskFirstTest, AFolderAboveTheHomeFolderIsLeftAsItIs) {
  files.WriteFile("people/me/sub/file");
  files.WriteFile("people/you/file");
  files.WriteFile("elsewhere/sub/file");
  const char *const before = std::getenv("HOME");
  const std::string kept = before != nullptr ? before : "";
  files.MakeSymbolicLink("link", files.PathOf("people/me"));
  setenv("HOME", files.PathOf("link").c_str(), 1);
  Flatten({"people", "people/you", "elsewhere"});
  EXPECT_EQ(Outcomes().outcomes,
            (std::vector{RunOutcome::kAsksFirst, RunOutcome::kFinished, RunOutcome::kFinished}));
  EXPECT_TRUE(files.Exists("people/me/sub/file"));
  EXPECT_TRUE(files.Exists("elsewhere/file"));
  before != nullptr ? setenv("HOME", kept.c_str(), 1) : unsetenv("HOME");
}

}  // namespace

#include "platform/run_changes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "platform/linux/history/journal_text.h"
#include "tests/support/temporary_folder.h"

namespace {

using List = std::vector<std::string>;

class RunChanges : public testing::Test, public CRunChangeTaker {
 protected:
  RunChanges() { setenv("XDG_STATE_HOME", home_.PathOf("state").c_str(), 1); }

  void TakeFolder(std::uint32_t number, std::uint32_t parent, std::string_view name) override {
    EXPECT_EQ(number, paths_.size());
    paths_.push_back((number == 0 ? "" : paths_[parent] + "/") + std::string(name));
  }

  void TakeChange(const RunChange &change) override {
    constexpr const char *kNames[] = {"up",      "down",  "moved", "alias",   "no alias",
                                      "deleted", "rmdir", "mkdir", "trashed", "restored"};
    std::string line = kNames[static_cast<std::size_t>(change.kind)];
    line += " " + PathOf(change.item);
    if (change.kind <= RunChangeKind::kMoved) line += " > " + PathOf(change.to);
    if (!change.path.empty()) line.append(" = ").append(change.path);
    told_.push_back(line);
  }

  std::string PathOf(const RunPlace &place) const {
    return paths_[place.folder] + "/" + std::string(place.name);
  }

  /// Makes the journal anew, and opens it.
  void Open(std::string_view lines) {
    Write(lines);
    paths_.clear();
    told_.clear();
    changes_ = OpenRunChanges("run.journal");
    ASSERT_NE(changes_, nullptr);
  }

  /// What the journal says by now.
  void Write(std::string_view lines) const {
    JournalHeader header;
    header.program = "vannerly 1";
    header.time = "2026-01-01T00:00:00Z";
    header.path = "/drop";
    header.above = {{7, 2}};
    home_.WriteFile("state/vannerly/journal/run.journal",
                    WriteJournalHeader(header) + std::string(lines));
  }

  /// Reads as far as it goes, and answers what was told.
  List Read(RunReading expected) {
    told_.clear();
    RunReading reading = RunReading::kGoesOn;
    while (reading == RunReading::kGoesOn) reading = changes_->ReadOn(this);
    EXPECT_EQ(reading, expected);
    return told_;
  }

  CTemporaryFolder home_;
  std::unique_ptr<CRunChanges> changes_;

 private:
  std::vector<std::string> paths_;
  List told_;
};

const std::string kFolder = "folder\t1\t0\t7:101\tone\t755\t0:0\t1\n";
const std::string kEnd = "end\tdone\t2026-01-01T00:00:00Z\n";

TEST_F(RunChanges, OfAFinishedRunAreToldAsWhatTheyWereMeantFor) {
  Open(kFolder +
       "move\t1\ta\t5:0\t0\n"
       "steps\t1\tb\t6:6\t0\tb 2\nrename\t1\tb\t1\tT\nrename\t1\tT\t0\nrename\t0\tT\t0\tb 2\nover\n"
       "steps\t1\tc\t7:7\t0\tc 2\nrename\t1\tc\t1\tT\nrename\t1\tT\t0\nfailed\tEIO\n"
       "rename\t1\tT\t1\tc\nover\n"
       "move\t1\td\t8:0\t0\nfailed\tEACCES\n"
       "symlink\t0\te\t/drop/one/e\n"
       "trash\t0\tf\t9:9\t/trash\tf 2\n"
       "mkdir\t0\ttxt\nfolder\t2\t0\t7:102\ttxt\t755\t0:0\t1\n"
       "move\t0\ta\t5:0\t2\n"
       "unlink\t0\te\t/drop/one/e\nsymlink\t0\te\t/drop/one/txt/e\n"
       "chmod\t1\tx\t5:5\t755\n"
       "unlink\t1\tx\n"
       "rmdir\t0\tone\t1\n" +
       kEnd);
  EXPECT_EQ(
      Read(RunReading::kIsOver),
      (List{"up /drop/one/a > /drop/a", "up /drop/one/b > /drop/b 2", "alias /drop/e = /drop/one/e",
            "trashed /drop/f = /trash/files/f 2", "mkdir /drop/txt", "down /drop/a > /drop/txt/a",
            "deleted /drop/one/x", "rmdir /drop/one"}));
  EXPECT_FALSE(changes_->IsUndo());
  EXPECT_FALSE(changes_->HasGap());
}

TEST_F(RunChanges, OfAnUndoAreItsOwn) {
  Open("undoes\tother.journal\n" + kFolder +
       "restore\t1\tf\t9:9\n"
       "move\t0\ta\t5:0\t1\n"
       "unlink\t0\te\t/drop/one/e\n"
       "left\t/drop/b\t-48\n" +
       kEnd);
  EXPECT_EQ(Read(RunReading::kIsOver), (List{"restored /drop/one/f", "down /drop/a > /drop/one/a",
                                             "no alias /drop/e = /drop/one/e"}));
  EXPECT_TRUE(changes_->IsUndo());
}

TEST_F(RunChanges, OfARunThatIsOnAreToldWhenTheyAreCertain) {
  const std::string zeros(5000, '\0');
  const std::string first = kFolder + "move\t1\ta\t5:0\t0\n";
  Open(first + zeros);
  EXPECT_EQ(Read(RunReading::kIsUpToDate), List());
  Write(first + "move\t1\tb\t5:" + zeros);
  EXPECT_EQ(Read(RunReading::kIsUpToDate), List());
  const std::string second = first + "move\t1\tb\t5:0\t0\n";
  Write(second + zeros);
  EXPECT_EQ(Read(RunReading::kIsUpToDate), List{"up /drop/one/a > /drop/a"});
  EXPECT_EQ(Read(RunReading::kIsUpToDate), List());
  Write(second + "failed\tEIO\nmove\t1\tc\t5:0\t0\n" + zeros);
  EXPECT_EQ(Read(RunReading::kIsUpToDate), List());
  // Cut to what was written, as at the end of a run.
  Write(second + "failed\tEIO\nmove\t1\tc\t5:0\t0\n" + kEnd);
  EXPECT_EQ(Read(RunReading::kIsOver), List{"up /drop/one/c > /drop/c"});
}

TEST_F(RunChanges, StopWhereTheJournalBreaksOff) {
  EXPECT_EQ(OpenRunChanges("another.journal"), nullptr);
  const std::string moved = kFolder + "move\t1\ta\t5:0\t0\n";
  const List told{"up /drop/one/a > /drop/a"};
  // A killed run's, which ends in the middle of a line.
  Open(moved + "move\t1\tb");
  EXPECT_EQ(Read(RunReading::kIsUpToDate), List());
  Open(moved + "unrecorded\tENOSPC\n" + kEnd);
  EXPECT_EQ(Read(RunReading::kIsOver), told);
  EXPECT_TRUE(changes_->HasGap());
  Open(moved + "move\t2\tb\t5:0\t0\n" + kEnd);
  EXPECT_EQ(Read(RunReading::kIsOver), told);
  EXPECT_TRUE(changes_->HasGap());
}

TEST_F(RunChanges, AreReadHoweverLongAJournalAndItsLinesAre) {
  std::string text = kFolder + "attribute\t1\tuser.x\t" + std::string(900'000, 'x') + "\n";
  for (int i = 0; i < 40'000; ++i) text += "move\t1\t" + std::to_string(i) + "\t5:0\t0\n";
  Open(text + kEnd);
  const List told = Read(RunReading::kIsOver);
  ASSERT_EQ(told.size(), 40'000u);
  EXPECT_EQ(told[0], "up /drop/one/0 > /drop/0");
  EXPECT_EQ(told[39'999], "up /drop/one/39999 > /drop/39999");
}

}  // namespace

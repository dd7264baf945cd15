#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "platform/journal.h"
#include "tests/support/program_test.h"
#include "tests/support/tree_change_fault.h"

namespace {

namespace fs = std::filesystem;
using Contents = CTemporaryFolder::Contents;

const std::string kStrange = "x\ny\\z\xFF\xC2\x85.txt";

/// Ends the process before the change of that number; 0: never.
int lastChange = 0;
int changes = 0;
/// The file system refuses to rename without replacing.
bool areFlagsRefused = false;

int Fault(const TreeChange &change) {
  if (++changes == lastChange) _exit(EXIT_SUCCESS);
  return areFlagsRefused && change.Word() == "rename" ? EINVAL : 0;
}

/// Takes " - UUID" out of a name.
std::string WithoutUuid(std::string name) {
  constexpr std::size_t kLength = 3 + 36;
  const std::size_t start = name.find(" - ");
  return start == std::string::npos ? name : name.erase(start, kLength);
}

class InterruptedRun : public CProgramTest {
 protected:
  InterruptedRun() { SetTreeChangeFault(Fault); }
  ~InterruptedRun() override {
    areFlagsRefused = false;
    lastChange = 0;
    SetTreeChangeFault(nullptr);
  }

  void MakeTree() {
    if (files.Exists("drop")) files.Remove("drop");
    for (const std::string &path :
         {std::string("a.txt"), std::string("one/a.txt"), std::string("one/b.txt"),
          std::string("two/in/a.txt"), kStrange, "two/in/" + kStrange}) {
      files.WriteFile("drop/" + path, "from/" + path);
    }
  }

  /// Flattens in another process, which dies before that change; true when it did.
  bool FlattenUntil(int change) {
    return InChild(change, [this] { Flatten({"drop"}); });
  }

  /// Puts right in another process, which dies before that change.
  bool RecoverUntil(int change) {
    return InChild(change, [] { (void)RecoverInterruptedRuns(); });
  }

  template <typename Work>
  bool InChild(int change, Work work) {
    constexpr int kWasNotReached = 7;
    const pid_t child = fork();
    if (child == 0) {
      changes = 0;
      lastChange = change;
      work();
      _exit(kWasNotReached);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status) != kWasNotReached;
  }

  std::vector<std::string> Journals() const {
    std::vector<std::string> paths;
    for (const auto &entry : fs::directory_iterator(home.PathOf("state/vannerly/journal"))) {
      paths.push_back(entry.path());
    }
    std::ranges::sort(paths);
    return paths;
  }

  /// As if the process had died while it wrote the last line, the change before which was made.
  void TearLastLine() const {
    const std::string path = Journals().back();
    std::ifstream file(path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    text.resize(text.find('\0'));
    const std::size_t start = text.rfind('\n', text.size() - 2) + 1;
    text.resize(start + (text.size() - start) / 2);
    std::ofstream(path, std::ios::binary) << text << std::string(100, '\0');
  }

  /// Every content is there once, under its own name or a unique one.
  void ExpectNothingLost(const std::string &what) const {
    std::map<std::string, int> found;
    for (const auto &[path, content] : files.Tree("drop")) {
      if (path.ends_with('/')) continue;
      ++found[content];
      EXPECT_EQ(WithoutUuid(fs::path(path).filename()), fs::path(content).filename())
          << what << ": " << path;
    }
    EXPECT_EQ(found.size(), 6u) << what;
    for (const auto &[content, count] : found) EXPECT_EQ(count, 1) << what << ": " << content;
  }
};

TEST_F(InterruptedRun, IsPutRightWhateverTheLastChangeWas) {
  SetPreference("DeleteEmptiedFolders", true);
  SetPreference("AggregateFilesWhenDone", true);
  for (const bool isLinking : {false, true}) {
    areFlagsRefused = isLinking;
    bool isKilled = true;
    int change = 0;
    while (isKilled) {
      ++change;
      for (const bool isTorn : {false, true}) {
        MakeTree();
        isKilled = FlattenUntil(change);
        if (!isKilled) break;
        if (isTorn) TearLastLine();
        const std::string what = std::string(isLinking ? "linking" : "renaming") + ", change " +
                                 std::to_string(change) + (isTorn ? ", torn" : "");
        // Dying once more, before each of its own changes, does not keep it from coming to an end.
        for (int next = 1; !isTorn && RecoverUntil(next); ++next) ASSERT_LT(next, 10) << what;
        if (isTorn) {
          EXPECT_LE(RecoverInterruptedRuns().size(), 1u) << what;
        }
        ExpectNothingLost(what);
        EXPECT_EQ(RecoverInterruptedRuns(), std::vector<std::string>()) << what;
        Flatten({"drop"});
        ExpectNothingLost(what + ", ended");
        EXPECT_EQ(files.Tree("drop").size(), 7u) << what << ": six files in one folder";
      }
    }
    EXPECT_GT(change, 14);
  }
}

TEST_F(InterruptedRun, TellsOnceWhatWasDone) {
  MakeTree();
  const std::string drop = files.PathOf("drop/");
  const std::string end = "; a run was interrupted while moving it";
  // Before its move into the folder, and before it gets its last name.
  ASSERT_TRUE(FlattenUntil(2));
  EXPECT_TRUE(files.Exists("drop/one/517A7274"));
  EXPECT_EQ(RecoverInterruptedRuns(),
            (std::vector<std::string>{drop + "one/a.txt: is back in its place" + end}));
  EXPECT_EQ(RecoverInterruptedRuns(), std::vector<std::string>());

  ASSERT_TRUE(FlattenUntil(3));
  EXPECT_TRUE(files.Exists("drop/517A7274"));
  const std::vector<std::string> lines = RecoverInterruptedRuns();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(WithoutUuid(lines[0]), drop + "a.txt: has its new name now" + end);
  EXPECT_NE(WithoutUuid(lines[0]), lines[0]);
  ExpectNothingLost("");

  // Half done is half done, also when no file was on its way.
  for (const auto &[change, told] : {std::pair{1, ", at its beginning"},
                                     {4, "; at least 1 file was done, the rest not reached"}}) {
    MakeTree();
    ASSERT_TRUE(FlattenUntil(change));
    EXPECT_EQ(
        RecoverInterruptedRuns(),
        (std::vector<std::string>{files.PathOf("drop") + ": a run was interrupted here" + told}));
    EXPECT_EQ(RecoverInterruptedRuns(), std::vector<std::string>());
    ExpectNothingLost("");
  }
}

TEST_F(InterruptedRun, LeavesAloneWhatIsNotAsTheJournalSays) {
  const std::string place = "drop/one/517A7274";
  const std::string aside = "drop/aside";
  struct Case {
    const char *what;
    std::function<void()> change;
    std::function<void()> undo;  ///< after which it can be put right; none where it never can
  };
  const auto rename = [this](const std::string &from, const std::string &to) {
    fs::rename(files.PathOf(from), files.PathOf(to));
  };
  const Case cases[] = {
      {"another file under the temporary name",
       [&] {
         rename(place, aside);
         files.WriteFile(place, "other");
       },
       nullptr},
      {"a folder under it",
       [&] {
         rename(place, aside);
         files.WriteFile(place + "/other", "other");
       },
       nullptr},
      {"its old name taken", [&] { files.WriteFile("drop/one/a.txt", "other"); },
       [&] { files.Remove("drop/one/a.txt"); }},
      {"its folder swapped for a link to one that holds the same file",
       [&] {
         files.MakeFolder("guarded");
         fs::create_hard_link(files.PathOf(place), files.PathOf("guarded/517A7274"));
         rename("drop/one", "one");
         files.MakeSymbolicLink("drop/one", files.PathOf("guarded"));
       },
       [&] {
         files.Remove("drop/one");
         rename("one", "drop/one");
       }},
      {"its folder swapped for another that holds the same file",
       [&] {
         rename("drop/one", "one");
         files.MakeFolder("drop/one");
         fs::create_hard_link(files.PathOf("one/517A7274"), files.PathOf(place));
       },
       [&] {
         files.Remove("drop/one");
         rename("one", "drop/one");
       }},
      {"the dropped folder gone", [&] { rename("drop", "away"); }, [&] { rename("away", "drop"); }},
      {"the dropped folder swapped for a link",
       [&] {
         rename("drop", "away");
         files.MakeSymbolicLink("drop", files.PathOf("away"));
       },
       [&] {
         files.Remove("drop");
         rename("away", "drop");
       }},
  };
  for (const Case &which : cases) {
    for (const char *left : {"guarded", "one", "away"}) {
      if (files.Exists(left)) files.Remove(left);
    }
    MakeTree();
    ASSERT_TRUE(FlattenUntil(2));
    which.change();
    const Contents before = files.Tree();
    EXPECT_EQ(RecoverInterruptedRuns().size(), 1u) << which.what;
    EXPECT_EQ(files.Tree(), before) << which.what;
    EXPECT_EQ(RecoverInterruptedRuns().size(), 0u) << which.what;
    if (which.undo == nullptr) continue;
    which.undo();
    EXPECT_EQ(RecoverInterruptedRuns().size(), 1u) << which.what;
    EXPECT_EQ(files.ReadFile("drop/one/a.txt"), "from/one/a.txt") << which.what;
    EXPECT_FALSE(files.Exists(place)) << which.what;
  }
}

TEST_F(InterruptedRun, PutsRightWhatARunCouldNotUndo) {
  MakeTree();
  // The move fails, and so do the steps that take it back.
  SetTreeChangeFault([](const TreeChange &) { return ++changes == 1 ? 0 : EIO; });
  changes = 0;
  Flatten({"drop"});
  EXPECT_TRUE(files.Exists("drop/one/517A7274"));
  SetTreeChangeFault(nullptr);
  EXPECT_EQ(RecoverInterruptedRuns().size(), 1u);
  ExpectNothingLost("");
}

}  // namespace

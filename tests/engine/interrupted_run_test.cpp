#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "platform/journal.h"
#include "tests/support/program_test.h"
#include "tests/support/tree_change_fault.h"

namespace {

namespace fs = std::filesystem;
using Contents = CTemporaryFolder::Contents;

/// Ends the process before the change of that number; 0: never.
int lastChange = 0;
int changes = 0;

int Fault(const TreeChange &) {
  if (++changes == lastChange) _exit(EXIT_SUCCESS);
  return 0;
}

class InterruptedRun : public CProgramTest {
 protected:
  InterruptedRun() { SetTreeChangeFault(Fault); }
  ~InterruptedRun() override {
    lastChange = 0;
    SetTreeChangeFault(nullptr);
  }

  void MakeTree() {
    if (files.Exists("drop")) files.Remove("drop");
    for (const std::string path : {"a.txt", "one/a.txt", "one/b.txt", "two/in/a.txt"}) {
      files.WriteFile("drop/" + path, "from/" + path);
    }
  }

  /// Flattens in another process, which dies before that change; true when it did.
  bool FlattenUntil(int change) {
    constexpr int kWasNotReached = 7;
    const pid_t child = fork();
    if (child == 0) {
      changes = 0;
      lastChange = change;
      Flatten({"drop"});
      _exit(kWasNotReached);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) && WEXITSTATUS(status) != kWasNotReached;
  }
};

TEST_F(InterruptedRun, IsToldOnceAlsoWhenNoFileWasOnItsWay) {
  for (const auto &[change, told] : {std::pair{1, ", at its beginning"},
                                     {4, "; at least 1 file was done, the rest not reached"}}) {
    MakeTree();
    ASSERT_TRUE(FlattenUntil(change));
    EXPECT_EQ(
        RecoverInterruptedRuns(),
        (std::vector<std::string>{files.PathOf("drop") + ": a run was interrupted here" + told}));
    EXPECT_EQ(RecoverInterruptedRuns(), std::vector<std::string>());
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
  const std::string strange = "x\ny\\z\xFF\xC2\x85.txt";
  for (const std::string folder : {"drop/", "drop/in/"}) files.WriteFile(folder + strange, folder);
  const Contents before = files.Tree();
  // The move fails, and so do the steps that take it back.
  SetTreeChangeFault([](const TreeChange &) { return ++changes == 1 ? 0 : EIO; });
  changes = 0;
  Flatten({"drop"});
  EXPECT_TRUE(files.Exists("drop/in/517A7274"));
  SetTreeChangeFault(nullptr);
  EXPECT_EQ(RecoverInterruptedRuns().size(), 1u);
  EXPECT_EQ(files.Tree(), before);
}

}  // namespace

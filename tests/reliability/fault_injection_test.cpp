/// Every change that a run makes, or the undo of one, fails once, alone and together with those
/// that would undo it, and every one is the last before the process dies, as is every one by which
/// the next start puts that right.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "engine/run_observers.h"
#include "platform/journal.h"
#include "tests/reliability/precious_tree.h"

namespace {

/// Which of the changes of a run fail: those numbered `first` to `last`, 1 for the first.
struct Plan {
  int first = 0;
  int last = -1;
  int error = 0;
  bool isDeath = false;  ///< the process ends in place of the first
  bool isUndo = false;   ///< nothing is unlocked then, as nothing is deleted
  const Rules *rules = nullptr;
};
Plan plan;
int changesAsked = 0;
int changesFailed = 0;

int Fault(const TreeChange &change) {
  ++changesAsked;
  if (changesAsked >= plan.first && changesAsked <= plan.last) {
    if (plan.isDeath) _exit(EXIT_SUCCESS);
    ++changesFailed;
    // A removal has no name to find taken.
    const bool isPossible = plan.error != EEXIST || change.Word() != "unlink";
    return isPossible ? plan.error : EBUSY;
  }
  return plan.isUndo ? LackOf(change, *plan.rules) : RefusalOf(change, *plan.rules);
}

const std::set<std::string> kNone;

/// How changes fail: each error alone, or with so many changes after it, as those that would undo
/// it.
struct Failures {
  std::vector<int> errors;
  int following;
};

class FaultInjection : public CPreciousTreeTest {
 protected:
  FaultInjection() {
    plan = {};
    plan.rules = &GetParam();
    SetTreeChangeFault(Fault);
  }

  /// Does that with these changes failing.
  static void DoWith(int first, int last, int error, const std::function<void()> &work) {
    plan.first = first;
    plan.last = last;
    plan.error = error;
    changesAsked = 0;
    changesFailed = 0;
    work();
    plan.last = -1;
  }

  /// Makes the tree and flattens it.
  void FlattenWith(int first, int last, int error) {
    plan.isUndo = false;
    MakeTree();
    DoWith(first, last, error, [this] { Flatten(); });
  }

  /// Makes the tree, flattens it, and takes that back.
  void UndoWith(int first, int last, int error) {
    FlattenAll();
    DoWith(first, last, error, [this] { TakeBackRun(TakeBack::kUndo); });
  }

  /// No journal knows of the empty folder that holds the name of what is to come out of the trash.
  static bool CanPlaceHolderStay() { return GetParam().isTrashing && GetParam().isHolding; }

  void TakeBackRun(TakeBack how) {
    OrderTakingBack(how);
    TakeBackOrdered();
  }

  /// Without a fault.
  void FlattenAll() {
    plan.isUndo = false;
    MakeTree();
    before = PortraitOfDrop();
    Flatten();
    flattened = PortraitOfDrop();
    plan.isUndo = true;
  }
  Portrait before;
  Portrait flattened;

  /// What is other than it was before the run, and was not told: neither its path nor that of a
  /// folder that holds it. A file that is not where it was is told by where it is.
  std::set<std::string> DifferencesNotTold() const {
    const Portrait now = PortraitOfDrop();
    std::set<std::string> differing = Differences(before, now);
    std::erase_if(differing, [&](const std::string &path) {
      const bool isFolder = path.empty() || path.ends_with('/');
      if (!isFolder && !now.contains(path)) return true;
      const std::string root = files.PathOf("drop");
      std::string told = root + (path.empty() ? "" : "/") + path;
      if (isFolder && !path.empty()) told.pop_back();
      while (!toldPaths.contains(told)) {
        if (told.size() <= root.size()) return false;
        told.resize(told.rfind('/'));
      }
      return path.empty() || told != root;
    });
    return differing;
  }

  /// The items that are not there exactly once.
  std::set<std::string> NotThereOnce() const {
    std::map<std::string, int> found;
    for (const auto &[path, content] : EverythingIn("drop")) ++found[content];
    std::set<std::string> damaged;
    for (const auto &[path, content] : items) {
      const int count = found[content];
      if (count != 1 && !(count == 0 && mayBeGone.contains(content))) damaged.insert(path);
    }
    return damaged;
  }

  /// As the next start of the program does; twice, as it must have come to an end.
  static std::string Recover() {
    plan.last = -1;
    (void)RecoverInterruptedRuns();
    std::string told;
    for (const std::string &line : RecoverInterruptedRuns()) told += line + "\n";
    return told;
  }

  void ExpectSound(const std::string &what, const Allowed &allowed) {
    EXPECT_EQ(Damage(allowed), "") << what;
    if (!allowed.temporaryNames) return;
    EXPECT_EQ(Recover(), "") << what;
    // When neither name of a link could be removed and the file's own folder was deleted or sorted
    // by rule, there is no name to give back, or none that can be found; the start says so.
    const bool isLinkLeft = changesFailed > 1 && GetParam().isLinking;
    const Allowed inTheEnd{.temporaryNames = isLinkLeft && GetParam().deletesFolders,
                           .twoNames = isLinkLeft && GetParam().collates};
    EXPECT_EQ(Damage(inTheEnd), "") << what << ", after recovery";
  }

  /// Has another process do that until it dies before that change; false when it did not.
  static bool DiesBefore(int change, const std::function<void()> &work) {
    const pid_t child = fork();
    if (child == 0) {
      plan.isDeath = true;
      changesAsked = 0;
      plan.first = plan.last = change;
      work();
      _exit(EXIT_FAILURE);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return status == 0;
  }

  /// As if the process had died while it wrote the last line of the newest journal.
  void TearLastLine() const {
    std::string path;
    for (const auto &journal :
         std::filesystem::directory_iterator(home.PathOf("state/vannerly/journal"))) {
      path = std::max(path, journal.path().string());
    }
    std::ifstream file(path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    text.resize(text.find('\0'));
    const std::size_t start = text.rfind('\n', text.size() - 2) + 1;
    text.resize(start + (text.size() - start) / 2);
    std::ofstream(path, std::ios::binary) << text << std::string(100, '\0');
  }

  /// Calls that for each of so many changes and each way to fail, until the test fails.
  void FailEach(int changes, const std::vector<Failures> &kinds,
                const std::function<void(int first, int following, int error,
                                         const std::string &what)> &work) {
    ASSERT_GT(changes, 5);
    int runs = 0;
    for (int first = 1; first <= changes; ++first) {
      for (const auto &[errors, following] : kinds) {
        for (const int error : errors) {
          const std::string what = std::string(strerrorname_np(error)) + " at change " +
                                   std::to_string(first) + " and " + std::to_string(following) +
                                   " after it";
          work(first, following, error, what);
          ASSERT_GT(changesFailed, 0) << what;
          ASSERT_FALSE(HasFailure()) << what;
          ++runs;
        }
      }
    }
    std::printf("%d changes, %d runs\n", changes, runs);
  }

  /// What failing call by call has to go through; learned from a run in which none does.
  int CountChanges() {
    FlattenWith(0, -1, 0);
    EXPECT_EQ(Damage({}), "");
    return changesAsked;
  }
};

TEST_P(FaultInjection, LosesNothingWhicheverChangeFails) {
  const int changes = CountChanges();
  const auto left = ReportOfFolder.CountOf(RunEvent::kLeftInPlace);
  FailEach(
      changes,
      {{{EIO, ENOSPC, EACCES, EPERM, EROFS, EXDEV, EBUSY, ENAMETOOLONG, EEXIST, ENOENT, EINTR}, 0},
       {{EIO, EPERM, EEXIST, ENOENT, EINTR}, 1},
       {{EIO, EPERM, EROFS}, INT_MAX / 2}},
      [&](int first, int following, int error, const std::string &what) {
        FlattenWith(first, first + following, error);
        const bool isOnce = following == 0;
        ExpectSound(what, {.temporaryNames = !isOnce, .twoNames = !isOnce && GetParam().isLinking});
        if (isOnce && error == EINTR) {
          EXPECT_EQ(ReportOfFolder.CountOf(RunEvent::kLeftInPlace), left) << what;
        }
      });
}

TEST_P(FaultInjection, LosesNothingWhicheverChangeIsTheLast) {
  int changesBeforeDeletion = INT_MAX;
  whenDeletionBegins = [&] { changesBeforeDeletion = changesAsked; };
  const int changes = CountChanges();
  const std::set<std::string> mayBeDeleted = mayBeGone;
  for (int last = 1; last <= changes; ++last) {
    for (const bool isTorn : {false, true}) {
      MakeTree();
      const std::string what =
          "died before change " + std::to_string(last) + (isTorn ? ", in its line" : "");
      ASSERT_TRUE(DiesBefore(last, [this] { Flatten(); })) << what;
      if (last - 1 > changesBeforeDeletion) mayBeGone = mayBeDeleted;
      if (isTorn) {
        TearLastLine();
      } else {
        for (int next = 1; DiesBefore(next, [] { (void)RecoverInterruptedRuns(); }); ++next) {
          ASSERT_LT(next, 10) << what;
        }
      }
      ExpectSound(what, {.temporaryNames = true, .twoNames = GetParam().isLinking});
      ASSERT_FALSE(HasFailure()) << what;
    }
  }
}

TEST_P(FaultInjection, UndoLosesNothingWhicheverChangeFails) {
  UndoWith(0, -1, 0);
  ASSERT_EQ(Differences(before, PortraitOfDrop()), kNone);
  FailEach(changesAsked,
           {{{EIO, EACCES, EEXIST, EINTR}, 0}, {{EPERM}, 1}, {{EIO, EROFS}, INT_MAX / 2}},
           [&](int first, int following, int error, const std::string &what) {
             UndoWith(first, first + following, error);
             EXPECT_EQ(Recover(), "") << what;
             EXPECT_EQ(NotThereOnce(), kNone) << what;
             EXPECT_EQ(DifferencesNotTold(), kNone) << what;
             if (following > 0 && CanPlaceHolderStay()) return;
             const Portrait undone = PortraitOfDrop();
             TakeBackRun(TakeBack::kRedo);
             EXPECT_EQ(Differences(flattened, PortraitOfDrop()), kNone) << what;
             TakeBackRun(TakeBack::kUndo);
             EXPECT_EQ(Differences(undone, PortraitOfDrop()), kNone) << what;
           });
}

TEST_P(FaultInjection, UndoIsEndedWhicheverChangeIsTheLast) {
  UndoWith(0, -1, 0);
  const int changes = changesAsked;
  for (int last = 1; last <= changes; ++last) {
    for (const bool isTorn : {false, true}) {
      FlattenAll();
      const std::string what =
          "died before change " + std::to_string(last) + (isTorn ? ", in its line" : "");
      ASSERT_TRUE(DiesBefore(last, [this] { TakeBackRun(TakeBack::kUndo); })) << what;
      if (isTorn) {
        TearLastLine();
      } else {
        for (int next = 1; DiesBefore(next, [] { (void)RecoverInterruptedRuns(); }); next *= 2) {
          ASSERT_LT(next, 2 * changes) << what;
        }
      }
      EXPECT_EQ(Recover(), "") << what;
      EXPECT_EQ(NotThereOnce(), kNone) << what;
      if (!CanPlaceHolderStay()) {
        EXPECT_EQ(Differences(before, PortraitOfDrop()), kNone) << what;
      }
      ASSERT_FALSE(HasFailure()) << what;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Under, FaultInjection, testing::ValuesIn(AllRules()), NameOfRules);

}  // namespace

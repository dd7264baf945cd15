/// Every change that a run makes fails once, alone and together with those that would undo it, and
/// every one is the last before the process dies, as is every one by which the next start puts that
/// right.

#include <sys/wait.h>
#include <unistd.h>

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
  return RefusalOf(change, *plan.rules);
}

class FaultInjection : public CPreciousTreeTest {
 protected:
  FaultInjection() {
    plan = {};
    plan.rules = &GetParam();
    SetTreeChangeFault(Fault);
  }

  /// Makes the tree and flattens it with these changes failing.
  void FlattenWith(int first, int last, int error) {
    MakeTree();
    plan.first = first;
    plan.last = last;
    plan.error = error;
    changesAsked = 0;
    changesFailed = 0;
    Flatten();
    plan.last = -1;
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

  /// As if the process had died while it wrote the journal's last line.
  void TearLastLine() const {
    const std::filesystem::directory_iterator journals(home.PathOf("state/vannerly/journal"));
    const std::string path = journals->path();
    std::ifstream file(path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    text.resize(text.find('\0'));
    const std::size_t start = text.rfind('\n', text.size() - 2) + 1;
    text.resize(start + (text.size() - start) / 2);
    std::ofstream(path, std::ios::binary) << text << std::string(100, '\0');
  }

  /// What failing call by call has to go through; learned from a run in which none does.
  int CountChanges() {
    FlattenWith(0, -1, 0);
    EXPECT_EQ(Damage({}), "");
    return changesAsked;
  }
};

TEST_P(FaultInjection, LosesNothingWhicheverChangeFails) {
  struct Failures {
    std::vector<int> errors;
    int following;  ///< how many changes after the first fail too, as those that would undo it
  };
  const Failures kinds[] = {
      {{EIO, ENOSPC, EACCES, EPERM, EROFS, EXDEV, EBUSY, ENAMETOOLONG, EEXIST, ENOENT, EINTR}, 0},
      {{EIO, EPERM, EEXIST, ENOENT, EINTR}, 1},
      {{EIO, EPERM, EROFS}, INT_MAX / 2}};
  const int changes = CountChanges();
  const auto left = ReportOfFolder.CountOf(RunEvent::kLeftInPlace);
  ASSERT_GT(changes, 5);
  int runs = 0;
  for (int first = 1; first <= changes; ++first) {
    for (const auto &[errors, following] : kinds) {
      for (const int error : errors) {
        FlattenWith(first, first + following, error);
        const std::string what = std::string(strerrorname_np(error)) + " at change " +
                                 std::to_string(first) + " and " + std::to_string(following) +
                                 " after it";
        const bool isOnce = following == 0;
        ExpectSound(what, {.temporaryNames = !isOnce, .twoNames = !isOnce && GetParam().isLinking});
        ASSERT_GT(changesFailed, 0) << what;
        if (isOnce && error == EINTR) {
          EXPECT_EQ(ReportOfFolder.CountOf(RunEvent::kLeftInPlace), left) << what;
        }
        ASSERT_FALSE(HasFailure()) << what;
        ++runs;
      }
    }
  }
  std::printf("%d changes, %d runs\n", changes, runs);
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

INSTANTIATE_TEST_SUITE_P(Under, FaultInjection, testing::ValuesIn(AllRules()), NameOfRules);

}  // namespace

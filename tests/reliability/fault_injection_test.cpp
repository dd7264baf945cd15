/// Every change that a run makes fails once, alone and together with those that would undo it, and
/// every one is the last before the process dies.

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

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
    // When neither name of a link could be removed and the file's own folder was deleted by rule,
    // there is no name to give back; the start says so.
    const bool isFolderGone =
        changesFailed > 1 && GetParam().isLinking && GetParam().deletesFolders;
    EXPECT_EQ(Damage({.temporaryNames = isFolderGone}), "") << what << ", after recovery";
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
    MakeTree();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      plan.isDeath = true;
      changesAsked = 0;
      plan.first = plan.last = last;
      Flatten();
      _exit(EXIT_FAILURE);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0) << "it should have died before change " << last;
    const std::string what = "died before change " + std::to_string(last);
    if (last - 1 > changesBeforeDeletion) mayBeGone = mayBeDeleted;
    ExpectSound(what, {.temporaryNames = true, .twoNames = GetParam().isLinking});
  }
}

INSTANTIATE_TEST_SUITE_P(Under, FaultInjection, testing::ValuesIn(AllRules()), NameOfRules);

}  // namespace

/// A small folder that holds every kind of item the rules speak of, the only copy of each, and what
/// has to be left of it when a run over it went wrong.
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "platform/history.h"
#include "tests/support/program_test.h"
#include "tests/support/tree_change_fault.h"

/// The preferences under which the tree is flattened.
struct Rules {
  const char *name;
  std::int64_t operation = 1;
  bool renamesDuplicates = true;
  bool ignoresApplications = true;
  bool deletesFolders = false;
  bool collates = false;
  bool isLinking = false;   ///< on a file system that cannot be told to rename without replacing
  bool isHolding = false;   ///< on one that has no links either
  bool isTrashing = false;  ///< what holds a file is not deleted but goes to the trash
};
const std::vector<Rules> &AllRules();
std::string NameOfRules(const testing::TestParamInfo<Rules> &rules);
/// For the names of tests.
void PrintTo(const Rules &rules, std::ostream *out);

/// What the file system of these rules has to say before a change: the kernel's flag is refused by
/// one that is linking or holding.
int LackOf(const TreeChange &change, const Rules &rules);
/// The same; any other file system refuses to remove what is locked, as if it were immutable.
int RefusalOf(const TreeChange &change, const Rules &rules);

/// Follows the rules that are its parameter.
class CPreciousTreeTest : public CProgramTest, public testing::WithParamInterface<Rules> {
 protected:
  CPreciousTreeTest();
  ~CPreciousTreeTest() override;

  /// Makes the folder "drop" anew, with clashes, packages, what is locked, a link and a pipe.
  void MakeTree();

  /// Flattens "drop". What lies in a sub-folder when the deletion begins may be gone afterwards,
  /// unless it goes to the trash.
  void Flatten();

  /// Finds the newest run of "drop", or the undo of it; fails the test when there is none.
  void OrderTakingBack(TakeBack how);
  /// Takes back what was found.
  void TakeBackOrdered();
  /// The paths of what the last of them could not put back: where it is, and where it belongs.
  std::set<std::string> toldPaths;

  /// All that an undo has to give back, by path: contents, modes, times of change, which items
  /// they are. Of a folder, which may have been made again, all but the last.
  using Portrait = std::map<std::string, std::string>;
  Portrait PortraitOfDrop() const;
  /// What differs, a path a line; not what the rules may have deleted.
  std::set<std::string> Differences(const Portrait &before, const Portrait &after) const;

  /// Kinds of damage that a run may have done by the faults it met.
  struct Allowed {
    bool temporaryNames = false;  ///< undoing a move has failed
    bool twoNames = false;        ///< of one file, neither of which could be removed
  };
  /// What is wrong with "drop" and with what lies beside it; empty when nothing is.
  std::string Damage(const Allowed &allowed) const;

  /// Everything in "drop", or wherever that is now, and all that has gone to the trash.
  CTemporaryFolder::Contents EverythingIn(std::string_view place) const;

  /// The folder "beside", of which nothing may change: contents, names, modes and times.
  std::string PortraitOfBeside() const;

  /// An item whose content is told apart from all others.
  struct Item {
    std::string path;
    std::string content;
  };
  std::vector<Item> items;
  /// Contents that the rules may have deleted; found by Flatten.
  std::set<std::string> mayBeGone;
  /// Called when Flatten has found them.
  std::function<void()> whenDeletionBegins;

 private:
  bool IsNameRight(const std::string &path, const std::string &origin) const;
  void NoteWhatMayBeDeleted();
  ino_t NumberOf(const char *path) const;  ///< 0 for what is not there

  std::string beside_;
  ino_t dropped_ = 0;
};

/// The layer that pretends: whatever is to be changed is changed in the plan, or refused as the
/// system would refuse it.
#pragma once

#include <deque>
#include <vector>

#include "platform/linux/plan/planned_view.h"
#include "platform/linux/tree/name_filter.h"
#include "platform/plan.h"

class CPlan final : public CPlannedView {
 public:
  /// A change by the places that the table of folders has.
  struct KeptChange {
    PlannedKind kind;
    FolderIndex folder;
    FolderIndex newFolder;  ///< of a move
    const char *name;       ///< kept as long as the plan, as is the other
    const char *newName;    ///< of an alias: what it leads to
  };

  CPlan();
  ~CPlan() override;

  const std::deque<KeptChange> &Changes() const { return changes_; }

  int Change(const TreeChange &change) override;
  void BeginMove(const TreeMove &move) override;
  void EndMove() override;

 private:
  /// What the system would say to changes of a folder's names.
  struct Rights {
    bool areKnown = false;
    PlanFolder mount = 0;  ///< the folder that its mount begins with
    bool isReadOnly = false;
    bool hasLinks = true;
    int searchError = 0;  ///< what keeps the user from looking a name up; 0: nothing
    int changeError = 0;  ///< what keeps him from changing one
  };
  struct MoveInHand {
    KeptChange change;
    bool isThere = false;  ///< something has moved
  };

  int TryToChange(const TreeChange &change);
  Rights RightsOf(PlanFolder folder);
  Rights FindOutRights(PlanFolder folder);
  PlanFolder MountOf(PlanFolder folder);
  bool IsSticky(PlanFolder folder);
  int CheckRemoval(PlanFolder folder, const ItemStatus &item);
  int LookForRemoval(const PlanPlace &place, Spot *spot, ItemStatus *item);
  int LookForFree(const PlanPlace &place, bool isKnownToFit = false);
  bool IsMissingOnDisk(const PlanPlace &place);
  int Rename(const TreeChange &change);
  int Make(const TreeChange &change, unsigned char type);
  int Remove(const TreeChange &change);
  int Unlock(const TreeChange &change);
  int CheckEmpty(const Spot &spot);
  void NoteChanged(PlanFolder folder) { FactsOf(folder).changed = Now(); }

  std::vector<Rights> rights_;
  /// The names that the disk has in the folder that everything is moved into.
  struct {
    PlanFolder folder = 0;
    int lookups = 0;
    bool areListed = false;
    CHashSet hashes;
  } names_;
  MoveInHand move_;
  bool isTrashing_ = false;
  std::deque<KeptChange> changes_;
};

/// What a plan has made of a tree: only the items that are not where the disk has them, or that the
/// disk has not at all. Everything else is as the disk says, at which nothing here ever looks.
#pragma once

#include <cstdint>
#include <deque>
#include <memory_resource>
#include <string_view>

#include "platform/linux/tree/hash_table.h"

/// A folder that a plan knows; 0 stands for none.
using PlanFolder = std::uint32_t;
/// An item that a plan has changed; 0 stands for none.
using PlanItem = std::uint32_t;

/// A name in a folder.
struct PlanPlace {
  PlanFolder folder = 0;   ///< 0: nowhere
  std::uint32_t hash = 0;  ///< equal for names that are the same in some folder
  const char *name = "";   ///< ends with a zero

  PlanPlace() = default;
  PlanPlace(PlanFolder itsFolder, const char *itsName);
};

/// What the disk says of an item that is to be changed.
struct DiskItem {
  std::uint64_t inode;
  unsigned char type;  ///< one of readdir(3)'s DT_ constants
};

class CPlannedTree {
 public:
  static constexpr PlanFolder kRoot = 1;

  struct Folder {
    PlanPlace disk;     ///< where the disk has it; nowhere for the root, and for one that is made
    PlanItem item = 0;  ///< that it is, if the plan has moved or made it
    std::uint32_t arrived = 0;  ///< items that are here, and that the disk has not here
    std::uint32_t left = 0;     ///< items that the disk has here, and that are not here any more
    /// Whether names that differ only in case are the same.
    bool ignoresCase = false;
  };

  struct Item {
    const char *name;
    const char *diskName;   ///< where the disk has it; of a symbolic link that is made its target
    std::uint64_t inode;    ///< an invented one of what is made
    PlanFolder folder;      ///< 0 once it is deleted
    PlanFolder diskFolder;  ///< 0: the plan has made it
    PlanFolder madeFolder;  ///< that it is
    unsigned char type;
    bool IsMade() const { return diskFolder == 0; }
    bool IsAtHome() const { return folder == diskFolder && name == diskName; }
  };

  CPlannedTree();

  /// The folder that the disk has there; 0 while it is not known.
  PlanFolder FindFolder(const PlanPlace &disk) const;
  PlanFolder AddFolder(const PlanPlace &disk);
  /// References to folders and items hold as long as the tree.
  Folder &At(PlanFolder folder) { return folders_[folder]; }
  bool IsMade(PlanFolder folder) const;
  /// Of one that is moved or made.
  const Item &ItemOf(PlanFolder folder) const { return items_[folders_[folder].item]; }
  /// The folder in which it is now; the root's is itself.
  PlanFolder ParentOf(PlanFolder folder) const;

  /// The item that the plan has put there; null when there is none.
  const Item *FindArrived(const PlanPlace &place) const;
  /// Has the memory fetched in which a move will look.
  void PrepareMove(const PlanPlace &from, const PlanPlace &to) const {
    left_.Prefetch(from.hash);
    arrived_.Prefetch(to.hash);
  }
  /// Whether what the disk has there is not there any more.
  bool HasLeft(const PlanPlace &disk) const;
  /// Calls `visit(item)` for all that have arrived in a folder.
  template <typename Visit>
  void VisitArrived(PlanFolder folder, Visit visit) const {
    if (folders_[folder].arrived == 0) return;
    for (const Item &item : items_) {
      if (item.folder == folder && !item.IsAtHome()) visit(item);
    }
  }

  /// Moves what is at `from`, to where nothing is. `item` counts for one that no change has
  /// concerned yet. Answers the names as they are kept.
  struct MovedNames {
    const char *from;
    const char *to;
  };
  MovedNames Move(const PlanPlace &from, const PlanPlace &to, const DiskItem &item);
  /// Answers the name as it is kept.
  const char *Remove(const PlanPlace &place, const DiskItem &item);
  /// Makes an item where nothing is; `target` is a symbolic link's.
  const Item &Make(const PlanPlace &place, unsigned char type, const char *target = nullptr);

 private:
  /// A number of an item or folder, by a place of it.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t number = 0;
    bool operator==(const Slot &) const = default;
  };
  using Index = CHashTable<Slot>;

  bool IsAt(PlanFolder folder, const char *name, const PlanPlace &place) const;
  PlanItem FindArrivedItem(const PlanPlace &place) const;
  PlanItem FindLeftItem(const PlanPlace &disk) const;
  PlanItem ItemToChange(const PlanPlace &place, const DiskItem &found);
  void PutAt(PlanItem item, const PlanPlace &place);
  void TakeAway(PlanItem item, const PlanPlace &place);
  const char *Keep(std::string_view text);

  std::pmr::monotonic_buffer_resource texts_;
  std::deque<Item> items_;
  std::deque<Folder> folders_;
  Index arrived_;
  Index left_;
  Index foldersOnDisk_;
};

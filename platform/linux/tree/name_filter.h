/// Knows which names cannot be taken in one folder, so that looking up a free name costs no look at
/// the disk.
///
/// Flattening looks up a name in the same folder for every file, and nearly all of them are free.
/// After some dozen lookups in one folder, more if it is large, it is listed once and its names are
/// kept as 32-bit hashes; names that the program itself puts there or takes away are noted. What is
/// not among them is free, unless another program has put it there since, or another name has the
/// same hash: a move to such a name fails, as it never replaces anything, and the name is noted
/// then. What is among them is looked up on disk. Of any other folder the one name is known that
/// was found free last: a file whose name is taken passes through a name that is free, the same for
/// every file of its folder. All is forgotten when another step of the work begins.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/linux/tree/hash_table.h"
#include "platform/linux/tree/tree_layer.h"

/// A set of hashes, none of them 0.
class CHashSet {
 public:
  void Clear() { table_.Clear(); }
  void Insert(std::uint32_t hash) {
    if (!Contains(hash)) table_.Insert({hash});
  }
  void Erase(std::uint32_t hash) { table_.Erase({hash}); }
  bool Contains(std::uint32_t hash) const {
    return table_.Find(hash, [](const Slot &) { return true; }) != nullptr;
  }
  void Prefetch(std::uint32_t hash) const { table_.Prefetch(hash); }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    bool operator==(const Slot &) const = default;
  };
  CHashTable<Slot> table_;
};

class CNameFilter {
 public:
  void Forget();

  /// Whether `name` is known to be free in the folder, which is open as `descriptor`. False when it
  /// has to be looked up.
  bool IsFree(FolderIndex folder, int descriptor, std::string_view name);

  /// Notes that a lookup on disk has found the name free.
  void NoteFree(FolderIndex folder, std::string_view name);
  /// Notes that the folder holds an item of that name, or did a moment ago.
  void NoteTaken(FolderIndex folder, std::string_view name);
  /// Notes that the program has taken the item of that name out of the folder, or renamed it.
  void NoteGone(FolderIndex folder, std::string_view name);

  /// Has the memory fetched in which a lookup of `name` will look: by then it has long been pushed
  /// out of the processor's cache by the work on the files before.
  void PrepareLookup(std::string_view name) const;

 private:
  bool ListNames(int descriptor);
  bool IsOther(FolderIndex folder, std::string_view name) const;

  FolderIndex folder_ = 0;  ///< 0: none has been looked into
  std::uint64_t lookups_ = 0;
  bool isListed_ = false;
  CHashSet names_;

  /// The name looked up last in another folder.
  FolderIndex otherFolder_ = 0;
  std::uint32_t otherName_ = 0;
  bool isOtherFree_ = false;
};

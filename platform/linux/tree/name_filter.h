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
#include <vector>

#include "platform/linux/tree/tree_layer.h"

/// A set of 32-bit hashes, none of them 0, in one block: open addressing, at most three quarters
/// full.
class CHashSet {
 public:
  void Clear();
  void Insert(std::uint32_t hash);
  void Erase(std::uint32_t hash);
  bool Contains(std::uint32_t hash) const { return slots_[Find(hash)] == hash; }
  void Prefetch(std::uint32_t hash) const {
    __builtin_prefetch(&slots_[hash & (slots_.size() - 1)]);
  }

 private:
  static constexpr std::size_t kSmallest = 1024;

  std::size_t Find(std::uint32_t hash) const;
  void Grow();

  std::vector<std::uint32_t> slots_ = std::vector<std::uint32_t>(kSmallest, 0);
  std::size_t count_ = 0;
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

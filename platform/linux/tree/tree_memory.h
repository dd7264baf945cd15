/// All that is remembered of the tree between one look at it and the next, with one owner. When
/// each part of it goes stale is said here and seen to here, as every change passes this layer:
///
/// - The item that was looked at last: with any change, or when another is looked at.
/// - The listings of a scan: with any change, or when a folder is listed for anything else. A
///   single one: when its folder has changed by its own time, which only local volumes with fine
///   times are believed.
/// - That a listed item is still there: the same, asked once a folder and step.
/// - Which names are free in a folder: when the next step begins. Changes are noted in it, and what
///   is looked up.
/// - What a folder is to the user: when the next step begins.
/// - How the aliases of a name are numbered, what volumes can do, which folders the scan has read
///   and how the run has found them: when the next run begins.
/// - The folders worked in, and their names: when the run is over.
///
/// A folder is listed to tell what it is, and the walk that enters it right after takes that
/// listing: on any volume, as nothing of it is older than the walk. A step begins each time that a
/// folder is opened to go through its items. Nothing remembered ever decides what is deleted.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/linux/tree/folder_listing.h"
#include "platform/linux/tree/name_filter.h"

class CTreeMemory final : public CTreeLayer {
 public:
  CTreeMemory();

  int Change(const TreeChange &change) override;
  int LookUp(const OpenedFolder &folder, const char *name, ItemStatus *status) override;
  /// Closes all folders too.
  void Rest() override;

  void BeginStep();
  /// Stands still during a step.
  std::uint64_t Step() const { return step_; }

  void BeginRun();
  /// Gives all memory back. References to items in folders that the run has worked in lead nowhere
  /// from then on; those made of paths and of an FSSpec stay good.
  void EndRun();

  /// Notes that the item has been looked at and exists.
  void NoteSeenItem(const FSRef &item) { seenLast_ = item; }
  /// Whether the item need not be looked at to know that it exists.
  bool IsKnownToExist(const FSRef &item) const;

  CListingStore listings;
  CNameFilter names;
  /// For each name in a folder, the number from which on its aliases' names can be free. Without
  /// it, finding one for each of many files of one name would take the square of their number.
  std::map<std::pair<FolderIndex, std::string>, std::uint64_t, std::less<>> aliasNumbers;

 private:
  FSRef seenLast_ = {};
  std::uint64_t step_ = 0;
};

/// The one of the process. It stands on top of the other layers from its first use on: until then
/// there is nothing that could go stale.
CTreeMemory &Memory();

/// Takes a run back, change by change, the last one first, as its journal tells them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/history.h"
#include "platform/linux/history/journal_reader.h"
#include "platform/linux/history/journal_writer.h"
#include "platform/linux/tree/folder_table.h"

/// Each step looks whether it is still to be done, so it does no harm to begin anew after a part.
class CTakingBack {
 public:
  /// `run` was read from `text`, which has to stay as long as the object. `folder` is the dropped
  /// folder's place in the table. `successors` are from the journals that came after the run's.
  /// `own` is what the undo's own journal has told before, if this goes on with it; null for a new
  /// one. What can't be put back is written down by `writer`, null where no journal is kept.
  CTakingBack(Journal run, std::string_view text, FolderIndex folder, Successors successors,
              const Journal *own, CJournalWriter *writer);

  /// About so many; what has to be told at the end comes on top.
  std::size_t StepCount() const { return run_.changes.size() + run_.folders.size(); }

  /// Takes back one step, and says what came of it. False when there is none any more.
  bool Next(TakenBack *result);

 private:
  using Number = std::uint32_t;

  TakenBack TakeBackChange(const PastChange &past);
  TakenBack PutBack(const JournalPlace &origin, std::vector<JournalPlace> places,
                    const ItemIdentity &item);
  OSErr MoveBack(const JournalPlace &from, const JournalPlace &to, std::uint64_t inode);
  TakenBack RemoveMadeFolder(const JournalPlace &place, Number number);
  TakenBack MakeRemovedFolder(const JournalPlace &place, std::optional<Number> number);
  TakenBack RemoveMadeLink(const JournalPlace &place, const std::string &target);
  TakenBack MakeRemovedLink(const JournalPlace &place, const std::string &target);
  TakenBack TellLost(const JournalPlace &place);
  TakenBack TakeOutOfTrash(const JournalChange &change);
  TakenBack MoveToTrash(const JournalChange &change);
  TakenBack GiveAttributeBack(const JournalChange &change);
  TakenBack GiveStateBack(Number number);
  std::vector<Number> GiveStatesBackBelow(const JournalPlace &place);
  void LeaveFolders(const std::vector<Number> &numbers);

  enum class Missing : std::uint8_t { kIsLeft, kIsMade };
  OSErr Open(Number number, Missing missing, OpenedFolder *folder, FolderIndex keepOpen = 0);
  OSErr EnterFrom(FolderIndex parent, Number number, Missing missing, FolderIndex *index);
  OSErr MakeFolderOf(Number number, const ItemReference &place, FolderIndex *index);
  bool Find(const JournalPlace &place, const ItemIdentity &item);
  bool IsTheItem(const ItemStatus &found, const ItemIdentity &item) const;
  const ItemIdentity *SuccessorOf(std::uint64_t inode) const;
  bool IsFolderOf(const ItemStatus &found, std::uint64_t inode) const;
  TakenBack TellLeft();
  std::optional<std::int64_t> ModifiedBeforeUndo(FolderIndex index) const;
  std::string PathOf(const JournalPlace &place) const;
  TakenBack NotPutBack(const JournalPlace &place, OSErr error) const;
  void WriteDown(const TakenBack &result) const;

  Journal run_;
  std::string_view text_;
  CJournalWriter *writer_;
  std::vector<FolderIndex> indexes_;  ///< by the run's number; 0 while not entered
  std::string rootPath_;
  std::uint64_t device_ = 0;
  Successors successors_;
  std::size_t changesLeft_;
  std::size_t foldersLeft_;
  /// An item that has not come back: a run can have moved it twice, so it is told when all is done.
  struct LeftItem {
    JournalPlace place;   ///< where it is, or where the run had left it
    JournalPlace origin;  ///< where it belongs
    OSErr error;
  };
  std::map<std::pair<Number, std::string>, LeftItem> leftItems_;  ///< by `origin`
  std::vector<std::pair<JournalPlace, Number>> leftFolders_;  ///< made by the run, and not empty
  std::multimap<std::pair<Number, std::string_view>, Number>
      numbers_;                                     ///< by place; made when used
  std::vector<TakenBack> more_;                     ///< to be told
  std::vector<std::uint64_t> attributes_;           ///< lines, given back when all is in its place
  std::unordered_set<std::uint64_t> madeInodes_;    ///< of folders that this undo has made
  std::map<std::uint64_t, std::int64_t> modified_;  ///< of folders by inode, before this undo
  std::unordered_set<std::uint64_t> trashed_;       ///< by a redo that this one goes on with
  std::string madeLast_;         ///< by an undo that was killed right then; not entered yet
  bool wasFolderFound_ = false;  ///< by Find
};

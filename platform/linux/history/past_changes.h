/// What a run has done, as its journal tells: the changes that can be taken back, and their number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/history/journal_change.h"

enum class PastChangeKind : std::uint8_t {
  kNone,  ///< a later change has made it void
  kMove,
  kMoveInSteps,
  kMakeFolder,
  kRemoveFolder,
  kMakeLink,
  kMoveMadeLink,  ///< a link of the run's own, which is where this move has brought it
  kRemoveLink,
  kDelete,  ///< for good
  kAttribute,
  kTrash,
  kRestore,  ///< out of the trash
};

/// By where its line begins in the journal: a run of a million files has as many.
struct PastChange {
  std::uint64_t line;
  std::uint64_t ofLink = 0;  ///< of kMoveMadeLink: where the line begins that has made the link
  std::uint32_t made = 0;    ///< of kMakeFolder: the folder's number, if it has got one
  PastChangeKind kind;
};

/// What a move is to the run.
enum class MoveWay : std::uint8_t {
  kUp,        ///< into the dropped folder
  kCollated,  ///< from there into another
  kOther,
};
MoveWay WayOf(const JournalChange &move);

/// How many items a run has dealt with.
struct PastCounts {
  std::uint64_t moved = 0;  ///< up into the dropped folder, those renamed included
  std::uint64_t renamed = 0;
  std::uint64_t aliased = 0;
  std::uint64_t deleted = 0;  ///< files and links, for good
  std::uint64_t foldersDeleted = 0;
  std::uint64_t trashed = 0;
  std::uint64_t collated = 0;
};

/// Is told of the lines of a journal in their order.
class CPastChanges {
 public:
  void Note(std::uint64_t line, JournalChange &&change);
  /// The change noted last was not made.
  void NoteFailure();
  /// The steps that were noted have come to an end, at their destination or not.
  void NoteEndOfSteps(bool isThere);
  /// What comes is done by a later start to put right what was left halfway.
  void BeginRecovery();
  /// What comes belongs to the run again.
  void EndRecovery() { isRecovering_ = false; }
  /// A folder has got a number. Answers whether the run itself has made it.
  bool NoteFolder(const JournalPlace &place, std::uint32_t number);
  /// Something else is told: the change noted last was made.
  void Settle();

  /// The name of a folder of which nothing is told but that it was to be made, if that is the last
  /// change.
  std::string FolderMadeLast() const;

  /// Told of each change when it is known to have been made; kNone means that a link of the run's
  /// own has been removed. Can be left out.
  std::function<void(PastChangeKind kind, const JournalChange &change)> tell;

  std::vector<PastChange> changes;
  PastCounts counts;
  bool wasFileDone = false;  ///< by what was settled last

 private:
  using Place = std::pair<std::uint32_t, std::string>;

  void Add(PastChangeKind kind, std::uint64_t line, const JournalChange &change) {
    changes.push_back({.line = line, .kind = kind});
    Tell(kind, change);
  }
  void Tell(PastChangeKind kind, const JournalChange &change) const {
    if (tell) tell(kind, change);
  }
  void SettleMove(std::uint64_t line, const JournalChange &change, PastChangeKind kind);
  void SettleRemoval(std::uint64_t line, const JournalChange &change);
  void CountMove(const JournalChange &change);

  struct Noted {
    std::uint64_t line;
    JournalChange change;
  };
  std::optional<Noted> last_;
  std::optional<Noted> steps_;
  bool isRecovering_ = false;
  std::map<Place, std::size_t> madeLinks_;    ///< where they are now; the change that tells so
  std::map<Place, std::size_t> madeFolders_;  ///< without a number yet
};

/// What a run has changed, item by item, as its journal tells it: of a run that is over, and of one
/// that is still at work.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

enum class RunChangeKind : std::uint8_t {
  kMovedUp,    ///< into the dropped folder, maybe under another name
  kMovedDown,  ///< from there into another, as when items are sorted by extension
  kMoved,      ///< between two others
  kAliasMade,
  kAliasRemoved,
  kFileDeleted,
  kFolderDeleted,
  kFolderMade,
  kTrashed,
  kTakenOutOfTrash,
};

/// A name, as bytes, in a folder that has been told of.
struct RunPlace {
  std::uint32_t folder = 0;
  std::string_view name;
};

/// Its texts are valid during the call only.
struct RunChange {
  RunChangeKind kind;
  RunPlace item;  ///< as it was before; of an alias the alias itself
  RunPlace to;    ///< of the three moves
  /// As bytes: where a new alias leads, or where in the trash the item is.
  std::string_view path;
};

/// Somebody who is told, in the order in which it happened.
class CRunChangeTaker {
 public:
  /// Tells of a folder before it is named. 0 is the dropped one, with its path for a name.
  virtual void TakeFolder(std::uint32_t number, std::uint32_t parent, std::string_view name) = 0;
  virtual void TakeChange(const RunChange &change) = 0;

 protected:
  ~CRunChangeTaker() = default;
};

enum class RunReading : std::uint8_t {
  kGoesOn,      ///< there is more to read now
  kIsUpToDate,  ///< all that has been written so far is read
  kIsOver,      ///< the run has ended, or the journal can't be read any further
};

/// The changes of one run. What is told has been made: of the change written down last that shows
/// only by what comes after it, unless the run is this process's own.
class CRunChanges {
 public:
  virtual ~CRunChanges() = default;

  /// Tells the next changes, some thousands at most.
  virtual RunReading ReadOn(CRunChangeTaker *taker) = 0;

  /// Known when the first change is told. A redo makes the changes of the run again.
  virtual bool IsUndo() const = 0;
  /// Whether the journal could not be written, or can't be read, to its end.
  virtual bool HasGap() const = 0;
};

/// Opens the journal of a run, by its name; null when it is not there any more.
std::unique_ptr<CRunChanges> OpenRunChanges(const std::string &journal);

/// The name of the journal of the run in hand; empty while none is kept.
std::string RunJournalInHand();

/// Reads a journal, of which any byte may be anything: it comes from a disk.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/linux/history/half_moves.h"
#include "platform/linux/history/journal_text.h"
#include "platform/linux/history/past_changes.h"
#include "platform/linux/system/descriptor.h"
#include "platform/linux/tree/folder_state.h"

/// A folder as the journal names it. Number 0, the dropped folder, is told by the header.
struct JournalFolder {
  std::uint32_t parent = 0;  ///< less than the folder's own number
  FolderIdentity identity;
  std::string name;    ///< in its parent
  FolderState before;  ///< as the run has found it; of number 0 the header has it
  std::optional<std::int64_t> timeGiven;  ///< what the run has set its time of modification to
  ItemAttributes attributes;              ///< of a folder that the run has removed
  bool isMade = false;                    ///< by the run itself
};

/// Which run is taken back by another, which is an undo, or the redo of one.
struct JournalOfTakingBack {
  std::string name;  ///< of the other journal; empty for a run that flattens
  bool isRedo = false;
};

/// The folders that undos have made anew, by the inode numbers of those that they stand for.
using Successors = std::unordered_map<std::uint64_t, ItemIdentity>;

struct Journal {
  JournalHeader header;
  JournalOfTakingBack takesBack;
  std::vector<JournalFolder> folders;     ///< by number
  std::vector<HalfMove> halfMoves;        ///< in folders of this journal
  std::vector<PlaceHolder> placeHolders;  ///< likewise
  Successors successors;
  std::unordered_set<std::uint64_t>
      trashed;                      ///< inodes of items that were to be moved to the trash
  std::vector<PastChange> changes;  ///< in their order
  PastCounts counts;
  std::string folderMadeLast;  ///< see CPastChanges
  std::size_t filesDone = 0;   ///< moved up or given an alias, as far as is certain
  std::size_t itemsLeft = 0;   ///< that could not be put back, those lost included
  std::size_t itemsLost = 0;   ///< deleted for good by the run that was taken back
  bool isEnded = false;        ///< nothing is left to do
  bool isStopped = false;      ///< by the user, before all was done
  bool isInterrupted = false;  ///< the program was killed, and a later start has ended it
  bool isToldOf = false;       ///< the user knows what could not be put right
  bool hasGap = false;         ///< it could not be written to its end
  std::int64_t endTime = 0;    ///< in nanoseconds since 1970; 0 while it is not ended
  std::size_t size = 0;        ///< of what was understood: all complete lines
};

/// Understands a journal piece by piece, as of one that is still being written.
class CJournalReader {
 public:
  /// `journal` is what has been understood so far; what it tells of items on their way, of changes
  /// and of their number is there after Finish.
  explicit CJournalReader(Journal *journal);

  /// Understands all complete lines of `text`, which goes on where `journal.size` is; the first
  /// text holds the whole header. False when a line is not of this format: nothing more can be read
  /// then.
  bool Read(std::string_view text);
  void Finish();
  /// The last change that was read is known to have been made.
  void SettleLast() { Settle(true); }

  /// See CPastChanges::tell.
  void TellChanges(std::function<void(PastChangeKind kind, const JournalChange &change)> tell) {
    past_.tell = std::move(tell);
  }

 private:
  bool IsFirstFormat() const { return journal_.header.format == kFirstJournalFormat; }
  void Settle(bool isCertain);
  /// False when the line is none of a journal's. `at` is where it begins.
  bool ReadLine(std::uint64_t at, std::string_view line);
  std::optional<std::uint32_t> ReadFolderNumber(CJournalFields &fields) const;
  bool ReadFolder(CJournalFields &fields);
  bool ReadAttribute(CJournalFields &fields);
  bool ReadState(CJournalFields &fields);
  bool ReadSuccessor(CJournalFields &fields);
  bool ReadTakingBack(CJournalFields &fields, bool isRedo);
  void ReadEnd(CJournalFields &fields);
  void GoOn();
  bool ReadChange(std::uint64_t at, std::string_view word, CJournalFields &fields);
  void Follow(const JournalChange &change);
  void FindOutWhatIsMeant(const JournalChange &change);

  Journal &journal_;
  CHalfMoves halfMoves_;
  CPastChanges past_;
};

/// Understands a journal. Answers nothing when a complete line is not of this format; what an
/// interrupted run has left after its last complete line is passed over.
std::optional<Journal> ParseJournal(std::string_view text);

/// The change of a line that `journal` has told of; `text` is what it was read from.
JournalChange ChangeInLine(std::string_view text, std::uint64_t line, const Journal &journal);

/// All places that the steps which follow a line have named.
std::vector<JournalPlace> PlacesOfSteps(std::string_view text, std::uint64_t line,
                                        const Journal &journal);

/// A journal's content in memory. The file must not be cut meanwhile.
class CMappedJournal {
 public:
  /// Empty when it can't be read or is too large.
  explicit CMappedJournal(const CDescriptor &file);
  ~CMappedJournal();
  CMappedJournal(const CMappedJournal &) = delete;
  CMappedJournal &operator=(const CMappedJournal &) = delete;

  std::string_view Text() const { return {memory_, memory_ != nullptr ? size_ : 0}; }

 private:
  std::size_t size_;
  char *memory_ = nullptr;
};

std::optional<Journal> ReadJournal(const CDescriptor &file);

/// The header alone.
std::optional<JournalHeader> ReadJournalHeader(const CDescriptor &journal);

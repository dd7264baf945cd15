/// The runs whose journals are kept, and which of them takes which back.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/history.h"
#include "platform/linux/history/journal_folder.h"
#include "platform/linux/history/journal_reader.h"
#include "platform/linux/tree/tree_layer.h"

/// A journal's first lines, and how it ends.
struct KeptJournal {
  std::string name;
  JournalHeader header;
  JournalOfTakingBack takesBack = {};
  bool isEnded = false;
  bool isStopped = false;
  bool isEmpty = false;  ///< it tells of no change
  /// The run that has taken this one back and is not taken back itself: its place in the list.
  std::optional<std::size_t> takenBackBy = std::nullopt;

  bool IsUndo() const { return !takesBack.name.empty() && !takesBack.isRedo; }
};

/// From the undos that came after a run, in its folder.
Successors SuccessorsSince(const CJournalFolder &journals, const std::string &name,
                           const JournalHeader &header);

class CPastRuns {
 public:
  /// Reads what is kept; nothing when it can't be read.
  explicit CPastRuns(const CJournalFolder &journals);

  /// The oldest first. Without those that have changed nothing.
  const std::vector<KeptJournal> &List() const { return list_; }

  /// Of the folder, or of all when it is null.
  std::optional<RunToTakeBack> Find(TakeBack how, const ItemStatus *folder) const;

 private:
  bool CanBeTakenBack(std::size_t place, TakeBack how) const;

  std::vector<KeptJournal> list_;
};

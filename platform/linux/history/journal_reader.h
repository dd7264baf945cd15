/// Reads a journal, of which any byte may be anything: it comes from a disk.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/history/half_moves.h"
#include "platform/linux/history/journal_text.h"

/// A folder as the journal names it. Number 0, the dropped folder, is told by the header.
struct JournalFolder {
  std::uint32_t parent = 0;  ///< less than the folder's own number
  FolderIdentity identity;
  std::string name;    ///< in its parent
  FolderState before;  ///< as the run has found it
};

struct Journal {
  JournalHeader header;
  std::vector<JournalFolder> folders;     ///< by number
  std::vector<HalfMove> halfMoves;        ///< in folders of this journal
  std::vector<PlaceHolder> placeHolders;  ///< likewise
  std::size_t filesDone = 0;              ///< moved up or given an alias, as far as is certain
  bool isEnded = false;                   ///< nothing is left to do
  bool isToldOf = false;                  ///< the user knows what could not be put right
  std::size_t size = 0;                   ///< of what was understood: all complete lines
};

/// Understands a journal. Answers nothing when a complete line is not of this format; what an
/// interrupted run has left after its last complete line is passed over.
std::optional<Journal> ParseJournal(std::string_view text);

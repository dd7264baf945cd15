/// What one line of a journal says of a change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/history/half_moves.h"
#include "platform/linux/history/journal_text.h"

enum class JournalWord : std::uint8_t {
  kMove,
  kSteps,
  kOver,
  kRename,
  kLink,
  kHold,
  kRelease,
  kUnlink,
  kRmdir,
  kMkdir,
  kSymlink,
  kCreate,
  kReplace,
  kChmod,
  kChattr,
  kTrash,
  kRestore,
};

/// Only what the word has is set.
struct JournalChange {
  JournalWord word;
  JournalPlace place;                       ///< of the item changed
  JournalPlace to;                          ///< of a move, a rename or a link
  std::optional<ItemIdentity> item;         ///< the item's; in the first format of some renames
  std::optional<std::uint32_t> folder;      ///< the number of the folder that was removed
  std::optional<std::string> target;        ///< of a symbolic link; the trash folder
  std::optional<std::uint32_t> modeBefore;  ///< the permission bits
  std::string nameInTrash;
};

/// Understands a line of which `word` has been read. Its folders have to be less than
/// `folderCount`. Answers nothing for a line that is none of a change.
std::optional<JournalChange> ParseJournalChange(std::string_view word, CJournalFields &fields,
                                                std::size_t folderCount, std::uint32_t format);

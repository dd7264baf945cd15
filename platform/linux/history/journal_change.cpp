#include "platform/linux/history/journal_change.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

struct KnownWord {
  std::string_view text;
  JournalWord word;
};

constexpr KnownWord kWords[] = {
    {"move", JournalWord::kMove},       {"steps", JournalWord::kSteps},
    {"over", JournalWord::kOver},       {"rename", JournalWord::kRename},
    {"link", JournalWord::kLink},       {"hold", JournalWord::kHold},
    {"release", JournalWord::kRelease}, {"unlink", JournalWord::kUnlink},
    {"rmdir", JournalWord::kRmdir},     {"mkdir", JournalWord::kMkdir},
    {"symlink", JournalWord::kSymlink}, {"create", JournalWord::kCreate},
    {"replace", JournalWord::kReplace}, {"chmod", JournalWord::kChmod},
    {"chattr", JournalWord::kChattr},   {"trash", JournalWord::kTrash},
    {"restore", JournalWord::kRestore},
};

/// The fields of a line behind its word.
class CChangeReader {
 public:
  CChangeReader(CJournalFields &fields, std::size_t folderCount, std::uint32_t format)
      : fields_(fields), folderCount_(folderCount), isFirstFormat_(format == kFirstJournalFormat) {}

  bool Read(JournalChange *change) {
    if (change->word == JournalWord::kOver) return true;
    if (!ReadFolder(&change->place.folder) || !ReadName(&change->place.name)) return false;
    switch (change->word) {
      case JournalWord::kMove:
      case JournalWord::kSteps:
        return ReadItem(change) && ReadDestination(change);
      case JournalWord::kRename:
      case JournalWord::kLink:
        if (!ReadDestination(change)) return false;
        return !isFirstFormat_ || fields_.IsAtEnd() || ReadItem(change);
      case JournalWord::kRmdir:
        return fields_.IsAtEnd() || ReadFolder(&change->folder.emplace());
      case JournalWord::kUnlink:
        return fields_.IsAtEnd() || (change->target = fields_.Text()).has_value();
      case JournalWord::kSymlink:
        return (change->target = fields_.Text()).has_value();
      case JournalWord::kChmod:
      case JournalWord::kChattr:
        return fields_.IsAtEnd() || (ReadItem(change) && ReadMode(change));
      case JournalWord::kRestore:
        return ReadItem(change);
      case JournalWord::kTrash:
        return ReadItem(change) && (change->target = fields_.Text()).has_value() &&
               change->target->starts_with('/') && ReadName(&change->nameInTrash);
      default:
        return true;
    }
  }

 private:
  bool ReadFolder(std::uint32_t *folder) {
    const auto number = fields_.Number();
    if (!number || *number >= folderCount_) return false;
    *folder = static_cast<std::uint32_t>(*number);
    return true;
  }

  bool ReadName(std::string *text) {
    auto name = fields_.Name();
    if (!name) return false;
    *text = *std::move(name);
    return true;
  }

  bool ReadItem(JournalChange *change) {
    change->item = fields_.Identity();
    return change->item.has_value();
  }

  bool ReadMode(JournalChange *change) {
    change->modeBefore = fields_.Mode();
    return change->modeBefore.has_value();
  }

  /// A folder, and a name when it is a new one.
  bool ReadDestination(JournalChange *change) {
    if (!ReadFolder(&change->to.folder)) return false;
    change->to.name = change->place.name;
    return fields_.IsAtEnd() || ReadName(&change->to.name);
  }

  CJournalFields &fields_;
  std::size_t folderCount_;
  bool isFirstFormat_;
};

}  // namespace

std::optional<JournalChange> ParseJournalChange(std::string_view word, CJournalFields &fields,
                                                std::size_t folderCount, std::uint32_t format) {
  const auto *const known = std::ranges::find(kWords, word, &KnownWord::text);
  if (known == std::end(kWords)) return std::nullopt;
  JournalChange change{};
  change.word = known->word;
  if (!CChangeReader(fields, folderCount, format).Read(&change)) return std::nullopt;
  return change;
}

#include "platform/linux/history/journal_reader.h"

#include <utility>

namespace {

class CReader {
 public:
  explicit CReader(Journal *journal) : journal_(*journal) { journal_.folders.resize(1); }

  /// False when the line is none of a journal's.
  bool ReadLine(std::string_view line) {
    CJournalFields fields(line);
    const auto word = fields.Raw();
    // A change is written down before it is made: that it was made shows by what comes after it.
    const bool wasDone = std::exchange(isDone_, false);
    if (wasDone && word != "failed" && word != "unrecorded") ++journal_.filesDone;
    if (word == "hold" || word == "release") return ReadPlaceHolder(fields, word == "hold");
    if (word == "rename" || word == "link") return ReadMove(fields, word == "link");
    if (word == "folder") return ReadFolder(fields);
    if (word == "unlink") return ReadRemoval(fields);
    if (word == "failed") {
      halfMoves_.NoteFailure();
    } else if (word == "unrecorded") {
      halfMoves_.ForgetItemInHand();
    } else if (word == "end") {
      journal_.isEnded = true;
    } else if (word == "told") {
      journal_.isToldOf = true;
    } else if (word == "rmdir" || word == "mkdir" || word == "symlink" || word == "chmod" ||
               word == "chattr") {
      halfMoves_.NoteOtherChange();
      isDone_ = word == "symlink" && fields.Number() == 0;
    } else {
      return word == "recovered";
    }
    return true;
  }

  void Finish() {
    journal_.halfMoves = halfMoves_.List(false);
    journal_.placeHolders = halfMoves_.ListPlaceHolders(false);
  }

 private:
  std::optional<std::uint32_t> ReadFolderNumber(CJournalFields &fields) const {
    const auto number = fields.Number();
    if (!number || *number >= journal_.folders.size()) return std::nullopt;
    return static_cast<std::uint32_t>(*number);
  }

  bool ReadFolder(CJournalFields &fields) {
    const auto number = fields.Number();
    const auto parent = ReadFolderNumber(fields);
    const auto identity = fields.Folder();
    auto name = fields.Name();
    if (number != journal_.folders.size() || !parent || !identity || !name) return false;
    journal_.folders.push_back({*parent, *identity, *std::move(name)});
    return true;
  }

  bool ReadMove(CJournalFields &fields, bool isLink) {
    const auto from = ReadFolderNumber(fields);
    const auto name = fields.Name();
    const auto to = ReadFolderNumber(fields);
    if (!from || !name || !to) return false;
    isDone_ = *from != 0 && *to == 0;
    const auto newName = fields.IsAtEnd() ? name : fields.Name();
    if (!newName) return false;
    std::optional<ItemIdentity> item;
    if (!fields.IsAtEnd() && !(item = fields.Identity())) return false;
    if (isLink) {
      halfMoves_.NoteLink({*from, *name}, {*to, *newName}, item);
    } else {
      halfMoves_.NoteRename({*from, *name}, {*to, *newName}, item);
    }
    return true;
  }

  bool ReadPlaceHolder(CJournalFields &fields, bool isMade) {
    const auto folder = ReadFolderNumber(fields);
    const auto name = fields.Name();
    if (!folder || !name) return false;
    if (isMade) {
      halfMoves_.NotePlaceHolder({*folder, *name});
    } else {
      halfMoves_.NoteReleaseOfPlaceHolder();
    }
    return true;
  }

  bool ReadRemoval(CJournalFields &fields) {
    const auto folder = ReadFolderNumber(fields);
    const auto name = fields.Name();
    if (!folder || !name) return false;
    halfMoves_.NoteRemoval({*folder, *name});
    return true;
  }

  Journal &journal_;
  CHalfMoves halfMoves_;
  bool isDone_ = false;  ///< the last line says that a file comes to the dropped folder
};

}  // namespace

std::optional<Journal> ParseJournal(std::string_view text) {
  auto header = ParseJournalHeader(text);
  if (!header) return std::nullopt;
  Journal journal;
  journal.header = *std::move(header);
  CReader reader(&journal);
  std::string_view rest = text;
  (void)TakeJournalLine(&rest);
  (void)TakeJournalLine(&rest);
  while (!journal.isEnded) {
    const auto line = TakeJournalLine(&rest);
    if (!line) break;
    if (!reader.ReadLine(*line)) return std::nullopt;
  }
  journal.size = text.size() - rest.size();
  reader.Finish();
  return journal;
}

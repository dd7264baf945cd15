#include "platform/linux/history/journal_reader.h"

#include <utility>

namespace {

JournalPlaceView View(const JournalPlace &place) {
  return {place.folder, place.name};
}

class CReader {
 public:
  explicit CReader(Journal *journal) : journal_(*journal) { journal_.folders.resize(1); }

  /// False when the line is none of a journal's.
  bool ReadLine(std::string_view line) {
    CJournalFields fields(line);
    const auto word = fields.Raw();
    // A change is written down before it is made: that it was made shows by what comes after it.
    const bool wasDone = std::exchange(isDone_, false);
    const bool isMade = word != "failed" && word != "unrecorded" && word != "recovering";
    if (wasDone && isMade) ++journal_.filesDone;
    if (word == "folder") return ReadFolder(fields);
    if (word == "failed") {
      halfMoves_.NoteFailure();
    } else if (word == "unrecorded") {
      halfMoves_.ForgetItemInHand();
    } else if (word == "recovering") {
      halfMoves_.NoteInterruption();
    } else if (word == "end") {
      journal_.isEnded = true;
    } else if (word == "told") {
      journal_.isToldOf = true;
    } else if (word != "recovered") {
      return word && ReadChange(*word, fields);
    }
    return true;
  }

  void Finish() {
    journal_.halfMoves = halfMoves_.List(false);
    journal_.placeHolders = halfMoves_.ListPlaceHolders(false);
  }

 private:
  struct Move {
    JournalPlace from;
    JournalPlace to;
    std::optional<ItemIdentity> item;
  };

  bool IsFirstFormat() const { return journal_.header.format == kFirstJournalFormat; }

  std::optional<std::uint32_t> ReadFolderNumber(CJournalFields &fields) const {
    const auto number = fields.Number();
    if (!number || *number >= journal_.folders.size()) return std::nullopt;
    return static_cast<std::uint32_t>(*number);
  }

  std::optional<JournalPlace> ReadPlace(CJournalFields &fields) const {
    const auto folder = ReadFolderNumber(fields);
    auto name = fields.Name();
    if (!folder || !name) return std::nullopt;
    return JournalPlace{*folder, *std::move(name)};
  }

  bool ReadFolder(CJournalFields &fields) {
    const auto number = fields.Number();
    const auto parent = ReadFolderNumber(fields);
    const auto identity = fields.Folder();
    auto name = fields.Name();
    if (number != journal_.folders.size() || !parent || !identity || !name) return false;
    JournalFolder folder{*parent, *identity, *std::move(name), {}};
    if (!IsFirstFormat()) {
      const auto state = fields.State();
      if (!state) return false;
      folder.before = *state;
    }
    journal_.folders.push_back(std::move(folder));
    return true;
  }

  bool ReadChange(std::string_view word, CJournalFields &fields) {
    if (IsFirstFormat()) halfMoves_.EndIfWhole();
    if (word == "rename" || word == "link") return ReadStep(fields, word == "link");
    if (word == "over") {
      if (halfMoves_.End()) ++journal_.filesDone;
      return true;
    }
    if (word == "move" || word == "steps") return ReadMoveOf(fields, word == "steps");
    const auto place = ReadPlace(fields);
    if (!place) return false;
    if (word == "unlink") {
      halfMoves_.NoteRemoval(View(*place));
    } else if (word == "hold") {
      halfMoves_.NotePlaceHolder(View(*place));
    } else if (word == "release") {
      halfMoves_.NoteReleaseOfPlaceHolder(View(*place));
    } else if (word == "rmdir" || word == "mkdir" || word == "symlink" || word == "chmod" ||
               word == "chattr") {
      halfMoves_.NoteOtherChange();
      isDone_ = word == "symlink" && place->folder == 0;
    } else {
      return false;
    }
    return true;
  }

  /// A move, made by a single rename, or by the steps that follow.
  bool ReadMoveOf(CJournalFields &fields, bool isInSteps) {
    const auto from = ReadPlace(fields);
    const auto item = fields.Identity();
    const auto to = ReadDestination(fields, from);
    if (!item || !to) return false;
    if (isInSteps) {
      halfMoves_.Begin(View(*from), View(*to), *item);
      return true;
    }
    halfMoves_.NoteOtherChange();
    halfMoves_.NoteRename(View(*from), View(*to));
    isDone_ = IsFileDone(*from, *to);
    return true;
  }

  /// A folder, and a name when it is a new one.
  std::optional<JournalPlace> ReadDestination(CJournalFields &fields,
                                              const std::optional<JournalPlace> &from) const {
    const auto folder = ReadFolderNumber(fields);
    if (!from || !folder) return std::nullopt;
    if (fields.IsAtEnd()) return JournalPlace{*folder, from->name};
    auto name = fields.Name();
    if (!name) return std::nullopt;
    return JournalPlace{*folder, *std::move(name)};
  }

  static bool IsFileDone(const JournalPlace &from, const JournalPlace &to) {
    return from.folder != 0 && to.folder == 0;
  }

  bool ReadStep(CJournalFields &fields, bool isLink) {
    const auto from = ReadPlace(fields);
    const auto to = ReadDestination(fields, from);
    if (!to) return false;
    if (IsFirstFormat()) {
      std::optional<ItemIdentity> item;
      if (!fields.IsAtEnd() && !(item = fields.Identity())) return false;
      FindOutWhatIsMeant(*from, *to, item);
      isDone_ = IsFileDone(*from, *to);
    }
    if (isLink) {
      halfMoves_.NoteLink(View(*from), View(*to));
    } else {
      halfMoves_.NoteRename(View(*from), View(*to));
    }
    return true;
  }

  /// The first format tells the steps alone, the first of several with the item's identity. The
  /// last is the one that names the item in its new folder; a link can be first and last in one.
  void FindOutWhatIsMeant(const JournalPlace &from, const JournalPlace &to,
                          const std::optional<ItemIdentity> &item) {
    ItemInHand *inHand = halfMoves_.InHand();
    const bool isContinued = inHand != nullptr && from == inHand->Place();
    if (!isContinued) {
      if (!item) return;
      halfMoves_.Begin(View(from), {}, *item);
      inHand = halfMoves_.InHand();
      if (inHand == nullptr) return;  // It had been left on its way.
    }
    const bool isInOldFolder = from.folder == inHand->move.places.front().folder;
    if (from.folder == to.folder ? !isInOldFolder : !isContinued) inHand->destination = to;
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

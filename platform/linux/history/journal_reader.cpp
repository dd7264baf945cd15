#include "platform/linux/history/journal_reader.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "platform/linux/history/journal_file.h"
#include "platform/linux/history/journal_folder.h"

namespace {

JournalPlaceView View(const JournalPlace &place) {
  return {place.folder, place.name};
}

bool IsStep(const JournalChange &change) {
  return change.word == JournalWord::kRename || change.word == JournalWord::kLink;
}

}  // namespace

CJournalReader::CJournalReader(Journal *journal) : journal_(*journal) {
  journal_.folders.resize(1);
}

bool CJournalReader::Read(std::string_view text) {
  std::string_view rest = text;
  const std::size_t begin = journal_.size;
  if (begin == 0) {
    auto header = ParseJournalHeader(text);
    if (!header) return false;
    journal_.header = *std::move(header);
    (void)TakeJournalLine(&rest);
    (void)TakeJournalLine(&rest);
  }
  for (;;) {
    journal_.size = begin + text.size() - rest.size();
    const auto line = TakeJournalLine(&rest);
    // An end is one unless it is gone on from.
    if (!line || (journal_.isEnded && !line->starts_with("continued\t"))) return true;
    if (!ReadLine(journal_.size, *line)) return false;
  }
}

bool CJournalReader::ReadLine(std::uint64_t at, std::string_view line) {
  CJournalFields fields(line);
  const auto first = fields.Raw();
  if (!first) return false;
  const std::string_view word = *first;
  // A change is written down before it is made: that it was made shows by what comes after it.
  if (word == "failed") {
    past_.NoteFailure();
    halfMoves_.NoteFailure();
    return true;
  }
  if (word == "unrecorded" || word == "recovering") {
    // Whether it was made is not certain, which matters to what is counted alone.
    Settle(false);
    if (word == "unrecorded") {
      halfMoves_.ForgetItemInHand();
      journal_.hasGap = true;
    } else {
      halfMoves_.NoteInterruption();
      past_.BeginRecovery();
    }
    return true;
  }
  Settle(true);
  if (word == "folder") return ReadFolder(fields);
  if (word == "attribute") return ReadAttribute(fields);
  if (word == "state") return ReadState(fields);
  if (word == "again") return ReadSuccessor(fields);
  if (word == "attributes") return ReadFolderNumber(fields).has_value();
  if (word == "undoes" || word == "redoes") return ReadTakingBack(fields, word == "redoes");
  if (word == "end") {
    ReadEnd(fields);
  } else if (word == "continued") {
    GoOn();
  } else if (word == "told") {
    journal_.isToldOf = true;
  } else if (word == "left" || word == "lost") {
    ++journal_.itemsLeft;
    if (word == "lost") ++journal_.itemsLost;
  } else if (word != "recovered") {
    return ReadChange(at, word, fields);
  }
  return true;
}

void CJournalReader::Finish() {
  Settle(false);
  journal_.halfMoves = halfMoves_.List(false);
  journal_.placeHolders = halfMoves_.ListPlaceHolders(false);
  journal_.folderMadeLast = past_.FolderMadeLast();
  journal_.changes = std::move(past_.changes);
  journal_.counts = past_.counts;
}

void CJournalReader::Settle(bool isCertain) {
  past_.Settle();
  if (isCertain && past_.wasFileDone) ++journal_.filesDone;
}

std::optional<std::uint32_t> CJournalReader::ReadFolderNumber(CJournalFields &fields) const {
  const auto number = fields.Number();
  if (!number || *number >= journal_.folders.size()) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

bool CJournalReader::ReadFolder(CJournalFields &fields) {
  const auto number = fields.Number();
  const auto parent = ReadFolderNumber(fields);
  const auto identity = fields.Folder();
  auto name = fields.Name();
  if (number != journal_.folders.size() || !parent || !identity || !name) return false;
  JournalFolder folder{*parent, *identity, *std::move(name), {}, {}, {}};
  if (!IsFirstFormat()) {
    const auto state = fields.State();
    if (!state) return false;
    folder.before = *state;
  }
  folder.isMade = past_.NoteFolder({*parent, folder.name}, static_cast<std::uint32_t>(*number));
  journal_.folders.push_back(std::move(folder));
  return true;
}

bool CJournalReader::ReadAttribute(CJournalFields &fields) {
  const auto folder = ReadFolderNumber(fields);
  auto name = fields.Text();
  auto value = fields.Text();
  if (!folder || !name || !value || name->find('\0') != std::string::npos) return false;
  journal_.folders[*folder].attributes.emplace_back(*std::move(name), *std::move(value));
  return true;
}

bool CJournalReader::ReadState(CJournalFields &fields) {
  const auto folder = ReadFolderNumber(fields);
  const auto state = fields.State();
  if (!folder || !state) return false;
  journal_.folders[*folder].timeGiven = state->modified;
  return true;
}

bool CJournalReader::ReadSuccessor(CJournalFields &fields) {
  const auto folder = ReadFolderNumber(fields);
  const auto inode = fields.Number();
  const auto birth = fields.Number();
  if (!folder || !inode || !birth) return false;
  journal_.successors[*inode] = {journal_.folders[*folder].identity.inode, *birth};
  return true;
}

bool CJournalReader::ReadTakingBack(CJournalFields &fields, bool isRedo) {
  auto name = fields.Name();
  if (!name) return false;
  journal_.takesBack = {*std::move(name), isRedo};
  return true;
}

void CJournalReader::ReadEnd(CJournalFields &fields) {
  const auto how = fields.Raw();
  const auto time = fields.Text();
  journal_.isEnded = true;
  journal_.isStopped = how == "stopped";
  journal_.isInterrupted = how == "interrupted";
  journal_.endTime = ReadJournalTime(time.value_or(""));
}

/// What was left is told anew.
void CJournalReader::GoOn() {
  past_.EndRecovery();
  journal_.isEnded = journal_.isStopped = journal_.isInterrupted = journal_.isToldOf = false;
  journal_.itemsLeft = journal_.itemsLost = 0;
  journal_.endTime = 0;
}

bool CJournalReader::ReadChange(std::uint64_t at, std::string_view word, CJournalFields &fields) {
  if (IsFirstFormat()) halfMoves_.EndIfWhole();
  auto change = ParseJournalChange(word, fields, journal_.folders.size(), journal_.header.format);
  if (!change) return false;
  if (change->word == JournalWord::kTrash) journal_.trashed.insert(change->item->inode);
  if (change->word == JournalWord::kOver) {
    const bool isThere = halfMoves_.End();
    past_.NoteEndOfSteps(isThere);
    if (isThere) ++journal_.filesDone;
    return true;
  }
  if (IsFirstFormat() && IsStep(*change)) FindOutWhatIsMeant(*change);
  Follow(*change);
  // In the first format a rename or link is all that is told of a move.
  if (IsFirstFormat() && IsStep(*change)) change->word = JournalWord::kMove;
  past_.Note(at, *std::move(change));
  return true;
}

/// Follows the items on their way.
void CJournalReader::Follow(const JournalChange &change) {
  const JournalPlaceView place = View(change.place);
  const JournalPlaceView to = View(change.to);
  switch (change.word) {
    case JournalWord::kMove:
      halfMoves_.NoteOtherChange();
      return halfMoves_.NoteRename(place, to);
    case JournalWord::kSteps:
      return halfMoves_.Begin(place, to, *change.item);
    case JournalWord::kRename:
      return halfMoves_.NoteRename(place, to);
    case JournalWord::kLink:
      return halfMoves_.NoteLink(place, to);
    case JournalWord::kUnlink:
      return halfMoves_.NoteRemoval(place);
    case JournalWord::kHold:
      return halfMoves_.NotePlaceHolder(place);
    case JournalWord::kRelease:
      return halfMoves_.NoteReleaseOfPlaceHolder(place);
    default:
      return halfMoves_.NoteOtherChange();
  }
}

/// The first format tells the steps alone, the first of several with the item's identity. The
/// last is the one that names the item in its new folder; a link can be first and last in one.
void CJournalReader::FindOutWhatIsMeant(const JournalChange &change) {
  const JournalPlace &from = change.place;
  const JournalPlace &to = change.to;
  ItemInHand *inHand = halfMoves_.InHand();
  const bool isContinued = inHand != nullptr && from == inHand->Place();
  if (!isContinued) {
    if (!change.item) return;
    halfMoves_.Begin(View(from), {}, *change.item);
    inHand = halfMoves_.InHand();
    if (inHand == nullptr) return;  // It had been left on its way.
  }
  const bool isInOldFolder = from.folder == inHand->move.places.front().folder;
  if (from.folder == to.folder ? !isInOldFolder : !isContinued) inHand->destination = to;
}

std::optional<Journal> ParseJournal(std::string_view text) {
  Journal journal;
  CJournalReader reader(&journal);
  if (!reader.Read(text)) return std::nullopt;
  reader.Finish();
  return journal;
}

JournalChange ChangeInLine(std::string_view text, std::uint64_t line, const Journal &journal) {
  std::string_view rest = text.substr(line);
  CJournalFields fields(TakeJournalLine(&rest).value_or(""));
  const auto word = fields.Raw();
  return *ParseJournalChange(*word, fields, journal.folders.size(), journal.header.format);
}

std::vector<JournalPlace> PlacesOfSteps(std::string_view text, std::uint64_t line,
                                        const Journal &journal) {
  std::vector<JournalPlace> places;
  std::string_view rest = text.substr(line);
  (void)TakeJournalLine(&rest);
  for (;;) {
    const auto next = TakeJournalLine(&rest);
    if (!next) return places;
    CJournalFields fields(*next);
    const auto word = fields.Raw();
    if (word == "failed" || word == "folder") continue;
    const auto change = ParseJournalChange(word.value_or(""), fields, journal.folders.size(),
                                           journal.header.format);
    if (!change) return places;
    switch (change->word) {
      case JournalWord::kRename:
      case JournalWord::kLink:
        places.push_back(change->to);
        break;
      case JournalWord::kUnlink:
      case JournalWord::kHold:
      case JournalWord::kRelease:
        break;
      default:
        return places;
    }
  }
}

CMappedJournal::CMappedJournal(const CDescriptor &file) : size_(SizeOf(file)) {
  if (size_ == 0 || size_ > kLargestJournal) return;
  void *const memory = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file.Get(), 0);
  if (memory != MAP_FAILED) memory_ = static_cast<char *>(memory);
}

CMappedJournal::~CMappedJournal() {
  if (memory_ != nullptr) (void)munmap(memory_, size_);
}

std::optional<Journal> ReadJournal(const CDescriptor &file) {
  return ParseJournal(CMappedJournal(file).Text());
}

std::optional<JournalHeader> ReadJournalHeader(const CDescriptor &journal) {
  constexpr std::size_t kMostRead = std::size_t{1} << 20;
  std::string text(std::min(kMostRead, SizeOf(journal)), '\0');
  const ssize_t count = pread(journal.Get(), text.data(), text.size(), 0);
  if (count <= 0) return std::nullopt;
  return ParseJournalHeader(std::string_view(text).substr(0, static_cast<std::size_t>(count)));
}

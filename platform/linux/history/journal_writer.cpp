#include "platform/linux/history/journal_writer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "platform/linux/history/run_journal.h"
#include "platform/linux/tree/volume_traits.h"

namespace {

/// No `errno` value: the folder is not the run's.
constexpr int kIsOutside = -1;

/// Whether a change can be one of the steps of a move.
bool IsStep(ChangeKind kind) {
  switch (kind) {
    case ChangeKind::kRename:
    case ChangeKind::kReplace:
    case ChangeKind::kLink:
    case ChangeKind::kHoldFile:
    case ChangeKind::kHoldFolder:
    case ChangeKind::kRelease:
    case ChangeKind::kRemoveFile:
      return true;
    default:
      return false;
  }
}

bool IsOfPermissions(ChangeKind kind) {
  return kind == ChangeKind::kAllowWriting || kind == ChangeKind::kSetMode ||
         kind == ChangeKind::kClearImmutable || kind == ChangeKind::kSetImmutable;
}

}  // namespace

CJournalWriter::CJournalWriter() {
  PutLayerOnTop(this);
}

CJournalWriter::~CJournalWriter() {
  RemoveLayer(this);
}

int CJournalWriter::Begin(int descriptor, const JournalHeader &header) {
  const std::string text = WriteJournalHeader(header);
  if (int error = file_.Open(descriptor, 0, text.size()); error != 0) return error;
  file_.Advance(std::copy(text.begin(), text.end(), file_.Next()));
  folder_ = {header.device, header.identity.inode};
  return 0;
}

int CJournalWriter::Continue(int descriptor, const Journal &journal) {
  const int error = file_.Open(descriptor, journal.size, 0);
  isRecording_ = isRecovering_ = error == 0;
  folder_ = {journal.header.device, journal.header.identity.inode};
  folderCount_ = static_cast<std::uint32_t>(journal.folders.size());
  return error;
}

void CJournalWriter::GoOn() {
  isRecovering_ = false;
  Write("continued", {TimeForJournal()});
}

void CJournalWriter::KnowAsSuccessor(FolderIndex folder, std::uint64_t inode, std::uint64_t birth) {
  const auto known = numbers_.find(folder);
  if (!isRecording_ || known == numbers_.end()) return;
  if (file_.MakeRoom(CJournalLine::RoomFor(0)) != 0) return;
  CJournalLine line(file_.Next());
  line.Word("again");
  line.Number(known->second);
  line.Number(inode);
  line.Number(birth);
  file_.Advance(line.End());
}

/// The number of a folder, which is given one and is recorded, with those above it, when it has
/// none.
int CJournalWriter::NumberOf(FolderIndex index, std::uint32_t *number) {
  std::vector<FolderIndex> unnumbered;
  for (FolderIndex above = index; !numbers_.contains(above);) {
    const FolderEntry &entry = EntryOf(above);
    if (FolderIdentity{entry.device, entry.inode} == folder_) {
      numbers_[above] = 0;
      break;
    }
    if (above <= kRootFolder) return kIsOutside;
    unnumbered.push_back(above);
    above = entry.parent;
  }
  for (auto next = unnumbered.rbegin(); next != unnumbered.rend(); ++next) {
    if (int error = RecordFolder(*next); error != 0) return error;
  }
  *number = numbers_[index];
  return 0;
}

int CJournalWriter::RecordFolder(FolderIndex index) {
  const FolderEntry &entry = EntryOf(index);
  if (int error = file_.MakeRoom(CJournalLine::RoomFor(entry.nameLength)); error != 0) return error;
  CJournalLine line(file_.Next());
  line.Word("folder");
  line.Number(folderCount_);
  line.Number(numbers_[entry.parent]);
  line.Identity(FolderIdentity{entry.device, entry.inode});
  line.Text({entry.name, entry.nameLength});
  line.State(StateBeforeRun(index));
  file_.Advance(line.End());
  numbers_[index] = folderCount_++;
  return 0;
}

/// Writes something down; where that fails, nothing more is. kIsOutside for what belongs to no run.
template <typename Recording>
int CJournalWriter::TryTo(Recording record) {
  int full = 0;
  try {
    full = record();
  } catch (const std::bad_alloc &) {
    full = ENOMEM;
  }
  if (full != 0 && full != kIsOutside) Stop(full);
  return full;
}

/// A change is written down before it is made, and when it has failed, so is that.
int CJournalWriter::Change(const TreeChange &change) {
  if (move_ && move_->meant.trash != nullptr) return ChangeForTrash(change);
  const int full = TryTo([&] { return Record(change); });
  const int error = CTreeLayer::Change(change);
  // Of a change that is not in the journal its failure must not be either: it would be taken for
  // that of the one before.
  if (error != 0 && full == 0) RecordFailure(error);
  return error;
}

/// A move into the trash is made by its rename, whatever is done in the trash before and after it:
/// that is not the run's folder.
int CJournalWriter::ChangeForTrash(const TreeChange &change) {
  if (!move_->isWritten) {
    move_->isWritten = TryTo([this] { return RecordTrashing(); }) == 0 && isRecording_;
  }
  const int error = CTreeLayer::Change(change);
  const bool isRename = change.kind == ChangeKind::kRename || change.kind == ChangeKind::kReplace;
  const bool isClearingUp =
      change.kind == ChangeKind::kRemoveFile || change.kind == ChangeKind::kRelease;
  if (isRename || (error != 0 && !isClearingUp)) move_->trashError = error;
  return error;
}

int CJournalWriter::RecordTrashing() {
  if (!isRecording_) return 0;
  const TreeMove &meant = move_->meant;
  return RecordItem("trash", meant.folder, meant.name, IdentityOfMoved(true),
                    {meant.trash, meant.newName});
}

void CJournalWriter::RecordRestoring(FolderIndex folder, std::string_view name,
                                     const ItemIdentity &item) {
  if (!isRecording_) return;
  (void)TryTo([&] { return RecordItem("restore", folder, name, item, {}); });
}

/// A line about an item that goes to where the journal has no folders, or comes from there.
int CJournalWriter::RecordItem(std::string_view word, FolderIndex folder, std::string_view name,
                               const ItemIdentity &item,
                               std::initializer_list<std::string_view> where) {
  BeginRecording();
  std::size_t size = name.size();
  for (const std::string_view text : where) size += text.size();
  std::uint32_t number = 0;
  int error = NumberOf(folder, &number);
  if (error == 0) error = file_.MakeRoom(CJournalLine::RoomFor(size));
  if (error != 0) return error;
  CJournalLine line(file_.Next());
  line.Word(word);
  line.Number(number);
  line.Text(name);
  line.Identity(item);
  for (const std::string_view text : where) line.Text(text);
  file_.Advance(line.End());
  halfMoves_.NoteOtherChange();
  return 0;
}

/// Before the first line that is written for a change.
void CJournalWriter::BeginRecording() {
  if (std::exchange(isRecovering_, false)) Write("recovering", {TimeForJournal()});
}

int CJournalWriter::Record(const TreeChange &change) {
  if (!isRecording_) return 0;
  BeginRecording();
  return move_ && IsStep(change.kind) ? RecordStep(change) : RecordChange(change);
}

/// A move that is made by a single rename is one line. Of any other it is written down first what
/// is meant, and then each step.
int CJournalWriter::RecordStep(const TreeChange &change) {
  if (!move_->isInSteps) {
    const TreeMove &meant = move_->meant;
    if (change.kind == ChangeKind::kRename && change.folder.index == meant.folder &&
        change.newFolder.index == meant.newFolder && std::strcmp(change.name, meant.name) == 0 &&
        std::strcmp(change.newName, meant.newName) == 0) {
      return RecordMove(false);
    }
    if (int error = RecordMove(true); error != 0) return error;
    move_->isInSteps = true;
  }
  return RecordChange(change);
}

int CJournalWriter::RecordMove(bool isInSteps) {
  const TreeMove &meant = move_->meant;
  JournalPlaceView from{0, meant.name};
  JournalPlaceView to{0, meant.newName};
  int error = NumberOf(meant.folder, &from.folder);
  if (error == 0) error = NumberOf(meant.newFolder, &to.folder);
  if (error == 0) error = file_.MakeRoom(CJournalLine::RoomFor(from.name.size() + to.name.size()));
  if (error != 0) return error;
  const ItemIdentity item = IdentityOfMoved(isInSteps);
  CJournalLine line(file_.Next());
  line.Word(isInSteps ? "steps" : "move");
  line.Number(from.folder);
  line.Text(from.name);
  line.Identity(item);
  line.Number(to.folder);
  if (to.name != from.name) line.Text(to.name);
  file_.Advance(line.End());
  if (isInSteps) {
    halfMoves_.Begin(from, to, item);
  } else {
    halfMoves_.NoteRename(from, to);
  }
  return 0;
}

/// An item on its way is known by its birth too. That costs a look, and so does the inode number
/// where listings do not tell the true one; all zero where it cannot be looked at.
ItemIdentity CJournalWriter::IdentityOfMoved(bool isBirthAsked) const {
  const TreeMove &meant = move_->meant;
  int folder = -1;
  if (OpenTableFolder(meant.folder, &folder) != noErr) return {};
  VolumeTraits &volume = TraitsOfVolume(EntryOf(meant.folder).device, folder);
  if (!isBirthAsked && meant.inode != 0 && volume.listsInodes == true) return {meant.inode, 0};
  ItemStatus found;
  if (Tree().Look(folder, meant.name, &found) != 0) return {};
  if (meant.inode != 0 && !volume.listsInodes) {
    volume.listsInodes = meant.inode == found.identity.inode;
  }
  return found.identity;
}

int CJournalWriter::RecordChange(const TreeChange &change) {
  if (change.kind == ChangeKind::kSetState || change.kind == ChangeKind::kSetAttributes) {
    return RecordState(change);
  }
  const bool isStep = change.newFolder.descriptor >= 0;
  JournalPlaceView from{0, change.name};
  const bool isNewName = change.newName != nullptr && change.newName != change.name;
  JournalPlaceView to{0, isNewName ? change.newName : from.name};
  int error = NumberOf(change.folder.index, &from.folder);
  if (error == 0 && isStep) error = NumberOf(change.newFolder.index, &to.folder);
  // A folder that goes is known by its number: what was moved out of it belongs there.
  std::optional<std::uint32_t> removed;
  if (change.kind == ChangeKind::kRemoveFolder && error == 0) {
    const FolderIndex index = FindFolder(change.folder.index, change.name);
    if (index != 0) error = NumberOf(index, &removed.emplace());
    if (removed && error == 0) error = RecordAttributes(change, *removed);
  }
  if (error == 0) error = file_.MakeRoom(CJournalLine::RoomFor(from.name.size() + to.name.size()));
  if (error != 0) return error;

  CJournalLine line(file_.Next());
  line.Word(change.Word());
  line.Number(from.folder);
  line.Text(from.name);
  if (isStep) line.Number(to.folder);
  if (isNewName && (!isStep || to.name != from.name)) line.Text(to.name);
  if (removed) line.Number(*removed);
  if (IsOfPermissions(change.kind)) RecordPermissions(change, line);
  file_.Advance(line.End());

  switch (change.kind) {
    case ChangeKind::kRename:
    case ChangeKind::kReplace:
      halfMoves_.NoteRename(from, to);
      break;
    case ChangeKind::kLink:
      halfMoves_.NoteLink(from, to);
      break;
    case ChangeKind::kRemoveFile:
      halfMoves_.NoteRemoval(from);
      break;
    case ChangeKind::kHoldFile:
    case ChangeKind::kHoldFolder:
      halfMoves_.NotePlaceHolder(from);
      break;
    case ChangeKind::kRelease:
      halfMoves_.NoteReleaseOfPlaceHolder(from);
      break;
    default:
      halfMoves_.NoteOtherChange();
  }
  return 0;
}

/// What is other than it was, and of which item.
void CJournalWriter::RecordPermissions(const TreeChange &change, CJournalLine &line) {
  ItemStatus found;
  if (Tree().Look(change.folder.descriptor, change.name, &found) != 0) return;
  line.Identity(found.identity);
  const bool isMode =
      change.kind == ChangeKind::kAllowWriting || change.kind == ChangeKind::kSetMode;
  line.Mode(isMode ? found.mode & 07777 : found.isImmutable ? 1U : 0U);
}

int CJournalWriter::RecordAttributes(const TreeChange &change, std::uint32_t number) {
  for (const auto &[name, value] : Tree().ReadAttributes(change.folder, change.name)) {
    if (int error = file_.MakeRoom(CJournalLine::RoomFor(name.size() + value.size())); error != 0) {
      return error;
    }
    CJournalLine line(file_.Next());
    line.Word("attribute");
    line.Number(number);
    line.Text(name);
    line.Text(value);
    file_.Advance(line.End());
  }
  return 0;
}

int CJournalWriter::RecordState(const TreeChange &change) {
  std::uint32_t number = 0;
  int error = NumberOf(change.folder.index, &number);
  if (error == 0) error = file_.MakeRoom(CJournalLine::RoomFor(0));
  if (error != 0) return error;
  CJournalLine line(file_.Next());
  line.Word(change.Word());
  line.Number(number);
  if (change.state != nullptr) line.State(*change.state);
  file_.Advance(line.End());
  halfMoves_.NoteOtherChange();
  return 0;
}

void CJournalWriter::BeginMove(const TreeMove &move) {
  move_ = Move{move, false};
  CTreeLayer::BeginMove(move);
}

void CJournalWriter::EndMove() {
  CTreeLayer::EndMove();
  const bool isInSteps = move_ && move_->isInSteps;
  const bool isTrashing = move_ && move_->isWritten;
  const int trashError = isTrashing ? move_->trashError : 0;
  move_.reset();
  if (trashError != 0) RecordFailure(trashError);
  if (!isInSteps || !isRecording_) return;
  if (int error = file_.MakeRoom(CJournalLine::RoomFor(0)); error != 0) return Stop(error);
  CJournalLine line(file_.Next());
  line.Word("over");
  file_.Advance(line.End());
  (void)halfMoves_.End();
}

void CJournalWriter::Write(std::string_view word, std::initializer_list<std::string_view> texts) {
  constexpr std::size_t kShort = 64;
  std::size_t size = 0;
  for (const std::string_view text : texts) size += text.size();
  if (!file_.IsOpen()) return;
  if (file_.MakeRoom(CJournalLine::RoomFor(size)) != 0 && size > kShort) return;
  WriteWithinReserve(word, texts);
}

void CJournalWriter::WriteWithinReserve(std::string_view word,
                                        std::initializer_list<std::string_view> texts) {
  CJournalLine line(file_.Next());
  line.Word(word);
  for (const std::string_view text : texts) line.Text(text);
  file_.Advance(line.End());
}

void CJournalWriter::RecordFailure(int error) {
  if (!isRecording_) return;
  halfMoves_.NoteFailure();
  const char *const name = strerrorname_np(error);
  if (int full = file_.MakeRoom(CJournalLine::RoomFor(0)); full != 0) {
    Stop(full);
  } else {
    WriteWithinReserve("failed", {name != nullptr ? name : ""});
  }
}

void CJournalWriter::Stop(int error) {
  if (!std::exchange(isRecording_, false)) return;
  halfMoves_.ForgetItemInHand();
  const char *const name = strerrorname_np(error);
  WriteWithinReserve("unrecorded", {name != nullptr ? name : ""});
  TellThatNoneIsKept(error);
}

bool CJournalWriter::IsAnythingHalfDone() const {
  return !halfMoves_.List(true).empty() || !halfMoves_.ListPlaceHolders(true).empty();
}

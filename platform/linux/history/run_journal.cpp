#include "platform/linux/history/run_journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <unordered_map>
#include <utility>

#include "platform/journal.h"
#include "platform/linux/history/half_moves.h"
#include "platform/linux/history/journal_file.h"
#include "platform/linux/history/journal_folder.h"
#include "platform/linux/history/journal_text.h"
#include "platform/linux/system/ending.h"
#include "platform/linux/system/log.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/tree_memory.h"
#include "platform/linux/tree/volume_traits.h"

namespace {

/// No `errno` value: the folder is not the run's.
constexpr int kIsOutside = -1;

/// The layer of the run in hand.
class CRunJournal final : public CTreeLayer {
 public:
  CRunJournal() { PutLayerOnTop(this); }
  ~CRunJournal() override { RemoveLayer(this); }

  /// Takes over the new journal's descriptor and writes its beginning.
  int Begin(int descriptor, const JournalHeader &header, const FolderIdentity &folder);
  void End(RunEnd end);
  int Change(const TreeChange &change) override;
  void BeginMove(const TreeMove &move) override;
  void EndMove() override;

 private:
  /// The move in hand.
  struct Move {
    TreeMove meant;
    bool isInSteps;  ///< that have begun
  };

  /// Answers kIsOutside for a change that belongs to no run.
  int Record(const TreeChange &change);
  int RecordStep(const TreeChange &change);
  int RecordMove(bool isInSteps);
  int RecordChange(const TreeChange &change);
  ItemIdentity IdentityOfMoved(bool isBirthAsked) const;
  void RecordFailure(int error);
  void Stop(int error);
  int NumberOf(FolderIndex index, std::uint32_t *number);
  int RecordFolder(FolderIndex index);
  void WriteLine(std::string_view word, std::string_view text);

  CJournalFile file_;
  FolderIdentity folder_;
  std::unordered_map<FolderIndex, std::uint32_t> numbers_;  ///< by place in the table of folders
  std::uint32_t folderCount_ = 1;
  CHalfMoves halfMoves_;
  std::optional<Move> move_;
  bool isRecording_ = true;
};

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

std::unique_ptr<CRunJournal> run;
JournalLineHandler lineHandler = nullptr;

void TellThatNoneIsKept(int error) {
  static bool isTold = false;
  if (std::exchange(isTold, true)) return;
  const std::string path = CJournalFolder::Path();
  TellOfJournals((path.empty() ? "the home folder" : path) + ": no journal can be written (" +
                 std::strerror(error) + "); runs go on without one");
}

/// What the journal says first of a folder cannot be found out. That is the folder's own trouble.
void TellThatFolderHasNone(const FSRef &folder, int error) {
  TellOfJournals(PathOnDisk(folder) + ": cannot be looked at (" + std::strerror(error) +
                 "); its run goes on without a journal");
}

/// Lists the folders above an open one, by going up until it goes no further.
int ListFoldersAbove(int descriptor, FolderIdentity folder, std::vector<FolderIdentity> *above) {
  std::optional<CDescriptor> parent;
  for (;;) {
    const int opened = openat(descriptor, "..", O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (opened < 0) return errno;
    parent.emplace(opened);
    struct stat status;
    if (fstat(opened, &status) != 0) return errno;
    const FolderIdentity found{status.st_dev, status.st_ino};
    if (found == folder) return 0;
    above->push_back(found);
    folder = found;
    descriptor = opened;
  }
}

int DescribeRun(const FSRef &folder, JournalHeader *header) {
  FolderIndex index = 0;
  int descriptor = -1;
  if (FindTableFolder(folder, &index, &descriptor) != noErr) return ENOENT;
  ItemStatus item;
  if (int error = Tree().Look(descriptor, "", &item); error != 0) return error;
  header->program = std::string(program_invocation_short_name) + " " VANNERLY_VERSION;
  header->time = TimeForJournal();
  header->process = static_cast<std::uint32_t>(getpid());
  header->device = item.device;
  header->identity = item.identity;
  header->before = {item.mode & 07777, item.owner, item.group, item.modified};
  header->path = PathOnDisk(folder);
  return ListFoldersAbove(descriptor, {item.device, item.identity.inode}, &header->above);
}

bool IsAmong(const JournalHeader &header, const std::vector<FolderIdentity> &folders) {
  return std::ranges::find(folders, FolderIdentity{header.device, header.identity.inode}) !=
         folders.end();
}

bool DoOverlap(const JournalHeader &a, const JournalHeader &b) {
  return (a.device == b.device && a.identity.inode == b.identity.inode) || IsAmong(a, b.above) ||
         IsAmong(b, a.above);
}

std::optional<JournalHeader> ReadHeader(const CDescriptor &journal) {
  constexpr std::size_t kMostRead = std::size_t{1} << 20;
  std::string text(std::min(kMostRead, SizeOf(journal)), '\0');
  const ssize_t count = pread(journal.Get(), text.data(), text.size(), 0);
  if (count <= 0) return std::nullopt;
  return ParseJournalHeader(std::string_view(text).substr(0, static_cast<std::size_t>(count)));
}

/// Another process's run in the same folder, above or below it.
std::optional<JournalHeader> FindOverlappingRun(const CJournalFolder &journals,
                                                const JournalHeader &own) {
  for (const std::string &name : journals.Names()) {
    const CDescriptor journal = journals.OpenJournal(name);
    if (!journal.IsOpen() || IsJournalInUse(journal) != true) continue;
    auto other = ReadHeader(journal);
    if (other && DoOverlap(own, *other)) return other;
  }
  return std::nullopt;
}

/// 0, an `errno` value, or EBUSY with the reason.
int Begin(const FSRef &folder, std::string *reason) {
  JournalHeader header;
  if (int error = DescribeRun(folder, &header); error != 0) {
    TellThatFolderHasNone(folder, error);
    return 0;
  }
  CJournalFolder journals;
  int error = journals.Open(true);
  if (error == EWOULDBLOCK) {
    // Who has the lock may be about to begin a run in this very folder.
    *reason = "another Vannerly is busy with the journals";
    error = EBUSY;
  }
  if (error != 0) return error;
  if (const auto other = FindOverlappingRun(journals, header)) {
    *reason = "another Vannerly (process " + std::to_string(other->process) + ") is at work in " +
              (other->path == header.path ? "it" : other->path);
    return EBUSY;
  }
  journals.DeleteOldest();
  std::string name;
  const int descriptor = journals.MakeJournal(&name);
  if (descriptor < 0) return errno;
  auto begun = std::make_unique<CRunJournal>();
  error = begun->Begin(descriptor, header, {header.device, header.identity.inode});
  if (error != 0) {
    journals.DeleteJournal(name);
    return error;
  }
  run = std::move(begun);
  return 0;
}

int CRunJournal::Begin(int descriptor, const JournalHeader &header, const FolderIdentity &folder) {
  const std::string text = WriteJournalHeader(header);
  if (int error = file_.Open(descriptor, text.size()); error != 0) return error;
  file_.Advance(std::copy(text.begin(), text.end(), file_.Next()));
  folder_ = folder;
  return 0;
}

/// The number of a folder, which is given one and is recorded, with those above it, when it has
/// none.
int CRunJournal::NumberOf(FolderIndex index, std::uint32_t *number) {
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

int CRunJournal::RecordFolder(FolderIndex index) {
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

/// A change is written down before it is made, and when it has failed, so is that.
int CRunJournal::Change(const TreeChange &change) {
  int full = 0;
  try {
    full = Record(change);
  } catch (const std::bad_alloc &) {
    full = ENOMEM;
  }
  if (full != 0 && full != kIsOutside) Stop(full);
  const int error = CTreeLayer::Change(change);
  // Of a change that is not in the journal its failure must not be either: it would be taken for
  // that of the one before.
  if (error != 0 && full == 0) RecordFailure(error);
  return error;
}

int CRunJournal::Record(const TreeChange &change) {
  if (!isRecording_) return 0;
  return move_ && IsStep(change.kind) ? RecordStep(change) : RecordChange(change);
}

/// A move that is made by a single rename is one line. Of any other it is written down first what
/// is meant, and then each step.
int CRunJournal::RecordStep(const TreeChange &change) {
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

int CRunJournal::RecordMove(bool isInSteps) {
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
ItemIdentity CRunJournal::IdentityOfMoved(bool isBirthAsked) const {
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

int CRunJournal::RecordChange(const TreeChange &change) {
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
  }
  if (error == 0) error = file_.MakeRoom(CJournalLine::RoomFor(from.name.size() + to.name.size()));
  if (error != 0) return error;

  CJournalLine line(file_.Next());
  line.Word(change.Word());
  line.Number(from.folder);
  line.Text(from.name);
  if (isStep) line.Number(to.folder);
  if (isNewName && to.name != from.name) line.Text(to.name);
  if (removed) line.Number(*removed);
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
      halfMoves_.NoteReleaseOfPlaceHolder();
      break;
    default:
      halfMoves_.NoteOtherChange();
  }
  return 0;
}

void CRunJournal::BeginMove(const TreeMove &move) {
  move_ = {move, false};
  CTreeLayer::BeginMove(move);
}

void CRunJournal::EndMove() {
  CTreeLayer::EndMove();
  const bool isInSteps = move_ && move_->isInSteps;
  move_.reset();
  if (!isInSteps || !isRecording_) return;
  if (int error = file_.MakeRoom(CJournalLine::RoomFor(0)); error != 0) return Stop(error);
  CJournalLine line(file_.Next());
  line.Word("over");
  file_.Advance(line.End());
  (void)halfMoves_.End();
}

void CRunJournal::WriteLine(std::string_view word, std::string_view text) {
  CJournalLine line(file_.Next());
  line.Word(word);
  line.Text(text);
  file_.Advance(line.End());
}

void CRunJournal::RecordFailure(int error) {
  if (!isRecording_) return;
  halfMoves_.NoteFailure();
  const char *const name = strerrorname_np(error);
  if (int full = file_.MakeRoom(CJournalLine::RoomFor(0)); full != 0) {
    Stop(full);
  } else {
    WriteLine("failed", name != nullptr ? name : "");
  }
}

void CRunJournal::Stop(int error) {
  if (!std::exchange(isRecording_, false)) return;
  halfMoves_.ForgetItemInHand();
  const char *const name = strerrorname_np(error);
  WriteLine("unrecorded", name != nullptr ? name : "");
  TellThatNoneIsKept(error);
}

void CRunJournal::End(RunEnd end) {
  // Without its last line, the next start puts right what was left halfway.
  if (!halfMoves_.List(true).empty() || !halfMoves_.ListPlaceHolders(true).empty()) return;
  const std::string line =
      JournalLineOf("end", {end == RunEnd::kDone ? "done" : "stopped", TimeForJournal()});
  file_.Advance(std::copy(line.begin(), line.end(), file_.Next()));
}

}  // namespace

OSErr BeginRunJournal(const FSRef &folder, std::string *reason) {
  run.reset();
  Memory().BeginRun();
  int error = 0;
  try {
    error = Begin(folder, reason);
  } catch (const std::bad_alloc &) {
    error = ENOMEM;
  }
  if (error == EBUSY) return fBsyErr;
  if (error != 0) TellThatNoneIsKept(error);
  NoteFolderTaken();
  return noErr;
}

void EndRunMoves() {
  NoteFolderMoved();
}

void EndRunJournal(RunEnd end) {
  NoteFolderDone();
  if (run == nullptr) return;
  run->End(end);
  run.reset();
}

void TellOfJournals(const std::string &line) {
  WriteToSystemLog(line);
  if (lineHandler != nullptr) lineHandler(line);
}

void JournalSetLineHandler(JournalLineHandler handler) {
  lineHandler = handler;
}

#include "platform/linux/history/past_changes.h"

MoveWay WayOf(const JournalChange &move) {
  if (move.to.folder == 0 && move.place.folder != 0) return MoveWay::kUp;
  return move.to.folder != 0 && move.place.folder == 0 ? MoveWay::kCollated : MoveWay::kOther;
}

void CPastChanges::Note(std::uint64_t line, JournalChange &&change) {
  Settle();
  const JournalWord word = change.word;
  // What is done to put an item right belongs to the move that was begun.
  if (isRecovering_) return;
  if (word == JournalWord::kSteps) {
    steps_ = {line, std::move(change)};
    changes.push_back({.line = line, .kind = PastChangeKind::kMoveInSteps});
    return;
  }
  const bool isStep = word == JournalWord::kRename || word == JournalWord::kLink ||
                      word == JournalWord::kHold || word == JournalWord::kRelease ||
                      (word == JournalWord::kUnlink && steps_);
  if (isStep) return;
  steps_.reset();
  last_ = {line, std::move(change)};
}

void CPastChanges::NoteFailure() {
  last_.reset();
}

void CPastChanges::BeginRecovery() {
  Settle();
  isRecovering_ = true;
  steps_.reset();
}

void CPastChanges::NoteEndOfSteps(bool isThere) {
  if (steps_ && isThere) {
    changes.pop_back();
    SettleMove(steps_->line, steps_->change, PastChangeKind::kMoveInSteps);
  }
  steps_.reset();
}

void CPastChanges::Settle() {
  wasFileDone = false;
  if (!last_) return;
  const Noted &noted = *last_;
  const JournalPlace &place = noted.change.place;
  switch (noted.change.word) {
    case JournalWord::kMove:
      SettleMove(noted.line, noted.change, PastChangeKind::kMove);
      break;
    case JournalWord::kUnlink:
      SettleRemoval(noted.line, noted.change);
      break;
    case JournalWord::kRmdir:
      ++counts.foldersDeleted;
      Add(PastChangeKind::kRemoveFolder, noted.line, noted.change);
      break;
    case JournalWord::kMkdir:
      madeFolders_[{place.folder, place.name}] = changes.size();
      Add(PastChangeKind::kMakeFolder, noted.line, noted.change);
      break;
    case JournalWord::kSymlink:
      ++counts.aliased;
      wasFileDone = place.folder == 0;
      madeLinks_[{place.folder, place.name}] = changes.size();
      Add(PastChangeKind::kMakeLink, noted.line, noted.change);
      break;
    case JournalWord::kChmod:
    case JournalWord::kChattr:
      if (noted.change.item) Add(PastChangeKind::kAttribute, noted.line, noted.change);
      break;
    case JournalWord::kTrash:
      ++counts.trashed;
      Add(PastChangeKind::kTrash, noted.line, noted.change);
      break;
    case JournalWord::kRestore:
      Add(PastChangeKind::kRestore, noted.line, noted.change);
      break;
    default:
      break;
  }
  last_.reset();
}

void CPastChanges::CountMove(const JournalChange &change) {
  const MoveWay way = WayOf(change);
  const bool isUp = way == MoveWay::kUp;
  counts.moved += isUp ? 1 : 0;
  counts.renamed += isUp && change.place.name != change.to.name ? 1 : 0;
  counts.collated += way == MoveWay::kCollated ? 1 : 0;
  wasFileDone = isUp;
}

/// A link that the run has made was nowhere before it: it is taken back from where it is now.
void CPastChanges::SettleMove(std::uint64_t line, const JournalChange &change,
                              PastChangeKind kind) {
  CountMove(change);
  const auto made = madeLinks_.find({change.place.folder, change.place.name});
  if (made == madeLinks_.end()) return Add(kind, line, change);
  PastChange &before = changes[made->second];
  const std::uint64_t ofLink =
      before.kind == PastChangeKind::kMakeLink ? before.line : before.ofLink;
  before.kind = PastChangeKind::kNone;
  madeLinks_.erase(made);
  madeLinks_[{change.to.folder, change.to.name}] = changes.size();
  changes.push_back({.line = line, .ofLink = ofLink, .kind = PastChangeKind::kMoveMadeLink});
  Tell(PastChangeKind::kMoveMadeLink, change);
}

void CPastChanges::SettleRemoval(std::uint64_t line, const JournalChange &change) {
  const auto made = madeLinks_.find({change.place.folder, change.place.name});
  if (made != madeLinks_.end()) {
    changes[made->second].kind = PastChangeKind::kNone;
    madeLinks_.erase(made);
    --counts.aliased;
    Tell(PastChangeKind::kNone, change);
  } else if (change.target) {
    Add(PastChangeKind::kRemoveLink, line, change);
  } else {
    ++counts.deleted;
    Add(PastChangeKind::kDelete, line, change);
  }
}

bool CPastChanges::NoteFolder(const JournalPlace &place, std::uint32_t number) {
  const auto made = madeFolders_.find({place.folder, place.name});
  if (made == madeFolders_.end()) return false;
  changes[made->second].made = number;
  madeFolders_.erase(made);
  return true;
}

std::string CPastChanges::FolderMadeLast() const {
  for (const auto &[place, change] : madeFolders_) {
    if (change + 1 == changes.size()) return place.second;
  }
  return {};
}

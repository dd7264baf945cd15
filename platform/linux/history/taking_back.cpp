#include "platform/linux/history/taking_back.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/linux/history/dropped_folder.h"
#include "platform/linux/system/errors.h"
#include "platform/linux/trash/trash_moves.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/item_status.h"
#include "platform/linux/tree/tree_changes.h"
#include "platform/trash.h"

namespace {

/// What went well is only counted.
TakenBack Done(TakenBackKind kind) {
  return {kind, {}, {}, noErr};
}

}  // namespace

CTakingBack::CTakingBack(Journal run, std::string_view text, FolderIndex folder,
                         Successors successors, const Journal *own, CJournalWriter *writer)
    : run_(std::move(run)),
      text_(text),
      writer_(writer),
      indexes_(run_.folders.size(), 0),
      rootPath_(PathOnDisk(RefOfFolder(folder))),
      device_(EntryOf(folder).device),
      successors_(std::move(successors)),
      changesLeft_(run_.changes.size()),
      foldersLeft_(run_.folders.size()) {
  indexes_[0] = folder;
  if (rootPath_ == "/") rootPath_.clear();
  // What the run has done after that is not known.
  if (run_.hasGap) more_.push_back({TakenBackKind::kNotPutBack, rootPath_, {}, eofErr});
  if (own != nullptr) {
    madeLast_ = own->folderMadeLast;
    trashed_ = own->trashed;
    modified_[own->header.identity.inode] = own->header.before.modified;
    for (auto next = own->folders.begin() + 1; next != own->folders.end(); ++next) {
      const JournalFolder &known = *next;
      if (known.isMade) madeInodes_.insert(known.identity.inode);
      modified_.try_emplace(known.identity.inode, known.before.modified);
    }
    return;
  }
  int descriptor = -1;
  ItemStatus found;
  if (OpenTableFolder(folder, &descriptor) == noErr && Tree().Look(descriptor, "", &found) == 0) {
    modified_[found.identity.inode] = found.modified;
  }
}

/// First the changes, the last one first; then what could not be taken back in its turn; then, when
/// all is in its place, what was changed of items that have stayed; at last the times of the
/// folders, as what is done in them changes these.
bool CTakingBack::Next(TakenBack *result) {
  if (!more_.empty()) {
    *result = std::move(more_.back());
    more_.pop_back();
  } else if (changesLeft_ > 0) {
    *result = TakeBackChange(run_.changes[--changesLeft_]);
  } else if (!leftFolders_.empty()) {
    const auto [place, number] = leftFolders_.back();
    leftFolders_.pop_back();
    *result = RemoveMadeFolder(place, number);
  } else if (!leftItems_.empty()) {
    *result = TellLeft();
  } else if (!attributes_.empty()) {
    *result = GiveAttributeBack(ChangeInLine(text_, attributes_.back(), run_));
    attributes_.pop_back();
  } else if (foldersLeft_ > 0) {
    *result = GiveStateBack(static_cast<Number>(--foldersLeft_));
  } else {
    return false;
  }
  WriteDown(*result);
  return true;
}

TakenBack CTakingBack::TakeBackChange(const PastChange &past) {
  if (past.kind == PastChangeKind::kNone) return {};
  const JournalChange change = ChangeInLine(text_, past.line, run_);
  switch (past.kind) {
    case PastChangeKind::kMove:
      return PutBack(change.place, {change.to}, *change.item);
    case PastChangeKind::kMoveInSteps: {
      std::vector<JournalPlace> places = PlacesOfSteps(text_, past.line, run_);
      for (const HalfMove &move : run_.halfMoves) {
        if (move.item != *change.item || move.places.front() != change.place) continue;
        places.insert(places.end(), move.places.begin(), move.places.end());
      }
      places.push_back(change.to);
      return PutBack(change.place, places, *change.item);
    }
    case PastChangeKind::kMakeFolder:
      return RemoveMadeFolder(change.place, past.made);
    case PastChangeKind::kRemoveFolder:
      return MakeRemovedFolder(change.place, change.folder);
    case PastChangeKind::kMakeLink:
      return RemoveMadeLink(change.place, *change.target);
    case PastChangeKind::kMoveMadeLink:
      return RemoveMadeLink(change.to, *ChangeInLine(text_, past.ofLink, run_).target);
    case PastChangeKind::kRemoveLink:
      return MakeRemovedLink(change.place, *change.target);
    case PastChangeKind::kDelete:
      return TellLost(change.place);
    case PastChangeKind::kAttribute:
      attributes_.push_back(past.line);
      break;
    case PastChangeKind::kTrash:
      return TakeOutOfTrash(change);
    case PastChangeKind::kRestore:
      return MoveToTrash(change);
    case PastChangeKind::kNone:
      break;
  }
  return {};
}

/// A folder that the run knew can have been removed and made again since.
const ItemIdentity *CTakingBack::SuccessorOf(std::uint64_t inode) const {
  const auto successor = successors_.find(inode);
  return successor != successors_.end() ? &successor->second : nullptr;
}

/// Of an item whose birth is not in the journal, its number can be another's by now: then that one
/// was made after the run.
bool CTakingBack::IsTheItem(const ItemStatus &found, const ItemIdentity &item) const {
  const ItemIdentity *const successor = SuccessorOf(item.inode);
  const ItemIdentity &expected = successor != nullptr ? *successor : item;
  if (found.device != device_ || expected.inode == 0 || found.identity.inode != expected.inode)
    return false;
  if (expected.birth != 0 || successor != nullptr) return IsSameBirth(found.identity, expected);
  return found.identity.birth <= static_cast<std::uint64_t>(run_.endTime);
}

bool CTakingBack::Find(const JournalPlace &place, const ItemIdentity &item) {
  OpenedFolder folder{-1, 0};
  ItemStatus found;
  if (Open(place.folder, Missing::kIsLeft, &folder) != noErr ||
      Tree().Look(folder.descriptor, place.name.c_str(), &found) != 0) {
    return false;
  }
  wasFolderFound_ = found.IsFolder();
  return IsTheItem(found, item);
}

TakenBack CTakingBack::PutBack(const JournalPlace &origin, std::vector<JournalPlace> places,
                               const ItemIdentity &item) {
  LeftItem left{places.back(), origin, fnfErr};
  // Where the run has moved it on from, it can't have come back to.
  const auto before = leftItems_.find({left.place.folder, left.place.name});
  if (before != leftItems_.end()) {
    left.place = before->second.place;
    places.insert(places.begin(), left.place);
    leftItems_.erase(before);
  }
  const auto found = std::find_if(places.rbegin(), places.rend(), [&](const JournalPlace &place) {
    return place != origin && Find(place, item);
  });
  if (found != places.rend()) {
    left.place = *found;
    std::vector<Number> within;
    if (wasFolderFound_) within = GiveStatesBackBelow(*found);
    left.error = MoveBack(*found, origin, item.inode);
    LeaveFolders(within);
    if (left.error == noErr) return Done(TakenBackKind::kItem);
  } else if (Find(origin, item)) {
    return {};
  }
  leftItems_.insert_or_assign({origin.folder, origin.name}, std::move(left));
  return {};
}

/// A folder that goes back as an item can hold some that the run has worked in: all is in its place
/// there by then, and at the end they can't be found where the run knew them. Answers which.
std::vector<CTakingBack::Number> CTakingBack::GiveStatesBackBelow(const JournalPlace &place) {
  if (numbers_.empty()) {
    for (Number number = 1; number < run_.folders.size(); ++number) {
      const JournalFolder &folder = run_.folders[number];
      numbers_.emplace(std::pair(folder.parent, std::string_view(folder.name)), number);
    }
  }
  std::vector<Number> below;
  const auto add = [&](auto first, auto last) {
    for (; first != last; ++first) below.push_back(first->second);
  };
  const auto [first, last] = numbers_.equal_range({place.folder, place.name});
  add(first, last);
  for (std::size_t done = 0; done < below.size(); ++done) {
    add(numbers_.lower_bound({below[done], {}}), numbers_.lower_bound({below[done] + 1, {}}));
  }
  for (auto next = below.rbegin(); next != below.rend(); ++next) {
    TakenBack result = GiveStateBack(*next);
    if (result.kind != TakenBackKind::kNothing) more_.push_back(std::move(result));
  }
  return below;
}

/// After the folder that they are in has been moved: what is open of them is not what stands at
/// their places now.
void CTakingBack::LeaveFolders(const std::vector<Number> &numbers) {
  for (const Number number : numbers) {
    CloseFolder(indexes_[number]);
    indexes_[number] = 0;
  }
}

OSErr CTakingBack::MoveBack(const JournalPlace &from, const JournalPlace &to, std::uint64_t inode) {
  OpenedFolder destination{-1, 0};
  OpenedFolder source{-1, 0};
  OSErr error = Open(to.folder, Missing::kIsMade, &destination);
  if (error == noErr) error = Open(from.folder, Missing::kIsLeft, &source);
  if (error == noErr) error = OpenTableFolder(destination.index, &destination.descriptor);
  if (error == noErr) {
    error = OpenTableFolder(source.index, &source.descriptor, destination.index);
  }
  if (error != noErr) return error;
  const ItemIdentity *const successor = SuccessorOf(inode);
  const CWholeMove move({source.index, from.name.c_str(),
                         successor != nullptr ? successor->inode : inode, destination.index,
                         to.name.c_str()});
  return ErrorFromErrno(
      RenameWithoutReplacing(source, from.name.c_str(), destination, to.name.c_str()));
}

TakenBack CTakingBack::TellLeft() {
  const auto [place, origin, error] = leftItems_.begin()->second;
  leftItems_.erase(leftItems_.begin());
  TakenBack result = NotPutBack(place, error);
  result.oldPath = PathOf(origin);
  return result;
}

TakenBack CTakingBack::RemoveMadeFolder(const JournalPlace &place, Number number) {
  OpenedFolder folder{-1, 0};
  ItemStatus found;
  if (Open(place.folder, Missing::kIsLeft, &folder) != noErr ||
      Tree().Look(folder.descriptor, place.name.c_str(), &found) != 0 || !found.IsFolder() ||
      (number != 0 && !IsFolderOf(found, run_.folders[number].identity.inode))) {
    return {};
  }
  // Entered first, so that the journal tells what it was, should this be taken back too.
  ItemReference reference{};
  reference.folder = folder.index;
  reference.sight = Sight::kListed;
  reference.SetName(place.name);
  FolderIndex removed = 0;
  int descriptor = -1;
  OSErr error = EnterFolder(reference, &removed, &descriptor);
  if (error == noErr) error = OpenTableFolder(folder.index, &folder.descriptor);
  if (error == noErr) {
    error = ErrorFromErrno(RemoveEmptyFolder(folder, place.name.c_str()));
  }
  if (error == noErr) return Done(TakenBackKind::kFolderTakenAway);
  // An item that is to go out of it can have had to wait.
  if (error != fBsyErr || changesLeft_ == 0) return NotPutBack(place, error);
  leftFolders_.emplace_back(place, number);
  return {};
}

TakenBack CTakingBack::MakeRemovedFolder(const JournalPlace &place, std::optional<Number> number) {
  OpenedFolder folder{-1, 0};
  OSErr error = Open(place.folder, Missing::kIsMade, &folder);
  if (error != noErr) return NotPutBack(place, error);
  // What a killed undo has made last it knows nothing of but the name.
  if (!madeLast_.empty() && std::exchange(madeLast_, {}) == place.name) {
    (void)RemoveEmptyFolder(folder, place.name.c_str());
  }
  ItemStatus found;
  const bool isThere = Tree().Look(folder.descriptor, place.name.c_str(), &found) == 0;
  if (isThere && found.IsFolder()) return {};
  if (isThere) return NotPutBack(place, dupFNErr);
  if (number) {
    error = Open(*number, Missing::kIsMade, &folder);
  } else {
    error = ErrorFromErrno(MakeFolder(folder, place.name.c_str()));
  }
  return error == noErr ? Done(TakenBackKind::kFolderMade) : NotPutBack(place, error);
}

TakenBack CTakingBack::RemoveMadeLink(const JournalPlace &place, const std::string &target) {
  OpenedFolder folder{-1, 0};
  if (Open(place.folder, Missing::kIsLeft, &folder) != noErr) return {};
  const int error = RemoveSymbolicLink(folder, place.name.c_str(), target);
  // Another item under that name is somebody else's.
  if (error == ENOENT || error == ESTALE) return {};
  return error == 0 ? Done(TakenBackKind::kAlias) : NotPutBack(place, ErrorFromErrno(error));
}

TakenBack CTakingBack::MakeRemovedLink(const JournalPlace &place, const std::string &target) {
  OpenedFolder folder{-1, 0};
  OSErr error = Open(place.folder, Missing::kIsMade, &folder);
  if (error != noErr) return NotPutBack(place, error);
  std::string found;
  const bool isThere =
      Tree().ReadLink(folder.descriptor, place.name.c_str(), &found) == 0 && found == target;
  if (isThere) return {};
  error = ErrorFromErrno(MakeSymbolicLink(folder, place.name.c_str(), target.c_str()));
  return error == noErr ? Done(TakenBackKind::kItem) : NotPutBack(place, error);
}

TakenBack CTakingBack::TellLost(const JournalPlace &place) {
  OpenedFolder folder{-1, 0};
  ItemStatus found;
  const bool isThere = Open(place.folder, Missing::kIsLeft, &folder) == noErr &&
                       Tree().Look(folder.descriptor, place.name.c_str(), &found) == 0;
  return isThere ? TakenBack() : TakenBack{TakenBackKind::kLost, PathOf(place), {}, noErr};
}

/// The trash knows an item by the path that it had then.
TakenBack CTakingBack::TakeOutOfTrash(const JournalChange &change) {
  const JournalPlace &place = change.place;
  if (Find(place, *change.item)) return {};
  OpenedFolder folder{-1, 0};
  if (OSErr error = Open(place.folder, Missing::kIsMade, &folder); error != noErr) {
    return NotPutBack(place, error);
  }
  const std::string &root = run_.header.path;
  const TrashedItem item{*change.target, change.nameInTrash, device_, *change.item,
                         (root == "/" ? "" : root) + PathOf(place).substr(rootPath_.size())};
  if (writer_ != nullptr) writer_->RecordRestoring(folder.index, place.name, *change.item);
  const int error = ::TakeOutOfTrash(item, folder, place.name.c_str());
  if (error == 0) return Done(TakenBackKind::kItem);
  if (writer_ != nullptr) writer_->RecordFailure(error);
  // Another one of that name is not what was trashed.
  return NotPutBack(place, error == ESTALE ? fnfErr : ErrorFromErrno(error));
}

TakenBack CTakingBack::MoveToTrash(const JournalChange &change) {
  const JournalPlace &place = change.place;
  OpenedFolder folder{-1, 0};
  ItemStatus found;
  if (!Find(place, *change.item)) {
    return trashed_.contains(change.item->inode) ? TakenBack() : NotPutBack(place, fnfErr);
  }
  OSErr error = Open(place.folder, Missing::kIsLeft, &folder);
  if (error == noErr) {
    error = ErrorFromErrno(Tree().Look(folder.descriptor, place.name.c_str(), &found));
  }
  if (error == noErr) {
    const std::vector<Number> within = GiveStatesBackBelow(place);
    error = TrashMoveItem(RefHolding(ReferenceToSeenItem(folder.index, place.name, found)));
    LeaveFolders(within);
  }
  return error == noErr ? Done(TakenBackKind::kItem) : NotPutBack(place, error);
}

/// Where the item is another by now, or gone, there is nothing to give back.
TakenBack CTakingBack::GiveAttributeBack(const JournalChange &change) {
  OpenedFolder folder{-1, 0};
  if (!Find(change.place, *change.item) ||
      Open(change.place.folder, Missing::kIsLeft, &folder) != noErr) {
    return {};
  }
  const char *const name = change.place.name.c_str();
  int error = 0;
  if (change.word == JournalWord::kChmod) {
    error = SetPermissions(folder, name, *change.item, *change.modeBefore);
  } else if (*change.modeBefore != 0) {
    error = SetImmutableAttribute(folder, name, *change.item);
  } else {
    error = ClearImmutableAttribute(folder, name);
  }
  if (error == 0 || error == ENOENT || error == ESTALE) return {};
  return NotPutBack(change.place, ErrorFromErrno(error));
}

bool CTakingBack::IsFolderOf(const ItemStatus &found, std::uint64_t inode) const {
  const ItemIdentity *const successor = SuccessorOf(inode);
  return found.identity.inode == (successor != nullptr ? successor->inode : inode);
}

/// A folder in which somebody else has made a change since keeps the time of that.
TakenBack CTakingBack::GiveStateBack(Number number) {
  const JournalFolder &known = run_.folders[number];
  const std::uint64_t inode = number == 0 ? run_.header.identity.inode : known.identity.inode;
  FolderState state = number == 0 ? run_.header.before : known.before;
  OpenedFolder folder{-1, 0};
  ItemStatus found;
  if (known.isMade || Open(number, Missing::kIsLeft, &folder) != noErr ||
      Tree().Look(folder.descriptor, "", &found) != 0) {
    return {};
  }
  if (!madeInodes_.contains(found.identity.inode)) {
    const auto modified = ModifiedBeforeUndo(folder.index);
    if (!IsFolderOf(found, inode) || !modified) return {};
    const bool isSince = modified > run_.endTime && modified != known.timeGiven;
    state = {found.mode & 07777, found.owner, found.group, isSince ? *modified : state.modified};
    if (found.modified == state.modified) return {};
  }
  const OSErr error = ErrorFromErrno(SetFolderState(folder, state));
  if (error == noErr) return {};
  return number == 0 ? TakenBack{TakenBackKind::kNotPutBack, rootPath_, {}, error}
                     : NotPutBack({known.parent, known.name}, error);
}

std::optional<std::int64_t> CTakingBack::ModifiedBeforeUndo(FolderIndex index) const {
  const auto told = modified_.find(EntryOf(index).inode);
  if (told != modified_.end()) return told->second;
  const FolderState before = StateBeforeRun(index);
  if (before == FolderState()) return std::nullopt;
  return before.modified;
}

/// Opens a folder of the run at the place where it was. Another folder that has its name is taken
/// in its stead; a link or a file is not.
OSErr CTakingBack::Open(Number number, Missing missing, OpenedFolder *folder,
                        FolderIndex keepOpen) {
  std::vector<Number> toEnter;
  while (indexes_[number] == 0 ||
         OpenTableFolder(indexes_[number], &folder->descriptor, keepOpen) != noErr) {
    if (number == 0) return fnfErr;
    indexes_[number] = 0;
    toEnter.push_back(number);
    number = run_.folders[number].parent;
  }
  folder->index = indexes_[number];
  if (toEnter.empty()) return noErr;
  std::ranges::reverse(toEnter);
  for (const Number next : toEnter) {
    if (OSErr error = EnterFrom(folder->index, next, missing, &folder->index); error != noErr) {
      return error;
    }
    indexes_[next] = folder->index;
  }
  return OpenTableFolder(folder->index, &folder->descriptor, keepOpen);
}

OSErr CTakingBack::EnterFrom(FolderIndex parent, Number number, Missing missing,
                             FolderIndex *index) {
  ItemReference place{};
  place.folder = parent;
  place.sight = Sight::kListed;
  place.SetName(run_.folders[number].name);
  int descriptor = -1;
  const OSErr error = EnterFolder(place, index, &descriptor);
  if (error == fnfErr && missing == Missing::kIsMade) return MakeFolderOf(number, place, index);
  if (error != noErr) return error;
  return EntryOf(*index).device == device_ ? noErr : diffVolErr;
}

/// The folder's own mode could keep us from filling it.
OSErr CTakingBack::MakeFolderOf(Number number, const ItemReference &place, FolderIndex *index) {
  const JournalFolder &known = run_.folders[number];
  int descriptor = -1;
  if (OSErr error = OpenTableFolder(place.folder, &descriptor); error != noErr) return error;
  if (int error = MakeFolder({descriptor, place.folder}, known.name.c_str()); error != 0) {
    return ErrorFromErrno(error);
  }
  if (OSErr error = EnterFolder(place, index, &descriptor); error != noErr) return error;
  madeInodes_.insert(EntryOf(*index).inode);
  FolderState state = known.before;
  state.mode |= S_IRWXU;
  // Whether it could be set shows at the end.
  (void)SetFolderState({descriptor, *index}, state);
  ItemStatus made;
  if (int error = Tree().Look(descriptor, "", &made); error != 0) return ErrorFromErrno(error);
  if (writer_ != nullptr) {
    writer_->KnowAsSuccessor(*index, known.identity.inode, made.identity.birth);
  }
  // The folder above can have given it some.
  int parent = -1;
  if (OSErr error = OpenTableFolder(place.folder, &parent, *index); error != noErr) return error;
  const bool hasAny = !Tree().ReadAttributes({parent, place.folder}, known.name.c_str()).empty();
  if (!hasAny && known.attributes.empty()) return noErr;
  // That is told, and no reason to leave what belongs into the folder.
  const int failure = SetFolderAttributes({descriptor, *index}, known.attributes);
  if (failure != 0) {
    more_.push_back(NotPutBack({known.parent, known.name}, ErrorFromErrno(failure)));
  }
  return noErr;
}

std::string CTakingBack::PathOf(const JournalPlace &place) const {
  std::vector<std::string_view> names = {place.name};
  for (Number number = place.folder; number != 0; number = run_.folders[number].parent) {
    names.push_back(run_.folders[number].name);
  }
  std::string path = rootPath_;
  std::ranges::reverse(names);
  for (const std::string_view name : names) path.append("/").append(name);
  return path;
}

TakenBack CTakingBack::NotPutBack(const JournalPlace &place, OSErr error) const {
  return {TakenBackKind::kNotPutBack, PathOf(place), {}, error};
}

void CTakingBack::WriteDown(const TakenBack &result) const {
  if (writer_ == nullptr) return;
  if (result.kind == TakenBackKind::kLost) writer_->Write("lost", {result.path});
  if (result.kind == TakenBackKind::kNotPutBack) {
    writer_->Write("left", {result.path, std::to_string(result.error)});
  }
}

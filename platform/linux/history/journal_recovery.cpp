#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "platform/journal.h"
#include "platform/linux/history/dropped_folder.h"
#include "platform/linux/history/journal_folder.h"
#include "platform/linux/history/journal_reader.h"
#include "platform/linux/history/journal_writer.h"
#include "platform/linux/history/past_runs.h"
#include "platform/linux/history/run_journal.h"
#include "platform/linux/history/taking_back.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/tree_changes.h"
#include "platform/linux/tree/tree_memory.h"

namespace {

/// Puts right what one run has left. Every folder is entered from the one above it, from the
/// dropped folder down, and has to be the one that the journal knows.
class CRecovery {
 public:
  /// What it does is written down by `writer`, in the journal itself: it can be interrupted too.
  CRecovery(const Journal &journal, CJournalWriter *writer, std::vector<std::string> *lines)
      : journal_(journal), writer_(*writer), lines_(*lines), indexes_(journal.folders.size(), 0) {}

  /// Answers whether nothing is left to do.
  bool PutAllRight();

 private:
  bool EnterDroppedFolder();
  FolderIndex FindFolder(std::uint32_t number);
  bool IsAt(const ItemIdentity &item, const JournalPlace &place);
  int Rename(const JournalPlace &from, const JournalPlace &to);
  int Remove(const JournalPlace &place);
  bool RemoveOtherNames(const HalfMove &move, const JournalPlace &kept, int *removed);
  bool PutRight(const HalfMove &move);
  bool RemoveOldPlaceHolder(const PlaceHolder &holder);
  std::string PathOf(const JournalPlace &place) const;
  void TellOfSuccess(const JournalPlace &place, const char *what);
  void TellOfProblem(const std::string &line);

  const Journal &journal_;
  CJournalWriter &writer_;
  std::vector<std::string> &lines_;
  std::vector<FolderIndex> indexes_;  ///< by the journal's number; 0 while not entered
  std::uint64_t device_ = 0;          ///< the dropped folder's device today
};

bool CRecovery::EnterDroppedFolder() {
  indexes_[0] = FindDroppedFolder(journal_.header);
  if (indexes_[0] == 0) return false;
  device_ = EntryOf(indexes_[0]).device;
  writer_.Know(indexes_[0], 0);
  return true;
}

/// Enters a folder of the journal; 0 when another stands in its place, or none.
FolderIndex CRecovery::FindFolder(std::uint32_t number) {
  std::vector<std::uint32_t> toEnter;
  while (indexes_[number] == 0) {
    toEnter.push_back(number);
    number = journal_.folders[number].parent;
  }
  FolderIndex index = indexes_[number];
  for (auto next = toEnter.rbegin(); next != toEnter.rend(); ++next) {
    const JournalFolder &folder = journal_.folders[*next];
    const bool isOnSameDevice = folder.identity.device == journal_.header.device;
    ItemReference expected{};
    expected.device = isOnSameDevice ? device_ : folder.identity.device;
    expected.inode = folder.identity.inode;
    expected.folder = index;
    expected.sight = Sight::kIdentified;
    expected.SetName(folder.name);
    int descriptor = -1;
    if (EnterFolder(expected, &index, &descriptor) != noErr) return 0;
    indexes_[*next] = index;
    writer_.Know(index, *next);
  }
  return index;
}

bool CRecovery::IsAt(const ItemIdentity &item, const JournalPlace &place) {
  const FolderIndex folder = FindFolder(place.folder);
  int descriptor = -1;
  ItemStatus found;
  return folder != 0 && OpenTableFolder(folder, &descriptor) == noErr &&
         Tree().Look(descriptor, place.name.c_str(), &found) == 0 &&
         found.identity.inode == item.inode && IsSameBirth(found.identity, item);
}

int CRecovery::Rename(const JournalPlace &from, const JournalPlace &to) {
  OpenedFolder source{-1, FindFolder(from.folder)};
  OpenedFolder destination{-1, FindFolder(to.folder)};
  if (source.index == 0 || destination.index == 0 ||
      OpenTableFolder(destination.index, &destination.descriptor) != noErr ||
      OpenTableFolder(source.index, &source.descriptor, destination.index) != noErr) {
    return ENOENT;
  }
  // Every start tries this anew: what would fail is not worth its lines each time.
  ItemStatus taken;
  if (Tree().Look(destination.descriptor, to.name.c_str(), &taken) == 0) return EEXIST;
  return RenameWithoutReplacing(source, from.name.c_str(), destination, to.name.c_str());
}

/// Removes one name of an item that has another: no content is lost with it.
int CRecovery::Remove(const JournalPlace &place) {
  OpenedFolder folder{-1, FindFolder(place.folder)};
  if (folder.index == 0 || OpenTableFolder(folder.index, &folder.descriptor) != noErr)
    return ENOENT;
  ItemStatus found;
  if (int error = Tree().Look(folder.descriptor, place.name.c_str(), &found); error != 0) {
    return error;
  }
  return found.linkCount > 1 ? RemoveFile(folder, place.name.c_str()) : EPERM;
}

/// Leaves an item that was being moved by linking under one name, and counts the others removed;
/// false when one could not be.
bool CRecovery::RemoveOtherNames(const HalfMove &move, const JournalPlace &kept, int *removed) {
  bool isAnyLeft = false;
  for (const JournalPlace &place : move.places) {
    if (place == kept || !IsAt(move.item, place)) continue;
    if (int error = Remove(place); error != 0) {
      TellOfProblem(PathOf(place) + ": could not be removed (" + std::strerror(error) +
                    "); an interrupted run has left the same file as " + PathOf(kept));
      isAnyLeft = true;
    } else {
      ++*removed;
    }
  }
  return !isAnyLeft;
}

/// Answers whether nothing is left to do for the item.
bool CRecovery::PutRight(const HalfMove &move) {
  const JournalPlace &origin = move.places.front();
  const JournalPlace &goal = move.places[move.goal];
  int removed = 0;
  for (const JournalPlace &place : {goal, origin}) {
    if (!IsAt(move.item, place)) continue;
    const bool isAllRight = RemoveOtherNames(move, place, &removed);
    if (removed > 0) TellOfSuccess(place, "is whole again");
    return isAllRight;
  }
  const auto found = std::ranges::find_if(
      move.places, [&](const JournalPlace &place) { return IsAt(move.item, place); });
  if (found == move.places.end()) {
    TellOfProblem(PathOf(origin) +
                  ": is not where an interrupted run had left it; nothing was touched");
    // It can still be in a folder that is away for now.
    return std::ranges::all_of(
        move.places, [this](const JournalPlace &place) { return FindFolder(place.folder) != 0; });
  }
  std::vector<JournalPlace> choices = {goal, origin};
  // Its old folder can be gone. Where it is it gets the name that it was to have, or its old one.
  std::ranges::copy_if(move.places, std::back_inserter(choices), [&](const JournalPlace &place) {
    return place.folder == found->folder && place != *found;
  });
  choices.push_back({found->folder, origin.name});
  int error = 0;
  for (const JournalPlace &choice : choices) {
    error = Rename(*found, choice);
    if (error != 0) continue;
    TellOfSuccess(choice, choice == origin ? "is back in its place" : "has its new name now");
    return RemoveOtherNames(move, choice, &removed);
  }
  TellOfProblem(PathOf(origin) + ": could not be put back (" + std::strerror(error) +
                "); an interrupted run has left it as " + PathOf(*found));
  return false;
}

/// Answers whether nothing is left to do. Once its rename has been made, what bears its name is the
/// item itself. One that was never made, or is empty no more, is not worth a word.
bool CRecovery::RemoveOldPlaceHolder(const PlaceHolder &holder) {
  const auto open = [this](std::uint32_t number, OpenedFolder *folder) {
    folder->index = FindFolder(number);
    return folder->index != 0 && OpenTableFolder(folder->index, &folder->descriptor) == noErr;
  };
  OpenedFolder folder{-1, 0};
  ItemStatus found;
  if (holder.from && (!open(holder.from->folder, &folder) ||
                      Tree().Look(folder.descriptor, holder.from->name.c_str(), &found) != 0)) {
    return true;
  }
  if (!open(holder.place.folder, &folder)) return false;
  int error = Tree().Look(folder.descriptor, holder.place.name.c_str(), &found);
  if (error == 0) error = RemovePlaceHolder(folder, holder.place.name.c_str());
  return error == 0 || error == ENOENT || error == ENOTEMPTY || error == EEXIST;
}

bool CRecovery::PutAllRight() {
  if (journal_.halfMoves.empty() && journal_.placeHolders.empty()) return true;
  if (!EnterDroppedFolder()) {
    TellOfProblem(
        journal_.header.path +
        ": is not the folder that it was; what an interrupted run was moving in it is left "
        "alone: " +
        (journal_.halfMoves.empty() ? PathOf(journal_.placeHolders.back().place)
                                    : PathOf(journal_.halfMoves.back().places.front())));
    return false;
  }
  const auto holdersLeft = std::ranges::count_if(
      journal_.placeHolders,
      [this](const PlaceHolder &holder) { return !RemoveOldPlaceHolder(holder); });
  const auto movesLeft = std::ranges::count_if(
      journal_.halfMoves, [this](const HalfMove &move) { return !PutRight(move); });
  return holdersLeft == 0 && movesLeft == 0;
}

void CRecovery::TellOfSuccess(const JournalPlace &place, const char *what) {
  lines_.push_back(PathOf(place) + ": " + what + "; a run was interrupted while moving it");
}

/// What could not be put right is told once, and tried again at every start.
void CRecovery::TellOfProblem(const std::string &line) {
  if (!journal_.isToldOf) lines_.push_back(line);
}

std::string CRecovery::PathOf(const JournalPlace &place) const {
  std::string path = "/" + place.name;
  for (std::uint32_t folder = place.folder; folder != 0; folder = journal_.folders[folder].parent) {
    path.insert(0, "/" + journal_.folders[folder].name);
  }
  return (journal_.header.path == "/" ? "" : journal_.header.path) + path;
}

/// What there is to tell of a run that had no item on its way.
std::string LineOfInterruption(const Journal &journal) {
  const std::string line = journal.header.path + ": a run was interrupted here";
  if (journal.filesDone == 0) return line + ", at its beginning";
  return line + "; at least " + std::to_string(journal.filesDone) +
         (journal.filesDone == 1 ? " file was" : " files were") + " done, the rest not reached";
}

/// Takes an undo that was killed to its end, in its own journal. Answers what there is to tell;
/// nothing when it has to wait.
std::string EndTakingBack(const CJournalFolder &journals, const std::string &name,
                          const Journal &own, CJournalWriter *writer) {
  if (FindOverlappingRun(journals, own.header, name)) return {};
  const FolderIndex folder = FindDroppedFolder(own.header);
  if (folder == 0) return {};
  const std::string line = own.header.path + ": an undo was interrupted here";
  const CMappedJournal mapped(journals.OpenJournal(own.takesBack.name));
  auto run = ParseJournal(mapped.Text());
  if (!run) return line + "; the journal of the run that it takes back is gone";
  Memory().BeginRun();
  writer->GoOn();
  CTakingBack takingBack(*std::move(run), mapped.Text(), folder,
                         SuccessorsSince(journals, own.takesBack.name, own.header), &own, writer);
  std::size_t left = 0;
  for (TakenBack taken; takingBack.Next(&taken);) {
    left += taken.kind == TakenBackKind::kNotPutBack || taken.kind == TakenBackKind::kLost ? 1 : 0;
  }
  if (left == 0) return line + "; it has been taken to its end";
  return line + "; it has been taken to its end, save " + std::to_string(left) +
         (left == 1 ? " item" : " items") + " that could not be put back";
}

/// Puts right what the run of a journal has left, and answers what there is to tell.
std::vector<std::string> Recover(const CJournalFolder &journals, const std::string &name,
                                 const CDescriptor &file) {
  std::vector<std::string> lines;
  const std::optional<Journal> journal = ReadJournal(file);
  if (!journal || journal->isEnded) return lines;
  CJournalWriter writer;
  // Should it fail, the next start comes to the same end. The lock is that of both descriptors.
  (void)writer.Continue(fcntl(file.Get(), F_DUPFD_CLOEXEC, 0), *journal);
  bool isAllRight = CRecovery(*journal, &writer, &lines).PutAllRight();
  const bool takesBack = !journal->takesBack.name.empty();
  for (const std::string &line : lines) writer.Write("recovered", {line});
  if (takesBack && isAllRight) {
    const std::string line = EndTakingBack(journals, name, *journal, &writer);
    isAllRight = !line.empty();
    if (isAllRight) lines.push_back(line);
  } else if (lines.empty() && !journal->isToldOf) {
    lines.push_back(LineOfInterruption(*journal));
  }
  if (isAllRight) {
    writer.Write("end", {takesBack ? "done" : "interrupted", ExactTimeForJournal()});
  } else if (!journal->isToldOf && !lines.empty()) {
    writer.Write("told", {TimeForJournal()});
  }
  return lines;
}

}  // namespace

std::vector<std::string> RecoverInterruptedRuns() {
  std::vector<std::string> lines;
  CJournalFolder journals;
  try {
    if (journals.Open(false) != 0) return lines;
    for (const std::string &name : journals.Names()) {
      const CDescriptor file = journals.OpenJournal(name);
      if (!file.IsOpen() || IsJournalEnded(file) || IsJournalInUse(file) != false) continue;
      for (std::string &line : Recover(journals, name, file)) lines.push_back(std::move(line));
    }
  } catch (const std::bad_alloc &) {
    // The journals stay as they are for the next start.
  }
  Memory().EndRun();
  for (const std::string &line : lines) TellOfJournals(line);
  return lines;
}

#include "platform/linux/history/past_runs.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "platform/linux/history/dropped_folder.h"
#include "platform/linux/tree/folder_table.h"

namespace {

std::string ReadBytes(const CDescriptor &file, std::size_t start, std::size_t count) {
  std::string text(count, '\0');
  const ssize_t size = pread(file.Get(), text.data(), count, static_cast<off_t>(start));
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return text;
}

/// The last complete line, without its end.
std::string LastLine(const CDescriptor &file) {
  constexpr std::size_t kMost = 128;
  const std::size_t size = SizeOf(file);
  std::string text = ReadBytes(file, size - std::min(size, kMost), kMost);
  if (!text.ends_with('\n')) return {};
  text.pop_back();
  return text.substr(text.rfind('\n') + 1);
}

std::optional<KeptJournal> ReadKeptJournal(const CDescriptor &file, const std::string &name) {
  if (!file.IsOpen()) return std::nullopt;
  auto header = ReadJournalHeader(file);
  if (!header) return std::nullopt;
  KeptJournal kept{.name = name, .header = *std::move(header)};
  const std::string last = LastLine(file);
  kept.isEnded = last.starts_with("end\t");
  kept.isStopped = last.starts_with("end\tstopped\t");
  const std::string begin = ReadBytes(file, 0, std::size_t{1} << 16);
  std::string_view rest = begin;
  (void)TakeJournalLine(&rest);
  (void)TakeJournalLine(&rest);
  const std::string_view third = TakeJournalLine(&rest).value_or("");
  CJournalFields fields(third);
  const auto word = fields.Raw();
  if (word == "undoes" || word == "redoes") {
    kept.takesBack = {fields.Name().value_or(""), word == "redoes"};
  }
  kept.isEmpty = third.empty() || word == "end";
  return kept;
}

PastRunState StateOf(const KeptJournal *undo, const CJournalFolder &journals, PastRun *run) {
  if (undo == nullptr) return PastRunState::kInForce;
  if (undo->isStopped || !undo->isEnded) return PastRunState::kHalfTakenBack;
  const auto journal = ReadJournal(journals.OpenJournal(undo->name));
  run->left = journal ? journal->itemsLeft : 0;
  return run->left > 0 ? PastRunState::kTakenBackInPart : PastRunState::kTakenBack;
}

PastRun Describe(const Journal &journal) {
  const PastCounts &counts = journal.counts;
  PastRun run;
  run.folder = journal.header.path;
  run.time = journal.header.time;
  run.end = journal.isStopped ? RunEnd::kStopped : RunEnd::kDone;
  run.wasInterrupted = journal.isInterrupted || !journal.isEnded;
  run.moved = counts.moved;
  run.renamed = counts.renamed;
  run.aliased = counts.aliased;
  run.deleted = counts.deleted;
  run.foldersDeleted = counts.foldersDeleted;
  run.trashed = counts.trashed;
  run.collated = counts.collated;
  return run;
}

/// Why a run can't be taken back; empty when it can.
std::string WhyNotKnown(const KeptJournal &journal, const CDescriptor &file) {
  if (journal.header.format == kFirstJournalFormat) {
    return "an older version has made its journal, which does not tell enough";
  }
  if (journal.isEnded) return {};
  return IsJournalInUse(file) == true
             ? "another Vannerly (process " + std::to_string(journal.header.process) +
                   ") is at work in it"
             : "it was interrupted, and waits to be put right";
}

bool Look(const FSRef &folder, ItemStatus *found) {
  FolderIndex index = 0;
  int descriptor = -1;
  return FindTableFolder(folder, &index, &descriptor) == noErr &&
         Tree().Look(descriptor, "", found) == 0;
}

/// Goes on from the folders that have had successors to those that an undo has made anew. All of
/// one undo count at once: one can have got the number of another that is gone.
void Follow(const Successors &made, Successors *successors) {
  Successors first = made;
  for (auto &[inode, now] : *successors) {
    first.erase(inode);
    if (const auto next = made.find(now.inode); next != made.end()) now = next->second;
  }
  successors->merge(first);
}

}  // namespace

CPastRuns::CPastRuns(const CJournalFolder &journals) {
  for (const std::string &name : journals.Names()) {
    auto kept = ReadKeptJournal(journals.OpenJournal(name), name);
    if (kept && !kept->isEmpty) list_.push_back(*std::move(kept));
  }
  // Whether a run is in force is known when all that have come after it are.
  for (std::size_t place = list_.size(); place-- > 0;) {
    const KeptJournal &taking = list_[place];
    if (taking.takesBack.name.empty() ||
        (taking.takenBackBy && !list_[*taking.takenBackBy].isStopped))
      continue;
    const auto taken = std::ranges::find(list_, taking.takesBack.name, &KeptJournal::name);
    if (taken != list_.end() && !taken->takenBackBy) taken->takenBackBy = place;
  }
}

/// One that was stopped can be gone on with.
bool CPastRuns::CanBeTakenBack(std::size_t place, TakeBack how) const {
  const KeptJournal &kept = list_[place];
  const KeptJournal *const taking = kept.takenBackBy ? &list_[*kept.takenBackBy] : nullptr;
  // One that has no end is at work, which shows when this one begins.
  const bool isTaken = taking != nullptr && taking->isEnded && !taking->isStopped;
  return kept.IsUndo() == (how == TakeBack::kRedo) && kept.isEnded && !isTaken &&
         kept.header.format != kFirstJournalFormat;
}

std::optional<RunToTakeBack> CPastRuns::Find(TakeBack how, const ItemStatus *folder) const {
  std::vector<const JournalHeader *> flattened;
  for (std::size_t place = list_.size(); place-- > 0;) {
    const KeptJournal &kept = list_[place];
    if (folder != nullptr && !IsDroppedFolder(kept.header, *folder)) continue;
    // What was undone before a new run can't be done again: it would meet with another tree.
    if (kept.takesBack.name.empty()) flattened.push_back(&kept.header);
    const bool isEnded =
        how == TakeBack::kRedo && std::ranges::any_of(flattened, [&](const JournalHeader *later) {
          return later->device == kept.header.device && later->identity == kept.header.identity;
        });
    if (isEnded || !CanBeTakenBack(place, how)) continue;
    const bool isStopped = kept.takenBackBy && list_[*kept.takenBackBy].isStopped;
    return RunToTakeBack{kept.name, isStopped ? list_[*kept.takenBackBy].name : "",
                         kept.header.path, how};
  }
  return std::nullopt;
}

Successors SuccessorsSince(const CJournalFolder &journals, const std::string &name,
                           const JournalHeader &header) {
  Successors successors;
  const CPastRuns past(journals);
  for (const KeptJournal &kept : past.List()) {
    const bool isOther =
        kept.name <= name || kept.takesBack.name.empty() || kept.header.identity != header.identity;
    const auto journal = isOther ? std::nullopt : ReadJournal(journals.OpenJournal(kept.name));
    if (!journal) continue;
    Follow(journal->successors, &successors);
  }
  return successors;
}

std::vector<PastRun> ListPastRuns(const std::vector<FSRef> &folders) {
  std::vector<PastRun> runs;
  CJournalFolder journals;
  if (journals.Open(false) != 0) return runs;
  std::vector<ItemStatus> wanted;
  for (const FSRef &folder : folders) {
    ItemStatus found;
    if (Look(folder, &found)) wanted.push_back(found);
  }
  const CPastRuns past(journals);
  for (auto next = past.List().rbegin(); next != past.List().rend(); ++next) {
    const KeptJournal &kept = *next;
    const auto isOf = [&](const ItemStatus &folder) {
      return IsDroppedFolder(kept.header, folder);
    };
    if (!kept.takesBack.name.empty() || (!folders.empty() && std::ranges::none_of(wanted, isOf)))
      continue;
    const CDescriptor file = journals.OpenJournal(kept.name);
    const auto journal = ReadJournal(file);
    if (!journal) continue;
    PastRun run = Describe(*journal);
    run.id = kept.name;
    run.state =
        StateOf(kept.takenBackBy ? &past.List()[*kept.takenBackBy] : nullptr, journals, &run);
    run.reason = WhyNotKnown(kept, file);
    if (!run.reason.empty()) {
      run.state = PastRunState::kNotKnown;
    } else if (journal->hasGap) {
      run.reason = "its journal breaks off, and what came after that can't";
    }
    runs.push_back(std::move(run));
  }
  return runs;
}

OSErr FindRunToTakeBack(TakeBack how, const FSRef *folder, RunToTakeBack *run,
                        std::string *reason) {
  *reason =
      how == TakeBack::kUndo ? "there is nothing to take back" : "there is nothing to do again";
  CJournalFolder journals;
  if (journals.Open(false) != 0) return fnfErr;
  ItemStatus found;
  if (folder != nullptr && !Look(*folder, &found)) return fnfErr;
  const CPastRuns past(journals);
  auto to = past.Find(how, folder != nullptr ? &found : nullptr);
  if (to) {
    *run = *std::move(to);
    return noErr;
  }
  for (const KeptJournal &kept : past.List()) {
    if (folder != nullptr && !IsDroppedFolder(kept.header, found)) continue;
    const std::string why = WhyNotKnown(kept, journals.OpenJournal(kept.name));
    if (!why.empty()) *reason = why;
  }
  return fnfErr;
}

bool IsFolderOfRun(const FSRef &folder, const RunToTakeBack &run) {
  CJournalFolder journals;
  ItemStatus found;
  if (journals.Open(false) != 0 || !Look(folder, &found)) return false;
  const CDescriptor file = journals.OpenJournal(run.id);
  const auto header = file.IsOpen() ? ReadJournalHeader(file) : std::nullopt;
  return header && IsDroppedFolder(*header, found);
}

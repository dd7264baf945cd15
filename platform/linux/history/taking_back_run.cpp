// The taking back in hand, as a run.
#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "platform/history.h"
#include "platform/linux/history/past_runs.h"
#include "platform/linux/history/run_journal.h"
#include "platform/linux/history/taking_back.h"
#include "platform/linux/system/errors.h"

namespace {

/// The taking back in hand.
struct InHand {
  CMappedJournal mapped;
  std::optional<CTakingBack> work;

  explicit InHand(const CDescriptor &file) : mapped(file) {}
};

std::unique_ptr<InHand> inHand;

OSErr Begin(const RunToTakeBack &run, const FSRef &folder, std::int32_t *count,
            std::string *reason) {
  std::optional<Journal> own;
  std::optional<Journal> journal;
  Successors successors;
  {
    // Given up before the run begins, which opens it too.
    CJournalFolder journals;
    if (int error = journals.Open(false); error != 0) return ErrorFromErrno(error);
    inHand = std::make_unique<InHand>(journals.OpenJournal(run.id));
    if (!run.goesOn.empty()) own = ReadJournal(journals.OpenJournal(run.goesOn));
    journal = ParseJournal(inHand->mapped.Text());
    if (journal) successors = SuccessorsSince(journals, run.id, journal->header);
  }
  if (!journal || (!run.goesOn.empty() && !own)) return fnfErr;
  const RunOrder order{{run.id, run.how == TakeBack::kRedo}, run.goesOn};
  if (OSErr error = BeginRunJournalFor(order, folder, reason); error != noErr) return error;
  EndRunMoves();
  FolderIndex index = 0;
  int descriptor = -1;
  OSErr error = FindTableFolder(folder, &index, &descriptor);
  if (error == noErr) {
    inHand->work.emplace(*std::move(journal), inHand->mapped.Text(), index, std::move(successors),
                         own ? &*own : nullptr, JournalInHand());
    *count = static_cast<std::int32_t>(std::min<std::size_t>(inHand->work->StepCount(), INT32_MAX));
    return noErr;
  }
  EndRunJournal(RunEnd::kStopped);
  return error;
}

}  // namespace

OSErr BeginTakingBack(const RunToTakeBack &run, const FSRef &folder, std::int32_t *count,
                      std::string *reason) {
  try {
    return Begin(run, folder, count, reason);
  } catch (const std::bad_alloc &) {
    EndTakingBack(RunEnd::kStopped);
    return memFullErr;
  }
}

bool TakeBackNext(TakenBack *what) {
  return inHand->work->Next(what);
}

void EndTakingBack(RunEnd end) {
  inHand.reset();
  EndRunJournal(end);
}

#include "app/report_words.h"

#include <algorithm>
#include <iterator>

namespace {

struct KnownResult {
  OSErr error;
  ResultWords words;
};

constexpr KnownResult kKnownResults[] = {
    {dskFulErr, {"dskFulErr", "the disk is full"}},
    {ioErr, {"ioErr", "the disk reports an error"}},
    {bdNamErr, {"bdNamErr", "its new name or its path would be too long"}},
    {tmfoErr, {"tmfoErr", "too many files are open"}},
    {eofErr, {"eofErr", "the journal of its run breaks off"}},
    {fnfErr, {"fnfErr", "it is no longer there"}},
    {wPrErr, {"wPrErr", "the disk is read-only"}},
    {fBsyErr, {"fBsyErr", "it is in use, has a volume mounted on it or is not empty"}},
    {dupFNErr, {"dupFNErr", "its name is taken"}},
    {paramErr, {"paramErr", "the file system has no way to do it"}},
    {permErr, {"permErr", "the system does not permit it"}},
    {memFullErr, {"memFullErr", "there is not enough memory"}},
    {dirNFErr, {"dirNFErr", "what should be a folder is not one"}},
    {userCanceledErr, {"userCanceledErr", "the program was told to end"}},
    {diffVolErr, {"diffVolErr", "it lies on another volume"}},
    {afpAccessDenied, {"afpAccessDenied", "permission is denied"}},
    {errFSOperationNotSupported,
     {"errFSOperationNotSupported", "there is no trash for it that can be used"}},
    {errFSRefsDifferent,
     {"errFSRefsDifferent",
      "it is not, or was not all the time, the folder that was looked through"}},
};

}  // namespace

ResultWords WordsOf(OSErr error) {
  const auto *const known = std::ranges::find(kKnownResults, error, &KnownResult::error);
  if (known == std::end(kKnownResults)) return {"", "it could not be done"};
  return known->words;
}

const char *HappenedInWords(RunEvent event, bool isPlanned) {
  const EventWords &words = kEventWords[static_cast<std::size_t>(event)];
  return isPlanned ? words.wouldHappen : words.happened;
}

const char *WordsOf(RunOutcome outcome) {
  switch (outcome) {
    case RunOutcome::kFinished:
      return "finished";
    case RunOutcome::kStopped:
      return "stopped";
    case RunOutcome::kNothingFound:
      return "nothing found";
    case RunOutcome::kCountsDiffer:
      return "differing counts";
    case RunOutcome::kOutOfMemory:
      return "out of memory";
    case RunOutcome::kNotAFolder:
      return "not a folder";
    case RunOutcome::kNoJournal:
      return "no journal";
    case RunOutcome::kAsksFirst:
      return "asks first";
    case RunOutcome::kInUse:
      break;
  }
  return "in use";
}

const char *EndOf(const PastRun &run) {
  if (run.wasInterrupted) return "interrupted";
  return run.end == RunEnd::kStopped ? "stopped" : "finished";
}

const char *WhyLeftAlone(RunOutcome outcome) {
  switch (outcome) {
    case RunOutcome::kNotAFolder:
      return "it is no folder any more";
    case RunOutcome::kNoJournal:
      return "the journal of its run can't be used";
    case RunOutcome::kCountsDiffer:
      return "no file was touched, as others came or went while they were looked for";
    case RunOutcome::kOutOfMemory:
      return "no file was touched, as there is not enough memory for the list of them";
    default:
      return nullptr;
  }
}

#include "app/cli/report_words.h"

#include <algorithm>
#include <iterator>

#include "platform/linux/tree/item_location.h"

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

std::string Reason(OSErr error) {
  const ResultWords words = WordsOf(error);
  std::string text = std::string(": ") + words.reason + " (";
  if (*words.name != '\0') text.append(words.name).append(", ");
  return text + std::to_string(error) + ")";
}

/// What a place in the words of an event stands for.
std::string TextFor(std::string_view place, const RunNote &note, const std::string &path) {
  if (place == "reason") return Reason(note.error);
  if (place == "count") return std::to_string(note.count);
  if (place == "old") return note.oldPath != nullptr ? " as " + *note.oldPath : "";
  const std::string now = note.now != nullptr ? PathOnDisk(*note.now) : path;
  if (place == "name") return now.substr(now.rfind('/') + 1);
  return now != path ? "; its name is now " + now : "";
}

}  // namespace

ResultWords WordsOf(OSErr error) {
  const auto *const known = std::ranges::find(kKnownResults, error, &KnownResult::error);
  if (known == std::end(kKnownResults)) return {"", "it could not be done"};
  return known->words;
}

std::string Expanded(std::string_view words, const RunNote &note, const std::string &path) {
  std::string line;
  while (!words.empty()) {
    const std::size_t begin = std::min(words.find('{'), words.size());
    line += words.substr(0, begin);
    words.remove_prefix(begin);
    if (words.empty()) break;
    const std::size_t end = words.find('}');
    line += TextFor(words.substr(1, end - 1), note, path);
    words.remove_prefix(end + 1);
  }
  return line;
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
    case RunOutcome::kInUse:
      break;
  }
  return "in use";
}

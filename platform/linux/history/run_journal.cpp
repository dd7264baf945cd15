#include "platform/linux/history/run_journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "platform/journal.h"
#include "platform/linux/history/journal_folder.h"
#include "platform/linux/history/journal_text.h"
#include "platform/linux/history/journal_writer.h"
#include "platform/linux/system/ending.h"
#include "platform/linux/system/log.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/tree_memory.h"
#include "platform/plan.h"
#include "platform/run_changes.h"

namespace {

std::unique_ptr<CJournalWriter> run;
std::string nameOfRun;
JournalLineHandler lineHandler = nullptr;

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

int BeginNew(const CJournalFolder &journals, const JournalHeader &header, const RunOrder &order) {
  journals.DeleteOldest(order.takesBack.name);
  std::string name;
  const int descriptor = journals.MakeJournal(&name);
  if (descriptor < 0) return errno;
  auto begun = std::make_unique<CJournalWriter>();
  if (int error = begun->Begin(descriptor, header); error != 0) {
    journals.DeleteJournal(name);
    return error;
  }
  run = std::move(begun);
  nameOfRun = name;
  const auto &[takenBack, isRedo] = order.takesBack;
  if (!takenBack.empty()) run->Write(isRedo ? "redoes" : "undoes", {takenBack});
  return 0;
}

int GoOn(const CJournalFolder &journals, const std::string &name) {
  CDescriptor file = journals.OpenJournal(name);
  if (!file.IsOpen() || IsJournalInUse(file) == true) return ENOENT;
  const auto journal = ReadJournal(file);
  if (!journal) return ENOENT;
  auto begun = std::make_unique<CJournalWriter>();
  // The lock is that of both descriptors.
  const int error = begun->Continue(fcntl(file.Get(), F_DUPFD_CLOEXEC, 0), *journal);
  if (error != 0) return error;
  begun->GoOn();
  run = std::move(begun);
  nameOfRun = name;
  return 0;
}

/// 0, an `errno` value, or EBUSY with the reason.
int Begin(const RunOrder &order, const FSRef &folder, std::string *reason) {
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
  if (const auto other = FindOverlappingRun(journals, header, order.goesOn)) {
    *reason = "another Vannerly (process " + std::to_string(other->process) + ") is at work in " +
              (other->path == header.path ? "it" : other->path);
    return EBUSY;
  }
  return order.goesOn.empty() ? BeginNew(journals, header, order) : GoOn(journals, order.goesOn);
}

}  // namespace

std::optional<JournalHeader> FindOverlappingRun(const CJournalFolder &journals,
                                                const JournalHeader &own,
                                                const std::string &ownName) {
  for (const std::string &name : journals.Names()) {
    if (name == ownName) continue;
    const CDescriptor journal = journals.OpenJournal(name);
    if (!journal.IsOpen() || IsJournalInUse(journal) != true) continue;
    auto other = ReadJournalHeader(journal);
    if (other && DoOverlap(own, *other)) return other;
  }
  return std::nullopt;
}

OSErr BeginRunJournal(const FSRef &folder, std::string *reason) {
  return BeginRunJournalFor({}, folder, reason);
}

OSErr BeginRunJournalFor(const RunOrder &order, const FSRef &folder, std::string *reason) {
  run.reset();
  Memory().BeginRun();
  int error = 0;
  try {
    // A plan changes nothing, so there is nothing to write down, and nobody to keep out.
    if (!IsPlanning()) error = Begin(order, folder, reason);
  } catch (const std::bad_alloc &) {
    error = ENOMEM;
  }
  if (error == EBUSY) return fBsyErr;
  if (error != 0) TellThatNoneIsKept(error);
  NoteFolderTaken();
  return noErr;
}

CJournalWriter *JournalInHand() {
  return run.get();
}

std::string RunJournalInHand() {
  return run != nullptr ? nameOfRun : std::string();
}

void EndRunMoves() {
  NoteFolderMoved();
}

void EndRunJournal(RunEnd end) {
  NoteFolderDone();
  if (run == nullptr) return;
  // Without its last line, the next start puts right what was left halfway.
  if (!run->IsAnythingHalfDone()) {
    run->Write("end", {end == RunEnd::kDone ? "done" : "stopped", ExactTimeForJournal()});
  }
  run.reset();
}

void TellThatNoneIsKept(int error) {
  static bool isTold = false;
  if (std::exchange(isTold, true)) return;
  const std::string path = CJournalFolder::Path();
  TellOfJournals((path.empty() ? "the home folder" : path) + ": no journal can be written (" +
                 std::strerror(error) + "); runs go on without one");
}

void TellOfJournals(const std::string &line) {
  WriteToSystemLog(line);
  if (lineHandler != nullptr) lineHandler(line);
}

void JournalSetLineHandler(JournalLineHandler handler) {
  lineHandler = handler;
}

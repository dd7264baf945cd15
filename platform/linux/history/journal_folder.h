/// The folder that holds the journals, and the files in it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/system/descriptor.h"
#include "platform/linux/system/safe_file.h"

/// Open and locked against other processes of this program for the life of the object.
class CJournalFolder {
 public:
  /// Where journals are kept; empty when the user has no home.
  static std::string Path();

  /// Opens the folder, and makes it before when `isMade`. Returns 0 or an `errno` value: EPERM for
  /// a folder that belongs to somebody else, which is not used.
  int Open(bool isMade);

  /// The names of the journals, the oldest first.
  std::vector<std::string> Names() const;

  /// Opens a journal for reading and writing. Not open when it is no regular file of the user's
  /// with one name: what others can write must not tell the program what to do.
  CDescriptor OpenJournal(const std::string &name) const;

  /// Makes a journal, for the user alone, and locks it. Returns a descriptor; -1 and `errno`.
  int MakeJournal(std::string *name) const;
  void DeleteJournal(const std::string &name) const;

  /// Deletes the oldest journals, so that with the one about to be made there are the last 20 of no
  /// more than 200 MiB in all. The last one stays whatever its size. One that is in use stays, and
  /// one of an interrupted run stays until there are five times as many. `kept` stays in any case.
  void DeleteOldest(const std::string &kept) const;

 private:
  std::optional<CDescriptor> folder_;
  CFolderLock lock_;
};

/// Whether a process writes the journal: it then holds the lock. Otherwise this process does, until
/// the descriptor is closed. nullopt when the file system cannot tell.
std::optional<bool> IsJournalInUse(const CDescriptor &journal);

/// Whether the journal's last line says that nothing is left to do.
bool IsJournalEnded(const CDescriptor &journal);

/// The size of an open file.
std::size_t SizeOf(const CDescriptor &file);

/// Reading and writing whole small files, such that a file is never seen half written and what it
/// held is never lost. Each call returns 0 or an `errno` value.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "platform/linux/system/descriptor.h"

/// Reads a file and sets what `fstat` says of it. Anything but a regular file is EINVAL and is
/// not waited for; more than `limit` bytes are EFBIG.
int ReadWholeFile(const std::string &path, std::size_t limit, std::string *content,
                  struct stat *status);

/// While `path` is a symbolic link, puts the path that it leads to in its place. Nothing need be
/// there. A link of another user's, but the administrator's, is EPERM: it could have any file of
/// this user's written.
int FollowLinks(std::string *path);

/// Makes the folder at an absolute path and those above it that are missing, for the user alone.
int MakeFolders(const std::string &path);

/// Writes a file that does not exist yet (EEXIST) and flushes it to the disk.
int WriteNewFile(const std::string &path, std::string_view content, mode_t mode);

/// Puts a file of this content at `path`: written beside it and flushed, then renamed over what is
/// there. `old` is the status of what is there, whose owner and mode are kept; none for a new file,
/// which is the user's alone.
int ReplaceFile(const std::string &path, std::string_view content, const struct stat *old);

/// A lock on a folder against other processes that lock it so too; given up at the end of its life.
class CFolderLock {
 public:
  /// Waits two seconds for the lock at the most (EWOULDBLOCK). A file system that has no
  /// locks for folders, as some network ones, is used without.
  int Take(const std::string &folder);

 private:
  CDescriptor folder_{-1};
};

/// The folder part of an absolute path.
std::string FolderOf(const std::string &path);

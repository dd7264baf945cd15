/// A folder of its own for a test, removed with everything in it at the end.
///
/// Paths given to the members are relative to the folder and are bytes. A member that cannot do its
/// work throws, which fails the test.
#pragma once

#include <map>
#include <string>
#include <string_view>

class CTemporaryFolder {
 public:
  /// Makes the folder below $TMPDIR or /tmp. Everybody may enter and list it.
  CTemporaryFolder();
  ~CTemporaryFolder();
  CTemporaryFolder(const CTemporaryFolder &) = delete;
  CTemporaryFolder &operator=(const CTemporaryFolder &) = delete;

  /// The absolute path, free of symbolic links and without a trailing slash.
  const std::string &Path() const { return path_; }
  std::string PathOf(std::string_view relative) const;

  /// Makes a folder and those above it that are missing.
  void MakeFolder(std::string_view relative) const;

  /// Writes a file, making the folders above it that are missing; a file that exists is replaced.
  void WriteFile(std::string_view relative, std::string_view content = {}) const;

  void MakeSymbolicLink(std::string_view relative, std::string_view target) const;

  std::string ReadFile(std::string_view relative) const;

  /// Whether there is an item, a dangling link included.
  bool Exists(std::string_view relative) const;

  /// Everything below `relative`, by path relative to it. A file maps to its bytes, a folder (its
  /// path ends in "/") to nothing, a symbolic link to "-> " and its target, a pipe, socket or
  /// device to "special". A folder that cannot be listed throws.
  using Contents = std::map<std::string, std::string>;
  Contents Tree(std::string_view relative = {}) const;

  /// Removes an item and everything in it, also what is read-only.
  void Remove(std::string_view relative) const;

 private:
  std::string path_;
};

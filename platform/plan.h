/// A plan: what a run would do, with nothing done. While there is one, every change of the tree of
/// files is kept in memory alone, and everything that looks at the tree finds it made, or finds it
/// refused where the system would refuse it. A run that is planned keeps no journal and takes no
/// folder for this process.
///
/// Not foreseen is what only the attempt can tell: a full disk, a limit that the volume does not
/// tell of, and what other programs do meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Begins one, in place of the one before.
void BeginPlan();
/// From here on changes are made again.
void EndPlan();
bool IsPlanning();

enum class PlannedKind : std::uint8_t {
  kMoved,          ///< from `path` to `newPath`, under whatever name
  kAliased,        ///< a symbolic link is made that leads from `path` to `newPath`
  kFileDeleted,    ///< or a link
  kFolderDeleted,  ///< an empty one
  kTrashed,        ///< with all that is in it
  kMade,           ///< a folder
};

/// A change as the user would see it: a move in several steps is one.
struct PlannedChange {
  PlannedKind kind;
  std::string path;  ///< absolute, as bytes
  std::string newPath;
};

/// The changes planned since BeginPlan, in their order; those that are over with FSForgetRun have
/// no paths any more.
std::size_t PlannedChangeCount();
void PlannedChangeAt(std::size_t number, PlannedChange *change);

/// A depth-first walk through a folder's tree.
#pragma once

#include "platform/file_manager.h"

/// Called once for every item below the starting folder. `spec` and `name` are null unless they
/// were asked for. True stops the walk.
using ItemFilterProc = bool (*)(bool containerChanged, std::uint32_t currentLevel,
                                const FSCatalogInfo *catalogInfo, const FSRef *ref,
                                const FSSpec *spec, const HFSUniStr255 *name, void *userData);

/// Which folders are entered. Any other value is taken as kDescendAll.
using DescendMode = std::int32_t;
inline constexpr DescendMode kDescendAll = 1;
inline constexpr DescendMode kDescendSkipApplications = 2;
inline constexpr DescendMode kDescendSkipPackages = 3;

/// What all levels of one walk share.
struct FolderWalkState {
  ItemFilterProc filter;
  FSCatalogInfoBitmap whichInfo;  ///< always with kFSCatInfoNodeFlags
  FSCatalogInfo catalogInfo;      ///< of the item just read
  FSRef ref;                      ///< the folder to enter, then each item as it is read
  FSSpec spec{};
  FSSpec *specPtr;  ///< `&spec` if specifications are wanted, else null
  HFSUniStr255 name{};
  HFSUniStr255 *namePtr;  ///< `&name` if names are wanted, else null
  void *userData;
  std::uint32_t maxLevels;     ///< the deepest level to enter; 0 for no limit
  std::uint32_t currentLevel;  ///< 1 while the starting folder's own items are read
  bool quit;                   ///< the filter's last answer
  bool containerChanged;       ///< of the last read
  OSErr result;                ///< the last result of the file system, and the walk's
};

/// Walks through everything below `container`: items in the order in which the file system delivers
/// them, each folder's contents right after the folder itself. The starting folder too is entered
/// only if `descendMode` lets it; it is never given to `filter`.
///
/// A folder that cannot be listed reads as afpAccessDenied and counts as empty. One for which that
/// is the result of opening it ends, beside itself, the folder that holds it, and the walk goes on
/// above. Any other error ends the walk and is returned; so is paramErr without a filter. A walk
/// that the filter has stopped is noErr.
OSErr IterateFolderTree(const FSRef &container, std::uint32_t maxLevels,
                        FSCatalogInfoBitmap whichInfo, bool wantSpec, bool wantName,
                        DescendMode descendMode, ItemFilterProc filter, void *userData);

/// Walks through the folder in `state.ref`, one level below `state.currentLevel`.
void IterateFolderLevel(FolderWalkState &state, DescendMode descendMode);

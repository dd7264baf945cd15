#include "engine/folder_walk.h"

#include <new>
#include <utility>
#include <vector>

#include "engine/flatten_run.h"
#include "engine/folder_scan.h"
#include "engine/package_test.h"
#include "engine/run_observers.h"

namespace {

bool MayEnter(const FolderWalkState &state, DescendMode descendMode) {
  if (descendMode == kDescendSkipPackages && IsPackage(state.ref)) return false;
  if (descendMode == kDescendSkipApplications && IsApplication(state.ref)) return false;
  return state.maxLevels == 0 || state.currentLevel < state.maxLevels;
}

// `state.ref` is the folder that could not be opened, or not listed: that shows before its first
// item is read. The collecting pass meets the same again and does not repeat it.
void NoteFolderNotRead(const FolderWalkState &state, OSErr reason) {
  if (FlattenRun.ScanMode != kScanCounts) return;
  NoteRunEvent({RunEvent::kFolderNotRead, state.ref, reason});
}

// The folders that the walk is in, one below the other. Not on the program's own stack, as a tree
// can be hundreds of thousands of levels deep.
using Levels = std::vector<FSIterator>;

void Enter(FolderWalkState &state, DescendMode descendMode, Levels &levels) {
  if (!MayEnter(state, descendMode)) return;
  FSIterator iterator;
  state.result = FSOpenIterator(state.ref, kFSIterateFlat | kFSIterateScan, &iterator);
  if (state.result != noErr) {
    NoteFolderNotRead(state, state.result);
    return;
  }
  levels.push_back(std::move(iterator));
  ++state.currentLevel;
}

void Leave(FolderWalkState &state, Levels &levels) {
  levels.pop_back();
  --state.currentLevel;
}

// Reads one item, gives it to the filter and enters it when it is a folder.
void VisitNextItem(FolderWalkState &state, DescendMode descendMode, Levels &levels) {
  const FSIterator &iterator = levels.back();
  std::uint32_t count = 0;
  state.result = FSGetCatalogInfoBulk(iterator, 1, &count, &state.containerChanged, state.whichInfo,
                                      &state.catalogInfo, &state.ref, state.specPtr, state.namePtr);
  if (state.result != noErr && state.result != errFSNoMoreItems) {
    NoteFolderNotRead(state, FSGetIteratorError(iterator));
    return;
  }
  if (count != 1) return;
  state.quit = state.filter(state.containerChanged, state.currentLevel, &state.catalogInfo,
                            &state.ref, state.specPtr, state.namePtr, state.userData);
  if (!state.quit && (state.catalogInfo.nodeFlags & kFSNodeIsDirectoryMask) != 0) {
    Enter(state, descendMode, levels);
  }
}

}  // namespace

OSErr IterateFolderTree(const FSRef &container, std::uint32_t maxLevels,
                        FSCatalogInfoBitmap whichInfo, bool wantSpec, bool wantName,
                        DescendMode descendMode, ItemFilterProc filter, void *userData) {
  if (filter == nullptr) return paramErr;
  FolderWalkState state{};
  state.filter = filter;
  state.whichInfo = whichInfo | kFSCatInfoNodeFlags;
  state.ref = container;
  state.specPtr = wantSpec ? &state.spec : nullptr;
  state.namePtr = wantName ? &state.name : nullptr;
  state.userData = userData;
  state.maxLevels = maxLevels;
  state.currentLevel = 0;
  state.quit = false;
  state.containerChanged = false;
  state.result = noErr;
  IterateFolderLevel(state, descendMode);
  return state.result;
}

void IterateFolderLevel(FolderWalkState &state, DescendMode descendMode) {
  Levels levels;
  const std::uint32_t startLevel = state.currentLevel;
  try {
    Enter(state, descendMode, levels);
    while (!levels.empty()) {
      VisitNextItem(state, descendMode, levels);
      if (state.result == errFSNoMoreItems || state.result == afpAccessDenied) {
        state.result = noErr;
        Leave(state, levels);
      }
      // What a level has left ends those above it too.
      while ((state.result != noErr || state.quit) && !levels.empty()) Leave(state, levels);
    }
  } catch (const std::bad_alloc &) {
    state.result = memFullErr;
    state.currentLevel = startLevel;
  }
}

#include "engine/folder_walk.h"

#include "engine/flatten_run.h"
#include "engine/folder_scan.h"
#include "engine/package_test.h"
#include "engine/run_report.h"

namespace {

bool MayEnter(const FolderWalkState &state, DescendMode descendMode) {
  if (descendMode == kDescendSkipPackages && IsPackage(state.ref)) return false;
  if (descendMode == kDescendSkipApplications && IsApplication(state.ref)) return false;
  return state.maxLevels == 0 || state.currentLevel < state.maxLevels;
}

// `state.ref` is the folder that could not be opened, or not listed: that shows before its first
// item is read. The collecting pass meets the same again and does not repeat it.
void NoteFolderNotRead(const FolderWalkState &state) {
  if (FlattenRun.ScanMode != kScanCounts) return;
  NoteRunEvent({RunEvent::kFolderNotRead, state.ref, state.result});
}

// Reads one item and gives it to the filter; true while the level goes on.
bool VisitNextItem(FolderWalkState &state, const FSIterator &iterator, DescendMode descendMode) {
  std::uint32_t count = 0;
  state.result = FSGetCatalogInfoBulk(iterator, 1, &count, &state.containerChanged, state.whichInfo,
                                      &state.catalogInfo, &state.ref, state.specPtr, state.namePtr);
  if (state.result != noErr && state.result != errFSNoMoreItems) NoteFolderNotRead(state);
  if ((state.result == noErr || state.result == errFSNoMoreItems) && count == 1) {
    state.quit = state.filter(state.containerChanged, state.currentLevel, &state.catalogInfo,
                              &state.ref, state.specPtr, state.namePtr, state.userData);
    if (!state.quit && (state.catalogInfo.nodeFlags & kFSNodeIsDirectoryMask) != 0) {
      IterateFolderLevel(state, descendMode);
    }
  }
  // The level below may have left another result than the read.
  if (state.result == errFSNoMoreItems || state.result == afpAccessDenied) {
    state.result = noErr;
    return false;
  }
  return state.result == noErr && !state.quit;
}

}  // namespace

OSErr IterateFolderTree(const FSRef &container, std::uint32_t maxLevels,
                        FSCatalogInfoBitmap whichInfo, bool wantSpec, bool wantName,
                        DescendMode descendMode, ItemFilterProc filter, void *userData) {
  if (filter == nullptr) return paramErr;
  FolderWalkState state;
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
  if (!MayEnter(state, descendMode)) return;
  FSIterator iterator;
  state.result = FSOpenIterator(state.ref, kFSIterateFlat, &iterator);
  if (state.result != noErr) {
    NoteFolderNotRead(state);
    return;
  }
  ++state.currentLevel;
  while (VisitNextItem(state, iterator, descendMode)) {
  }
  --state.currentLevel;
}

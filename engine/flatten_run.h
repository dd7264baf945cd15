/// The flattening of what was dropped: the program's work, done in one call of a timer.
#pragma once

#include <memory>

#include "engine/ask_first.h"
#include "platform/events.h"
#include "platform/file_manager.h"
#include "platform/utilities.h"

/// The files below the dropped folder.
struct CollectedFileList {
  /// `count` of them, in the order of the walk.
  std::unique_ptr<FSRef[], PtrDisposer> refs;
  std::int32_t count = 0;      ///< how many the counting pass has found
  std::int32_t collected = 0;  ///< how many the collecting pass has; then how many are handled
};

/// The run's state, of which there is one for the process.
struct FlattenRunState {
  CollectedFileList CollectedFiles;
  bool QuitRequested = false;  ///< set by the Quit command, never cleared
  bool StopRequested = false;  ///< set by the Stop command, cleared as each dropped folder begins
  bool StopAllRequested = false;  ///< set with it when the folders behind are meant too
  std::int32_t ScanMode = 0;      ///< kScanCounts or kScanCollects
  FSRef droppedFolder = {};       ///< the folder being flattened
  AskFirst askFirst = AskFirst::kNever;
  WhyAsk whyAsk = {};  ///< what has been found in that folder, so far
};
extern FlattenRunState FlattenRun;

inline bool StopOrQuitRequested() {
  return FlattenRun.StopRequested || FlattenRun.QuitRequested;
}

/// Flattens every folder of DroppedItemList in turn; what is not a folder is passed over. Uses
/// neither argument.
void FlattenTimerProc(EventLoopTimerRef timer, void *userData);

#include "engine/folder_scan.h"

#include "engine/ask_first.h"
#include "engine/flatten_run.h"
#include "engine/folder_walk.h"
#include "engine/package_test.h"
#include "engine/run_observers.h"
#include "fsutil/item_info.h"
#include "prefs/preferences.h"

namespace {

OSErr ScanFolder(const FSRef &folder) {
  const DescendMode mode = GetIgnoreApplications() ? kDescendSkipPackages : kDescendAll;
  return IterateFolderTree(folder, 0, kFSCatInfoNodeFlags, false, false, mode, ScanItemCallback,
                           &FlattenRun.ScanMode);
}

bool IsAccepted(const FSCatalogInfo &info, const FSRef &item) {
  const bool isFile = (info.nodeFlags & kFSNodeIsDirectoryMask) == 0;
  if (!GetIgnoreApplications()) return isFile;
  return IsPackage(item) || isFile;
}

void CountItem() {
  TellObservers(&CRunObserver::Advance, ++FlattenRun.CollectedFiles.count, 0);
}

void CollectItem(const FSRef &item) {
  CollectedFileList &files = FlattenRun.CollectedFiles;
  if (files.collected < files.count) files.refs[files.collected] = item;
  ++files.collected;
  TellObservers(&CRunObserver::Advance, files.collected, files.count);
}

OSErr BeginScan(RunPhase phase, const FSRef &folder) {
  ShortString name;
  ClearCString(name);
  if (const OSErr error = GetItemNameAsCString(folder, name); error != noErr) return error;
  TellObservers(&CRunObserver::BeginPhase, phase, name);
  return noErr;
}

}  // namespace

OSErr CountFilesInFolder(const FSRef &folder) {
  FlattenRun.ScanMode = kScanCounts;
  const OSErr error = BeginScan(RunPhase::kCounting, folder);
  return error == noErr ? ScanFolder(folder) : error;
}

OSErr CollectFilesInFolder(const FSRef &folder) {
  FlattenRun.ScanMode = kScanCollects;
  OSErr error = BeginScan(RunPhase::kCollecting, folder);
  if (error != noErr) return error;
  error = ScanFolder(folder);
  TellObservers(&CRunObserver::EndPhase);
  return error;
}

bool ScanItemCallback(bool /*containerChanged*/, std::uint32_t /*level*/,
                      const FSCatalogInfo *catalogInfo, const FSRef *ref, const FSSpec * /*spec*/,
                      const HFSUniStr255 * /*name*/, void *userData) {
  if (FlattenRun.askFirst != AskFirst::kNever && FlattenRun.ScanMode == kScanCounts) {
    NoteIfCheckout(*ref);
  }
  if (IsAccepted(*catalogInfo, *ref)) {
    const std::int32_t mode =
        userData != nullptr ? *static_cast<const std::int32_t *>(userData) : kScanCollects;
    if (mode == kScanCounts) CountItem();
    if (mode == kScanCollects) CollectItem(*ref);
  }
  return StopOrQuitRequested();
}

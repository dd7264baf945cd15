#include "engine/folder_scan.h"

#include "app/main_window.h"
#include "app/status_display.h"
#include "engine/flatten_run.h"
#include "engine/folder_walk.h"
#include "engine/package_test.h"
#include "engine/progress.h"
#include "prefs/preferences.h"

namespace {

constexpr std::int32_t kItemsBetweenYields = 100;

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
  if (++FlattenRun.CollectedFiles.count % kItemsBetweenYields == 0) YieldToEvents();
}

void CollectItem(const FSRef &item) {
  CollectedFileList &files = FlattenRun.CollectedFiles;
  if (files.collected < files.count) files.refs[files.collected] = item;
  ++files.collected;
  SetControlValue(MainWindow.progressBar, ProgressValue(files.collected, files.count));
  FormatStatusText(2, "(%d of %d)", files.collected, files.count);
  if (files.collected % kItemsBetweenYields == 0) YieldToEvents();
}

}  // namespace

OSErr CountFilesInFolder(const FSRef &folder) {
  FlattenRun.ScanMode = kScanCounts;
  ShortString name;
  ClearCString(name);
  if (const OSErr error = GetItemNameAsCString(folder, name); error != noErr) return error;
  FormatStatusText(1, "Counting files in %s...", name);
  return ScanFolder(folder);
}

OSErr CollectFilesInFolder(const FSRef &folder) {
  FlattenRun.ScanMode = kScanCollects;
  ShortString name;
  ClearCString(name);
  if (const OSErr error = GetItemNameAsCString(folder, name); error != noErr) return error;
  FormatStatusText(1, "Collecting files in %s...", name);
  ShowProgress();
  const OSErr error = ScanFolder(folder);
  HideControl(MainWindow.progressBar);
  HideControl(MainWindow.statusLine2);
  return error;
}

bool ScanItemCallback(bool /*containerChanged*/, std::uint32_t /*level*/,
                      const FSCatalogInfo *catalogInfo, const FSRef *ref, const FSSpec * /*spec*/,
                      const HFSUniStr255 * /*name*/, void *userData) {
  if (IsAccepted(*catalogInfo, *ref)) {
    const std::int32_t mode =
        userData != nullptr ? *static_cast<const std::int32_t *>(userData) : kScanCollects;
    if (mode == kScanCounts) CountItem();
    if (mode == kScanCollects) CollectItem(*ref);
  }
  return StopOrQuitRequested();
}

/// The two passes over a dropped folder's tree that come before anything is changed: one counts the
/// files, the other collects them.
///
/// A file is every item that is not a folder, at any depth. While `IgnoreApplications` is on, a
/// package is one file too and is not entered. Both passes deliver the same items in the same order
/// as long as the tree does not change.
#pragma once

#include "platform/file_manager.h"

/// Values of `FlattenRun.ScanMode`.
inline constexpr std::int32_t kScanCollects = 1;
inline constexpr std::int32_t kScanCounts = 2;

/// Adds the files below `folder` to `FlattenRun.CollectedFiles.count`.
OSErr CountFilesInFolder(const FSRef &folder);

/// Fills `refs` and advances `collected`; needs a `count` above 0 and `refs` for that many. What is
/// found beyond `count` is counted but not stored.
OSErr CollectFilesInFolder(const FSRef &folder);

/// The filter of both passes. `userData` points to the scan mode; without it files are collected.
/// Stops the walk when Stop or Quit was requested, after the item in hand has been taken.
bool ScanItemCallback(bool containerChanged, std::uint32_t level, const FSCatalogInfo *catalogInfo,
                      const FSRef *ref, const FSSpec *spec, const HFSUniStr255 *name,
                      void *userData);

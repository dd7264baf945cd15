#include "platform/linux/tree/tree_memory.h"

#include <malloc.h>

#include <cerrno>

#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/volume_traits.h"

namespace {

/// Notes what a change has made of the names in the folders that it concerns.
void NoteNames(CNameFilter &names, const TreeChange &change, int error) {
  const bool isDone = error == 0;
  // A name that somebody else has taken meanwhile is one to know of too.
  const bool isTaken = isDone || error == EEXIST;
  switch (change.kind) {
    case ChangeKind::kRename:
    case ChangeKind::kReplace:
      if (isDone) names.NoteGone(change.folder.index, change.name);
      [[fallthrough]];
    case ChangeKind::kLink:
      if (isTaken) names.NoteTaken(change.newFolder.index, change.newName);
      break;
    case ChangeKind::kHoldFile:
    case ChangeKind::kHoldFolder:
    case ChangeKind::kMakeFolder:
    case ChangeKind::kMakePrivateFolder:
    case ChangeKind::kMakeLink:
    case ChangeKind::kMakeFile:
      if (isTaken) names.NoteTaken(change.folder.index, change.name);
      break;
    case ChangeKind::kRelease:
    case ChangeKind::kRemoveFolder:
    case ChangeKind::kRemoveFile:
      if (isDone) names.NoteGone(change.folder.index, change.name);
      break;
    default:
      break;
  }
}

}  // namespace

CTreeMemory &Memory() {
  static CTreeMemory memory;
  return memory;
}

CTreeMemory::CTreeMemory() {
  PutLayerOnTop(this);
}

int CTreeMemory::Change(const TreeChange &change) {
  seenLast_ = {};
  listings.Forget();
  // A descriptor of it must not be taken for a folder that is made in its place with its number.
  if (change.kind == ChangeKind::kRemoveFolder) {
    const FolderIndex removed = FindFolder(change.folder.index, change.name);
    if (removed != 0) ::CloseFolder(removed);
  }
  const int error = CTreeLayer::Change(change);
  NoteNames(names, change, error);
  return error;
}

int CTreeMemory::LookUp(const OpenedFolder &folder, const char *name, ItemStatus *status) {
  const int error = CTreeLayer::LookUp(folder, name, status);
  if (error == 0) names.NoteTaken(folder.index, name);
  if (error == ENOENT) names.NoteFree(folder.index, name);
  return error;
}

void CTreeMemory::Rest() {
  listings.Forget();
  CloseAllFolders();
  CTreeLayer::Rest();
}

void CTreeMemory::BeginStep() {
  ++step_;
  names.Forget();
}

void CTreeMemory::BeginRun() {
  BeginStep();
  seenLast_ = {};
  listings.Forget();
  aliasNumbers.clear();
  ForgetScan();
  ForgetVolumeTraits();
}

void CTreeMemory::EndRun() {
  BeginRun();
  names = {};
  CloseAllFolders();
  ForgetFoldersOfRun();
  // What small blocks are freed the C library keeps for the next, in a program that may stay for
  // days.
  (void)malloc_trim(0);
}

bool CTreeMemory::IsKnownToExist(const FSRef &item) const {
  const ItemReference &reference = ReferenceIn(item);
  const bool isFromListing = reference.sight == Sight::kListed;
  return (isFromListing && HasListingHeld(reference.folder, step_)) ||
         IsSameReference(item, seenLast_);
}

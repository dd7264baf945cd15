#include "app/results/change_rows.h"

#include <utility>

namespace {

RunEvent EventOf(const RunChange &change, bool isUndo) {
  switch (change.kind) {
    case RunChangeKind::kMovedUp:
      if (isUndo) return RunEvent::kPutBack;
      return change.item.name == change.to.name ? RunEvent::kMoved : RunEvent::kRenamed;
    case RunChangeKind::kMovedDown:
      return isUndo ? RunEvent::kPutBack : RunEvent::kCollated;
    case RunChangeKind::kMoved:
      return isUndo ? RunEvent::kPutBack : RunEvent::kMoved;
    case RunChangeKind::kAliasMade:
      return isUndo ? RunEvent::kPutBack : RunEvent::kAliased;
    case RunChangeKind::kAliasRemoved:
      return isUndo ? RunEvent::kAliasTakenAway : RunEvent::kFileDeleted;
    case RunChangeKind::kFolderMade:
      return isUndo ? RunEvent::kFolderPutBack : RunEvent::kFolderMade;
    case RunChangeKind::kFolderDeleted:
      return isUndo ? RunEvent::kFolderTakenAway : RunEvent::kFolderDeleted;
    case RunChangeKind::kTrashed:
      return isUndo ? RunEvent::kPutBack : RunEvent::kTrashed;
    case RunChangeKind::kTakenOutOfTrash:
      return RunEvent::kPutBack;
    case RunChangeKind::kFileDeleted:
      break;
  }
  return RunEvent::kFileDeleted;
}

}  // namespace

bool IsToldByJournal(RunEvent event) {
  switch (event) {
    case RunEvent::kMoved:
    case RunEvent::kAliased:
    case RunEvent::kRenamed:
    case RunEvent::kFileDeleted:
    case RunEvent::kFolderDeleted:
    case RunEvent::kTrashed:
    case RunEvent::kFolderMade:
    case RunEvent::kCollated:
      return true;
    default:
      return false;
  }
}

void CChangesToRows::TakeFolder(std::uint32_t /*number*/, std::uint32_t parent,
                                std::string_view name) {
  folders_.push_back(folders_.empty() ? rows_.DroppedFolder(name)
                                      : rows_.FolderIn(folders_[parent], name));
}

void CChangesToRows::TakeChange(const RunChange &change) {
  ResultRow row{EventOf(change, changes_->IsUndo()), PlaceOf(change.item)};
  switch (change.kind) {
    case RunChangeKind::kMovedUp:
    case RunChangeKind::kMovedDown:
    case RunChangeKind::kMoved:
      row.to = PlaceOf(change.to);
      break;
    case RunChangeKind::kTrashed:
      row.to = rows_.PlaceOf(change.path, folders_[0]);
      break;
    case RunChangeKind::kAliasMade:
      // The file is what something has happened to.
      if (row.event == RunEvent::kAliased) {
        row.to = std::exchange(row.item, rows_.PlaceOf(change.path, folders_[0]));
      }
      break;
    default:
      break;
  }
  rows_.Add(row);
}

#include "app/results/note_rows.h"

#include "fsutil/item_info.h"

void AddRowOfNote(const RunNote &note, ResultFolder dropped, CResultRows *rows) {
  const std::string path = note.path != nullptr ? *note.path : GetItemPath(note.item);
  std::string toPath;
  if (note.oldPath != nullptr) toPath = *note.oldPath;
  if (note.now != nullptr) toPath = GetItemPath(*note.now);
  ResultRow row{note.event, rows->PlaceOf(path, dropped), {}, note.error, note.count};
  if (!toPath.empty() && toPath != path) row.to = rows->PlaceOf(toPath, dropped);
  rows->Add(row);
}

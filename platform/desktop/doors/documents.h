/// Items that other programs hand over: in a drag, or over the session bus.
#pragma once

#include <QMimeData>
#include <QStringList>
#include <string>
#include <vector>

#include "platform/apple_events.h"
#include "platform/file_manager.h"

/// What a drag has in it.
struct DragContent {
  std::vector<FSRef> folders;         ///< those that are let in
  std::vector<std::string> problems;  ///< why each of the other items is not: "PATH: reason"
};
DragContent ContentOfDrag(const QMimeData &data);

/// Sends an event, to open or to preview, for those of the addresses that name folders on this
/// machine which are let in, and tells why the others are not.
void SendUris(AEEventID eventID, const QStringList &uris);

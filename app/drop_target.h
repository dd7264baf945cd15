/// The main window as a place to drop files and folders on.
///
/// The window starts no work itself: a drop becomes an open-documents event to the own process, so
/// it takes the same way as a drop on the program's icon. While a drag is over the window there is
/// a place in it where a drop asks for a preview instead. Files are taken like folders here; the
/// run passes over what is not a folder.
#pragma once

#include "platform/apple_events.h"
#include "platform/drags.h"

/// Installs the tracking and then the receive handler on the window. When the second fails, the
/// first is removed again and the error returned.
OSErr InstallDropTarget(WindowRef window);
void RemoveDropTarget(WindowRef window);

/// Decides whether a drag is acceptable as it arrives, and frames the window and shows the place
/// for previews while it is over it. Moving inside the window is paramErr, like any message without
/// meaning here.
OSErr DragTrackingHandler(DragTrackingMessage message, WindowRef window, void *refCon,
                          DragRef drag);

/// Sends what was dropped to the own process. dragNotAcceptedErr when there is no item of the file
/// system in it; the error of an item whose data cannot be read, and then nothing is sent.
OSErr DragReceiveHandler(WindowRef window, void *refCon, DragRef drag);

/// Whether the drag holds at least one existing item of the file system.
bool DragHasFileItems(DragRef drag);

/// Sends an event with aliases of `count` items. An item of which no alias can be made is left out,
/// but if the last one fails nothing is sent and its error is returned. paramErr when there are no
/// items.
OSErr SendItemsOfDrop(AEEventID eventID, std::int32_t count, const FSSpec *specs);

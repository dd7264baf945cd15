/// The Drag Manager: what is dragged over a window and dropped on it.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/file_manager.h"
#include "platform/types.h"
#include "platform/windows.h"

using DragRef = struct OpaqueDrag *;
using DragItemRef = std::uint32_t;
using FlavorType = OSType;
using FlavorFlags = std::uint32_t;
using DragTrackingMessage = std::int16_t;

inline constexpr FlavorType flavorTypeHFS = FourChars("hfs ");
inline constexpr DragTrackingMessage kDragTrackingEnterHandler = 1;
inline constexpr DragTrackingMessage kDragTrackingEnterWindow = 2;
inline constexpr DragTrackingMessage kDragTrackingInWindow = 3;
inline constexpr DragTrackingMessage kDragTrackingLeaveWindow = 4;
inline constexpr DragTrackingMessage kDragTrackingLeaveHandler = 5;

#pragma pack(push, 2)
/// The data of a dragged item of the file system.
struct HFSFlavor {
  OSType fileType;
  OSType fileCreator;
  std::uint16_t fdFlags;
  FSSpec fileSpec;
};
#pragma pack(pop)
static_assert(sizeof(HFSFlavor) == 80);

using DragTrackingHandlerProc = OSErr (*)(DragTrackingMessage message, WindowRef window,
                                          void *refCon, DragRef drag);
using DragReceiveHandlerProc = OSErr (*)(WindowRef window, void *refCon, DragRef drag);

OSErr InstallTrackingHandler(DragTrackingHandlerProc handler, WindowRef window, void *refCon);
OSErr InstallReceiveHandler(DragReceiveHandlerProc handler, WindowRef window, void *refCon);
OSErr RemoveTrackingHandler(DragTrackingHandlerProc handler, WindowRef window);
OSErr RemoveReceiveHandler(DragReceiveHandlerProc handler, WindowRef window);

OSErr CountDragItems(DragRef drag, std::uint16_t *count);
/// The reference of the item at a 1-based index.
OSErr GetDragItemReferenceNumber(DragRef drag, std::uint16_t index, DragItemRef *item);
/// badDragFlavorErr when the item does not come in that flavor.
OSErr GetFlavorFlags(DragRef drag, DragItemRef item, FlavorType type, FlavorFlags *flags);
/// Copies at most `*size` bytes and sets `*size` to the number copied.
OSErr GetFlavorData(DragRef drag, DragItemRef item, FlavorType type, void *data, std::size_t *size);

/// Draws a frame just inside the edge of an area of the window, in the window's own coordinates,
/// until it is hidden.
OSErr ShowDragHilite(DragRef drag, const Rect &area);
OSErr HideDragHilite(DragRef drag);

/// Shows a part of the window, until it is hidden, in which a drop means something of its own, as
/// `text` (UTF-8) says; where it is, the platform chooses.
OSErr ShowDragPlace(DragRef drag, std::string_view text);
OSErr HideDragPlace(DragRef drag);
/// Whether what is dragged is over that place; for the receive handler, whether it was dropped
/// there.
bool IsDragOverPlace(DragRef drag);

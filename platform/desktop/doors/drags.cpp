#include "platform/drags.h"

#include <algorithm>
#include <cstring>

#include "platform/desktop/doors/drop_site.h"
#include "platform/desktop/windows/window.h"

OSErr InstallTrackingHandler(DragTrackingHandlerProc handler, WindowRef window, void *refCon) {
  if (window == nullptr || handler == nullptr) return paramErr;
  DropSite::Of(window).tracking = handler;
  DropSite::Of(window).trackingRefCon = refCon;
  return noErr;
}

OSErr InstallReceiveHandler(DragReceiveHandlerProc handler, WindowRef window, void *refCon) {
  if (window == nullptr || handler == nullptr) return paramErr;
  DropSite::Of(window).receive = handler;
  DropSite::Of(window).receiveRefCon = refCon;
  window->widget->setAcceptDrops(true);
  return noErr;
}

OSErr RemoveTrackingHandler(DragTrackingHandlerProc handler, WindowRef window) {
  if (window == nullptr || DropSite::Of(window).tracking != handler) return paramErr;
  DropSite::Of(window).tracking = nullptr;
  return noErr;
}

OSErr RemoveReceiveHandler(DragReceiveHandlerProc handler, WindowRef window) {
  if (window == nullptr || DropSite::Of(window).receive != handler) return paramErr;
  DropSite::Of(window).receive = nullptr;
  window->widget->setAcceptDrops(false);
  return noErr;
}

OSErr CountDragItems(DragRef drag, std::uint16_t *count) {
  if (drag == nullptr) return paramErr;
  *count = static_cast<std::uint16_t>(std::min<std::size_t>(drag->items.size(), UINT16_MAX));
  return noErr;
}

OSErr GetDragItemReferenceNumber(DragRef drag, std::uint16_t index, DragItemRef *item) {
  if (drag == nullptr || index < 1 || index > drag->items.size()) return paramErr;
  *item = index;
  return noErr;
}

OSErr GetFlavorFlags(DragRef drag, DragItemRef item, FlavorType type, FlavorFlags *flags) {
  if (drag == nullptr || item < 1 || item > drag->items.size()) return paramErr;
  if (type != flavorTypeHFS) return badDragFlavorErr;
  *flags = 0;
  return noErr;
}

OSErr GetFlavorData(DragRef drag, DragItemRef item, FlavorType type, void *data,
                    std::size_t *size) {
  FlavorFlags flags = 0;
  if (const OSErr error = GetFlavorFlags(drag, item, type, &flags); error != noErr) return error;
  *size = std::min(*size, sizeof(HFSFlavor));
  std::memcpy(data, &drag->items[item - 1], *size);
  return noErr;
}

OSErr ShowDragHilite(DragRef drag, const Rect &area) {
  if (drag == nullptr) return paramErr;
  DropSite::Of(drag->window).ShowFrame(area);
  return noErr;
}

OSErr HideDragHilite(DragRef drag) {
  if (drag == nullptr) return paramErr;
  DropSite::Of(drag->window).HideFrame();
  return noErr;
}

OSErr ShowDragPlace(DragRef drag, std::string_view text) {
  if (drag == nullptr) return paramErr;
  DropSite::Of(drag->window)
      .ShowPlace(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
  return noErr;
}

OSErr HideDragPlace(DragRef drag) {
  if (drag == nullptr) return paramErr;
  DropSite::Of(drag->window).HidePlace();
  return noErr;
}

bool IsDragOverPlace(DragRef drag) {
  return drag != nullptr && drag->isOverPlace;
}

// A terminal has no menus and nothing is dragged over it.
#include "platform/drags.h"
#include "platform/menus.h"

void EnableMenuCommand(MenuRef, OSType) {}

OSStatus HMGetHelpMenu(MenuRef *, MenuItemIndex *) {
  return menuItemNotFoundErr;
}

void InsertMenuItem(MenuRef, const std::uint8_t *, MenuItemIndex) {}

OSStatus SetMenuItemCommandID(MenuRef, MenuItemIndex, OSType) {
  return paramErr;
}

EventTargetRef GetMenuEventTarget(MenuRef) {
  return nullptr;
}

OSErr InstallTrackingHandler(DragTrackingHandlerUPP, WindowRef window, void *) {
  return window == nullptr ? paramErr : noErr;
}

OSErr InstallReceiveHandler(DragReceiveHandlerUPP, WindowRef window, void *) {
  return window == nullptr ? paramErr : noErr;
}

OSErr RemoveTrackingHandler(DragTrackingHandlerUPP, WindowRef window) {
  return window == nullptr ? paramErr : noErr;
}

OSErr RemoveReceiveHandler(DragReceiveHandlerUPP, WindowRef window) {
  return window == nullptr ? paramErr : noErr;
}

OSErr CountDragItems(DragRef, std::uint16_t *) {
  return paramErr;
}

OSErr GetDragItemReferenceNumber(DragRef, std::uint16_t, DragItemRef *) {
  return paramErr;
}

OSErr GetFlavorFlags(DragRef, DragItemRef, FlavorType, FlavorFlags *) {
  return badDragFlavorErr;
}

OSErr GetFlavorData(DragRef, DragItemRef, FlavorType, void *, std::size_t *, std::size_t) {
  return badDragFlavorErr;
}

OSErr ShowDragHilite(DragRef, RgnHandle, bool) {
  return paramErr;
}

OSErr HideDragHilite(DragRef) {
  return paramErr;
}

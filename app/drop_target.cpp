#include "app/drop_target.h"

#include <vector>

#include "app/display/main_window.h"
#include "app/display/status_display.h"
#include "app/own_events.h"
#include "platform/workspace.h"
#include "prefs/preferences.h"

namespace {

constexpr std::int16_t kHiliteInset = 2;

/// Decided when a drag arrives, used while it moves over the window.
bool DragIsAcceptable = false;

// An item without the flavor is no file: it is passed over by all who ask.
bool HasFileFlavor(DragRef drag, std::uint16_t index, DragItemRef *item) {
  FlavorFlags flags;
  return GetDragItemReferenceNumber(drag, index, item) == noErr &&
         GetFlavorFlags(drag, *item, flavorTypeHFS, &flags) == noErr;
}

OSErr GetFileFlavor(DragRef drag, DragItemRef item, HFSFlavor *flavor) {
  std::size_t size = sizeof *flavor;
  return GetFlavorData(drag, item, flavorTypeHFS, flavor, &size);
}

bool IsExistingFileItem(DragRef drag, std::uint16_t index) {
  DragItemRef item;
  HFSFlavor flavor{};
  FSRef ref;
  return HasFileFlavor(drag, index, &item) && GetFileFlavor(drag, item, &flavor) == noErr &&
         FSpMakeFSRef(flavor.fileSpec, &ref) == noErr;
}

void ShowHilite(WindowRef window, DragRef drag) {
  Rect content{};
  (void)GetWindowBounds(window, kWindowContentRgn, &content);
  // In the window's own coordinates its content begins at 0, 0.
  const auto height = content.bottom - content.top;
  const auto width = content.right - content.left;
  (void)ShowDragHilite(
      drag, {kHiliteInset, kHiliteInset, static_cast<std::int16_t>(height - kHiliteInset),
             static_cast<std::int16_t>(width - kHiliteInset)});
}

// Says before a drop what could not be taken back, if there is such a thing.
void ShowDropWarning() {
  if (!GetDeleteEmptiedFolders() || GetDeleteToTrash()) return;
  PascalString text;
  CopyCStringToPascal("Sub-folders are deleted for good, with every file still in them.", text);
  (void)SetControlTextAndDraw(MainWindow.dropWarning, text, true);
  HideControl(MainWindow.statusLine1);
  ShowControl(MainWindow.dropWarning);
}

void HideDropWarning() {
  HideControl(MainWindow.dropWarning);
  ShowControl(MainWindow.statusLine1);
}

OSErr PutAliasOf(const FSSpec &spec, AliasHandle &alias, AEDescList *list) {
  bool wasChanged;
  const OSErr error = alias == nullptr ? NewAlias(nullptr, spec, &alias)
                                       : UpdateAlias(nullptr, spec, alias, &wasChanged);
  if (error != noErr) return error;
  // Appended, so that an item left out before leaves no gap in the list.
  return AEPutPtr(list, 0, typeAlias, alias->data(), alias->size());
}

}  // namespace

OSErr InstallDropTarget(WindowRef window) {
  OSErr error = InstallTrackingHandler(DragTrackingHandler, window, nullptr);
  if (error != noErr) return error;
  error = InstallReceiveHandler(DragReceiveHandler, window, nullptr);
  if (error != noErr) (void)RemoveTrackingHandler(DragTrackingHandler, window);
  return error;
}

void RemoveDropTarget(WindowRef window) {
  (void)RemoveReceiveHandler(DragReceiveHandler, window);
  (void)RemoveTrackingHandler(DragTrackingHandler, window);
}

OSErr DragTrackingHandler(DragTrackingMessage message, WindowRef window, void * /*refCon*/,
                          DragRef drag) {
  switch (message) {
    case kDragTrackingEnterHandler:
      DragIsAcceptable = DragHasFileItems(drag);
      return DragIsAcceptable ? noErr : dragNotAcceptedErr;
    case kDragTrackingEnterWindow:
      if (!DragIsAcceptable) return noErr;
      ShowHilite(window, drag);
      (void)ShowDragPlace(drag, "Drop here to preview");
      ShowDropWarning();
      return noErr;
    case kDragTrackingLeaveWindow:
      if (!DragIsAcceptable) return noErr;
      (void)HideDragHilite(drag);
      (void)HideDragPlace(drag);
      HideDropWarning();
      return noErr;
    case kDragTrackingLeaveHandler:
      return noErr;
    default:
      return paramErr;
  }
}

OSErr DragReceiveHandler(WindowRef /*window*/, void * /*refCon*/, DragRef drag) {
  if (!DragHasFileItems(drag)) return dragNotAcceptedErr;
  std::uint16_t count = 0;
  (void)CountDragItems(drag, &count);
  // Zeroed, so that no alias can be made for an item without the flavor.
  std::vector<FSSpec> specs(count);
  for (std::uint16_t i = 0; i < count; ++i) {
    DragItemRef item;
    if (!HasFileFlavor(drag, static_cast<std::uint16_t>(i + 1), &item)) continue;
    HFSFlavor flavor{};
    if (const OSErr error = GetFileFlavor(drag, item, &flavor); error != noErr) return error;
    specs[i] = flavor.fileSpec;
  }
  const AEEventID eventID = IsDragOverPlace(drag) ? kAEPreviewDocuments : kAEOpenDocuments;
  const OSErr error = SendItemsOfDrop(eventID, count, specs.data());
  if (error != noErr) SysBeep(30);
  return error;
}

bool DragHasFileItems(DragRef drag) {
  std::uint16_t count = 0;
  if (CountDragItems(drag, &count) != noErr) return false;
  bool found = false;
  for (std::uint32_t index = 1; index <= count; ++index) {
    // Every item is looked at: a drag's source may deliver its data only when asked for it.
    if (IsExistingFileItem(drag, static_cast<std::uint16_t>(index))) found = true;
  }
  return found;
}

OSErr SendItemsOfDrop(AEEventID eventID, std::int32_t count, const FSSpec *specs) {
  if (count == 0 || specs == nullptr) return paramErr;
  AEDescList list;
  OSErr error = AECreateList(nullptr, 0, false, &list);
  if (error != noErr) return error;

  AliasHandle alias;
  for (std::int32_t i = 0; i < count; ++i) error = PutAliasOf(specs[i], alias, &list);
  // Only the last item decides, so that a drop whose last item is good goes through.
  if (error != noErr) return error;
  return SendItemsToSelf(eventID, list);
}

#include "tests/support/recorder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "platform/common/event_dispatch.h"
#include "platform/common/event_queue.h"
#include "platform/common/timers.h"
#include "platform/controls.h"
#include "platform/history_window.h"
#include "platform/journal.h"
#include "platform/menus.h"
#include "platform/notices.h"
#include "platform/processes.h"
#include "platform/results_window.h"
#include "platform/windows.h"
#include "platform/workspace.h"

struct OpaqueNib {};

struct OpaqueWindow {
  std::string name;
  EventTargetRef target = NewEventTarget();
};

namespace {

constexpr std::string_view kMainWindow = "MainWindow";

/// What the calls have built and installed, as opposed to what a test asks or arranges.
struct Built {
  OpaqueNib nib;
  std::map<std::string, std::unique_ptr<OpaqueWindow>, std::less<>> windows;
  DragTrackingHandlerProc trackingHandler = nullptr;
  DragReceiveHandlerProc receiveHandler = nullptr;
  WindowRef dragWindow = nullptr;
  void *dragRefCon = nullptr;
  bool quit = false;
};

Built &Platform() {
  static Built built;
  return built;
}

std::string Quoted(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

/// ASCII as it stands, everything else as "?"; recorded lines are for reading.
std::string Readable(std::u16string_view text) {
  std::string readable;
  for (const char16_t unit : text) readable += unit < 0x80 ? static_cast<char>(unit) : '?';
  return readable;
}

void Record(std::string_view call, std::string_view arguments = {}) {
  std::string line(call);
  if (!arguments.empty()) line.append(" ").append(arguments);
  Recorder().Record(std::move(line));
}

std::string ControlKey(std::int32_t id, std::string_view window) {
  const std::string number = std::to_string(id);
  return window == kMainWindow ? number : std::string(window) + "." + number;
}

OSStatus RecordWindowCall(std::string_view call, WindowRef window) {
  if (window == nullptr) return paramErr;
  Record(call, Quoted(window->name));
  return noErr;
}

OSStatus RecordControlCall(std::string_view call, ControlRef control,
                           std::string_view argument = {}) {
  if (control == nullptr) return paramErr;
  Record(call, control->key + (argument.empty() ? "" : " ") + std::string(argument));
  return noErr;
}

}  // namespace

CRecorder &Recorder() {
  static CRecorder recorder;
  return recorder;
}

void ResetRecorder() {
  DisarmTimers();
  Recorder() = CRecorder{};
  for (const auto &[name, window] : Platform().windows) DisposeEventTarget(window->target);
  Platform() = Built{};
}

std::vector<std::string> CRecorder::CallsBeginningWith(std::string_view prefix) const {
  std::vector<std::string> matching;
  std::ranges::copy_if(calls_, std::back_inserter(matching),
                       [&](const std::string &call) { return call.starts_with(prefix); });
  return matching;
}

OpaqueControl &CRecorder::Control(std::int32_t id, std::string_view window) {
  const std::string key = ControlKey(id, window);
  OpaqueControl &control = controls_[key];
  control.key = key;
  return control;
}

OSErr CRecorder::TrackDrag(DragTrackingMessage message, DragRef drag) {
  const Built &built = Platform();
  if (built.trackingHandler == nullptr) return noErr;
  return built.trackingHandler(message, built.dragWindow, built.dragRefCon, drag);
}

OSErr CRecorder::DropDrag(DragRef drag) {
  const Built &built = Platform();
  if (built.receiveHandler == nullptr) return noErr;
  return built.receiveHandler(built.dragWindow, built.dragRefCon, drag);
}

void CRecorder::Yield() {
  const int yield = ++yields_;
  if (atEachYield_) atEachYield_(yield);
}

void CRecorder::RunEventLoop() {
  while (!Platform().quit) {
    const auto due = NextTimerDue();
    if (!due) break;
    FireDueTimers(*due);
  }
}

// Windows and interface files.

OSStatus CreateNibReference(std::string_view name, IBNibRef *nib) {
  Record("CreateNibReference", Quoted(name));
  *nib = &Platform().nib;
  return noErr;
}

OSStatus CreateWindowFromNib(IBNibRef nib, std::string_view name, WindowRef *window) {
  if (nib == nullptr) return paramErr;
  Record("CreateWindowFromNib", Quoted(name));
  auto created = std::make_unique<OpaqueWindow>();
  created->name = name;
  *window = created.get();
  Platform().windows[created->name] = std::move(created);
  return noErr;
}

void DisposeNibReference(IBNibRef nib) {
  if (nib != nullptr) Record("DisposeNibReference");
}

void DisposeWindow(WindowRef window) {
  if (RecordWindowCall("DisposeWindow", window) != noErr) return;
  DisposeEventTarget(window->target);
  Platform().windows.erase(Platform().windows.find(window->name));
}

void BringToFront(WindowRef window) {
  RecordWindowCall("BringToFront", window);
}

OSStatus SetWindowTitleWithCFString(WindowRef, const std::u16string &title) {
  Record("SetWindowTitle", Quoted(Readable(title)));
  return noErr;
}

OSStatus SetWindowProxyFSSpec(WindowRef window, const FSSpec &) {
  return RecordWindowCall("SetWindowProxyFSSpec", window);
}

OSStatus SetWindowModified(WindowRef, bool modified) {
  Record("SetWindowModified", modified ? "true" : "false");
  return noErr;
}

OSStatus TransitionWindow(WindowRef window, WindowTransitionEffect, WindowTransitionAction,
                          const Rect *) {
  return RecordWindowCall("TransitionWindow", window);
}

OSStatus GetWindowBounds(WindowRef, std::uint16_t, Rect *) {
  return noErr;
}

OSStatus ShowSheetWindow(WindowRef sheet, WindowRef parent) {
  if (parent == nullptr) return paramErr;
  return RecordWindowCall("ShowSheetWindow", sheet);
}

OSStatus HideSheetWindow(WindowRef sheet) {
  return RecordWindowCall("HideSheetWindow", sheet);
}

EventTargetRef GetWindowEventTarget(WindowRef window) {
  return window == nullptr ? nullptr : window->target;
}

// Controls.

OSStatus GetControlByID(WindowRef window, const ControlID &id, ControlRef *control) {
  if (window == nullptr) return paramErr;
  Record("GetControlByID", ControlKey(id.id, window->name));
  if (id.signature != FourChars("CNTL")) return paramErr;
  *control = &Recorder().Control(id.id, window->name);
  return noErr;
}

void ShowControl(ControlRef control) {
  if (RecordControlCall("ShowControl", control) == noErr) control->shown = true;
}

void HideControl(ControlRef control) {
  if (RecordControlCall("HideControl", control) == noErr) control->shown = false;
}

OSStatus EnableControl(ControlRef control) {
  return RecordControlCall("EnableControl", control);
}

OSStatus DisableControl(ControlRef control) {
  return RecordControlCall("DisableControl", control);
}

void SetControlMinimum(ControlRef control, std::int16_t minimum) {
  RecordControlCall("SetControlMinimum", control, std::to_string(minimum));
}

void SetControlMaximum(ControlRef control, std::int16_t maximum) {
  RecordControlCall("SetControlMaximum", control, std::to_string(maximum));
}

void SetControlValue(ControlRef control, std::int16_t value) {
  if (RecordControlCall("SetControlValue", control, std::to_string(value)) == noErr)
    control->value = value;
}

std::int16_t GetControlValue(ControlRef control) {
  return control == nullptr ? std::int16_t{0} : control->value;
}

OSStatus SetControlData(ControlRef control, ControlPartCode part, OSType tag, std::size_t size,
                        const void *data) {
  if (part != kControlEntireControl || tag != kControlStaticTextTextTag) return paramErr;
  const std::string text(static_cast<const char *>(data), size);
  const OSStatus status = RecordControlCall("SetControlData", control, Quoted(text));
  if (status == noErr) control->text = text;
  return status;
}

void Draw1Control(ControlRef control) {
  RecordControlCall("Draw1Control", control);
}

// Drags.

OSErr InstallTrackingHandler(DragTrackingHandlerProc handler, WindowRef window, void *refCon) {
  Platform().trackingHandler = handler;
  Platform().dragWindow = window;
  Platform().dragRefCon = refCon;
  return noErr;
}

OSErr InstallReceiveHandler(DragReceiveHandlerProc handler, WindowRef window, void *refCon) {
  Platform().receiveHandler = handler;
  Platform().dragWindow = window;
  Platform().dragRefCon = refCon;
  return noErr;
}

OSErr RemoveTrackingHandler(DragTrackingHandlerProc, WindowRef) {
  return noErr;
}

OSErr RemoveReceiveHandler(DragReceiveHandlerProc, WindowRef) {
  return noErr;
}

OSErr CountDragItems(DragRef drag, std::uint16_t *count) {
  if (drag == nullptr) return paramErr;
  *count = static_cast<std::uint16_t>(drag->items.size());
  return noErr;
}

OSErr GetDragItemReferenceNumber(DragRef drag, std::uint16_t index, DragItemRef *item) {
  if (drag == nullptr || index < 1 || index > drag->items.size()) return paramErr;
  *item = index;
  return noErr;
}

OSErr GetFlavorFlags(DragRef drag, DragItemRef item, FlavorType type, FlavorFlags *flags) {
  if (drag == nullptr || item < 1 || item > drag->items.size()) return paramErr;
  if (!drag->items[item - 1].contains(type)) return badDragFlavorErr;
  *flags = 0;
  return noErr;
}

OSErr GetFlavorData(DragRef drag, DragItemRef item, FlavorType type, void *data,
                    std::size_t *size) {
  FlavorFlags flags;
  if (const OSErr error = GetFlavorFlags(drag, item, type, &flags); error != noErr) return error;
  const std::vector<std::uint8_t> &bytes = drag->items[item - 1].at(type);
  if (bytes.empty()) return ioErr;
  *size = std::min(*size, bytes.size());
  std::memcpy(data, bytes.data(), *size);
  return noErr;
}

OSErr ShowDragHilite(DragRef, const Rect &) {
  return noErr;
}

OSErr HideDragHilite(DragRef) {
  return noErr;
}

OSErr ShowDragPlace(DragRef, std::string_view) {
  return noErr;
}

OSErr HideDragPlace(DragRef) {
  return noErr;
}

bool IsDragOverPlace(DragRef drag) {
  return drag != nullptr && drag->isOverPlace;
}

// The event loop.

void QuitApplicationEventLoop() {
  Record("QuitApplicationEventLoop");
  CloseEventQueue();
  Platform().quit = true;
}

bool WaitNextEvent(EventMask mask, EventRecord *event, std::uint32_t sleep, RgnHandle mouseRegion) {
  // A mask, a wait or a region would turn the yield into something else.
  if (mask != 0 || sleep != 0 || mouseRegion != nullptr)
    throw std::logic_error("WaitNextEvent is used for yielding only");
  if (event != nullptr) *event = EventRecord{};
  Record("WaitNextEvent");
  Recorder().Yield();
  return false;
}

// The process, its icon and its sounds.

OSErr SetFrontProcess(const ProcessSerialNumber &) {
  Record("SetFrontProcess");
  return noErr;
}

bool WaitForBusyFolder(const FSRef &, const std::string &) {
  return false;
}

void ExitToShell() {
  Record("ExitToShell");
  throw ExitedToShell{};
}

void NSBeep() {
  Record("NSBeep");
}

void SysBeep(std::int16_t duration) {
  Record("SysBeep", std::to_string(duration));
}

void EnableMenuCommand(MenuRef, OSType) {}
void DisableMenuCommand(MenuRef, OSType) {}
OSStatus GetIndMenuItemWithCommandID(MenuRef, OSType, std::uint32_t, MenuRef *, MenuItemIndex *) {
  return menuItemNotFoundErr;
}
OSStatus SetMenuItemTextWithCFString(MenuRef, MenuItemIndex, const std::u16string &) {
  return menuItemNotFoundErr;
}
void TellProblem(const std::string &problem) {
  Record("TellProblem", Quoted(problem));
}
void ShowHistoryWindow(CHistory *) {}
void UpdateHistoryWindow() {}

void ShowResultsWindow(CResultList *list) {
  Record("ShowResultsWindow");
  Recorder().Results() = list;
}

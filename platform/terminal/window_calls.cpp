// The interface file "main", which is built in: a menu bar and the main window with its controls.
#include <map>
#include <memory>

#include "platform/common/event_dispatch.h"
#include "platform/controls.h"
#include "platform/terminal/status_view.h"
#include "platform/windows.h"

struct OpaqueNib {};
struct OpaquePort {};

struct OpaqueControl {
  StatusControl id;
  std::int16_t minimum = 0;
  std::int16_t value = 0;
  std::int16_t maximum = 0;
};

struct OpaqueWindow {
  std::map<std::int32_t, OpaqueControl> controls;
  EventTargetRef target;
};

namespace {

constexpr StatusControl kControls[] = {StatusControl::kLine1,       StatusControl::kBusyIndicator,
                                       StatusControl::kIdleElement, StatusControl::kProgressBar,
                                       StatusControl::kLine2,       StatusControl::kStopButton};

CGrafPtr currentPort = nullptr;

void ProgressChanged(const OpaqueControl &control) {
  if (control.id == StatusControl::kProgressBar)
    ShowProgress(control.minimum, control.value, control.maximum);
}

OSStatus StatusFor(const void *reference) {
  return reference == nullptr ? paramErr : noErr;
}

}  // namespace

OSStatus CreateNibReference(std::string_view name, IBNibRef *nib) {
  static OpaqueNib builtIn;
  if (name != "main") return kIBCarbonRuntimeCantFindNibFile;
  *nib = &builtIn;
  return noErr;
}

OSStatus SetMenuBarFromNib(IBNibRef nib, std::string_view name) {
  if (nib == nullptr) return paramErr;
  return name == "MenuBar" ? noErr : kIBCarbonRuntimeCantFindObject;
}

OSStatus CreateWindowFromNib(IBNibRef nib, std::string_view name, WindowRef *window) {
  if (nib == nullptr) return paramErr;
  if (name != "MainWindow") return kIBCarbonRuntimeCantFindObject;
  auto created = std::make_unique<OpaqueWindow>();
  for (const StatusControl id : kControls)
    created->controls[static_cast<std::int32_t>(id)] = OpaqueControl{id};
  created->target = NewEventTarget();
  *window = created.release();
  return noErr;
}

void DisposeNibReference(IBNibRef) {}

void ShowWindow(WindowRef) {}
void HideWindow(WindowRef) {}
void BringToFront(WindowRef) {}

void DisposeWindow(WindowRef window) {
  if (window == nullptr) return;
  DisposeEventTarget(window->target);
  std::unique_ptr<OpaqueWindow>{window}.reset();
}

OSStatus SetWindowTitleWithCFString(WindowRef window, const std::u16string &title) {
  if (window == nullptr) return paramErr;
  ShowFolderTitle(title);
  return noErr;
}

OSStatus SetWindowProxyFSSpec(WindowRef window, const FSSpec &) {
  return StatusFor(window);
}

OSStatus SetWindowModified(WindowRef window, bool) {
  return StatusFor(window);
}

OSStatus TransitionWindow(WindowRef window, WindowTransitionEffect, WindowTransitionAction,
                          const Rect *) {
  return StatusFor(window);
}

OSStatus GetWindowBounds(WindowRef window, std::uint16_t, Rect *bounds) {
  if (window == nullptr) return paramErr;
  *bounds = Rect{};
  return noErr;
}

void GetPort(CGrafPtr *port) {
  *port = currentPort;
}

void SetPort(CGrafPtr port) {
  currentPort = port;
}

void SetPortWindowPort(WindowRef) {}
void GlobalToLocal(Point *) {}

OSStatus ShowSheetWindow(WindowRef sheet, WindowRef parent) {
  return sheet == nullptr ? paramErr : StatusFor(parent);
}

OSStatus HideSheetWindow(WindowRef sheet) {
  return StatusFor(sheet);
}

EventTargetRef GetWindowEventTarget(WindowRef window) {
  return window == nullptr ? nullptr : window->target;
}

OSStatus GetControlByID(WindowRef window, const ControlID &id, ControlRef *control) {
  if (window == nullptr || id.signature != FourChars("CNTL")) return paramErr;
  const auto found = window->controls.find(id.id);
  if (found == window->controls.end()) return paramErr;
  *control = &found->second;
  return noErr;
}

void ShowControl(ControlRef control) {
  if (control != nullptr) ShowStatusControl(control->id, true);
}

void HideControl(ControlRef control) {
  if (control != nullptr) ShowStatusControl(control->id, false);
}

OSStatus EnableControl(ControlRef control) {
  return StatusFor(control);
}

OSStatus DisableControl(ControlRef control) {
  return StatusFor(control);
}

void SetControlMinimum(ControlRef control, std::int16_t minimum) {
  if (control == nullptr) return;
  control->minimum = minimum;
  ProgressChanged(*control);
}

void SetControlMaximum(ControlRef control, std::int16_t maximum) {
  if (control == nullptr) return;
  control->maximum = maximum;
  ProgressChanged(*control);
}

void SetControlValue(ControlRef control, std::int16_t value) {
  if (control == nullptr) return;
  control->value = value;
  ProgressChanged(*control);
}

std::int16_t GetControlValue(ControlRef control) {
  return control == nullptr ? std::int16_t{0} : control->value;
}

OSStatus SetControlData(ControlRef control, ControlPartCode part, OSType tag, std::size_t size,
                        const void *data) {
  if (control == nullptr || part != kControlEntireControl || tag != kControlStaticTextTextTag)
    return paramErr;
  ShowStatusText(control->id, {static_cast<const char *>(data), size});
  return noErr;
}

void Draw1Control(ControlRef) {}

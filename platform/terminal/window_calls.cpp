// The main window and its controls, as far as a run shows itself in them. All are there from the
// start, so no reference is empty.
#include <algorithm>
#include <iterator>

#include "platform/controls.h"
#include "platform/terminal/status_view.h"
#include "platform/terminal/terminal.h"

struct OpaqueControl {
  StatusControl id;
  std::int16_t minimum = 0;
  std::int16_t value = 0;
  std::int16_t maximum = 0;
};

struct OpaqueWindow {
  OpaqueControl controls[6] = {{StatusControl::kLine1},       {StatusControl::kBusyIndicator},
                               {StatusControl::kIdleElement}, {StatusControl::kProgressBar},
                               {StatusControl::kLine2},       {StatusControl::kStopButton}};
};

namespace {

void SetNumber(ControlRef control, std::int16_t OpaqueControl::*number, std::int16_t value) {
  control->*number = value;
  if (control->id == StatusControl::kProgressBar)
    ShowProgress(control->minimum, control->value, control->maximum);
}

}  // namespace

WindowRef TerminalWindow() {
  static OpaqueWindow window;
  return &window;
}

OSStatus SetWindowTitleWithCFString(WindowRef, const std::u16string &title) {
  ShowFolderTitle(title);
  return noErr;
}

OSStatus SetWindowProxyFSSpec(WindowRef, const FSSpec &) {
  return noErr;
}

OSStatus SetWindowModified(WindowRef, bool) {
  return noErr;
}

OSStatus TransitionWindow(WindowRef, WindowTransitionEffect, WindowTransitionAction, const Rect *) {
  return noErr;
}

OSStatus GetControlByID(WindowRef window, const ControlID &id, ControlRef *control) {
  auto *const found =
      std::ranges::find(window->controls, static_cast<StatusControl>(id.id), &OpaqueControl::id);
  if (found == std::end(window->controls)) return paramErr;
  *control = found;
  return noErr;
}

void ShowControl(ControlRef control) {
  if (control != nullptr) ShowStatusControl(control->id, true);
}

void HideControl(ControlRef control) {
  if (control != nullptr) ShowStatusControl(control->id, false);
}

OSStatus EnableControl(ControlRef) {
  return noErr;
}

OSStatus DisableControl(ControlRef) {
  return noErr;
}

void SetControlMinimum(ControlRef control, std::int16_t minimum) {
  SetNumber(control, &OpaqueControl::minimum, minimum);
}

void SetControlMaximum(ControlRef control, std::int16_t maximum) {
  SetNumber(control, &OpaqueControl::maximum, maximum);
}

void SetControlValue(ControlRef control, std::int16_t value) {
  SetNumber(control, &OpaqueControl::value, value);
}

OSStatus SetControlData(ControlRef control, ControlPartCode, OSType, std::size_t size,
                        const void *data) {
  if (control == nullptr) return paramErr;
  ShowStatusText(control->id, {static_cast<const char *>(data), size});
  return noErr;
}

void Draw1Control(ControlRef) {}

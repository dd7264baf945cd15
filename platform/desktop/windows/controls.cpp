#include "platform/controls.h"

#include <QAbstractButton>
#include <QProgressBar>
#include <QVariant>
#include <cstring>

#include "platform/desktop/text/plain_text.h"
#include "platform/desktop/widgets/status_line.h"
#include "platform/desktop/windows/control_drawing.h"
#include "platform/desktop/windows/controls_of_window.h"
#include "platform/desktop/windows/window.h"

namespace {

constexpr OSType kControlSignature = FourChars("CNTL");

std::vector<OpaqueControl *> &ChangedControls() {
  static std::vector<OpaqueControl *> changed;
  return changed;
}

bool isDrawingUrgent = false;
int barsShown = 0;

void MarkChanged(ControlRef control) {
  if (control->isChanged) return;
  control->isChanged = true;
  ChangedControls().push_back(control);
}

/// The radio buttons of a choice: each stands for the value in its property "value".
QList<QAbstractButton *> ChoicesOf(const QWidget *widget) {
  QList<QAbstractButton *> choices;
  for (QAbstractButton *button : widget->findChildren<QAbstractButton *>()) {
    if (button->property("value").isValid()) choices.append(button);
  }
  return choices;
}

std::int16_t ValueOfWidget(const QWidget *widget) {
  if (const auto *bar = qobject_cast<const QProgressBar *>(widget))
    return static_cast<std::int16_t>(bar->value());
  if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
    return button->isChecked() ? 1 : 0;
  for (const QAbstractButton *choice : ChoicesOf(widget)) {
    if (choice->isChecked()) return static_cast<std::int16_t>(choice->property("value").toInt());
  }
  return 0;
}

void SetValueOfWidget(QWidget *widget, const OpaqueControl &control) {
  if (auto *bar = qobject_cast<QProgressBar *>(widget)) {
    bar->setRange(control.minimum, control.maximum);
    bar->setValue(control.value);
  } else if (auto *button = qobject_cast<QAbstractButton *>(widget)) {
    button->setChecked(control.value != 0);
  } else {
    for (QAbstractButton *choice : ChoicesOf(widget)) {
      if (choice->property("value").toInt() == control.value) choice->setChecked(true);
    }
  }
}

void Draw(OpaqueControl &control) {
  if (control.isValueChanged) SetValueOfWidget(control.widget, control);
  auto *line = qobject_cast<StatusLine *>(control.widget);
  if (line != nullptr && control.isTextChanged)
    line->ShowText(TextFromUtf8({control.text.data(), control.textLength}));
  control.widget->setEnabled(control.isEnabled);
  // Qt would hand the focus of what is hidden on to its neighbour: the Stop button must not get it
  // unasked, nor the folder that a stray key would open.
  if (!control.isVisible) control.widget->clearFocus();
  control.widget->setVisible(control.isVisible);
  control.widget->update();
  control.isChanged = control.isValueChanged = control.isTextChanged = false;
}

void SetVisible(ControlRef control, bool visible) {
  if (control == nullptr) return;
  if (control->isVisible != visible) {
    if (control->isBar) barsShown += visible ? 1 : -1;
    isDrawingUrgent = true;
  }
  control->isVisible = visible;
  MarkChanged(control);
}

OSStatus SetEnabled(ControlRef control, bool enabled) {
  if (control == nullptr) return paramErr;
  control->isEnabled = enabled;
  MarkChanged(control);
  return noErr;
}

void SetNumber(ControlRef control, std::int16_t OpaqueControl::*number, std::int16_t value) {
  if (control == nullptr) return;
  control->*number = value;
  control->isValueChanged = true;
  MarkChanged(control);
}

}  // namespace

OpaqueControl::OpaqueControl(QWidget *widgetOfWindow, std::int32_t controlID)
    : widget(widgetOfWindow),
      id(controlID),
      isBar(qobject_cast<const QProgressBar *>(widget) != nullptr),
      isVisible(!widget->isHidden()),
      isEnabled(widget->isEnabledTo(widget->parentWidget())),
      value(ValueOfWidget(widget)) {
  if (const auto *bar = qobject_cast<const QProgressBar *>(widget)) {
    minimum = static_cast<std::int16_t>(bar->minimum());
    maximum = static_cast<std::int16_t>(bar->maximum());
  }
  if (isBar && isVisible) ++barsShown;
  // What is hidden keeps its place, so that nothing jumps when a run begins or ends.
  QSizePolicy policy = widget->sizePolicy();
  policy.setRetainSizeWhenHidden(true);
  widget->setSizePolicy(policy);
}

OpaqueControl::~OpaqueControl() {
  if (isBar && isVisible) --barsShown;
  std::erase(ChangedControls(), this);
}

std::vector<std::unique_ptr<OpaqueControl>> ControlsOfWindow(const QWidget &window) {
  std::vector<std::unique_ptr<OpaqueControl>> controls;
  for (QWidget *widget : window.findChildren<QWidget *>()) {
    const QVariant id = widget->property("controlID");
    if (id.isValid()) controls.push_back(std::make_unique<OpaqueControl>(widget, id.toInt()));
  }
  return controls;
}

void DrawChangedControls() {
  for (OpaqueControl *control : ChangedControls()) Draw(*control);
  ChangedControls().clear();
  isDrawingUrgent = false;
}

bool IsDrawingUrgent() {
  return isDrawingUrgent;
}

OSStatus GetControlByID(WindowRef window, const ControlID &id, ControlRef *control) {
  if (window == nullptr || id.signature != kControlSignature) return paramErr;
  for (const auto &candidate : window->controls) {
    if (candidate->id == id.id) {
      *control = candidate.get();
      return noErr;
    }
  }
  return kIBCarbonRuntimeCantFindObject;
}

void ShowControl(ControlRef control) {
  SetVisible(control, true);
}

void HideControl(ControlRef control) {
  SetVisible(control, false);
}

OSStatus EnableControl(ControlRef control) {
  return SetEnabled(control, true);
}

OSStatus DisableControl(ControlRef control) {
  return SetEnabled(control, false);
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

std::int16_t GetControlValue(ControlRef control) {
  if (control == nullptr) return 0;
  return control->isValueChanged ? control->value : ValueOfWidget(control->widget);
}

OSStatus SetControlData(ControlRef control, ControlPartCode part, OSType tag, std::size_t size,
                        const void *data) {
  if (control == nullptr || part != kControlEntireControl || tag != kControlStaticTextTextTag ||
      size > control->text.size())
    return paramErr;
  std::memcpy(control->text.data(), data, size);
  control->textLength = static_cast<std::uint8_t>(size);
  control->isTextChanged = true;
  if (barsShown == 0) isDrawingUrgent = true;
  MarkChanged(control);
  return noErr;
}

void Draw1Control(ControlRef control) {
  if (control != nullptr) MarkChanged(control);
}

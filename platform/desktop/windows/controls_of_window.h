/// The controls that a window of the interface file has.
#pragma once

#include <QWidget>
#include <array>
#include <memory>
#include <vector>

#include "platform/controls.h"

/// A control as the program wants it. Changes are kept here and reach the widget when drawing is
/// due, so that a run may make a million of them.
struct OpaqueControl {
  OpaqueControl(QWidget *widget, std::int32_t id);
  ~OpaqueControl();
  OpaqueControl(const OpaqueControl &) = delete;
  OpaqueControl &operator=(const OpaqueControl &) = delete;

  QWidget *widget;  ///< belongs to its window
  std::int32_t id;

  bool isBar;  ///< shows progress
  bool isVisible;
  bool isEnabled;
  std::int16_t minimum = 0;
  std::int16_t maximum = 1;
  std::int16_t value = 0;
  std::array<std::uint8_t, 255> text{};  ///< UTF-8
  std::uint8_t textLength = 0;

  bool isChanged = false;       ///< waits to be drawn
  bool isValueChanged = false;  ///< of what waits: the range or the value
  bool isTextChanged = false;   ///< of what waits: the text
};

/// Makes a control of each widget below `window` that has the property "controlID".
std::vector<std::unique_ptr<OpaqueControl>> ControlsOfWindow(const QWidget &window);

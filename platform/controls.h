/// The Control Manager: the controls of a window, found by ID.
///
/// An empty reference is let pass by every call and changes nothing; calls that return a status
/// then return paramErr.
#pragma once

#include <cstddef>

#include "platform/types.h"
#include "platform/windows.h"

using ControlRef = struct OpaqueControl *;

struct ControlID {
  OSType signature;
  std::int32_t id;
};

/// Finds a control; on failure `control` is left alone.
OSStatus GetControlByID(WindowRef window, const ControlID &id, ControlRef *control);

void ShowControl(ControlRef control);
void HideControl(ControlRef control);
OSStatus EnableControl(ControlRef control);
OSStatus DisableControl(ControlRef control);

void SetControlMinimum(ControlRef control, std::int16_t minimum);
void SetControlMaximum(ControlRef control, std::int16_t maximum);
void SetControlValue(ControlRef control, std::int16_t value);
/// The value; 0 for an empty reference.
std::int16_t GetControlValue(ControlRef control);

using ControlPartCode = std::int16_t;
inline constexpr ControlPartCode kControlEntireControl = 0;
inline constexpr OSType kControlStaticTextTextTag = FourChars("text");

/// Sets data of a control; only the text is known, UTF-8 that is copied. Each text
/// reaches the control, in order; what a person sees of them is brought up to date as often as a
/// person can notice.
OSStatus SetControlData(ControlRef control, ControlPartCode part, OSType tag, std::size_t size,
                        const void *data);

/// Says that the control's look has changed; it is drawn at the next yield at which drawing is due,
/// which is the next one when the control was shown or hidden, or no bar is shown.
void Draw1Control(ControlRef control);

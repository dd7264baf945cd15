/// The two status lines of the main window, and the yield that keeps it alive.
///
/// Texts are UTF-8, at most 255 bytes; what is longer is shown cut, at a whole character.
#pragma once

#include "fsutil/short_strings.h"
#include "platform/controls.h"

/// Status line 1 while nothing is being done.
inline constexpr char kIdleHint[] =
    "Drop a folder on the application or this window to flatten it.";

/// Lets the window redraw and commands arrive. What runs here may set flags and change the display
/// but never start work on the files.
void YieldToEvents();

/// Shows `text` on status line 1 or 2, then yields; any other line shows nothing but yields too.
void SetStatusText(const char *text, std::int32_t line);

/// The same with a text made by FormatCString's rules.
template <typename... Values>
void FormatStatusText(std::int32_t line, const char *format, Values... values) {
  ShortString text;
  FormatCString(text, format, {FormatValue(values)...});
  SetStatusText(text, line);
}

/// Sets a control's text, and draws the control if that worked and `redraw` says so. paramErr for
/// an empty control.
OSStatus SetControlTextAndDraw(ControlRef control, const PascalString &text, bool redraw);

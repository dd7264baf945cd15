/// Bringing the controls' looks up to date.
#pragma once

/// Hands every change made to controls since the last call on to their widgets.
void DrawChangedControls();

/// Whether a change waits that must be on the screen before the work goes on: a control was shown
/// or hidden, or a text begins a phase. Such a text is told from a file's by the bar, which is
/// hidden. After it may come seconds of work without a yield.
bool IsDrawingUrgent();

/// Bringing the controls' looks up to date.
#pragma once

/// Hands every change made to controls since the last call on to their widgets.
void DrawChangedControls();

/// Where a sheet goes.
#pragma once

#include <QWidget>

/// Gives a sheet that is about to be shown its size and its place: over its window as far as that
/// leaves the window's Stop button free, and nowhere beyond the screen. What does not fit then is
/// scrolled inside it. A desktop that places windows by itself keeps to the size.
void PlaceSheet(QWidget &sheet, const QWidget &window);

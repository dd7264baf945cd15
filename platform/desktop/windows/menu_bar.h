/// The menu bar of the interface file.
#pragma once

#include <QMenuBar>

/// Takes the menu bar over: its items give their commands from now on. It is shown in the first
/// window that is made with one.
void InstallMenuBar(QMenuBar *bar);

/// The installed menu bar, until a window has taken it.
QMenuBar *MenuBarToShow();
